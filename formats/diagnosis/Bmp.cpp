#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

constexpr std::uint32_t kOs2HeaderBytes = 64;

std::string compressionProblem(std::uint32_t compression, std::uint32_t headerBytes, int bitCount) {
    constexpr std::uint32_t kBytesWithMasks = 56;
    const bool isOs2 = headerBytes == kOs2HeaderBytes;
    switch (compression) {
        case 0:
        case 1: return {};
        case 2: return "4-bit run-length pixels are not read";
        case 3:
            if (isOs2) return "Huffman-coded pixels are not read";
            if (bitCount != 32) return "channel masks at " + std::to_string(bitCount) + " bits are not read";
            if (headerBytes < kBytesWithMasks) {
                return "channel masks behind a header of " + std::to_string(headerBytes) +
                       " bytes are not read";
            }
            return {};
        case 4: return isOs2 ? "24-bit run-length pixels are not read" : "JPEG pixels are not read";
        case 5: return "PNG pixels are not read";
        case 6: return "masks with alpha (compression 6) are not read";
        default: return "compression " + std::to_string(compression) + " is not known";
    }
}

bool isByteMask(std::uint32_t mask) {
    for (int shift = 0; shift <= 24; ++shift) {
        if (mask == 255U << shift) return true;
    }
    return false;
}

}  // namespace

std::string diagnoseBmp(const RefusedFile& file) {
    constexpr std::int64_t kFileHeaderBytes = 14;
    if (file.text(0, 2) == "BA") return "arrays of OS/2 bitmaps are not read";
    if (file.text(0, 2) != "BM") return "not a BMP file";
    if (file.size() < kFileHeaderBytes + 4) return kShortHeader;
    const std::uint32_t headerBytes = file.le32(kFileHeaderBytes);
    if (headerBytes < 40 || headerBytes > 124)
        return "headers of " + std::to_string(headerBytes) + " bytes are not read";
    if (file.size() < kFileHeaderBytes + headerBytes) return kShortHeader;

    const int bitCount = static_cast<int>(file.le16(28));
    const std::uint32_t compression = file.le32(30);
    if (std::string problem = compressionProblem(compression, headerBytes, bitCount); !problem.empty())
        return problem;
    for (const std::int64_t mask : {54, 58, 62}) {
        if (compression == 3 && !isByteMask(file.le32(mask)))
            return "channel masks other than 8 bits in a row are not read";
    }
    if (bitCount != 1 && bitCount != 4 && bitCount != 8 && bitCount != 16 && bitCount != 24 && bitCount != 32)
        return std::to_string(bitCount) + " bits per pixel are not read";

    const std::uint32_t colors = file.le32(46);
    if (bitCount <= 8 && colors > 1U << bitCount) {
        return "a palette of " + std::to_string(colors) + " colours is too long for " +
               std::to_string(bitCount) + (bitCount == 1 ? " bit" : " bits");
    }
    const auto width = static_cast<std::int32_t>(file.le32(18));
    const auto height = static_cast<std::int32_t>(file.le32(22));
    return sizeProblem(width, height, bitCount);
}

}  // namespace formats
