#include "plugins/dds/Surface.h"

#include "dib/Bytes.h"

namespace plugins::dds {

namespace {

// Offsets into the magic number and the 124 bytes of header that follow it.
constexpr std::size_t kHeaderBytes = 128;
constexpr std::size_t kSize = 4;
constexpr std::size_t kHeight = 12;
constexpr std::size_t kWidth = 16;
constexpr std::size_t kFormatSize = 76;
constexpr std::size_t kFormatFlags = 80;
constexpr std::size_t kFourCc = 84;
constexpr std::size_t kBitCount = 88;
constexpr std::size_t kMasks = 92;  // red, green, blue, alpha

constexpr std::uint32_t kHasAlpha = 0x1;
constexpr std::uint32_t kIsAlpha = 0x2;
constexpr std::uint32_t kIsFourCc = 0x4;
constexpr std::uint32_t kIsRgb = 0x40;
constexpr std::uint32_t kIsLuminance = 0x20000;

// The second header, after the FourCC "DX10".
constexpr std::size_t kSecondHeaderBytes = 20;
constexpr std::size_t kAlphaMode = 16;
constexpr std::uint32_t kAlphaModeBits = 7;
constexpr std::uint32_t kAlphaIsOpaque = 3;

constexpr std::uint32_t fourCc(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

struct BlockFormat {
    BlockDecoder decode;
    std::size_t bytes;
    bool isGrey;
};
constexpr BlockFormat kBc1 = {decodeBc1, 8, false};
constexpr BlockFormat kBc2 = {decodeBc2, 16, false};
constexpr BlockFormat kBc3 = {decodeBc3, 16, false};
constexpr BlockFormat kBc4Unsigned = {decodeBc4Unsigned, 8, true};
constexpr BlockFormat kBc4Signed = {decodeBc4Signed, 8, true};
constexpr BlockFormat kBc5Unsigned = {decodeBc5Unsigned, 16, false};
constexpr BlockFormat kBc5Signed = {decodeBc5Signed, 16, false};
constexpr BlockFormat kBc6Unsigned = {decodeBc6Unsigned, 16, false};
constexpr BlockFormat kBc6Signed = {decodeBc6Signed, 16, false};
constexpr BlockFormat kBc7 = {decodeBc7, 16, false};

struct NamedFormat {
    std::uint32_t code;
    BlockFormat format;
};
// DXT2 and DXT4 hold colours premultiplied by alpha, unlike DXT3 and DXT5; they stay as stored.
constexpr NamedFormat kFourCcs[] = {
    {fourCc("DXT1"), kBc1},         {fourCc("DXT2"), kBc2},       {fourCc("DXT3"), kBc2},
    {fourCc("DXT4"), kBc3},         {fourCc("DXT5"), kBc3},       {fourCc("ATI1"), kBc4Unsigned},
    {fourCc("BC4U"), kBc4Unsigned}, {fourCc("BC4S"), kBc4Signed}, {fourCc("ATI2"), kBc5Unsigned},
    {fourCc("BC5U"), kBc5Unsigned}, {fourCc("BC5S"), kBc5Signed},
};
// Untyped, linear and sRGB numbers of a format name the same bytes.
constexpr NamedFormat kBlockNumbers[] = {
    {70, kBc1},         {71, kBc1},         {72, kBc1},         {73, kBc2},         {74, kBc2},
    {75, kBc2},         {76, kBc3},         {77, kBc3},         {78, kBc3},         {79, kBc4Unsigned},
    {80, kBc4Unsigned}, {81, kBc4Signed},   {82, kBc5Unsigned}, {83, kBc5Unsigned}, {84, kBc5Signed},
    {94, kBc6Unsigned}, {95, kBc6Unsigned}, {96, kBc6Signed},   {97, kBc7},         {98, kBc7},
    {99, kBc7},
};

struct Masks {
    std::uint32_t bits;
    std::uint32_t red;
    std::uint32_t green;
    std::uint32_t blue;
    std::uint32_t alpha;
};
struct NumberedMasks {
    std::uint32_t number;
    Masks masks;
};
constexpr Masks kRgba8 = {32, 0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks kBgra8 = {32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks kBgrx8 = {32, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr NumberedMasks kMaskNumbers[] = {
    {24, {32, 0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}},
    {27, kRgba8},
    {28, kRgba8},
    {29, kRgba8},
    {49, {16, 0xFF, 0xFF00, 0, 0}},
    {56, {16, 0xFFFF, 0xFFFF, 0xFFFF, 0}},  // one channel is a grey
    {61, {8, 0xFF, 0xFF, 0xFF, 0}},
    {65, {8, 0, 0, 0, 0xFF}},
    {85, {16, 0xF800, 0x7E0, 0x1F, 0}},
    {86, {16, 0x7C00, 0x3E0, 0x1F, 0x8000}},
    {87, kBgra8},
    {88, kBgrx8},
    {90, kBgra8},
    {91, kBgra8},
    {92, kBgrx8},
    {93, kBgrx8},
    {115, {16, 0xF00, 0xF0, 0xF, 0xF000}},
};

template <std::size_t kCount>
bool useBlocks(const NamedFormat (&formats)[kCount], std::uint32_t code, Surface& surface) {
    for (const NamedFormat& named : formats) {
        if (named.code != code) continue;
        surface.decode = named.format.decode;
        surface.unitBytes = named.format.bytes;
        surface.isGrey = named.format.isGrey;
        return true;
    }
    return false;
}

bool useMasks(const Masks& masks, Surface& surface) {
    if (masks.bits != 8 && masks.bits != 16 && masks.bits != 24 && masks.bits != 32) return false;
    surface.unitBytes = masks.bits / 8;
    surface.red = Channel(masks.red);
    surface.green = Channel(masks.green);
    surface.blue = Channel(masks.blue);
    surface.alpha = Channel(masks.alpha);
    for (const Channel* channel : {&surface.red, &surface.green, &surface.blue, &surface.alpha}) {
        if (channel->hasGaps() || !channel->fits(masks.bits)) return false;
    }
    surface.isGrey =
        masks.red != 0 && masks.red == masks.green && masks.red == masks.blue && masks.alpha == 0;
    return (masks.red | masks.green | masks.blue | masks.alpha) != 0;
}

// The flags of the first header say which of its masks count.
bool useFirstHeader(const unsigned char* header, std::uint32_t flags, Surface& surface) {
    Masks masks = {dib::readLe32(header + kBitCount), dib::readLe32(header + kMasks),
                   dib::readLe32(header + kMasks + 4), dib::readLe32(header + kMasks + 8),
                   dib::readLe32(header + kMasks + 12)};
    if ((flags & (kHasAlpha | kIsAlpha)) == 0) masks.alpha = 0;
    if ((flags & kIsLuminance) != 0) {
        // Writers that put the mask beside the texel mean all of it: nothing else fits into one byte.
        if (masks.bits == 8 && masks.alpha == 0 && (masks.red & 0xFF) == 0) masks.red = 0xFF;
        masks.green = masks.blue = masks.red;
    } else if ((flags & kIsRgb) == 0) {
        if ((flags & kIsAlpha) == 0) return false;
        masks.red = masks.green = masks.blue = 0;
    }
    return useMasks(masks, surface);
}

bool useSecondHeader(std::FILE* file, Surface& surface) {
    unsigned char header[kSecondHeaderBytes];
    if (std::fread(header, 1, sizeof header, file) != sizeof header) return false;
    surface.isOpaque = (dib::readLe32(header + kAlphaMode) & kAlphaModeBits) == kAlphaIsOpaque;
    const std::uint32_t number = dib::readLe32(header);
    for (const NumberedMasks& numbered : kMaskNumbers) {
        if (numbered.number == number) return useMasks(numbered.masks, surface);
    }
    return useBlocks(kBlockNumbers, number, surface);
}

}  // namespace

bool readSurface(std::FILE* file, Surface& surface) {
    unsigned char header[kHeaderBytes];
    if (std::fread(header, 1, sizeof header, file) != sizeof header) return false;
    if (dib::readLe32(header) != fourCc("DDS ") || dib::readLe32(header + kSize) != 124 ||
        dib::readLe32(header + kFormatSize) != 32) {
        return false;
    }
    surface.width = dib::readLe32(header + kWidth);
    surface.height = dib::readLe32(header + kHeight);
    const std::uint32_t flags = dib::readLe32(header + kFormatFlags);
    if ((flags & kIsFourCc) == 0) return useFirstHeader(header, flags, surface);
    const std::uint32_t code = dib::readLe32(header + kFourCc);
    return code == fourCc("DX10") ? useSecondHeader(file, surface) : useBlocks(kFourCcs, code, surface);
}

}  // namespace plugins::dds
