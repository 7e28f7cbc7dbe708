// Opens a window on the picture that the command line names.
#include <DibStream.h>

#include <QApplication>

#include "EditorWindow.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    DibStream::SetDllFilePath(PLUGIN_FOLDER);  // before the first file, and never the working directory

    EditorWindow window;
    window.show();
    if (argc > 1) window.open(QApplication::arguments().at(1));
    return QApplication::exec();
}
