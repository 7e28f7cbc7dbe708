// The frame of every codec: opening the file of a path overload, failing with a code, reporting progress.
#ifndef FORMATS_CODEC_FRAME_H
#define FORMATS_CODEC_FRAME_H

#include <DibStream.h>

#include <cstdio>
#include <memory>
#include <utility>

#include "dib/File.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/ByteWriter.h"

namespace formats {

// A loader and a saver on an open file.
using Loader = bool (*)(std::FILE*, DibStream*, DibProgressCallback, void*);
using Writer = bool (*)(ByteWriter&, DibStream*, DibProgressCallback, void*);

// Most codecs store a code when the file cannot be opened; some leave the code of the image, as callers
// expect.
enum class OpenFailure { kStoresCode, kLeavesCode };

inline bool fail(DibStream* image, DibErrorCode code) {
    image->ErrorCode = code;
    return false;
}

inline bool failToOpen(DibStream* image, OpenFailure openFailure) {
    return openFailure == OpenFailure::kStoresCode ? fail(image, DIB_ERROR_OPEN) : false;
}

// The path overloads: each is one call. A loader's name alone is enough for `load`: among its overloads the
// one that takes a FILE* is chosen.
template <class Char>
bool loadPath(const Char* path, Loader load, DibStream* image, DibProgressCallback callback, void* user,
              OpenFailure openFailure = OpenFailure::kStoresCode) {
    if (image == nullptr) return false;
    const dib::FilePtr file = dib::openForReading(path);
    return file != nullptr ? load(file.get(), image, callback, user) : failToOpen(image, openFailure);
}

// The result of a save. The classic savers do not report errors of writing: they return true for kShort.
enum class SaveEnd { kRefused, kShort, kWhole };

template <class Char>
SaveEnd saveFile(const Char* path, Writer write, DibStream* image, DibProgressCallback callback, void* user,
                 OpenFailure openFailure = OpenFailure::kStoresCode) {
    if (image == nullptr) return SaveEnd::kRefused;
    dib::FilePtr file = dib::openForWriting(path);
    if (file == nullptr) {
        failToOpen(image, openFailure);
        return SaveEnd::kRefused;
    }
    ByteWriter out(file.get());
    if (!write(out, image, callback, user)) return SaveEnd::kRefused;
    return dib::closeWritten(std::move(file)) && out.isWhole() ? SaveEnd::kWhole : SaveEnd::kShort;
}

template <class Char>
bool savePath(const Char* path, Writer write, DibStream* image, DibProgressCallback callback, void* user,
              OpenFailure openFailure = OpenFailure::kStoresCode) {
    return saveFile(path, write, image, callback, user, openFailure) != SaveEnd::kRefused;
}

// Reports that `done` of `total` rows are done; false when the callback cancels.
inline bool report(DibProgressCallback callback, void* user, int done, int total) {
    return callback == nullptr || callback(dib::doneShare(done, total), user);
}

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

}  // namespace formats

#endif
