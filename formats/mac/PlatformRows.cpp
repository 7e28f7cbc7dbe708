// The rows of the formats that the imaging framework reads and writes by path.
#include <DibCodec.h>

#include "formats/PlatformFormats.h"

namespace formats {

constinit const FileFormat kPngFormat = {
    .info = {.name = "png",
             .title = "PNG",
             .extensions = platform::kPng,
             .mimeTypes = platform::kPngTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({32})},
    .composeExtensions = platform::kPngCompose,
    .recognizes = platform::isPng,
    .compression = platform::deflate,
    .load = LoadPNG,
    .save = SavePNG,
    .diagnose = diagnosePng,
};

constinit const FileFormat kJpegFormat = {
    .info = {.name = "jpeg",
             .title = "JPEG, opaque",
             .extensions = platform::kJpeg,
             .mimeTypes = platform::kJpegTypes,
             .readDepths = depths({8, 24}),
             .writeDepths = depths({24})},
    .composeExtensions = platform::kJpegCompose,
    .recognizes = platform::isJpeg,
    .compression = platform::dct,
    .load = LoadJPEG,
    .save = SaveJPEG,
    .diagnose = diagnoseJpeg,
};

constinit const FileFormat kTiffFormat = {
    .info = {.name = "tiff",
             .title = "TIFF, its first picture",
             .extensions = platform::kTiff,
             .mimeTypes = platform::kTiffTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({32})},
    .recognizes = platform::isTiff,
    .compression = platform::unknown,
    .load = LoadTIFF,
    .save = SaveTIFF,
    .diagnose = diagnoseTiff,
};

}  // namespace formats
