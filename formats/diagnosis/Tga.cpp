#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

enum ImageType : std::uint32_t { kNone, kMapped, kTrueColor, kGrey, kPacked = 8 };

std::string mapProblem(const RefusedFile& file, bool isPacked, std::uint32_t bitCount) {
    const std::uint32_t entryBits = file.byte(7);
    const auto entries = static_cast<std::int16_t>(file.le16(5));
    if (bitCount != 8) return "colour-mapped pixels of " + std::to_string(bitCount) + " bits are not read";
    if (file.byte(1) == 0) return "the colour map is missing";
    std::string kind = "colour maps of " + std::to_string(entryBits) + "-bit entries are not read";
    if (entryBits != 24 && entryBits != 32) return kind;
    if (entryBits == 32 && isPacked) return kind + " beside run-length pixels";
    if (entries < 0 || (entryBits == 24 && entries > 256))
        return "a colour map of " + std::to_string(file.le16(5)) + " entries is not read";
    return {};
}

std::string kindProblem(const RefusedFile& file) {
    const std::uint32_t type = file.byte(2);
    const std::uint32_t bitCount = file.byte(16);
    switch (type) {
        case kNone: return "there is no picture in the file";
        case kMapped:
        case kPacked | kMapped: return mapProblem(file, type > kPacked, bitCount);
        case kTrueColor:
        case kPacked | kTrueColor:
            if (bitCount == 16 || bitCount == 24 || bitCount == 32) return {};
            return "true-colour pixels of " + std::to_string(bitCount) + " bits are not read";
        case kGrey:
            return bitCount == 8 ? "" : "grey pixels of " + std::to_string(bitCount) + " bits are not read";
        case kPacked | kGrey: return "run-length grey is not read";
        default: return "image type " + std::to_string(type) + " is not known";
    }
}

}  // namespace

std::string diagnoseTga(const RefusedFile& file) {
    constexpr std::int64_t kHeaderBytes = 18;
    if (file.size() < kHeaderBytes) return kShortHeader;
    if (std::string problem = kindProblem(file); !problem.empty()) return problem;
    const auto width = static_cast<std::int16_t>(file.le16(12));
    const auto height = static_cast<std::int16_t>(file.le16(14));
    if (width < 0 || height < 0) {
        return "a picture of " + std::to_string(file.le16(12)) + "x" + std::to_string(file.le16(14)) +
               " pixels is too large";
    }
    return {};
}

}  // namespace formats
