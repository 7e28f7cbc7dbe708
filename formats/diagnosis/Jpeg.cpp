#include <algorithm>

#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

constexpr bool isFrame(std::uint32_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

Problem frameProblem(const RefusedFile& file, std::int64_t at) {
    const std::uint32_t kind = file.byte(at + 1) & 3;
    const std::uint32_t bits = file.byte(at + 4);
    if (kind == 3) return unread("lossless JPEG is not read");
    if (bits != 8) return unread(std::to_string(bits) + " bits per sample are not read");
    return sizeProblem(file.be16(at + 7), file.be16(at + 5), 24);
}

}  // namespace

Problem diagnoseJpeg(const RefusedFile& file) {
    constexpr std::uint32_t kStartOfScan = 0xDA;
    if (file.be16(0) != 0xFFD8) return damaged("not a JPEG file");
    // Headers are short; what follows their end is not searched.
    constexpr std::int64_t kLongestHeader = std::int64_t{1} << 24;
    constexpr std::int64_t kFrameBytes = 10;
    bool hasFrame = false;
    for (std::int64_t at = 2; at < std::min(file.size(), kLongestHeader);) {
        const std::uint32_t marker = file.byte(at + 1);
        if (at + (isFrame(marker) ? kFrameBytes : 2) > file.size()) break;
        if (file.byte(at) != 0xFF) return damaged("the header is damaged");
        if (isFrame(marker)) {
            if (Problem problem = frameProblem(file, at); !problem.empty()) return problem;
            hasFrame = true;
        } else if (marker == kStartOfScan) {
            return hasFrame ? Problem() : damaged("the frame header is missing");
        }
        at += marker == 0xFF ? 1 : 2 + std::int64_t{file.be16(at + 2)};
    }
    return cutShort(hasFrame ? kShortPixels : kShortHeader);
}

}  // namespace formats
