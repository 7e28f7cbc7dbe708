// What the functions of DibFile.h read of DDS files beyond LoadDDS.
#include <bit>

#include "tests/plugins/DdsFile.h"
#include "tests/plugins/PluginDoorTest.h"

namespace {

using dds_test::Bytes;
using dds_test::file;
using dds_test::Format;
using dds_test::masked;
using dds_test::named;
using dds_test::numbered;
using door_test::opened;
using plugin_test::PluginsInUse;

// All pixels from the top; empty when the file is refused.
Bytes shown(const Bytes& bytes, const DibLoadOptions& options = {}) {
    const door_test::Opened load = opened(bytes, options);
    return load.isLoaded ? codec_test::pixelsOf(*load.image) : Bytes();
}
Bytes shown(const Format& format, const Bytes& texel) {
    DibLoadOptions options;
    options.alpha = DIB_ALPHA_STORED;
    return shown(file(1, 1, format, texel), options);
}
Format code(std::uint32_t number) {
    Format format = named(std::string(4, '\0'));
    for (std::size_t i = 0; i < 4; ++i) format.fourCc[i] = static_cast<char>(number >> (8 * i));
    return format;
}
Bytes half(std::initializer_list<unsigned> values) {
    Bytes bytes;
    for (const unsigned value : values) {
        bytes.push_back(static_cast<unsigned char>(value));
        bytes.push_back(static_cast<unsigned char>(value >> 8));
    }
    return bytes;
}
Bytes words(std::initializer_list<std::uint32_t> values) {
    testing_support::ByteWriter out;
    for (const std::uint32_t value : values) out.le32(value);
    return out.bytes;
}
std::uint32_t bits(float value) { return std::bit_cast<std::uint32_t>(value); }

TEST(DdsWide, SixteenBitsAndMore) {
    const PluginsInUse plugins;
    const Bytes samples = half({0, 0x8000, 0xFFFF, 0x0101});
    EXPECT_EQ(shown(numbered(11), samples), (Bytes{255, 128, 0, 1}));
    EXPECT_EQ(shown(code(36), samples), (Bytes{255, 128, 0, 1}));
    EXPECT_EQ(shown(numbered(35), half({0x8000, 0xFFFF})), (Bytes{0, 255, 128, 255}));
    EXPECT_EQ(shown(numbered(57), half({0x8000})), Bytes{128});
    // 1, 0.5, 0.25 and 0.75 in half floats, which are shown without a curve.
    EXPECT_EQ(shown(numbered(10), half({0x3C00, 0x3800, 0x3400, 0x3A00})), (Bytes{64, 128, 255, 191}));
    EXPECT_EQ(shown(code(113), half({0x3C00, 0x3800, 0x3400, 0x3A00})), (Bytes{64, 128, 255, 191}));
    EXPECT_EQ(shown(numbered(34), half({0x3C00, 0xBC00})), (Bytes{0, 0, 255, 255})) << "-1 is 0";
    EXPECT_EQ(shown(numbered(54), half({0x7E00})), Bytes{0}) << "not a number";
    EXPECT_EQ(shown(numbered(2), words({bits(2), bits(0.5F), bits(0.25F), bits(1)})),
              (Bytes{64, 128, 255, 255}));
    EXPECT_EQ(shown(code(116), words({bits(2), bits(0.5F), bits(0.25F), bits(1)})),
              (Bytes{64, 128, 255, 255}));
    EXPECT_EQ(shown(numbered(6), words({bits(0), bits(0.5F), bits(1)})), (Bytes{255, 128, 0, 255}));
    EXPECT_EQ(shown(numbered(41), words({bits(0.5F)})), Bytes{128});
    EXPECT_EQ(shown(numbered(3), words({0, 0x80000000, 0xFFFFFFFF, 0x01010101})), (Bytes{255, 128, 0, 1}));
    const door_test::Opened load = opened(file(1, 1, numbered(10), Bytes(8)));
    EXPECT_EQ(load.note(0), "16 bits a sample became 8");
    EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_LOSS);
}

TEST(DdsWide, SmallFloats) {
    const PluginsInUse plugins;
    // 1, 0.5 and 0.25: exponents 15, 14 and 13 above fractions of 6, 6 and 5 bits.
    EXPECT_EQ(shown(numbered(26), words({15U << 6 | (14U << 6) << 11 | (13U << 5) << 22})),
              (Bytes{64, 128, 255, 255}));
    // 256, 128 and 64 of 512, times two.
    EXPECT_EQ(shown(numbered(67), words({256U | 128U << 9 | 64U << 18 | 16U << 27})),
              (Bytes{64, 128, 255, 255}));
}

TEST(DdsWide, SignedSamplesGoFromMinusOneToOne) {
    const PluginsInUse plugins;
    EXPECT_EQ(shown(numbered(31), {0x7F, 0x00, 0x81, 0x7F}), (Bytes{0, 128, 255, 255}));
    EXPECT_EQ(shown(numbered(51), {0x80, 0x40}), (Bytes{128, 192, 0, 255})) << "-128 is -127, blue is 0";
    EXPECT_EQ(shown(numbered(63), {0xC0}), Bytes{63});
    EXPECT_EQ(shown(numbered(13), half({0x7FFF, 0x0000, 0x8000, 0x7FFF})), (Bytes{0, 128, 255, 255}));
    EXPECT_EQ(shown(code(110), half({0x7FFF, 0x0000, 0x8000, 0x7FFF})), (Bytes{0, 128, 255, 255}));
    EXPECT_EQ(shown(numbered(4), words({0x7FFFFFFF, 0, 0x80000000, 0x7FFFFFFF})), (Bytes{0, 128, 255, 255}));
    EXPECT_EQ(shown(masked(0x80000, 16, {0xFF, 0xFF00, 0, 0}), {0x7F, 0x81}), (Bytes{128, 0, 255, 255}));
    EXPECT_EQ(shown(masked(0x80000, 32, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}), {0x7F, 0x81, 0, 0x7F}),
              (Bytes{128, 0, 255, 255}));
    EXPECT_EQ(shown(masked(0x80000, 32, {0xFFFF, 0xFFFF0000, 0, 0}), half({0x7FFF, 0x8000})),
              (Bytes{128, 0, 255, 255}));
    EXPECT_TRUE(shown(masked(0x80000, 24, {0xFF, 0xFF00, 0, 0}), {1, 2, 3}).empty());
}

TEST(DdsWide, RedInThePlaceOfAlpha) {
    const PluginsInUse plugins;
    // Alpha 200 throughout, and blue of the second end point.
    const Bytes block = {200, 200, 0, 0, 0, 0, 0, 0, 0x1F, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(shown(file(1, 1, named("RXGB"), block)), (Bytes{255, 0, 200, 255}));
}

TEST(DdsWide, ChromaOfPairs) {
    const PluginsInUse plugins;
    // Black and white without chroma, and the red of television: 81, 90, 240.
    EXPECT_EQ(shown(file(2, 1, named("YUY2"), {16, 128, 235, 128})),
              (Bytes{0, 0, 0, 255, 255, 255, 255, 255}));
    EXPECT_EQ(shown(file(1, 1, named("YUY2"), {81, 90, 81, 240})), (Bytes{0, 0, 255, 255}));
    EXPECT_EQ(shown(file(2, 1, named("UYVY"), {90, 81, 240, 16})), (Bytes{0, 0, 255, 255, 0, 0, 179, 255}));
    EXPECT_EQ(shown(file(1, 1, numbered(107), {81, 90, 81, 240})), (Bytes{0, 0, 255, 255}));
    EXPECT_EQ(shown(file(1, 1, numbered(100), {240, 90, 81, 7})), (Bytes{0, 0, 255, 7}));
    EXPECT_EQ(shown(file(2, 1, named("RGBG"), {10, 20, 30, 40})), (Bytes{30, 20, 10, 255, 30, 40, 10, 255}));
    EXPECT_EQ(shown(file(2, 1, named("GRGB"), {10, 20, 30, 40})), (Bytes{40, 10, 20, 255, 40, 30, 20, 255}));
    // Three texels take two pairs a row.
    EXPECT_EQ(shown(file(3, 2, numbered(68), Bytes(16, 9))).size(), 3U * 2 * 4);
    EXPECT_TRUE(shown(file(3, 2, numbered(68), Bytes(15, 9))).empty());
}

TEST(DdsWide, PremultipliedColorsAreDivided) {
    const PluginsInUse plugins;
    const door_test::Opened load = opened(file(1, 1, numbered(28, 2), {64, 128, 30, 128}));
    EXPECT_EQ(codec_test::pixelsOf(*load.image), (Bytes{60, 255, 128, 128}));
    EXPECT_EQ(load.note(0), "colours were divided by the alpha that they were multiplied by");
    EXPECT_EQ(shown(numbered(28, 2), {9, 9, 9, 0}), (Bytes{0, 0, 0, 0}));
    // Alpha 8 of 15, and a colour of half the light.
    const Bytes block = {0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x0F, 0x00, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(shown(file(1, 1, named("DXT2"), block)), (Bytes{231, 0, 0, 136}));
    EXPECT_EQ(shown(file(1, 1, named("DXT3"), block)), (Bytes{123, 0, 0, 136}));
    EXPECT_EQ(dds_test::pixels(file(1, 1, named("DXT2"), block)), (Bytes{123, 0, 0, 136})) << "LoadDDS";
}

TEST(DdsWide, Palettes) {
    const PluginsInUse plugins;
    Bytes data(1027, 255);
    data[1024] = data[1026] = 7;
    data[1025] = 0;
    for (std::size_t i = 0; i < 4; ++i)
        data[4 * 7 + i] = static_cast<unsigned char>(10 * i + (i == 3 ? 225 : 1));
    const door_test::Opened load = opened(file(3, 1, masked(0x20, 8, {0, 0, 0, 0}), data));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 8);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{7, 0, 7}));
    const auto* entry = reinterpret_cast<const unsigned char*>(load.image->Header + 1) + std::size_t{4} * 7;
    EXPECT_EQ(Bytes(entry, entry + 4), (Bytes{21, 11, 1, 0}));
    data[3] = 128;
    EXPECT_EQ(shown(file(3, 1, masked(0x20, 8, {0, 0, 0, 0}), data)),
              (Bytes{21, 11, 1, 255, 255, 255, 255, 128, 21, 11, 1, 255}));
}

// Pillow 9 announces greys as if they were colours: their masks, and 24 or 32 bits.
TEST(DdsWide, GreysAnnouncedAsColors) {
    const PluginsInUse plugins;
    constexpr std::uint32_t kMask = 0xFF0000;
    EXPECT_EQ(shown(file(3, 1, masked(0x20000, 24, {kMask, kMask, kMask, 0}), {5, 6, 7})), (Bytes{5, 6, 7}));
    EXPECT_EQ(shown(file(2, 1, masked(0x20001, 32, {kMask, kMask, kMask, 0xFF000000}), {5, 255, 7, 9})),
              (Bytes{5, 5, 5, 255, 7, 7, 7, 9}));
}

TEST(DdsWide, AlphaAloneIsGrey) {
    const PluginsInUse plugins;
    EXPECT_EQ(shown(file(2, 1, masked(0x2, 8, {0, 0, 0, 0xFF}), {7, 200})), (Bytes{7, 200}));
    EXPECT_EQ(shown(file(2, 1, numbered(65), {7, 200})), (Bytes{7, 200}));
    EXPECT_EQ(dds_test::pixels(file(1, 1, numbered(65), {7})), (Bytes{0, 0, 0, 7})) << "LoadDDS";
}

TEST(DdsWide, OneBitATexel) {
    const PluginsInUse plugins;
    EXPECT_EQ(shown(file(10, 2, numbered(66), {0b10110001, 0b01000000, 0b00000000, 0b10111111})),
              (Bytes{255, 0, 255, 255, 0, 0, 0, 255, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0}));
    EXPECT_TRUE(shown(file(10, 2, numbered(66), {1, 2, 3})).empty());
}

// Puts numbers into the header at their offsets.
Bytes with(Bytes bytes, std::initializer_list<std::pair<std::size_t, std::uint32_t>> fields) {
    for (const auto& [at, value] : fields) {
        for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<unsigned char>(value >> (8 * i));
    }
    return bytes;
}
constexpr std::size_t kDepth = 24;
constexpr std::size_t kLevels = 28;
constexpr std::size_t kKind = 112;

TEST(DdsWide, PixelFormatsMayHaveAWrongSize) {
    const PluginsInUse plugins;
    for (const std::uint32_t size : {0U, 24U, 31U}) {
        const Bytes bytes = with(file(1, 1, masked(0x20000, 8, {0xFF, 0, 0, 0}), {9}), {{76, size}});
        const door_test::Opened load = opened(bytes);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(codec_test::pixelsOf(*load.image), Bytes{9});
        EXPECT_EQ(load.note(0), "the header gives its pixel format a wrong size");
        EXPECT_TRUE(dds_test::pixels(bytes).empty()) << "LoadDDS";
    }
}

Bytes grey(std::uint32_t width, std::uint32_t height, std::size_t count) {
    Bytes data(count);
    for (std::size_t i = 0; i < count; ++i) data[i] = static_cast<unsigned char>(i);
    return file(width, height, masked(0x20000, 8, {0xFF, 0, 0, 0}), data);
}
Bytes page(const Bytes& bytes, int number, int level = 0) {
    DibLoadOptions options;
    options.page = number;
    options.level = level;
    return shown(bytes, options);
}

TEST(DdsWide, Levels) {
    const PluginsInUse plugins;
    // 5 x 2, 2 x 1 and 1 x 1 texels.
    const Bytes bytes = with(grey(5, 2, 13), {{kLevels, 3}});
    EXPECT_EQ(page(bytes, 0), (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(page(bytes, 0, 1), (Bytes{10, 11}));
    EXPECT_EQ(page(bytes, 0, 2), Bytes{12});
    DibLoadOptions options;
    options.level = 3;
    EXPECT_EQ(opened(bytes, options).reason(), "there is no level 3: the file has 3");
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.levels, 3);
    EXPECT_EQ(info.pages, 1);
    options.level = 1;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options));
    EXPECT_EQ(info.width, 2);
    EXPECT_EQ(info.height, 1);
    // More levels than sides can be halved are none.
    const Bytes many = with(grey(5, 2, 13), {{kLevels, 100}});
    ASSERT_TRUE(DibProbeMemory(many.data(), many.size(), &info));
    EXPECT_EQ(info.levels, 3);
    // Blocks of 8 x 4, 4 x 2, 2 x 1 and 1 x 1 texels: two, and one each.
    Bytes blocks(5 * 8, 0);
    blocks[2 * 8] = 0x1F;
    EXPECT_EQ(page(with(file(8, 4, named("DXT1"), blocks), {{kLevels, 4}}), 0, 2),
              (Bytes{0, 0, 0, 255, 0, 0, 0, 255}))
        << "the third level";
    blocks[3 * 8] = 0x1F;
    EXPECT_EQ(page(with(file(8, 4, named("DXT1"), blocks), {{kLevels, 4}}), 0, 2),
              (Bytes{255, 0, 0, 255, 255, 0, 0, 255}));
}

TEST(DdsWide, FacesAreWholeAndSlicesArePerLevel) {
    const PluginsInUse plugins;
    // Three faces of 2 x 2 with a level of 1 x 1.
    const Bytes cube = with(grey(2, 2, 15), {{kLevels, 2}, {kKind, 0x200 | 0x400 | 0x800 | 0x8000}});
    EXPECT_EQ(page(cube, 0), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(page(cube, 2), (Bytes{10, 11, 12, 13}));
    EXPECT_EQ(page(cube, 1, 1), Bytes{9});
    EXPECT_TRUE(page(cube, 3).empty());
    // Four slices of 2 x 2, then two of 1 x 1, then one.
    const Bytes volume = with(grey(2, 2, 19), {{kLevels, 3}, {kKind, 0x200000}, {kDepth, 4}});
    EXPECT_EQ(page(volume, 3), (Bytes{12, 13, 14, 15}));
    EXPECT_EQ(page(volume, 1, 1), Bytes{17});
    EXPECT_EQ(page(volume, 0, 2), Bytes{18});
    DibLoadOptions options;
    options.page = 2;
    options.level = 1;
    EXPECT_EQ(opened(volume, options).reason(), "there is no page 2: the file has 2");
    // Two array elements, and two cubes, by the second header.
    Bytes data(8);
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i);
    Bytes array = with(file(2, 2, numbered(61), data), {{128 + 12, 2}});
    EXPECT_EQ(page(array, 1), (Bytes{4, 5, 6, 7}));
    DibFileInfo info;
    array = with(file(1, 1, numbered(61), Bytes(12, 3)), {{128 + 12, 2}, {128 + 8, 4}});
    ASSERT_TRUE(DibProbeMemory(array.data(), array.size(), &info));
    EXPECT_EQ(info.pages, 12);
    EXPECT_EQ(page(array, 11), Bytes{3});
}

TEST(DdsWide, RowsOfCutFilesAreKept) {
    const PluginsInUse plugins;
    door_test::expectRowsOfCutFiles(grey(4, 5, 20), 128, 4);
}

TEST(DdsWide, HostileHeadersEndInAResult) {
    const PluginsInUse plugins;
    for (const Bytes& bytes :
         {with(grey(5, 4, 27), {{kLevels, 3}, {kKind, 0x200000}, {kDepth, 1}}),
          file(5, 4, numbered(10), Bytes(160, 1)), file(3, 3, named("YUY2"), Bytes(24, 1))}) {
        DibLoadOptions options;
        door_test::expectExtremeBytesAreSurvived(bytes, "x.dds", options);
        options.page = INT32_MAX;
        options.level = 2;
        EXPECT_FALSE(
            opened(with(bytes, {{kKind, 0x200000}, {kDepth, 0xFFFFFFFF}, {kLevels, 32}}), options).isLoaded);
        EXPECT_FALSE(opened(with(bytes, {{kKind, 0xFE00}, {kLevels, 3}}), options).isLoaded);
    }
}

// Every number and every FourCC that is read at all gives a picture of any texels.
TEST(DdsWide, EveryFormatTakesAnyTexels) {
    const PluginsInUse plugins;
    int count = 0;
    for (int number = 0; number < 256; ++number) {
        const door_test::Opened load = opened(file(5, 5, numbered(number), Bytes(2048, 0xA7)));
        if (!load.isLoaded) {
            EXPECT_EQ(load.reason(), "pixels of format number " + std::to_string(number) + " are not read");
            continue;
        }
        ++count;
        DibFileInfo info;
        const Bytes bytes = file(5, 5, numbered(number), Bytes(2048, 0xA7));
        ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
        EXPECT_EQ(info.bitCount, load.image->Header->biBitCount) << number;
    }
    EXPECT_EQ(count, 94);
}

}  // namespace
