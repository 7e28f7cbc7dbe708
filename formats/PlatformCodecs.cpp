// The path overloads of the formats that the platform reads and writes.
#include <DibCocoaUtil.h>
#include <DibCodec.h>

#include <new>

#include "formats/Formats.h"

namespace {

VexString pathText(const char* path) { return VexString::fromAnsiString(path); }
VexString pathText(const wchar_t* path) { return VexString(path); }

// The text of a path is all that can run out of memory here.
template <class Char>
bool load(const Char* path, DibStream* image) {
    try {
        return DibCocoaUtil::LoadImageFile(pathText(path), image);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

template <class Char>
bool save(const Char* path, DibStream* image, DibCocoaUtil::DibCocoaFileType type) {
    try {
        return DibCocoaUtil::SaveImageFile(pathText(path), image, type);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool LoadJPEG(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadJPEG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadTIFF(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadTIFF(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadPNG(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadPNG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }

bool SaveJPEG(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_JPEG);
}
bool SaveJPEG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_JPEG);
}
bool SaveTIFF(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_TIFF);
}
bool SaveTIFF(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_TIFF);
}
bool SavePNG(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_PNG);
}
bool SavePNG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_PNG);
}

namespace formats {

namespace {

bool isPng(FirstBytes bytes) { return startsWith(bytes, "\x89PNG\r\n\x1A\n"); }
bool isJpeg(FirstBytes bytes) { return startsWith(bytes, "\xFF\xD8\xFF"); }
bool isTiff(FirstBytes bytes) {
    return startsWith(bytes, {"II*\0", 4}) || startsWith(bytes, {"MM\0*", 4}) ||
           startsWith(bytes, {"II+\0", 4}) || startsWith(bytes, {"MM\0+", 4});
}

std::string_view deflate(FirstBytes) { return "deflate"; }
std::string_view dct(FirstBytes) { return "dct"; }
// The directory that names the compression of a TIFF file may be anywhere in the file.
std::string_view unknown(FirstBytes) { return "unknown"; }

constexpr const char* kPng[] = {"png", nullptr};
constexpr const char* kPngCompose[] = {"png", nullptr};
constexpr const char* kJpeg[] = {"jpg", "jpeg", nullptr};
constexpr const char* kJpegCompose[] = {"jpg", nullptr};
constexpr const char* kTiff[] = {"tif", "tiff", nullptr};
constexpr const char* kPngTypes[] = {"image/png", nullptr};
constexpr const char* kJpegTypes[] = {"image/jpeg", nullptr};
constexpr const char* kTiffTypes[] = {"image/tiff", nullptr};

}  // namespace

constinit const FileFormat kPngFormat = {
    .info = {.name = "png",
             .title = "PNG",
             .extensions = kPng,
             .mimeTypes = kPngTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({32})},
    .composeExtensions = kPngCompose,
    .recognizes = isPng,
    .compression = deflate,
    .load = LoadPNG,
    .save = SavePNG,
    .diagnose = diagnosePng,
};

constinit const FileFormat kJpegFormat = {
    .info = {.name = "jpeg",
             .title = "JPEG, opaque",
             .extensions = kJpeg,
             .mimeTypes = kJpegTypes,
             .readDepths = depths({8, 24}),
             .writeDepths = depths({24})},
    .composeExtensions = kJpegCompose,
    .recognizes = isJpeg,
    .compression = dct,
    .load = LoadJPEG,
    .save = SaveJPEG,
    .diagnose = diagnoseJpeg,
};

constinit const FileFormat kTiffFormat = {
    .info = {.name = "tiff",
             .title = "TIFF, its first picture",
             .extensions = kTiff,
             .mimeTypes = kTiffTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({32})},
    .recognizes = isTiff,
    .compression = unknown,
    .load = LoadTIFF,
    .save = SaveTIFF,
    .diagnose = diagnoseTiff,
};

}  // namespace formats
