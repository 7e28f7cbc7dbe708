#include "formats/diagnosis/Diagnosis.h"

#include <cstdio>

namespace formats {

namespace {

constexpr std::int64_t kPixelBytes = 4;

// Old files repeat the pixel before by one of red, green and blue 1.
bool hasOldRuns(const RefusedFile& file, std::int64_t at) {
    constexpr std::size_t kLookedAt = 1 << 20;
    const std::string pixels = file.text(at, kLookedAt);
    for (std::size_t i = 0; i + kPixelBytes <= pixels.size(); i += kPixelBytes) {
        if (pixels.compare(i, 3, "\1\1\1") == 0) return true;
    }
    return false;
}

std::string pixelProblem(const RefusedFile& file, std::int64_t at, int width) {
    const bool isPacked = width >= 8 && width <= 0x7FFF && file.be16(at) == 0x0202 && file.byte(at + 2) < 128;
    if (isPacked) return "the run-length pixels are damaged or end too early";
    return hasOldRuns(file, at) ? "old run-length pixels are not read" : kShortPixels;
}

}  // namespace

std::string diagnoseHdr(const RefusedFile& file) {
    std::int64_t at = 0;
    std::string line;
    bool isRgbe = false;
    if (file.text(0, 2) != "#?") return "not a Radiance file";
    while (!(line = file.line(at)).empty()) {
        if (line == "FORMAT=32-bit_rle_xyze") return "pixels in XYZ are not read";
        isRgbe = isRgbe || line == "FORMAT=32-bit_rle_rgbe";
    }
    if (at >= file.size()) return kShortHeader;
    if (!isRgbe) return "the header has no line FORMAT=32-bit_rle_rgbe";
    line = file.line(at);
    int width = 0;
    int height = 0;
    if (std::sscanf(line.c_str(), "-Y %d +X %d", &height, &width) != 2) {
        const bool isSize = line.starts_with('-') || line.starts_with('+');
        return isSize ? "pixels in another order than -Y +X are not read" : "the line of the size is missing";
    }
    const std::string problem = sizeProblem(width, height, 24);
    return problem.empty() ? pixelProblem(file, at, width) : problem;
}

}  // namespace formats
