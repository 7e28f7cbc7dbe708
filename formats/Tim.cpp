// TIM as a row of the table of formats.
#include "formats/Tim.h"

#include "dib/Bytes.h"
#include "formats/Formats.h"
#include "formats/TimLayout.h"

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) {
    return bytes.size() >= 8 && dib::readLe32(bytes.data()) == kTimIdentifier && bytes[4] < 16;
}

constexpr const char* kExtensions[] = {"tim", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-tim", nullptr};

}  // namespace

constinit const FileFormat kTimFormat = {
    .info = {.name = "tim",
             .title = "TIM texture",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({4, 8, 16, 24, 32}),
             .writeDepths = depths({4, 8, 16, 24}),
             .hasPages = true},
    .recognizes = recognizes,
    .load = LoadTIM,
    .save = saveWhole<saveTimWhole>,
    .probe = probeTim,
    .read = readTim,
    .losses = findTimLosses,
    .write = writeTim,
    .diagnose = diagnoseTim,
};

}  // namespace formats
