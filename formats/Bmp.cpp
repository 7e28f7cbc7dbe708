// BMP as a row of the table of formats; `DibStream` itself reads and writes these files.
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

bool recognizes(FirstBytes bytes) { return startsWith(bytes, "BM"); }

// Loading unpacks rows, so only the file says how they were packed.
std::string_view compression(FirstBytes bytes) {
    constexpr std::size_t kOffset = 30;
    if (bytes.size() <= kOffset) return "none";
    switch (bytes[kOffset]) {
        case 1: return "rle8";
        case 3: return "masks";
        default: return "none";
    }
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
    .compression = compression,
    .load = load,
    .save = save,
    .diagnose = diagnoseBmp,
};

}  // namespace formats
