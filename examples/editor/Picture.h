// Pictures that threads share, and the work on them. Nothing here touches a window.
#ifndef EXAMPLES_EDITOR_PICTURE_H
#define EXAMPLES_EDITOR_PICTURE_H

#include <DibFile.h>

#include <QImage>
#include <QStringList>
#include <functional>
#include <memory>

// A picture and what its file says beside the pixels. Nobody changes a finished one, so the window, a worker
// and the undo history may hold it at once, without a lock. The last of them to drop it frees it. `DibStream`
// counts references, too, but for one thread at a time; `shared_ptr` counts them for all.
struct Picture {
    DibStream image;  // top row first, as QImage has it
    DibMetadata metadata;
};
using PicturePtr = std::shared_ptr<const Picture>;

// How work reports its progress. The callback returns false to cancel.
struct Progress {
    DibProgressCallback callback;
    void* user;
};

// What work brings back.
struct Outcome {
    PicturePtr picture;                                                                // opened or changed
    std::shared_ptr<const DibLayers> layers;                                           // of an opened file
    int code = DIB_OK;                                                                 // DibErrorCode
    QString reason;                                                                    // why the work failed
    QStringList notes;                                                                 // warnings, and losses
    bool isRefused() const { return code == DIB_ERROR_MISMATCH && !notes.isEmpty(); }  // for its losses
};

using Done = std::function<void(const Outcome&)>;

// What a thread runs. It owns all that it reads, and shares nothing that changes.
using Work = std::function<Outcome(Progress)>;
Work openPicture(const QString& path, int layer);
Work applyStep(const PicturePtr& picture, const QByteArray& step);
Work savePicture(const PicturePtr& picture, const QString& path, bool acceptsLosses);

// The picture for the screen: shares its pixels and keeps it alive.
QImage shownImage(const PicturePtr& picture);

#endif
