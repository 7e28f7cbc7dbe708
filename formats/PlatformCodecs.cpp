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

constexpr Extension kPng[] = {{"png", true}};
constexpr Extension kJpeg[] = {{"jpg", true}, {"jpeg"}};
constexpr Extension kTiff[] = {{"tif"}, {"tiff"}};
constexpr std::string_view kPngTypes[] = {"image/png"};
constexpr std::string_view kJpegTypes[] = {"image/jpeg"};
constexpr std::string_view kTiffTypes[] = {"image/tiff"};

}  // namespace

constinit const FileFormat kPngFormat = {
    .name = "png",
    .title = "PNG",
    .extensions = kPng,
    .mimeTypes = kPngTypes,
    .readsDepths = "8, 24, 32",
    .writesDepths = "32; others as 32",
    .load = LoadPNG,
    .save = SavePNG,
    .recognizes = isPng,
    .compression = deflate,
};

constinit const FileFormat kJpegFormat = {
    .name = "jpeg",
    .title = "JPEG, opaque",
    .extensions = kJpeg,
    .mimeTypes = kJpegTypes,
    .readsDepths = "8, 24",
    .writesDepths = "24; others as 24",
    .load = LoadJPEG,
    .save = SaveJPEG,
    .recognizes = isJpeg,
    .compression = dct,
};

constinit const FileFormat kTiffFormat = {
    .name = "tiff",
    .title = "TIFF, its first picture",
    .extensions = kTiff,
    .mimeTypes = kTiffTypes,
    .readsDepths = "8, 24, 32",
    .writesDepths = "32; others as 32",
    .load = LoadTIFF,
    .save = SaveTIFF,
    .recognizes = isTiff,
    .compression = unknown,
};

}  // namespace formats
