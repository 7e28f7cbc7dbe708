// PNG, JPEG and TIFF.
#include <DibCodec.h>

#include "tools/io/formats/CodecRow.h"

namespace tool {

namespace {

bool isPng(FirstBytes bytes) { return startsWith(bytes, "\x89PNG\r\n\x1A\n"); }
bool isJpeg(FirstBytes bytes) { return startsWith(bytes, "\xFF\xD8\xFF"); }
bool isTiff(FirstBytes bytes) {
    return startsWith(bytes, {"II*\0", 4}) || startsWith(bytes, {"MM\0*", 4}) ||
           startsWith(bytes, {"II+\0", 4}) || startsWith(bytes, {"MM\0+", 4});
}

// Nothing but the directory of a TIFF file tells, and that may stand anywhere.
std::string_view pngCompression(FirstBytes) { return "deflate"; }
std::string_view jpegCompression(FirstBytes) { return "dct"; }
std::string_view tiffCompression(FirstBytes) { return "unknown"; }

constexpr std::string_view kPng[] = {"png"};
constexpr std::string_view kJpeg[] = {"jpg", "jpeg"};
constexpr std::string_view kTiff[] = {"tif", "tiff"};

constexpr Format kFormats[] = {
    {"png", "PNG", kPng, "8, 24, 32", "32; others as 32", runCodec<LoadPNG>, runCodec<SavePNG>,
     formats::diagnosePng, isPng, pngCompression},
    {"jpeg", "JPEG, opaque", kJpeg, "8, 24", "24; others as 24", runCodec<LoadJPEG>, runCodec<SaveJPEG>,
     formats::diagnoseJpeg, isJpeg, jpegCompression},
    {"tiff", "TIFF, its first picture", kTiff, "8, 24, 32", "32; others as 32", runCodec<LoadTIFF>,
     runCodec<SaveTIFF>, formats::diagnoseTiff, isTiff, tiffCompression},
};

}  // namespace

std::span<const Format> platformFormats() { return kFormats; }

}  // namespace tool
