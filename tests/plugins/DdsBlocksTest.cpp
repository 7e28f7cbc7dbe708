// What each of the block formats decodes to.
#include <gtest/gtest.h>

#include "plugins/dds/Blocks.h"
#include "tests/plugins/DdsFile.h"

namespace {

using dds_test::Bytes;
using dds_test::file;
using dds_test::Format;
using dds_test::named;
using dds_test::numbered;
using dds_test::pixels;

Bytes texel(const Bytes& all, std::size_t i) {
    if (all.size() < i * 4 + 4) return {};
    return {all.begin() + static_cast<std::ptrdiff_t>(i * 4),
            all.begin() + static_cast<std::ptrdiff_t>(i * 4 + 4)};
}

// Bits from the lowest of the first byte up.
class BlockBits {
public:
    BlockBits& put(unsigned value, int count) {
        for (int i = 0; i < count; ++i, ++at_) {
            bytes[at_ / 8] = static_cast<unsigned char>(bytes[at_ / 8] | (value >> i & 1) << at_ % 8);
        }
        return *this;
    }
    Bytes bytes = Bytes(16);

private:
    std::size_t at_ = 0;
};

// Red and blue as end points: the larger number first makes four colours, the smaller first three and a clear
// one.
TEST(DdsBlocksTest, Bc1) {
    const Bytes four = pixels(file(4, 4, named("DXT1"), {0x00, 0xF8, 0x1F, 0x00, 0xE4, 0, 0, 0}));
    EXPECT_EQ(texel(four, 0), (Bytes{0, 0, 255, 255}));
    EXPECT_EQ(texel(four, 1), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(texel(four, 2), (Bytes{85, 0, 170, 255}));
    EXPECT_EQ(texel(four, 3), (Bytes{170, 0, 85, 255}));
    EXPECT_EQ(texel(four, 4), (Bytes{0, 0, 255, 255}));
    const Bytes three = pixels(file(4, 4, numbered(71), {0x1F, 0x00, 0x00, 0xF8, 0xE4, 0, 0, 0}));
    EXPECT_EQ(texel(three, 2), (Bytes{127, 0, 127, 255}));
    EXPECT_EQ(texel(three, 3), (Bytes{0, 0, 0, 0}));
}

TEST(DdsBlocksTest, Bc2AndBc3AlwaysHaveFourColors) {
    const Bytes colors = {0x1F, 0x00, 0x00, 0xF8, 0xE4, 0, 0, 0};
    Bytes block = {0xF0, 0x21, 0, 0, 0, 0, 0, 0};
    block.insert(block.end(), colors.begin(), colors.end());
    for (const char* name : {"DXT2", "DXT3"}) {
        const Bytes bc2 = pixels(file(4, 4, named(name), block));
        EXPECT_EQ(texel(bc2, 0), (Bytes{255, 0, 0, 0}));
        EXPECT_EQ(texel(bc2, 1), (Bytes{0, 0, 255, 255}));
        EXPECT_EQ(texel(bc2, 2), (Bytes{170, 0, 85, 17}));
        EXPECT_EQ(texel(bc2, 3), (Bytes{85, 0, 170, 34}));
    }
    // Alpha 70 and 0, index 2 in the second texel.
    block = {70, 0, 0x10, 0, 0, 0, 0, 0};
    block.insert(block.end(), colors.begin(), colors.end());
    for (const char* name : {"DXT4", "DXT5"}) {
        const Bytes bc3 = pixels(file(4, 4, named(name), block));
        EXPECT_EQ(texel(bc3, 0), (Bytes{255, 0, 0, 70}));
        EXPECT_EQ(texel(bc3, 1), (Bytes{0, 0, 255, 60}));
        EXPECT_EQ(texel(bc3, 3), (Bytes{85, 0, 170, 70}));
    }
}

// Indices 0 to 7 in the first two rows.
TEST(DdsBlocksTest, Bc4) {
    const Bytes ramp = {0x88, 0xC6, 0xFA, 0, 0, 0};
    const auto grey = [&](const Format& format, unsigned char first, unsigned char second) {
        Bytes block = {first, second};
        block.insert(block.end(), ramp.begin(), ramp.end());
        Bytes all = pixels(file(4, 4, format, block));
        all.resize(8);
        return all;
    };
    for (const Format& format : {named("ATI1"), named("BC4U"), numbered(80)}) {
        EXPECT_EQ(grey(format, 70, 0), (Bytes{70, 0, 60, 50, 40, 30, 20, 10}));
        EXPECT_EQ(grey(format, 0, 50), (Bytes{0, 50, 10, 20, 30, 40, 0, 255}));
    }
    for (const Format& format : {named("BC4S"), numbered(81)}) {
        EXPECT_EQ(grey(format, 127, 0x80), (Bytes{255, 0, 219, 182, 146, 109, 73, 36}));
        EXPECT_EQ(grey(format, 0x81, 127), (Bytes{0, 255, 51, 102, 153, 204, 0, 255}));
    }
}

TEST(DdsBlocksTest, Bc5IsRedAndGreen) {
    const Bytes block = {70, 0, 1, 0, 0, 0, 0, 0, 9, 3, 0, 0, 0, 0, 0, 0};
    for (const Format& format : {named("ATI2"), named("BC5U"), numbered(83)}) {
        const Bytes all = pixels(file(4, 4, format, block));
        EXPECT_EQ(texel(all, 0), (Bytes{0, 9, 0, 255}));
        EXPECT_EQ(texel(all, 1), (Bytes{0, 9, 70, 255}));
    }
    const Bytes low = {0x81, 0x81, 0, 0, 0, 0, 0, 0, 127, 127, 0, 0, 0, 0, 0, 0};
    for (const Format& format : {named("BC5S"), numbered(84)}) {
        EXPECT_EQ(texel(pixels(file(4, 4, format, low)), 0), (Bytes{128, 255, 0, 255}))
            << "blue is 0 of -1 to 1";
    }
}

// End points 0 and all ones, so that the texels are the weights of the indices.
TEST(DdsBlocksTest, Bc7ModesOfOneSubset) {
    BlockBits six;
    six.put(0x40, 7);
    for (int channel = 0; channel < 4; ++channel) six.put(0, 7).put(127, 7);
    six.put(0, 1).put(1, 1).put(0, 3);
    for (unsigned i = 1; i < 16; ++i) six.put(i, 4);
    const Bytes all = pixels(file(4, 4, numbered(98), six.bytes));
    const Bytes ramp = {0, 16, 36, 52, 68, 84, 104, 120, 135, 151, 171, 187, 203, 219, 239, 255};
    for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(texel(all, i), Bytes(4, ramp[i])) << i;

    // Colour by 2 bits and alpha by 3, or the other way round; a rotation swaps a channel with alpha.
    for (unsigned rotation = 0; rotation < 4; ++rotation) {
        for (unsigned swapped = 0; swapped < 2; ++swapped) {
            BlockBits four;
            four.put(0x10, 5).put(rotation, 2).put(swapped, 1);
            for (int channel = 0; channel < 3; ++channel) four.put(0, 5).put(31, 5);
            four.put(0, 6).put(63, 6).put(0, 1).put(1, 2).put(0, 28).put(0, 2).put(1, 3);
            const Bytes seen = texel(pixels(file(4, 4, numbered(98), four.bytes)), 1);
            Bytes expected(4, swapped == 0 ? 84 : 36);
            expected[rotation == 0 ? 3 : 3 - rotation] = swapped == 0 ? 36 : 84;
            EXPECT_EQ(seen, expected) << rotation << swapped;
        }
    }
    BlockBits five;
    five.put(0x20, 6).put(0, 2);
    for (int channel = 0; channel < 3; ++channel) five.put(0, 7).put(127, 7);
    five.put(0, 8).put(255, 8).put(0, 1).put(2, 2).put(0, 28).put(0, 1).put(1, 2);
    EXPECT_EQ(texel(pixels(file(4, 4, numbered(98), five.bytes)), 1), (Bytes{171, 171, 171, 84}));
}

// The first subset from 0 to all ones by its indices, the others all ones: partition 0 gives them the right
// half of two, and of three the lower part too.
TEST(DdsBlocksTest, Bc7ModesOfMoreSubsets) {
    struct Case {
        int mode, subsets, partitionBits, colorBits, alphaBits, lowBits, indexBits;
        unsigned char second;  // index 1 between 0 and 255
    };
    for (const Case& c :
         {Case{0, 3, 4, 4, 0, 6, 3, 36}, Case{1, 2, 6, 6, 0, 2, 3, 36}, Case{2, 3, 6, 5, 0, 0, 2, 84},
          Case{3, 2, 6, 7, 0, 4, 2, 84}, Case{7, 2, 6, 5, 5, 4, 2, 84}}) {
        BlockBits bits;
        bits.put(1U << c.mode, c.mode + 1).put(0, c.partitionBits);
        for (int channel = 0; channel < (c.alphaBits != 0 ? 4 : 3); ++channel) {
            bits.put(0, c.colorBits);
            for (int i = 1; i < 2 * c.subsets; ++i) bits.put((1U << c.colorBits) - 1, c.colorBits);
        }
        // A lowest bit that a subset shares is 1, which lifts the 0 to 2 of 255 in mode 1.
        for (int i = 0; i < c.lowBits; ++i) bits.put(c.mode == 1 || i > 0 ? 1 : 0, 1);
        bits.put(0, c.indexBits - 1).put(1, c.indexBits);
        const Bytes all = pixels(file(4, 4, numbered(97), bits.bytes));
        const auto dark = static_cast<unsigned char>(c.mode == 1 ? 2 : 0);
        const auto second = static_cast<unsigned char>(c.mode == 1 ? 38 : c.second);
        const bool hasAlpha = c.alphaBits != 0;
        EXPECT_EQ(texel(all, 0), (Bytes{dark, dark, dark, hasAlpha ? dark : Bytes::value_type{255}}))
            << c.mode;
        EXPECT_EQ(texel(all, 1), (Bytes{second, second, second, hasAlpha ? second : Bytes::value_type{255}}))
            << c.mode;
        EXPECT_EQ(texel(all, 3), Bytes(4, 255)) << c.mode;
        EXPECT_EQ(texel(all, 15), Bytes(4, 255)) << c.mode;
    }
    EXPECT_EQ(texel(pixels(file(4, 4, numbered(97), Bytes(16))), 5), Bytes(4, 0)) << "no mode";
}

// In every mode the first red begins at bit 5; its upper half alone makes a red of half the range.
TEST(DdsBlocksTest, Bc6ModesKeepTheirFirstRed) {
    struct Case {
        unsigned code;
        int codeBits, bits;
    };
    for (const Case& c : {Case{0, 2, 10}, Case{1, 2, 7}, Case{14, 5, 9}, Case{18, 5, 8}, Case{22, 5, 8},
                          Case{26, 5, 8}, Case{30, 5, 6}, Case{3, 5, 10}}) {
        BlockBits bits;
        bits.put(c.code, c.codeBits).put(0, 5 - c.codeBits).put(1U << (c.bits - 1), c.bits);
        // 0x8000 and half a step, times 31/64: just above the half 0x3E00, which is 1.5.
        EXPECT_EQ(texel(pixels(file(4, 4, numbered(95), bits.bytes)), 0), (Bytes{0, 0, 255, 255})) << c.code;
        EXPECT_EQ(texel(pixels(file(4, 4, numbered(96), bits.bytes)), 0), (Bytes{0, 0, 0, 255}))
            << c.code << ": negative";
    }
    // 462 of 10 bits is 29600 of 16, which is the half 0x3801: 0.5005.
    BlockBits half;
    half.put(3, 5).put(462, 10).put(0, 20).put(1023, 10);
    const Bytes all = pixels(file(4, 4, numbered(94), half.bytes));
    EXPECT_EQ(texel(all, 0), (Bytes{0, 0, 186, 255}));
    // With a sign, 231 of 9 bits is 14816 of 15, which is the half 0x3811: 0.5083.
    BlockBits positive;
    positive.put(3, 5).put(231, 10);
    EXPECT_EQ(texel(pixels(file(4, 4, numbered(96), positive.bytes)), 0), (Bytes{0, 0, 187, 255}));
    for (const unsigned reserved : {19U, 23U, 27U, 31U}) {
        BlockBits bits;
        bits.put(reserved, 5).put(0xFFFFFF, 24);
        EXPECT_EQ(texel(pixels(file(4, 4, numbered(95), bits.bytes)), 0), (Bytes{0, 0, 0, 255}));
    }
}

// A block of each mode, with the halves of its seventh texel.
TEST(DdsBlocksTest, Bc6Halves) {
    struct Case {
        unsigned mode;
        float plain[3];
        float withSigns[3];
    };
    constexpr Case kCases[] = {
        {0, {0.0008296966552734375F, 57.59375F, 5.4453125F}, {4.100799560546875e-05F, -46.71875F, -5472.0F}},
        {1, {0.063720703125F, 0.3603515625F, 0.01690673828125F}, {133.0F, 3856.0F, 9.3125F}},
        {2, {29.671875F, 4040.0F, 0.11083984375F}, {-169.0F, -0.0084686279296875F, 396.0F}},
        {6,
         {0.1868896484375F, 1127.0F, 0.000682830810546875F},
         {1019.0F, -0.11419677734375F, 0.01404571533203125F}},
        {10,
         {0.0011119842529296875F, 349.0F, 4576.0F},
         {0.0399169921875F, -1.302734375F, -0.00701141357421875F}},
        {14, {374.25F, 0.006717681884765625F, 5.14453125F}, {-1.197265625F, 1.439453125F, -6344.0F}},
        {18,
         {4.265625F, 9.59634780883789e-05F, 0.00012874603271484375F},
         {-9080.0F, 0.00027942657470703125F, 0.00054168701171875F}},
        {22, {260.75F, 6.58203125F, 0.0038471221923828125F}, {-2.40625F, -3994.0F, 0.485107421875F}},
        {26,
         {5520.0F, 0.00031447410583496094F, 0.0005044937133789062F},
         {-0.00603485107421875F, 0.003078460693359375F, 0.00833892822265625F}},
        {30, {34.5F, 418.75F, 2.40625F}, {-231.75F, -1.6962890625F, 397.5F}},
        {3, {0.1407470703125F, 0.0118865966796875F, 27.1875F}, {641.0F, 4.171875F, -212.625F}},
        {7, {35008.0F, 7.59375F, 133.875F}, {-0.00011545419692993164F, -2522.0F, -7.74609375F}},
        {11, {0.07220458984375F, 1.587890625F, 0.923828125F}, {167.75F, -0.6826171875F, 27792.0F}},
        {15,
         {8.881092071533203e-05F, 3524.0F, 0.62646484375F},
         {0.0002332925796508789F, -0.01216888427734375F, 12336.0F}},
    };
    for (const Case& c : kCases) {
        Bytes block(16);
        for (unsigned i = 0; i < 16; ++i) block[i] = (i * i * 29 + c.mode * 17 + 100) & 127;
        block[0] = static_cast<unsigned char>((block[0] & (c.mode < 2 ? ~3U : ~31U)) | c.mode);
        for (const bool isSigned : {false, true}) {
            plugins::dds::FloatBlock texels;
            plugins::dds::decodeBc6Samples(block.data(), isSigned, texels);
            const float* expected = isSigned ? c.withSigns : c.plain;
            EXPECT_EQ(texels[6].red, expected[0]) << c.mode;
            EXPECT_EQ(texels[6].green, expected[1]) << c.mode;
            EXPECT_EQ(texels[6].blue, expected[2]) << c.mode;
        }
    }
}

TEST(DdsBlocksTest, EdgesCutBlocks) {
    Bytes blocks;
    for (int i = 0; i < 4; ++i) {
        blocks.insert(blocks.end(),
                      {static_cast<unsigned char>(i), static_cast<unsigned char>(i), 0, 0, 0, 0, 0, 0});
    }
    EXPECT_EQ(pixels(file(5, 5, named("ATI1"), blocks)),
              (Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 2, 2, 2, 2, 3}));
    EXPECT_EQ(pixels(file(1, 1, named("ATI1"), {7, 7, 0, 0, 0, 0, 0, 0})), Bytes{7});
}

}  // namespace
