#include "formats/diagnosis/Diagnosis.h"

#include <cctype>

namespace formats {

namespace {

struct KnownFormats {
    std::uint32_t first;  // number in the second header
    std::uint32_t last;
    int bitsPerPixel;
};
constexpr KnownFormats kNumbers[] = {{24, 24, 32}, {27, 29, 32}, {49, 49, 16}, {56, 56, 16}, {61, 61, 8},
                                     {65, 65, 8},  {70, 72, 4},  {73, 78, 8},  {79, 81, 4},  {82, 84, 8},
                                     {85, 86, 16}, {87, 88, 32}, {90, 93, 32}, {94, 99, 8},  {115, 115, 16}};

struct KnownCode {
    const char* code;
    int bitsPerPixel;
};
constexpr KnownCode kCodes[] = {{"DXT1", 4}, {"DXT2", 8}, {"DXT3", 8}, {"DXT4", 8}, {"DXT5", 8}, {"ATI1", 4},
                                {"BC4U", 4}, {"BC4S", 4}, {"ATI2", 8}, {"BC5U", 8}, {"BC5S", 8}};

// How many bits a pixel has; 0 for a format that is not read.
struct PixelFormat {
    std::string name;
    int bitsPerPixel = 0;
};

PixelFormat numberedFormat(std::uint32_t number) {
    PixelFormat format{"number " + std::to_string(number)};
    for (const KnownFormats& known : kNumbers) {
        if (number >= known.first && number <= known.last) format.bitsPerPixel = known.bitsPerPixel;
    }
    return format;
}

PixelFormat codedFormat(const RefusedFile& file) {
    constexpr std::int64_t kPlace = 84;
    const std::string code = file.text(kPlace, 4);
    if (code == "DX10") return numberedFormat(file.le32(128));
    const bool isText =
        std::isalnum(static_cast<unsigned char>(code.front())) != 0 && file.byte(kPlace + 3) != 0;
    PixelFormat format{isText ? quoted(code) : "code " + std::to_string(file.le32(kPlace))};
    for (const KnownCode& known : kCodes) {
        if (code == known.code) format.bitsPerPixel = known.bitsPerPixel;
    }
    return format;
}

PixelFormat maskedFormat(const RefusedFile& file) {
    constexpr std::uint32_t kAlpha = 2;
    constexpr std::uint32_t kRgb = 0x40;
    constexpr std::uint32_t kLuminance = 0x20000;
    const std::uint32_t flags = file.le32(80);
    const std::uint32_t bits = file.le32(88);
    PixelFormat format{std::to_string(bits) + " bits with flags " + std::to_string(flags)};
    const bool hasMasks = (file.le32(92) | file.le32(96) | file.le32(100) | file.le32(104)) != 0;
    if (!hasMasks) format.name += " and no masks";
    const bool isKnown = bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (isKnown && hasMasks && (flags & (kAlpha | kRgb | kLuminance)) != 0)
        format.bitsPerPixel = static_cast<int>(bits);
    return format;
}

}  // namespace

std::string diagnoseDds(const RefusedFile& file) {
    constexpr std::int64_t kHeaderBytes = 128;
    constexpr std::uint32_t kHasCode = 4;
    if (file.text(0, 4) != "DDS ") return "not a DDS file";
    if (file.size() < kHeaderBytes) return kShortHeader;
    if (file.le32(4) != 124 || file.le32(76) != 32) return "the header is damaged";
    const PixelFormat format = (file.le32(80) & kHasCode) != 0 ? codedFormat(file) : maskedFormat(file);
    if (format.bitsPerPixel == 0) return "pixels of format " + format.name + " are not read";
    if (std::string problem = sizeProblem(file.le32(16), file.le32(12), 32); !problem.empty()) return problem;
    const std::int64_t pixels = std::int64_t{file.le32(16)} * file.le32(12);
    if (pixels / 8 * format.bitsPerPixel > file.size() - kHeaderBytes) return kShortPixels;
    return "pixels of format " + format.name + " are not read or end too early";
}

}  // namespace formats
