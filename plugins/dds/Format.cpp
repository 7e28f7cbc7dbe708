#include "plugins/dds/Format.h"

#include <algorithm>

#include "plugins/dds/Texels.h"

namespace plugins::dds {

namespace {

// What the masks of the first header are for.
constexpr std::uint32_t kHasAlpha = 0x1;
constexpr std::uint32_t kIsAlpha = 0x2;
constexpr std::uint32_t kIsIndexed = 0x20;
constexpr std::uint32_t kIsRgb = 0x40;
constexpr std::uint32_t kIsLuminance = 0x20000;
constexpr std::uint32_t kIsSigned = 0x80000;

constexpr Format blocks(BlockDecoder decode, std::size_t bytes, const char* packing, bool hasAlpha = false) {
    return {.decode = decode,
            .unitBytes = bytes,
            .columns = 4,
            .rows = 4,
            .packing = packing,
            .hasAlpha = hasAlpha};
}
constexpr Format greyBlocks(BlockDecoder decode) {
    Format format = blocks(decode, 8, "bc4");
    format.isGrey = true;
    return format;
}
constexpr Format premultiplied(Format format) {
    format.isPremultiplied = true;
    return format;
}
constexpr Format kBc1 = blocks(decodeBc1, 8, "bc1", true);
constexpr Format kBc2 = blocks(decodeBc2, 16, "bc2", true);
constexpr Format kBc3 = blocks(decodeBc3, 16, "bc3", true);
constexpr Format kBc4Unsigned = greyBlocks(decodeBc4Unsigned);
constexpr Format kBc4Signed = greyBlocks(decodeBc4Signed);
constexpr Format kBc5Unsigned = blocks(decodeBc5Unsigned, 16, "bc5");
constexpr Format kBc5Signed = blocks(decodeBc5Signed, 16, "bc5");
constexpr Format kBc7 = blocks(decodeBc7, 16, "bc7", true);
constexpr Format bc6(BlockDecoder decode) {
    Format format = blocks(decode, 16, "bc6");
    format.sampleBits = 16;
    return format;
}

template <class Sample, int kChannels>
constexpr Format channels() {
    return {.decode = decodeChannels<Sample, kChannels>,
            .unitBytes = std::size_t{kChannels} * Sample::kBits / 8,
            .isGrey = kChannels == 1,
            .hasAlpha = kChannels == 4,
            .sampleBits = Sample::kBits};
}
constexpr Format pairs(BlockDecoder decode, const char* packing) {
    return {.decode = decode, .unitBytes = 4, .columns = 2, .packing = packing};
}
constexpr Format kBits = {.decode = decodeBits, .unitBytes = 1, .columns = 8, .isGrey = true};
constexpr Format single(BlockDecoder decode, const char* packing, int sampleBits, bool hasAlpha = false) {
    return {
        .decode = decode, .unitBytes = 4, .packing = packing, .hasAlpha = hasAlpha, .sampleBits = sampleBits};
}

struct NamedFormat {
    std::uint32_t code;
    Format format;
};

constexpr NamedFormat kFourCcs[] = {
    {fourCc("DXT1"), kBc1},         {fourCc("DXT2"), premultiplied(kBc2)},
    {fourCc("DXT3"), kBc2},         {fourCc("DXT4"), premultiplied(kBc3)},
    {fourCc("DXT5"), kBc3},         {fourCc("ATI1"), kBc4Unsigned},
    {fourCc("BC4U"), kBc4Unsigned}, {fourCc("BC4S"), kBc4Signed},
    {fourCc("ATI2"), kBc5Unsigned}, {fourCc("BC5U"), kBc5Unsigned},
    {fourCc("BC5S"), kBc5Signed},
};
// Formats without masks have a small number where others have a FourCC.
constexpr NamedFormat kMoreFourCcs[] = {
    {fourCc("RXGB"), blocks(decodeRxgb, 16, "bc3")},
    {fourCc("YUY2"), pairs(decodeYuy2, "yuy2")},
    {fourCc("UYVY"), pairs(decodeUyvy, "uyvy")},
    {fourCc("RGBG"), pairs(decodeRgbg, "rgbg")},
    {fourCc("GRGB"), pairs(decodeGrgb, "grgb")},
    {36, channels<Unsigned16, 4>()},
    {110, channels<Signed16, 4>()},
    {111, channels<Float16, 1>()},
    {112, channels<Float16, 2>()},
    {113, channels<Float16, 4>()},
    {114, channels<Float32, 1>()},
    {115, channels<Float32, 2>()},
    {116, channels<Float32, 4>()},
};

// Untyped, linear and sRGB numbers of a format name the same bytes.
constexpr NamedFormat kBlockNumbers[] = {
    {70, kBc1},
    {71, kBc1},
    {72, kBc1},
    {73, kBc2},
    {74, kBc2},
    {75, kBc2},
    {76, kBc3},
    {77, kBc3},
    {78, kBc3},
    {79, kBc4Unsigned},
    {80, kBc4Unsigned},
    {81, kBc4Signed},
    {82, kBc5Unsigned},
    {83, kBc5Unsigned},
    {84, kBc5Signed},
    {94, bc6(decodeBc6Unsigned)},
    {95, bc6(decodeBc6Unsigned)},
    {96, bc6(decodeBc6Signed)},
    {97, kBc7},
    {98, kBc7},
    {99, kBc7},
};
// Whole numbers are fractions of their highest value.
constexpr NamedFormat kMoreNumbers[] = {
    {1, channels<Float32, 4>()},
    {2, channels<Float32, 4>()},
    {3, channels<Unsigned32, 4>()},
    {4, channels<Signed32, 4>()},
    {5, channels<Float32, 3>()},
    {6, channels<Float32, 3>()},
    {7, channels<Unsigned32, 3>()},
    {8, channels<Signed32, 3>()},
    {9, channels<Float16, 4>()},
    {10, channels<Float16, 4>()},
    {11, channels<Unsigned16, 4>()},
    {12, channels<Unsigned16, 4>()},
    {13, channels<Signed16, 4>()},
    {14, channels<Signed16, 4>()},
    {15, channels<Float32, 2>()},
    {16, channels<Float32, 2>()},
    {17, channels<Unsigned32, 2>()},
    {18, channels<Signed32, 2>()},
    {26, single(decodeR11G11B10, "none", 11)},
    {30, channels<Unsigned8, 4>()},
    {31, channels<Signed8, 4>()},
    {32, channels<Signed8, 4>()},
    {33, channels<Unsigned16, 2>()},
    {34, channels<Float16, 2>()},
    {35, channels<Unsigned16, 2>()},
    {36, channels<Unsigned16, 2>()},
    {37, channels<Signed16, 2>()},
    {38, channels<Signed16, 2>()},
    {39, channels<Float32, 1>()},
    {40, channels<Float32, 1>()},
    {41, channels<Float32, 1>()},
    {42, channels<Unsigned32, 1>()},
    {43, channels<Signed32, 1>()},
    {48, channels<Unsigned8, 2>()},
    {50, channels<Unsigned8, 2>()},
    {51, channels<Signed8, 2>()},
    {52, channels<Signed8, 2>()},
    {53, channels<Unsigned16, 1>()},
    {54, channels<Float16, 1>()},
    {55, channels<Unsigned16, 1>()},
    {57, channels<Unsigned16, 1>()},
    {58, channels<Signed16, 1>()},
    {59, channels<Signed16, 1>()},
    {60, channels<Unsigned8, 1>()},
    {62, channels<Unsigned8, 1>()},
    {63, channels<Signed8, 1>()},
    {64, channels<Signed8, 1>()},
    {66, kBits},
    {67, single(decodeR9G9B9E5, "none", 14)},
    {68, pairs(decodeRgbg, "rgbg")},
    {69, pairs(decodeGrgb, "grgb")},
    {100, single(decodeAyuv, "ayuv", 8, true)},
    {107, pairs(decodeYuy2, "yuy2")},
};

struct NumberedMasks {
    std::uint32_t number;
    Masks masks;
};
constexpr Masks kRgba8 = {32, 0xFF, 0xFF00, 0xFF0000, 0xFF000000};
constexpr Masks kRgb10 = {32, 0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};
constexpr Masks kBgra8 = {32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr Masks kBgrx8 = {32, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr NumberedMasks kMaskNumbers[] = {
    {24, kRgb10},
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
constexpr NumberedMasks kMoreMaskNumbers[] = {
    {23, kRgb10}, {25, kRgb10}, {191, {16, 0xF000, 0xF00, 0xF0, 0xF}}};

template <std::size_t kCount>
bool useNamed(const NamedFormat (&formats)[kCount], std::uint32_t code, const Dialect& dialect,
              Format& format) {
    for (const NamedFormat& named : formats) {
        if (named.code != code) continue;
        format = named.format;
        if (!dialect.showsLight && format.decode == decodeBc6Unsigned) format.decode = decodeBc6UnsignedPlain;
        if (!dialect.showsLight && format.decode == decodeBc6Signed) format.decode = decodeBc6SignedPlain;
        return true;
    }
    return false;
}

bool useTexels(const Masks& given, const Dialect& dialect, Format& format) {
    Masks masks = given;
    if (dialect.showsAlpha && (masks.red | masks.green | masks.blue) == 0)
        masks = {masks.bits, masks.alpha, masks.alpha, masks.alpha, 0};
    if (masks.bits != 8 && masks.bits != 16 && masks.bits != 24 && masks.bits != 32) return false;
    format.unitBytes = masks.bits / 8;
    format.red = Channel(masks.red);
    format.green = Channel(masks.green);
    format.blue = Channel(masks.blue);
    format.alpha = Channel(masks.alpha);
    for (const Channel* channel : {&format.red, &format.green, &format.blue, &format.alpha}) {
        if (channel->hasGaps() || !channel->fits(masks.bits)) return false;
        format.sampleBits = std::max(format.sampleBits, channel->bits());
    }
    format.hasAlpha = masks.alpha != 0;
    format.isGrey = masks.red != 0 && masks.red == masks.green && masks.red == masks.blue && masks.alpha == 0;
    return (masks.red | masks.green | masks.blue | masks.alpha) != 0;
}

template <std::size_t kCount>
bool useNumberedMasks(const NumberedMasks (&all)[kCount], std::uint32_t number, const Dialect& dialect,
                      Format& format) {
    for (const NumberedMasks& numbered : all) {
        if (numbered.number == number) return useTexels(numbered.masks, dialect, format);
    }
    return false;
}

// Red and green, or these with blue and alpha, in bytes or in 16 bits.
bool useSigned(const Masks& masks, Format& format) {
    if (masks.bits == 16 && masks.red == 0xFF && masks.green == 0xFF00) {
        format = channels<Signed8, 2>();
    } else if (masks.bits == 32 && masks.red == 0xFF && masks.green == 0xFF00) {
        format = channels<Signed8, 4>();
    } else if (masks.bits == 32 && masks.red == 0xFFFF && masks.green == 0xFFFF0000) {
        format = channels<Signed16, 2>();
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool useFourCc(std::uint32_t code, const Dialect& dialect, Format& format) {
    return useNamed(kFourCcs, code, dialect, format) ||
           (dialect.readsMore && useNamed(kMoreFourCcs, code, dialect, format));
}

bool useNumber(std::uint32_t number, const Dialect& dialect, Format& format) {
    return useNumberedMasks(kMaskNumbers, number, dialect, format) ||
           useNamed(kBlockNumbers, number, dialect, format) ||
           (dialect.readsMore && (useNumberedMasks(kMoreMaskNumbers, number, dialect, format) ||
                                  useNamed(kMoreNumbers, number, dialect, format)));
}

bool useMasks(std::uint32_t flags, const Masks& given, const Dialect& dialect, Format& format) {
    Masks masks = given;
    if ((flags & (kHasAlpha | kIsAlpha)) == 0) masks.alpha = 0;
    if (dialect.readsMore && (flags & kIsLuminance) != 0 && masks.bits >= 24) {
        // No format has so many: Pillow announces the bits of colours, and stores bytes of grey and of alpha.
        masks = masks.alpha == 0 ? Masks{8, 0xFF, 0, 0, 0} : Masks{16, 0xFF, 0, 0, 0xFF00};
    }
    if ((flags & kIsLuminance) != 0) {
        // Some writers put the mask beside the byte of the texel; the whole byte is meant.
        if (masks.bits == 8 && masks.alpha == 0 && (masks.red & 0xFF) == 0) masks.red = 0xFF;
        masks.green = masks.blue = masks.red;
    } else if (dialect.readsMore && (flags & kIsSigned) != 0) {
        return useSigned(given, format);
    } else if (dialect.readsMore && (flags & kIsIndexed) != 0) {  // some writers announce other bits than 8
        format = {.unitBytes = 1, .hasAlpha = true, .isIndexed = true};
        return true;
    } else if ((flags & kIsRgb) == 0) {
        if ((flags & kIsAlpha) == 0) return false;
        masks.red = masks.green = masks.blue = 0;
    } else if (dialect.readsMore && (masks.red | masks.green | masks.blue) == 0 && masks.bits >= 24) {
        masks = {masks.bits, kBgrx8.red, kBgrx8.green, kBgrx8.blue, masks.alpha};
    }
    return useTexels(masks, dialect, format);
}

}  // namespace plugins::dds
