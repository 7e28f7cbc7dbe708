// The window: menus, the picture, the layers of its file, and what can be undone.
#ifndef EXAMPLES_EDITOR_EDITOR_WINDOW_H
#define EXAMPLES_EDITOR_EDITOR_WINDOW_H

#include <QMainWindow>
#include <vector>

#include "Picture.h"

class JobBar;
class PictureScene;
class QGraphicsView;
class QListWidget;
class QListWidgetItem;
struct DibOperation;

class EditorWindow : public QMainWindow {
public:
    EditorWindow();
    void open(const QString& path);
    void save(const QString& path, bool acceptsLosses);
    PicturePtr picture() const { return history_.empty() ? nullptr : history_[current_]; }
    void closeEvent(QCloseEvent* event) override;

private:
    void addMenus();
    void askPathToOpen();
    void askPathToSave();
    void askParameters(const DibOperation& operation);
    bool mayDropChanges();
    void start(const QString& title, const Work& work, const Done& done);
    void openLayer(const QListWidgetItem* item);
    void change(const PicturePtr& picture);
    void display(std::size_t current);
    void updateActions();
    std::vector<PicturePtr> history_;  // undo and redo go through it
    std::size_t current_ = 0;
    PicturePtr saved_;  // as a file has it
    QString path_;      // of the opened file
    PictureScene* scene_;
    QGraphicsView* view_;
    QListWidget* layers_;
    QDockWidget* layerDock_;
    JobBar* job_;
    QAction *open_, *save_, *undo_, *redo_, *operations_;
};

#endif
