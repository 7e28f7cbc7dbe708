#include "tools/io/formats/CodecRow.h"

namespace tool {

namespace {

constexpr std::string_view kExtensions[] = {"bmp", "dib"};

bool loadBmp(const char* path, DibStream& image, DibProgressCallback, void*) {
    return image.LoadFromFile(path, DibStream::DIB_ACCEPT_ALL);
}

bool saveBmp(const char* path, DibStream& image, DibProgressCallback, void*) {
    // Masks were obeyed when the picture was loaded, and the file gets none: it must not announce any.
    if (image.Header != nullptr) image.Header->biCompression = 0;
    return image.SaveToFile(path);
}

bool isBmp(FirstBytes bytes) { return startsWith(bytes, "BM"); }

// The library decodes while it loads, so how the rows were packed is known from the file alone.
std::string_view bmpCompression(FirstBytes bytes) {
    constexpr std::size_t kOffset = 30;
    if (bytes.size() <= kOffset) return "none";
    switch (bytes[kOffset]) {
        case 1: return "rle8";
        case 3: return "masks";
        default: return "none";
    }
}

constexpr Format kFormats[] = {
    {"bmp", "Windows bitmap", kExtensions, "1, 4, 8, 16, 24, 32", "1, 4, 8, 16, 24, 32", loadBmp, saveBmp,
     formats::diagnoseBmp, isBmp, bmpCompression},
};

}  // namespace

std::span<const Format> bmpFormats() { return kFormats; }

}  // namespace tool
