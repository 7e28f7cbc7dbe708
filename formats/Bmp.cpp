// BMP as a row of the table of formats.
#include "formats/Bmp.h"

#include "dib/Bytes.h"
#include "formats/Formats.h"

namespace formats {

namespace {

bool load(const char* path, DibStream* image, DibProgressCallback, void*) {
    return image->LoadFromFile(path, DibStream::DIB_ACCEPT_ALL);
}

bool save(const char* path, DibStream* image, DibProgressCallback, void*) {
    // Loading has applied the channel masks and the file gets none, so its header must not announce any.
    if (image->Header != nullptr) image->Header->biCompression = 0;
    return image->SaveToFile(path);
}

bool recognizes(FirstBytes bytes) {
    constexpr std::size_t kArrayHeaderBytes = 14;
    if (startsWith(bytes, "BM")) return true;
    return startsWith(bytes, "BA") && bytes.size() > kArrayHeaderBytes &&
           startsWith(bytes.subspan(kArrayHeaderBytes), "BM");
}

// A bitmap without a file header, as programs keep them in resources and on clipboards.
bool resembles(FirstBytes bytes) {
    if (bytes.size() < 40) return false;
    const std::uint32_t length = dib::readLe32(bytes.data());
    const bool isKnown = length == 40 || length == 52 || length == 56 || length == 108 || length == 124;
    const unsigned bits = dib::readLe16(bytes.data() + 14);
    return isKnown && dib::readLe16(bytes.data() + 12) == 1 && bits <= 32 &&
           dib::readLe32(bytes.data() + 16) <= 6;
}

constexpr const char* kExtensions[] = {"bmp", "dib", nullptr};
constexpr const char* kCompose[] = {"bmp", nullptr};
constexpr const char* kMimeTypes[] = {"image/bmp", nullptr};

}  // namespace

constinit const FileFormat kBmpFormat = {
    .info = {.name = "bmp",
             .title = "Windows bitmap",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({1, 4, 8, 16, 24, 32}),
             .writeDepths = depths({1, 4, 8, 16, 24, 32})},
    .composeExtensions = kCompose,
    .recognizes = recognizes,
    .resembles = resembles,
    .load = load,
    .save = save,
    .probe = probeBmp,
    .read = readBmp,
    .losses = findBmpLosses,
    .write = writeBmp,
};

}  // namespace formats
