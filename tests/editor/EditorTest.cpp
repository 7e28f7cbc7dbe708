// Drives the window of the editor as a user would, without a screen.
#include <DibOperation.h>

#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

#include "EditorWindow.h"

namespace {

QAction* actionOf(const QWidget& window, const QString& text) {
    const auto actions = window.findChildren<QAction*>();
    const auto found = std::find_if(actions.begin(), actions.end(), [&](const QAction* action) {
        return action->text().remove('&') == text;
    });
    return found == actions.end() ? nullptr : *found;
}

// The dialog or box that waits for an answer; null when there is none.
template <class Dialog>
Dialog* openDialog(const QWidget& window) {
    for (Dialog* dialog : window.findChildren<Dialog*>())
        if (dialog->isVisible()) return dialog;
    return nullptr;
}

void click(const QDialog* dialog, QDialogButtonBox::StandardButton button) {
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(button), Qt::LeftButton);
}

QWidget* jobBar(const QWidget& window) { return window.findChild<QProgressBar*>()->parentWidget(); }

bool becomesIdle(const QWidget& window) {
    return QTest::qWaitFor([&] { return jobBar(window)->isHidden(); }, 30000);
}

// The blue byte of the first pixel of a picture of 24 or 32 bits.
int firstByte(const EditorWindow& window) { return window.picture()->image.Buffer[0]; }

}  // namespace

class EditorTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void showsThePixelsOfThePicture();
    void showsIndices();
    void hasAFieldForEachParameter();
    void appliesAnOperationByItsDialog();
    void keepsADialogWithAWrongValue();
    void escapesText();
    void undoesAndRedoes();
    void cancels();
    void stopsWorkWhenItCloses();
    void opensLayers();
    void warnsOfLosses();
    void saysWhyAFileCannotBeOpened();
    void looksAsInTheReadme();

private:
    QString path(const char* name) const { return folder_.filePath(name); }
    bool makePicture(const char* name, int width, int height) const;

    QTemporaryDir folder_;
};

// A picture of 24 bits in which all bytes are 200.
bool EditorTest::makePicture(const char* name, int width, int height) const {
    DibStream image;
    if (!image.Create(width, height, 24)) return false;
    std::fill_n(image.Buffer, image.GetImageSize(), static_cast<unsigned char>(200));
    return DibSaveFile(path(name).toUtf8(), &image);
}

void EditorTest::initTestCase() {
    QVERIFY(makePicture("small.png", 8, 6));
    QVERIFY(makePicture("large.bmp", 3000, 2000));
}

void EditorTest::showsThePixelsOfThePicture() {
    EditorWindow window;
    window.show();
    QVERIFY(!actionOf(window, "Operations")->isEnabled());
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    QVERIFY(actionOf(window, "Operations")->isEnabled());
    QVERIFY(!window.isWindowModified());
    QCOMPARE(window.picture()->image.Header->biWidth, 8);
    QCOMPARE(window.picture()->image.Header->biHeight, -6);

    PicturePtr picture = window.picture();
    QImage shown = shownImage(picture);
    QCOMPARE(shown.constBits(), picture->image.Buffer);
    QCOMPARE(shown.size(), QSize(8, 6));
    QCOMPARE(shown.pixelColor(7, 5), QColor(200, 200, 200));
    const long users = picture.use_count();
    shown = QImage();
    QCOMPARE(picture.use_count(), users - 1);
}

void EditorTest::showsIndices() {
    for (const int bits : {1, 4, 8}) {
        const auto picture = std::make_shared<Picture>();
        QVERIFY(picture->image.Create(9, -2, bits));
        picture->image.SetMonoPalette();
        std::fill_n(picture->image.Buffer, picture->image.GetImageSize(), static_cast<unsigned char>(0));
        *picture->image.Pixel(8, 1) = bits == 1 ? 0x80 : bits == 4 ? 0xF0 : 0xFF;  // the last pixel is white
        const QImage shown = shownImage(picture);
        QCOMPARE(shown.size(), QSize(9, 2));
        QCOMPARE(shown.pixelColor(8, 1), QColor(255, 255, 255));
        QCOMPARE(shown.pixelColor(7, 1), QColor(0, 0, 0));
        QCOMPARE(shown.pixelColor(8, 0), QColor(0, 0, 0));
    }
}

void EditorTest::hasAFieldForEachParameter() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    int count = 0;
    for (const DibOperation* operation : DibList(DibGetOperations())) {
        actionOf(window, operation->name)->trigger();
        auto* dialog = openDialog<QDialog>(window);
        QVERIFY2(dialog != nullptr, operation->name);
        for (const DibParameter* parameter : DibList(operation->parameters)) {
            const bool isShown = dialog->findChild<QWidget*>(parameter->name) != nullptr;
            QCOMPARE(isShown, qstrcmp(parameter->name, "classic") != 0);
            count += isShown ? 1 : 0;
        }
        dialog->reject();
    }
    QVERIFY(count > 80);
    QVERIFY(!window.isWindowModified());
}

void EditorTest::appliesAnOperationByItsDialog() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    actionOf(window, "brighten")->trigger();
    auto* dialog = openDialog<QDialog>(window);
    auto* factor = dialog->findChild<QDoubleSpinBox*>("factor");
    QCOMPARE(factor->value(), 1.5);  // as in the example, for there is no default
    QCOMPARE(factor->minimum(), 0.0);
    factor->setValue(0.5);
    click(dialog, QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));
    QCOMPARE(firstByte(window), 100);
    QVERIFY(window.isWindowModified());

    actionOf(window, "turn")->trigger();
    dialog = openDialog<QDialog>(window);
    auto* angle = dialog->findChild<QComboBox*>("angle");
    QCOMPARE(angle->count(), 3);
    angle->setCurrentText("270");
    click(dialog, QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));
    QCOMPARE(window.picture()->image.Header->biWidth, 6);
}

void EditorTest::keepsADialogWithAWrongValue() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    actionOf(window, "border")->trigger();
    QPointer<QDialog> dialog = openDialog<QDialog>(window);
    dialog->findChild<QLineEdit*>("width")->setText("2");
    auto* color = dialog->findChild<QLineEdit*>("color");
    QCOMPARE(color->text(), "#000000");
    color->setText("#12");
    click(dialog, QDialogButtonBox::Ok);
    QVERIFY(dialog != nullptr && dialog->isVisible());
    const auto labels = dialog->findChildren<QLabel*>();
    QVERIFY(std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
        return label->text().contains("'#12' must be a colour");
    }));
    color->setText("#070809");
    click(dialog, QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));
    QCOMPARE(window.picture()->image.Header->biWidth, 12);
    QCOMPARE(firstByte(window), 9);
}

void EditorTest::escapesText() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    actionOf(window, "text")->trigger();
    auto* dialog = openDialog<QDialog>(window);
    dialog->findChild<QLineEdit*>("text")->setText(R"(a, b=\ c:d)");
    click(dialog, QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));
    QVERIFY(openDialog<QMessageBox>(window) == nullptr);
    QVERIFY(window.isWindowModified());
}

void EditorTest::undoesAndRedoes() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    for (int i = 0; i < 2; ++i) {
        actionOf(window, "brighten")->trigger();
        openDialog<QDialog>(window)->findChild<QDoubleSpinBox*>("factor")->setValue(0.5);
        click(openDialog<QDialog>(window), QDialogButtonBox::Ok);
        QVERIFY(becomesIdle(window));
    }
    QCOMPARE(firstByte(window), 50);
    QVERIFY(!actionOf(window, "Redo")->isEnabled());
    actionOf(window, "Undo")->trigger();
    QCOMPARE(firstByte(window), 100);
    actionOf(window, "Undo")->trigger();
    QCOMPARE(firstByte(window), 200);
    QVERIFY(!actionOf(window, "Undo")->isEnabled());
    QVERIFY(!window.isWindowModified());
    actionOf(window, "Redo")->trigger();
    QCOMPARE(firstByte(window), 100);

    actionOf(window, "invert")->trigger();  // a change drops what could be redone
    click(openDialog<QDialog>(window), QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));
    QCOMPARE(firstByte(window), 155);
    QVERIFY(!actionOf(window, "Redo")->isEnabled());
}

void EditorTest::cancels() {
    EditorWindow window;
    window.show();
    window.open(path("large.bmp"));
    QVERIFY(becomesIdle(window));
    const PicturePtr before = window.picture();
    actionOf(window, "motion-blur")->trigger();
    openDialog<QDialog>(window)->findChild<QDoubleSpinBox*>("length")->setValue(100000);
    click(openDialog<QDialog>(window), QDialogButtonBox::Ok);
    QVERIFY(!jobBar(window)->isHidden());
    QVERIFY(!actionOf(window, "Operations")->isEnabled());
    QTest::mouseClick(jobBar(window)->findChild<QPushButton*>(), Qt::LeftButton);
    QVERIFY(becomesIdle(window));
    QVERIFY(window.statusBar()->currentMessage().endsWith(": cancelled"));
    QCOMPARE(window.picture(), before);
    QVERIFY(actionOf(window, "Operations")->isEnabled());
    QVERIFY(openDialog<QMessageBox>(window) == nullptr);
}

void EditorTest::stopsWorkWhenItCloses() {
    QElapsedTimer timer;
    std::weak_ptr<const Picture> picture;
    {
        EditorWindow window;
        window.show();
        window.open(path("large.bmp"));
        QVERIFY(becomesIdle(window));
        picture = window.picture();
        actionOf(window, "motion-blur")->trigger();
        openDialog<QDialog>(window)->findChild<QDoubleSpinBox*>("length")->setValue(100000);
        click(openDialog<QDialog>(window), QDialogButtonBox::Ok);
        QTest::qWait(50);
        QVERIFY(!jobBar(window)->isHidden());
        timer.start();
    }
    QVERIFY(timer.elapsed() < 20000);  // the whole would take hours
    QVERIFY(QTest::qWaitFor([&] { return picture.expired(); }));
}

void EditorTest::opensLayers() {
    EditorWindow window;
    window.show();
    auto* list = window.findChild<QListWidget*>();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    QVERIFY(!list->isVisible());

    window.open(SEEDS "/psd/cmyk16-zip-layer.psd");
    QVERIFY(becomesIdle(window));
    QVERIFY(list->isVisible());
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->item(0)->text(), "Merged picture");
    QCOMPARE(list->item(1)->text(), "in");
    QCOMPARE(list->item(2)->text(), QString::fromUtf8("层"));
    QCOMPARE(window.picture()->image.Header->biWidth, 5);

    list->setCurrentRow(1);
    QTest::keyClick(list, Qt::Key_Return);
    QVERIFY(becomesIdle(window));
    QCOMPARE(window.picture()->image.Header->biWidth, 3);
    actionOf(window, "Undo")->trigger();
    QCOMPARE(window.picture()->image.Header->biWidth, 5);
}

void EditorTest::warnsOfLosses() {
    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    actionOf(window, "invert")->trigger();
    click(openDialog<QDialog>(window), QDialogButtonBox::Ok);
    QVERIFY(becomesIdle(window));

    window.save(path("saved.jpg"), false);
    QVERIFY(becomesIdle(window));
    auto* box = openDialog<QMessageBox>(window);
    QVERIFY(box != nullptr);
    QVERIFY(box->text().contains("saved.jpg cannot hold all of the picture:\n"));
    QVERIFY(box->text().contains("JPEG"));
    QTest::mouseClick(box->button(QMessageBox::Cancel), Qt::LeftButton);
    QVERIFY(becomesIdle(window));
    QVERIFY(!QFile::exists(path("saved.jpg")));
    QVERIFY(window.isWindowModified());

    window.save(path("saved.jpg"), false);
    QVERIFY(becomesIdle(window));
    box = openDialog<QMessageBox>(window);
    QTest::mouseClick(box->button(QMessageBox::Save), Qt::LeftButton);
    QVERIFY(becomesIdle(window));
    QCOMPARE(QImage(path("saved.jpg")).size(), QSize(8, 6));
    QVERIFY(!window.isWindowModified());
}

void EditorTest::saysWhyAFileCannotBeOpened() {
    QFile damaged(path("damaged.png"));
    QVERIFY(damaged.open(QIODevice::WriteOnly));
    QFile whole(path("small.png"));
    QVERIFY(whole.open(QIODevice::ReadOnly));
    damaged.write(whole.readAll().left(60));
    damaged.close();

    EditorWindow window;
    window.show();
    window.open(path("small.png"));
    QVERIFY(becomesIdle(window));
    const PicturePtr before = window.picture();
    for (const QString& name : {path("damaged.png"), path("missing.png")}) {
        DibFileResult result;
        DibStream image;
        QVERIFY(!DibLoadFile(name.toUtf8(), &image, nullptr, &result));
        window.open(name);
        QVERIFY(becomesIdle(window));
        auto* box = openDialog<QMessageBox>(window);
        QVERIFY(box != nullptr);
        QVERIFY(result.reason[0] != '\0' && box->text().endsWith(result.reason));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        QCOMPARE(window.picture(), before);
    }
}

// With EDITOR_PICTURE and EDITOR_SCREENSHOT set this makes the screenshot of the README.
void EditorTest::looksAsInTheReadme() {
    const QString screenshot = qEnvironmentVariable("EDITOR_SCREENSHOT");
    EditorWindow window;
    window.resize(760, 520);
    window.show();
    window.open(qEnvironmentVariable("EDITOR_PICTURE", path("large.bmp")));
    QVERIFY(becomesIdle(window));
    actionOf(window, "rotate")->trigger();
    auto* dialog = openDialog<QDialog>(window);
    const QRect dialogAt(425, 60, 320, 400);
    dialog->resize(dialogAt.size());
    QImage shown = window.grab().toImage();
    QPainter painter(&shown);
    painter.drawImage(dialogAt.topLeft(), dialog->grab().toImage());
    painter.drawRect(dialogAt);
    painter.end();
    QCOMPARE(shown.size(), QSize(760, 520));
    QVERIFY(shown.pixelColor(200, 260) != window.palette().color(QPalette::Window));  // of the picture
    if (!screenshot.isEmpty()) QVERIFY(shown.save(screenshot));
}

QTEST_MAIN(EditorTest)
#include "EditorTest.moc"
