// The frame of every codec: opening the file of a path overload, failing with a code, reporting progress.
#ifndef FORMATS_CODEC_FRAME_H
#define FORMATS_CODEC_FRAME_H

#include <DibStream.h>

#include <cstdio>
#include <memory>

#include "dib/File.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"

namespace formats {

// What a codec does with a file that is open.
using StreamCodec = bool (*)(std::FILE*, DibStream*, DibProgressCallback, void*);

// Most codecs store a code when their file cannot be opened; callers rely on some to leave the image's own.
enum class OpenFailure { kStoresCode, kLeavesCode };

inline bool fail(DibStream* image, DibErrorCode code) {
    image->ErrorCode = code;
    return false;
}

inline bool runOnFile(const dib::FilePtr& file, StreamCodec codec, DibStream* image,
                      DibProgressCallback callback, void* user, OpenFailure openFailure) {
    if (file != nullptr) return codec(file.get(), image, callback, user);
    return openFailure == OpenFailure::kStoresCode ? fail(image, DIB_ERROR_OPEN) : false;
}

// The path overloads: each is one call. The codec's name alone is enough for `codec`: among its overloads the
// one that takes a FILE* is chosen.
template <class Char>
bool loadPath(const Char* path, StreamCodec codec, DibStream* image, DibProgressCallback callback, void* user,
              OpenFailure openFailure = OpenFailure::kStoresCode) {
    if (image == nullptr) return false;
    return runOnFile(dib::openForReading(path), codec, image, callback, user, openFailure);
}
template <class Char>
bool savePath(const Char* path, StreamCodec codec, DibStream* image, DibProgressCallback callback, void* user,
              OpenFailure openFailure = OpenFailure::kStoresCode) {
    if (image == nullptr) return false;
    return runOnFile(dib::openForWriting(path), codec, image, callback, user, openFailure);
}

// Tells the callback, if there is one, that `done` of `total` rows are done; false when it cancels.
inline bool report(DibProgressCallback callback, void* user, int done, int total) {
    return callback == nullptr || callback(static_cast<float>(done) / static_cast<float>(total), user);
}

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

}  // namespace formats

#endif
