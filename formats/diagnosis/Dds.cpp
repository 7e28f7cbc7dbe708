#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/diagnosis/DdsHeader.h"

#include <cctype>

#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

enum class Shows { kGrey, kColors, kColorsAndAlpha };

struct Kind {
    int bitsPerPixel;
    const char* packing;
    Shows shows = Shows::kColorsAndAlpha;
};
constexpr Kind kBc1 = {4, "bc1"};
constexpr Kind kBc2 = {8, "bc2"};
constexpr Kind kBc3 = {8, "bc3"};
constexpr Kind kBc4 = {4, "bc4", Shows::kGrey};
constexpr Kind kBc5 = {8, "bc5", Shows::kColors};
constexpr Kind kBc6 = {8, "bc6", Shows::kColors};
constexpr Kind kBc7 = {8, "bc7"};
constexpr Kind plain(int bits, Shows shows = Shows::kColorsAndAlpha) { return {bits, "none", shows}; }

struct NumberedKinds {
    std::uint32_t first;  // number in the second header
    std::uint32_t last;
    Kind kind;
};
constexpr NumberedKinds kNumbers[] = {{24, 24, plain(32)},
                                      {27, 29, plain(32)},
                                      {49, 49, plain(16, Shows::kColors)},
                                      {56, 56, plain(16, Shows::kGrey)},
                                      {61, 61, plain(8, Shows::kGrey)},
                                      {65, 65, plain(8)},
                                      {70, 72, kBc1},
                                      {73, 75, kBc2},
                                      {76, 78, kBc3},
                                      {79, 81, kBc4},
                                      {82, 84, kBc5},
                                      {85, 85, plain(16, Shows::kColors)},
                                      {86, 86, plain(16)},
                                      {87, 87, plain(32)},
                                      {88, 88, plain(32, Shows::kColors)},
                                      {90, 91, plain(32)},
                                      {92, 93, plain(32, Shows::kColors)},
                                      {94, 96, kBc6},
                                      {97, 99, kBc7},
                                      {115, 115, plain(16)}};

struct CodedKind {
    const char* code;
    Kind kind;
};
constexpr CodedKind kCodes[] = {{"DXT1", kBc1}, {"DXT2", kBc2}, {"DXT3", kBc2}, {"DXT4", kBc3},
                                {"DXT5", kBc3}, {"ATI1", kBc4}, {"BC4U", kBc4}, {"BC4S", kBc4},
                                {"ATI2", kBc5}, {"BC5U", kBc5}, {"BC5S", kBc5}};

void use(const Kind& kind, DdsHeader& header) {
    header.bitsPerPixel = kind.bitsPerPixel;
    header.packing = kind.packing;
    header.isGrey = kind.shows == Shows::kGrey;
    header.hasAlpha = kind.shows == Shows::kColorsAndAlpha;
}

void useNumber(std::uint32_t number, DdsHeader& header) {
    header.pixelFormat = "number " + std::to_string(number);
    for (const NumberedKinds& known : kNumbers) {
        if (number >= known.first && number <= known.last) use(known.kind, header);
    }
}

void useCode(const RefusedFile& file, DdsHeader& header) {
    constexpr std::int64_t kPlace = 84;
    const std::string code = file.text(kPlace, 4);
    if (code == "DX10") return useNumber(file.le32(128), header);
    const bool isText = std::isalnum(dib::byteOf(code.front())) != 0 && file.byte(kPlace + 3) != 0;
    header.pixelFormat = isText ? quoted(code) : "code " + std::to_string(file.le32(kPlace));
    for (const CodedKind& known : kCodes) {
        if (code == known.code) use(known.kind, header);
    }
}

void useMasks(const RefusedFile& file, std::uint32_t flags, DdsHeader& header) {
    constexpr std::uint32_t kHasAlpha = 1;
    constexpr std::uint32_t kIsAlpha = 2;
    constexpr std::uint32_t kRgb = 0x40;
    constexpr std::uint32_t kLuminance = 0x20000;
    const std::uint32_t bits = file.le32(88);
    const std::uint32_t red = file.le32(92);
    const std::uint32_t alpha = (flags & (kHasAlpha | kIsAlpha)) != 0 ? file.le32(104) : 0;
    header.pixelFormat = std::to_string(bits) + " bits with flags " + std::to_string(flags);
    const bool hasMasks = (red | file.le32(96) | file.le32(100) | file.le32(104)) != 0;
    if (!hasMasks) header.pixelFormat += " and no masks";
    const bool isKnown = bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (!isKnown || !hasMasks || (flags & (kIsAlpha | kRgb | kLuminance)) == 0) return;
    const bool isGrey = (flags & kLuminance) != 0 ||
                        ((flags & kRgb) != 0 && red != 0 && red == file.le32(96) && red == file.le32(100));
    use(plain(dib::asInt(bits), alpha != 0 ? Shows::kColorsAndAlpha
                                : isGrey   ? Shows::kGrey
                                           : Shows::kColors),
        header);
}

}  // namespace

DdsHeader readDdsHeader(const RefusedFile& file) {
    constexpr std::uint32_t kHasCode = 4;
    DdsHeader header;
    header.height = file.le32(12);
    header.width = file.le32(16);
    const std::uint32_t flags = file.le32(80);
    if ((flags & kHasCode) != 0) {
        useCode(file, header);
    } else {
        useMasks(file, flags, header);
    }
    return header;
}

Problem diagnoseDds(const RefusedFile& file) {
    constexpr std::int64_t kHeaderBytes = 128;
    if (file.text(0, 4) != "DDS ") return damaged("not a DDS file");
    const bool hasMore = file.text(84, 4) == "DX10";
    if (file.size() < kHeaderBytes + (hasMore ? 4 : 0)) return cutShort(kShortHeader);
    if (file.le32(4) != 124) return damaged("the header is damaged");
    const DdsHeader header = readDdsHeader(file);
    if (header.bitsPerPixel == 0) return unread("pixels of format " + header.pixelFormat + " are not read");
    if (Problem problem = sizeProblem(header.width, header.height, 32); !problem.empty()) return problem;
    if (header.width * header.height * header.bitsPerPixel / 8 > file.size() - kHeaderBytes)
        return cutShort(kShortPixels);
    return guessed("pixels of format " + header.pixelFormat + " are not read or end too early");
}

}  // namespace formats
