#include "EditorWindow.h"

#include <QtWidgets>

#include "JobBar.h"
#include "OperationDialog.h"

// A picture over a pattern that shows where it is transparent.
class PictureScene : public QGraphicsScene {
public:
    using QGraphicsScene::QGraphicsScene;
    void setImage(const QImage& image) {
        image_ = image;
        setSceneRect(image.rect());
        update();
    }
    // Paints what is exposed, so that a large picture costs no more than its window.
    void drawBackground(QPainter* painter, const QRectF& exposed) override {
        const QRectF part = exposed & sceneRect();
        painter->fillRect(part, QBrush(Qt::lightGray, Qt::Dense4Pattern));
        painter->drawImage(part, image_, part);
    }

private:
    QImage image_;
};

// The text may be that of a file, which is never markup.
static QMessageBox* openBox(QWidget* parent, const QString& text, QMessageBox::StandardButtons buttons) {
    auto* box = new QMessageBox(QMessageBox::Warning, "Editor", text, buttons, parent);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
    return box;
}

EditorWindow::EditorWindow()
    : scene_(new PictureScene(this)),
      view_(new QGraphicsView(scene_)),
      layers_(new QListWidget),
      layerDock_(new QDockWidget("Layers")),
      job_(new JobBar) {
    setCentralWidget(view_);
    layerDock_->setWidget(layers_);
    layerDock_->hide();
    addDockWidget(Qt::RightDockWidgetArea, layerDock_);
    connect(layers_, &QListWidget::itemActivated, this, &EditorWindow::openLayer);
    statusBar()->addPermanentWidget(job_);
    resize(900, 640);
    addMenus();
    updateActions();
}

void EditorWindow::addMenus() {
    QMenu* file = menuBar()->addMenu("&File");
    open_ = file->addAction("&Open...", QKeySequence::Open, this, &EditorWindow::askPathToOpen);
    save_ = file->addAction("&Save as...", QKeySequence::SaveAs, this, &EditorWindow::askPathToSave);
    QMenu* edit = menuBar()->addMenu("&Edit");
    undo_ = edit->addAction("&Undo", QKeySequence::Undo, this, [this] { display(current_ - 1); });
    redo_ = edit->addAction("&Redo", QKeySequence::Redo, this, [this] { display(current_ + 1); });
    QMenu* view = menuBar()->addMenu("&View");
    view->addAction("Zoom &in", QKeySequence::ZoomIn, this, [this] { view_->scale(2, 2); });
    view->addAction("Zoom &out", QKeySequence::ZoomOut, this, [this] { view_->scale(0.5, 0.5); });
    view->addAction("&Fit", Qt::CTRL | Qt::Key_0, this,
                    [this] { view_->fitInView(scene_->sceneRect(), Qt::KeepAspectRatio); });

    // A menu for each area of the table.
    QMenu* menu = menuBar()->addMenu("&Operations");
    operations_ = menu->menuAction();
    QMenu* area = nullptr;
    for (const DibOperation* operation : DibList(DibGetOperations())) {
        if (area == nullptr || area->title() != operation->area) area = menu->addMenu(operation->area);
        area->addAction(operation->name, this, [this, operation] { askParameters(*operation); });
    }
}

void EditorWindow::askPathToOpen() {
    const QString path = mayDropChanges() ? QFileDialog::getOpenFileName(this, "Open", path_) : QString();
    if (!path.isEmpty()) open(path);  // its content says the format
}

void EditorWindow::askPathToSave() {
    QStringList filters;
    for (const DibFormat* format : DibList(DibGetFormats()))
        if (format->writeDepths != 0) filters << QString("%1 (*.%2)").arg(format->name, *format->extensions);
    const QString path = QFileDialog::getSaveFileName(this, "Save as", path_, filters.join(";;"));
    if (!path.isEmpty()) save(path, false);
}

void EditorWindow::askParameters(const DibOperation& operation) {
    askForStep(operation, this, [this](const QByteArray& step) {
        start(step, applyStep(picture(), step), [this](const Outcome& outcome) { change(outcome.picture); });
    });
}

void EditorWindow::closeEvent(QCloseEvent* event) { event->setAccepted(mayDropChanges()); }

bool EditorWindow::mayDropChanges() {
    return picture() == saved_ ||
           QMessageBox::question(this, "Editor", "Discard the changes?") == QMessageBox::Yes;
}

// `work` runs in another thread, `done` in this one.
void EditorWindow::start(const QString& title, const Work& work, const Done& done) {
    if (job_->isRunning()) return;
    job_->start(title, work, [this, title, done](const Outcome& outcome) {
        const bool isCancelled = outcome.code == DIB_ERROR_INTERRUPTED;
        statusBar()->showMessage(isCancelled ? title + ": cancelled" : outcome.notes.join("; "));
        if (outcome.code == DIB_OK || outcome.isRefused())
            done(outcome);
        else if (!isCancelled)
            openBox(this, title + ": " + outcome.reason, QMessageBox::Ok);
        updateActions();
    });
    updateActions();
}

void EditorWindow::open(const QString& path) {
    start("Open " + path, openPicture(path, -1), [this, path](const Outcome& outcome) {
        path_ = path;
        history_.clear();
        change(saved_ = outcome.picture);
        view_->fitInView(scene_->sceneRect(), Qt::KeepAspectRatio);
        layers_->clear();
        (new QListWidgetItem("Merged picture", layers_))->setData(Qt::UserRole, -1);
        for (int i = static_cast<int>(outcome.layers->count) - 1; i >= 0; --i) {  // the highest first
            if (outcome.layers->items[i].width == 0) continue;                    // a group
            (new QListWidgetItem(outcome.layers->items[i].name, layers_))->setData(Qt::UserRole, i);
        }
        layerDock_->setVisible(outcome.layers->count > 0);
    });
}

void EditorWindow::save(const QString& path, bool acceptsLosses) {
    start("Save " + path, savePicture(picture(), path, acceptsLosses), [this, path](const Outcome& outcome) {
        if (outcome.isRefused()) {
            const QString text = path + " cannot hold all of the picture:\n" + outcome.notes.join('\n');
            const auto* box = openBox(this, text, QMessageBox::Save | QMessageBox::Cancel);
            connect(box, &QMessageBox::accepted, this, [this, path] { save(path, true); });
            return;
        }
        saved_ = picture();
    });
}

void EditorWindow::openLayer(const QListWidgetItem* item) {
    start("Open layer", openPicture(path_, item->data(Qt::UserRole).toInt()),
          [this](const Outcome& outcome) { change(outcome.picture); });
}

// Drops what could be redone, and the oldest picture of many.
void EditorWindow::change(const PicturePtr& picture) {
    if (!history_.empty()) history_.resize(current_ + 1);
    history_.push_back(picture);
    if (history_.size() > 20) history_.erase(history_.begin());
    display(history_.size() - 1);
}

void EditorWindow::display(std::size_t current) {
    current_ = current;
    scene_->setImage(shownImage(picture()));
    updateActions();
}

void EditorWindow::updateActions() {
    const bool isIdle = !job_->isRunning();
    open_->setEnabled(isIdle);
    for (QAction* action : {save_, operations_}) action->setEnabled(isIdle && picture() != nullptr);
    undo_->setEnabled(isIdle && current_ > 0);
    redo_->setEnabled(isIdle && current_ + 1 < history_.size());
    setWindowFilePath(path_);
    setWindowModified(picture() != saved_);
}
