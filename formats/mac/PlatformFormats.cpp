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
    .load = LoadTIFF,
    .save = SaveTIFF,
    .diagnose = diagnoseTiff,
};

}  // namespace formats
