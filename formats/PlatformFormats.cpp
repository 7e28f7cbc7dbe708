// PNG, JPEG and TIFF, EXR and DDS, and PSD as rows of the table of formats.
#include <DibCodec.h>
#include <VexLibs.h>

#include <new>

#include "formats/Formats.h"

namespace formats {

namespace {

bool isPsd(FirstBytes bytes) { return startsWith(bytes, "8BPS"); }
bool isPng(FirstBytes bytes) { return startsWith(bytes, "\x89PNG\r\n\x1A\n"); }
bool isJpeg(FirstBytes bytes) { return startsWith(bytes, "\xFF\xD8\xFF"); }
bool isTiff(FirstBytes bytes) {
    return startsWith(bytes, {"II*\0", 4}) || startsWith(bytes, {"MM\0*", 4}) ||
           startsWith(bytes, {"II+\0", 4}) || startsWith(bytes, {"MM\0+", 4});
}
bool isExr(FirstBytes bytes) { return startsWith(bytes, "\x76\x2F\x31\x01"); }
bool isDds(FirstBytes bytes) { return startsWith(bytes, "DDS "); }

// The compression of TIFF, EXR and DDS files may be named anywhere in the file.
std::string_view deflate(FirstBytes) { return "deflate"; }
std::string_view dct(FirstBytes) { return "dct"; }
std::string_view unknown(FirstBytes) { return "unknown"; }

bool loadDds(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    try {
        return LoadDDS(VexString::fromUtf8String(path).c_str(), image, callback, user);
    } catch (const std::bad_alloc&) {
        return fail(image, DIB_ERROR_MEMORY);
    }
}

constexpr Extension kPsd[] = {{"psd"}};
constexpr Extension kPng[] = {{"png", true}};
constexpr Extension kJpeg[] = {{"jpg", true}, {"jpeg"}};
constexpr Extension kTiff[] = {{"tif"}, {"tiff"}};
constexpr Extension kExr[] = {{"exr"}};
constexpr Extension kDds[] = {{"dds"}};
constexpr std::string_view kPsdTypes[] = {"image/x-psd"};
constexpr std::string_view kPngTypes[] = {"image/png"};
constexpr std::string_view kJpegTypes[] = {"image/jpeg"};
constexpr std::string_view kTiffTypes[] = {"image/tiff"};
constexpr std::string_view kExrTypes[] = {"image/x-exr"};
constexpr std::string_view kDdsTypes[] = {"image/x-dds"};

}  // namespace

constinit const FileFormat kPsdFormat = {
    .name = "psd",
    .title = "Layered document, its merged picture",
    .extensions = kPsd,
    .mimeTypes = kPsdTypes,
    .readsDepths = "8, 24, 32",
    .writesDepths = "",
    .load = LoadPSD,
    .recognizes = isPsd,
    .hasLayers = true,
};

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

constinit const FileFormat kExrFormat = {
    .name = "exr",
    .title = "OpenEXR, its first part, by a plug-in",
    .extensions = kExr,
    .mimeTypes = kExrTypes,
    .readsDepths = "8, 32",
    .writesDepths = "",
    .load = LoadEXR,
    .recognizes = isExr,
    .compression = unknown,
    .plugin = "vexlibexr.bundle",
};

constinit const FileFormat kDdsFormat = {
    .name = "dds",
    .title = "DirectDraw surface, its largest level, by a plug-in",
    .extensions = kDds,
    .mimeTypes = kDdsTypes,
    .readsDepths = "8, 32",
    .writesDepths = "",
    .load = loadDds,
    .recognizes = isDds,
    .compression = unknown,
    .plugin = "vexlibdds.bundle",
};

}  // namespace formats
