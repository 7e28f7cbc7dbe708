#include "OperationDialog.h"

#include <QtWidgets>

namespace {

QWidget* numberField(const DibParameter& parameter, const QString& value) {
    auto* box = new QDoubleSpinBox;
    box->setDecimals(parameter.kind == DIB_PARAMETER_INTEGER ? 0 : 2);
    box->setRange(parameter.min, parameter.max);
    box->setValue(value.toDouble());
    if (parameter.unit != nullptr) box->setSuffix(QString(" ") + parameter.unit);
    return box;
}

// Flags may be joined, as in "x+y", so that they can be edited.
QWidget* choiceField(const DibParameter& parameter, const QString& value) {
    auto* box = new QComboBox;
    if (parameter.kind == DIB_PARAMETER_SWITCH) box->addItems({"no", "yes"});
    if (parameter.kind == DIB_PARAMETER_FLAGS) box->addItem("none");
    for (const DibChoice* choice : DibList(parameter.choices)) {
        box->addItem(choice->name);
        box->setItemData(box->count() - 1, choice->help, Qt::ToolTipRole);
    }
    box->setEditable(parameter.kind == DIB_PARAMETER_FLAGS);
    box->setCurrentText(value);
    return box;
}

QString askPath(QLineEdit* line) { return QFileDialog::getOpenFileName(line); }
QString askColor(QLineEdit* line) {
    const QColor color = QColorDialog::getColor(line->text(), line);
    return color.isValid() ? color.name() : QString();
}

// A line of text, with a button where a dialog can fill it.
QWidget* lineField(const QString& value, QString (*ask)(QLineEdit*) = nullptr) {
    auto* line = new QLineEdit(value);
    if (ask == nullptr) return line;
    const QIcon icon = line->style()->standardIcon(QStyle::SP_DialogOpenButton);
    const QAction* button = line->addAction(icon, QLineEdit::TrailingPosition);
    QObject::connect(button, &QAction::triggered, line, [line, ask] {
        const QString text = ask(line);
        if (!text.isEmpty()) line->setText(text);
    });
    return line;
}

// Sizes, places and angles are written, as in "50%" or "0.5rad".
QWidget* makeField(const DibParameter& parameter, const QString& value) {
    const DibParameterKind kind = parameter.kind;
    if (kind == DIB_PARAMETER_INTEGER || kind == DIB_PARAMETER_NUMBER) return numberField(parameter, value);
    if (parameter.choices != nullptr || kind == DIB_PARAMETER_SWITCH) return choiceField(parameter, value);
    if (kind == DIB_PARAMETER_COLOR || kind == DIB_PARAMETER_FILL) return lineField(value, askColor);
    return lineField(value, kind == DIB_PARAMETER_PATH ? askPath : nullptr);
}

using Fields = std::vector<std::pair<const DibParameter*, QWidget*>>;

// Parameters that have their defaults are left out.
QByteArray stepOf(const DibOperation& operation, const Fields& fields) {
    static const QRegularExpression kSpecial(R"(([\\,=:\s]))");
    QStringList texts;
    for (const auto& [parameter, field] : fields) {
        QString text = field->metaObject()->userProperty().read(field).toString();
        if (text == parameter->standard) continue;
        texts << parameter->name + ("=" + text.replace(kSpecial, R"(\\1)"));
    }
    return (operation.name + (texts.isEmpty() ? "" : ":" + texts.join(','))).toUtf8();
}

}  // namespace

void askForStep(const DibOperation& operation, QWidget* parent, std::function<void(const QByteArray&)> done) {
    auto* dialog = new QDialog(parent);
    dialog->setWindowTitle(operation.name);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* form = new QFormLayout(dialog);
    form->addRow(new QLabel(operation.help));
    DibChain example;  // has a value for every parameter
    const bool hasExample = DibParseStep(operation.example, &example);
    Fields fields;
    for (std::size_t i = 0; i < DibList(operation.parameters).size(); ++i) {
        const DibParameter& parameter = *operation.parameters[i];
        if (qstrcmp(parameter.name, "classic") == 0) continue;  // for programs that rely on older results
        const char* value = parameter.standard;
        if (hasExample && value == nullptr && parameter.kind != DIB_PARAMETER_PATH)
            value = example.steps->values[i];
        QWidget* field = makeField(parameter, value);
        field->setObjectName(parameter.name);
        form->addRow(parameter.name, field);
        DibBytes limits;  // unit, range and default
        DibDescribeParameter(&parameter, &limits);
        QString hint = parameter.help;
        if (limits.size > 0) hint += QString(" (%1)").arg(reinterpret_cast<const char*>(limits.data));
        form->addRow("", new QLabel("<small>" + hint.toHtmlEscaped() + "</small>"));
        fields.emplace_back(&parameter, field);
    }
    auto* problem = new QLabel;
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(problem);
    form->addRow(buttons);
    for (QLabel* label : dialog->findChildren<QLabel*>()) label->setWordWrap(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, [=, &operation] {
        const QByteArray step = stepOf(operation, fields);
        DibChain chain;
        DibOperationResult result;
        if (!DibParseStep(step, &chain, &result)) return problem->setText(result.reason);
        dialog->accept();
        done(step);
    });
    dialog->open();
}
