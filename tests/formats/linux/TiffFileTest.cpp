// What becomes of the many ways in which TIFF files store samples.
#include <DibCodec.h>

#include <cmath>
#include <cstring>

#include "tests/formats/CodecTest.h"
#include "tests/formats/TiffBuilder.h"

namespace codec_test {
namespace {

enum : unsigned { kWhiteIsZero = 0, kBlackIsZero = 1, kRgb = 2, kPalette = 3, kInks = 5 };

Loaded loadBytes(const Bytes& bytes) {
    const TemporaryFile file(".tif", bytes);
    Loaded loaded;
    loaded.image->ErrorCode = kUntouched;
    loaded.result = LoadTIFF(file.path(), loaded.image.get(), nullptr, nullptr);
    loaded.code = loaded.image->ErrorCode;
    return loaded;
}

struct Shown {
    int width;
    int height;
    int bitCount;
    Bytes pixels;
};
void expectShown(const TiffBuilder& file, const Shown& shown) {
    const Loaded loaded = loadBytes(file.bytes());
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.code, kUntouched);
    EXPECT_EQ(loaded.image->Header->biWidth, shown.width);
    EXPECT_EQ(loaded.image->Header->biHeight, shown.height);
    ASSERT_EQ(loaded.image->Header->biBitCount, shown.bitCount);
    EXPECT_EQ(pixelsOf(*loaded.image), shown.pixels);
}

// Samples of any width, packed from the high bits down.
Bytes packed(const std::vector<std::uint32_t>& samples, unsigned bits) {
    Bytes bytes((samples.size() * bits + 7) / 8);
    for (std::size_t i = 0; i < samples.size() * bits; ++i) {
        const std::uint32_t bit = samples[i / bits] >> (bits - 1 - i % bits) & 1;
        bytes[i / 8] = static_cast<unsigned char>(bytes[i / 8] | bit << (7 - i % 8));
    }
    return bytes;
}

template <class Number>
Bytes rawBytes(const std::vector<Number>& numbers) {
    Bytes bytes(numbers.size() * sizeof(Number));
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return bytes;
}

Bytes paletteEntry(DibStream& image, std::size_t index) {
    const auto* entry = reinterpret_cast<const unsigned char*>(image.Header) + 40 + 4 * index;
    return {entry, entry + 4};
}

TEST(TiffFile, GreyOfEveryDepthBecomes8Bits) {
    for (unsigned bits = 1; bits <= 32; ++bits) {
        SCOPED_TRACE(bits);
        const auto largest = static_cast<std::uint32_t>((std::uint64_t{1} << bits) - 1);
        const std::vector<std::uint32_t> samples = {0, largest, largest / 3, largest - largest / 3, 1};
        Bytes expected;
        for (const std::uint32_t sample : samples) {
            expected.push_back(static_cast<unsigned char>(std::lround(255.0 * sample / largest)));
        }
        // Of whole bytes the order of the file holds; the high byte first is the order of packed samples,
        // too.
        TiffBuilder file(5, 1, bits, 1, kBlackIsZero, packed(samples, bits));
        file.bigEndian = true;
        expectShown(file, {5, 1, 8, expected});
        for (unsigned char& byte : expected) byte = static_cast<unsigned char>(255 - byte);
        expectShown(file.set(262, {kWhiteIsZero}), {5, 1, 8, expected});
    }
}

TEST(TiffFile, RowsBeginAtWholeBytes) {
    expectShown({3, 2, 4, 1, kBlackIsZero, {0x12, 0x3F, 0x45, 0x6F}}, {3, 2, 8, {17, 34, 51, 68, 85, 102}});
    expectShown({9, 2, 1, 1, kBlackIsZero, {0x80, 0x80, 0x01, 0x00}},
                {9, 2, 8, {255, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 255, 0}});
}

TEST(TiffFile, GreysHaveTheGreyTable) {
    const Loaded loaded = loadBytes(TiffBuilder(2, 1, 1, 1, kWhiteIsZero, {0x40}).bytes());
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(pixelsOf(*loaded.image), (Bytes{255, 0}));
    EXPECT_EQ(paletteEntry(*loaded.image, 255), (Bytes{255, 255, 255, 0}));
    EXPECT_EQ(paletteEntry(*loaded.image, 7), (Bytes{7, 7, 7, 0}));
}

TEST(TiffFile, PalettesOfEveryDepthKeepTheirColors) {
    for (const unsigned bits : {1U, 2U, 4U, 8U}) {
        SCOPED_TRACE(bits);
        const std::uint32_t count = 1U << bits;
        TiffBuilder::Values colors;
        for (std::uint32_t part = 1; part <= 3; ++part) {
            for (std::uint32_t i = 0; i < count; ++i) colors.push_back((255 - i / part) * 256);
        }
        const Loaded loaded = loadBytes(
            TiffBuilder(3, 1, bits, 1, kPalette, packed({0, 1, count - 1}, bits)).set(320, colors).bytes());
        ASSERT_TRUE(loaded.result);
        ASSERT_EQ(loaded.image->Header->biBitCount, 8);
        EXPECT_EQ(pixelsOf(*loaded.image), (Bytes{0, 1, static_cast<unsigned char>(count - 1)}));
        EXPECT_EQ(paletteEntry(*loaded.image, 0), (Bytes{255, 255, 255, 0}));
        EXPECT_EQ(paletteEntry(*loaded.image, 1), (Bytes{255, 255, 254, 0}));
        // The entries that the file does not have are those of a new image.
        if (bits < 8) {
            EXPECT_EQ(paletteEntry(*loaded.image, 200), (Bytes{200, 200, 200, 0}));
        }
    }
}

TEST(TiffFile, ColorsOf8BitsAreKnownByTheirSize) {
    const Loaded loaded =
        loadBytes(TiffBuilder(1, 1, 1, 1, kPalette, {0x80}).set(320, {0, 255, 1, 128, 2, 64}).bytes());
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(paletteEntry(*loaded.image, 1), (Bytes{64, 128, 255, 0}));
    EXPECT_EQ(paletteEntry(*loaded.image, 0), (Bytes{2, 1, 0, 0}));
}

TEST(TiffFile, ColorsOf16BitsAreRounded) {
    for (const bool bigEndian : {false, true}) {
        const Bytes little = {0xFF, 0xFF, 0x80, 0x00, 0x81, 0x00, 0x00, 0x00, 0x00, 0x80, 0x7F, 0x7F};
        Bytes big = little;
        for (std::size_t i = 0; i < big.size(); i += 2) std::swap(big[i], big[i + 1]);
        TiffBuilder file(2, 1, 16, 3, kRgb, bigEndian ? big : little);
        file.bigEndian = bigEndian;
        expectShown(file, {2, 1, 24, {1, 0, 255, 127, 128, 0}});
    }
}

TEST(TiffFile, PlanesAreJoined) {
    TiffBuilder file(2, 3, 8, 3, kRgb);
    file.set(284, {2}).set(278, {2});
    file.pieces = {{1, 2, 3, 4}, {5, 6}, {11, 12, 13, 14}, {15, 16}, {21, 22, 23, 24}, {25, 26}};
    expectShown(file, {2, 3, 24, {21, 11, 1, 22, 12, 2, 23, 13, 3, 24, 14, 4, 25, 15, 5, 26, 16, 6}});
}

TEST(TiffFile, AlphaIsStraight) {
    expectShown(TiffBuilder(2, 1, 8, 4, kRgb, {1, 2, 3, 4, 5, 6, 7, 8}).set(338, {2}),
                {2, 1, 32, {3, 2, 1, 4, 7, 6, 5, 8}});
    // A fourth sample that says nothing of itself is alpha, too; of several extra ones the first that is
    // alpha.
    expectShown(TiffBuilder(1, 1, 8, 4, kRgb, {1, 2, 3, 4}).set(338, {0}), {1, 1, 32, {3, 2, 1, 4}});
    expectShown(TiffBuilder(1, 1, 8, 5, kRgb, {1, 2, 3, 4, 5}).set(338, {0, 2}), {1, 1, 32, {3, 2, 1, 5}});
    expectShown(TiffBuilder(1, 1, 8, 5, kRgb, {1, 2, 3, 4, 5}).set(338, {0, 0}), {1, 1, 24, {3, 2, 1}});
    // Greys with alpha, also of 16 bits, which fill as many bytes as colours with alpha of 8.
    expectShown(TiffBuilder(1, 1, 8, 2, kBlackIsZero, {100, 50}).set(338, {2}),
                {1, 1, 32, {100, 100, 100, 50}});
    expectShown(TiffBuilder(1, 1, 16, 2, kBlackIsZero, {0, 100, 0, 50}).set(338, {2}),
                {1, 1, 32, {100, 100, 100, 50}});
    expectShown(TiffBuilder(1, 1, 8, 2, kBlackIsZero, {100, 50}).set(338, {0}), {1, 1, 8, {100}});
    expectShown(TiffBuilder(2, 1, 8, 2, kPalette, {1, 50, 0, 60})
                    .set(338, {2})
                    .set(320,
                         [] {
                             TiffBuilder::Values colors(768);
                             colors[1] = 0x1000;
                             colors[257] = 0x2000;
                             colors[513] = 0x3000;
                             return colors;
                         }()),
                {2, 1, 32, {0x30, 0x20, 0x10, 50, 0, 0, 0, 60}});
}

TEST(TiffFile, MultipliedColorsAreDivided) {
    expectShown(
        TiffBuilder(3, 1, 8, 4, kRgb, {50, 25, 100, 100, 10, 20, 30, 0, 200, 1, 2, 100}).set(338, {1}),
        {3, 1, 32, {255, 64, 128, 100, 0, 0, 0, 0, 5, 3, 255, 100}});
    const std::vector<float> floats = {0.25F, 0.5F, 0.0F, 0.5F};
    expectShown(TiffBuilder(1, 1, 32, 4, kRgb, rawBytes(floats)).floats(4).set(338, {1}),
                {1, 1, 32, {0, 255, 186, 186}});
}

// A byte of color over a byte of alpha would be off by up to 35 where alpha is small.
TEST(TiffFile, MultipliedColorsOf16BitsAreDividedBeforeTheyAreReduced) {
    const std::vector<std::uint16_t> words = {100, 200, 300, 300, 3, 1, 0, 4, 900, 0, 257, 600, 5, 5, 5, 0};
    expectShown(TiffBuilder(4, 1, 16, 4, kRgb, rawBytes(words)).set(338, {1}),
                {4, 1, 32, {255, 170, 85, 1, 0, 64, 191, 0, 109, 0, 255, 2, 0, 0, 0, 0}});
    expectShown(TiffBuilder(2, 1, 16, 2, kBlackIsZero, rawBytes<std::uint16_t>({100, 300, 32768, 65535}))
                    .set(338, {1}),
                {2, 1, 32, {85, 85, 85, 1, 128, 128, 128, 255}});
    expectShown(TiffBuilder(1, 1, 32, 2, kBlackIsZero, rawBytes<std::uint32_t>({0x00640000, 0x012C0000}))
                    .set(338, {1}),
                {1, 1, 32, {85, 85, 85, 1}});
    expectShown(TiffBuilder(2, 1, 12, 2, kBlackIsZero, packed({10, 30, 4095, 4095}, 12)).set(338, {1}),
                {2, 1, 32, {85, 85, 85, 2, 255, 255, 255, 255}});
}

TEST(TiffFile, WithoutAPhotometricTagTheSamplesTell) {
    const auto untagged = [](TiffBuilder file) {
        file.fields.erase(262);
        return file;
    };
    expectShown(untagged({9, 1, 1, 1, 0, {0xA0, 0x80}}), {9, 1, 8, {255, 0, 255, 0, 0, 0, 0, 0, 255}});
    expectShown(untagged({2, 1, 8, 1, 0, {10, 200}}), {2, 1, 8, {10, 200}});
    expectShown(untagged({1, 1, 16, 1, 0, {0xFF, 0x7F}}), {1, 1, 8, {127}});
    expectShown(untagged(TiffBuilder(1, 1, 8, 2, 0, {100, 50}).set(338, {2})),
                {1, 1, 32, {100, 100, 100, 50}});
    expectShown(untagged({2, 1, 8, 3, 0, {1, 2, 3, 4, 5, 6}}), {2, 1, 24, {3, 2, 1, 6, 5, 4}});
    expectShown(untagged({1, 1, 8, 4, 0, {1, 2, 3, 4}}), {1, 1, 32, {3, 2, 1, 4}});
    expectShown(untagged(TiffBuilder(1, 1, 32, 3, 0, rawBytes<float>({1.0F, 0.5F, 0.0F})).floats(3)),
                {1, 1, 32, {0, 186, 255, 255}});
    // Faxes are black on white: a white row in modified Huffman codes.
    expectShown(untagged(TiffBuilder(8, 1, 1, 1, 0, {0x98}).set(259, {2})),
                {8, 1, 8, {255, 255, 255, 255, 255, 255, 255, 255}});
}

TEST(TiffFile, InksBecomeColors) {
    expectShown({3, 1, 8, 4, kInks, {0, 0, 0, 0, 255, 0, 100, 0, 0, 128, 255, 100}},
                {3, 1, 24, {255, 255, 255, 155, 255, 0, 0, 77, 155}});
    expectShown(TiffBuilder(1, 1, 8, 5, kInks, {0, 255, 0, 0, 40}).set(338, {2}),
                {1, 1, 32, {255, 0, 255, 40}});
    expectShown({1, 1, 16, 4, kInks, {0, 0, 255, 255, 0, 0, 0, 0}}, {1, 1, 24, {255, 0, 255}});
}

TEST(TiffFile, FloatsOfEverySizeAreRaised) {
    const Bytes shown = {0, 186, 255, 255, 136, 136, 136, 255};
    const std::vector<float> colors = {1.0F, 0.5F, 0.0F, 0.25F, 0.25F, 0.25F};
    expectShown(TiffBuilder(2, 1, 32, 3, kRgb, rawBytes(colors)).floats(3), {2, 1, 32, shown});
    expectShown(
        TiffBuilder(2, 1, 64, 3, kRgb, rawBytes(std::vector<double>(colors.begin(), colors.end()))).floats(3),
        {2, 1, 32, shown});
    expectShown(TiffBuilder(2, 1, 16, 3, kRgb,
                            rawBytes<std::uint16_t>({0x3C00, 0x3800, 0x8000, 0x3400, 0x3400, 0x3400}))
                    .floats(3),
                {2, 1, 32, shown});
    // Infinite, no number, negative, the least of all.
    expectShown(
        TiffBuilder(4, 1, 16, 1, kBlackIsZero, rawBytes<std::uint16_t>({0x7C00, 0x7E00, 0xBC00, 0x0001}))
            .floats(1),
        {4, 1, 32, {255, 255, 255, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255}});
    expectShown(TiffBuilder(2, 1, 64, 1, kBlackIsZero, rawBytes<double>({1e300, -1e300})).floats(1),
                {2, 1, 32, {255, 255, 255, 255, 0, 0, 0, 255}});
}

TEST(TiffFile, FloatAlphaIsRaisedToo) {
    const std::vector<float> color = {1.0F, 0.0F, 0.5F, 0.5F};
    expectShown(TiffBuilder(1, 1, 32, 4, kRgb, rawBytes(color)).floats(4).set(338, {2}),
                {1, 1, 32, {186, 0, 255, 186}});
}

TEST(TiffFile, GreyFloatsInTilesAreRaised) {
    TiffBuilder file(2, 2, 32, 1, kBlackIsZero);
    std::vector<float> tile(256, 0.75F);
    tile[0] = 1.0F;
    tile[1] = 0.5F;
    tile[16] = 0.0F;
    tile[17] = 0.25F;
    file.floats(1).tiles(16, 16).pieces = {rawBytes(tile)};
    expectShown(file, {2, 2, 32, {255, 255, 255, 255, 186, 186, 186, 255, 0, 0, 0, 255, 136, 136, 136, 255}});
}

TEST(TiffFile, TilesMeetInTheMiddle) {
    constexpr std::uint32_t kWidth = 35;
    constexpr std::uint32_t kHeight = 20;
    const auto sample = [](std::size_t x, std::size_t y, std::size_t k) {
        return static_cast<unsigned char>(x * 3 + y * 7 + k * 50);
    };
    for (const bool planar : {false, true}) {
        TiffBuilder file(kWidth, kHeight, 8, 3, kRgb);
        file.tiles(16, 16).set(284, {planar ? 2U : 1U}).pieces.clear();
        for (std::size_t plane = 0; plane < (planar ? 3 : 1); ++plane) {
            for (std::size_t top = 0; top < kHeight; top += 16) {
                for (std::size_t left = 0; left < kWidth; left += 16) {
                    Bytes tile;
                    for (std::size_t i = 0; i < 256; ++i) {
                        for (std::size_t k = 0; k < 3; ++k) {
                            if (!planar || k == plane) tile.push_back(sample(left + i % 16, top + i / 16, k));
                        }
                    }
                    file.pieces.push_back(tile);
                }
            }
        }
        Bytes expected;
        for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
            for (std::size_t k = 3; k-- > 0;) expected.push_back(sample(i % kWidth, i / kWidth, k));
        }
        expectShown(file, {kWidth, kHeight, 24, expected});
    }
}

TEST(TiffFile, PicturesAreTurnedAsViewersDo) {
    // Rows 1 2 3 and 4 5 6. The orientation says where the file's first row and column belong.
    const Shown turned[] = {
        {3, 2, 8, {1, 2, 3, 4, 5, 6}}, {3, 2, 8, {3, 2, 1, 6, 5, 4}}, {3, 2, 8, {6, 5, 4, 3, 2, 1}},
        {3, 2, 8, {4, 5, 6, 1, 2, 3}}, {2, 3, 8, {1, 4, 2, 5, 3, 6}}, {2, 3, 8, {4, 1, 5, 2, 6, 3}},
        {2, 3, 8, {6, 3, 5, 2, 4, 1}}, {2, 3, 8, {3, 6, 2, 5, 1, 4}},
    };
    for (std::uint32_t orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const Shown& shown = turned[orientation - 1];
        expectShown(TiffBuilder(3, 2, 8, 1, kBlackIsZero, {1, 2, 3, 4, 5, 6}).set(274, {orientation}), shown);
        // Floats and colours that the library converts take other ways.
        std::vector<float> floats;
        Bytes fromFloats;
        Bytes fromLab;
        for (const unsigned char index : shown.pixels) {
            const unsigned char level = index == 1 ? 255 : index == 2 ? 186 : 0;
            fromFloats.insert(fromFloats.end(), {level, level, level, 255});
            const unsigned char white = index == 1 ? 255 : 0;
            fromLab.insert(fromLab.end(), {white, white, white});
        }
        for (const float value : {1.0F, 0.5F, 0.0F, 0.0F, 0.0F, 0.0F}) floats.insert(floats.end(), 3, value);
        expectShown(TiffBuilder(3, 2, 32, 3, kRgb, rawBytes(floats)).floats(3).set(274, {orientation}),
                    {shown.width, shown.height, 32, fromFloats});
        Bytes ycbcr = {255, 128, 128};
        for (int i = 0; i < 5; ++i) ycbcr.insert(ycbcr.end(), {0, 128, 128});
        expectShown(TiffBuilder(3, 2, 8, 3, 6, ycbcr).set(530, {1, 1}).set(274, {orientation}),
                    {shown.width, shown.height, 24, fromLab});
    }
    // Orientations that do not exist are none.
    expectShown(TiffBuilder(2, 1, 8, 1, kBlackIsZero, {1, 2}).set(274, {9}), {2, 1, 8, {1, 2}});
}

TEST(TiffFile, SignsAreNotLookedAt) {
    expectShown(TiffBuilder(3, 1, 8, 1, kBlackIsZero, {0x80, 0, 0x7F}).set(339, {2}),
                {3, 1, 8, {128, 0, 127}});
}

TEST(TiffFile, WhatCannotBeReadIsRefused) {
    const Bytes much(4096);
    const TiffBuilder refused[] = {
        TiffBuilder(1, 1, 64, 1, kBlackIsZero, much),
        TiffBuilder(1, 1, 8, 1, kBlackIsZero, much).floats(1),
        TiffBuilder(1, 1, 24, 1, kBlackIsZero, much).floats(1),
        TiffBuilder(1, 1, 32, 1, kBlackIsZero, much).set(339, {5}),
        TiffBuilder(1, 1, 64, 1, kBlackIsZero, much).set(339, {6}),
        TiffBuilder(1, 1, 8, 2, kRgb, much),
        TiffBuilder(1, 1, 8, 3, kInks, much),
        TiffBuilder(1, 1, 8, 5, kInks, much).set(332, {2}),
        TiffBuilder(1, 1, 8, 1, 4, much),
        TiffBuilder(1, 1, 8, 1, 777, much),
    };
    for (const TiffBuilder& file : refused) {
        const Loaded loaded = loadBytes(file.bytes());
        EXPECT_FALSE(loaded.result) << &file - refused;
        EXPECT_EQ(loaded.code, kUntouched);
    }
}

TEST(TiffFile, CutFilesFail) {
    TiffBuilder tiled(20, 3, 8, 1, kBlackIsZero);
    tiled.tiles(16, 16).pieces = {Bytes(256, 9), Bytes(256, 8)};
    TiffBuilder planes(5, 4, 16, 3, kRgb, Bytes(40, 1));
    planes.set(284, {2}).pieces.resize(3, Bytes(40, 2));
    const TiffBuilder files[] = {tiled, planes,
                                 TiffBuilder(9, 9, 4, 1, kWhiteIsZero, Bytes(45, 3)).set(274, {6})};
    for (const TiffBuilder& file : files) {
        forEveryTruncation(file.bytes(), [](const Bytes& cut, std::size_t length) {
            const Loaded loaded = loadBytes(cut);
            // The offset of the directory that follows the last one, and nothing else, may be missing.
            if (loaded.result) {
                EXPECT_GT(length, 100U);
            } else {
                EXPECT_EQ(loaded.image->Buffer, nullptr);
            }
        });
        // Pixels that lie beyond the end of the file.
        TiffBuilder behind = file;
        behind.set(file.fields.count(322) != 0 ? 324 : 273, TiffBuilder::Values(file.pieces.size(), 1000000));
        EXPECT_FALSE(loadBytes(behind.bytes()).result);
    }
}

TEST(TiffFile, SurvivesFailingAllocations) {
    TiffBuilder tiled(20, 3, 16, 3, kRgb);
    tiled.tiles(16, 16).set(274, {8}).pieces = {Bytes(1536, 9), Bytes(1536, 8)};
    const TemporaryFile file(".tif", tiled.bytes());
    DibPtr image;
    bool loaded = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { image.reset(new DibStream); },
        [&] { loaded = LoadTIFF(file.path(), image.get(), nullptr, nullptr); },
        [&](bool failureMet) {
            EXPECT_EQ(loaded, !failureMet);
            image.reset();
        });
    EXPECT_GT(failures, 5);
}

}  // namespace
}  // namespace codec_test
