// Turning on a canvas that grows or has a fill.
#include <DibEffect.h>

#include <algorithm>

#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::plainImage;
using testing_support::randomImage;
using testing_support::sameImage;
using Values = std::vector<std::uint32_t>;

void expectSize(const DibStream& image, int width, int height, int bitCount) {
    EXPECT_EQ(image.Header->biWidth, width);
    EXPECT_EQ(std::abs(image.Header->biHeight), height);
    EXPECT_EQ(image.Header->biBitCount, bitCount);
}

TEST(Rotate, QuartersThatGrowAreExactAtEveryDepth) {
    const std::pair<const char*, const char*> kSame[] = {{"rotate:90,grow", "turn:270"},
                                                         {"rotate:-90,grow,fill=#ff8000", "turn:90"},
                                                         {"rotate:180,grow", "turn:180"},
                                                         {"rotate:450,grow", "turn:270"},
                                                         {"rotate:-360,grow", ""}};
    for (const int bitCount : testing_support::kDepths) {
        for (const auto& [rotate, turn] : kSame) {
            SCOPED_TRACE(std::string(rotate) + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(19, 11, bitCount, 3);
            const DibPtr turned = randomImage(19, 11, bitCount, 3);
            after(*image, rotate);
            after(*turned, turn);
            EXPECT_TRUE(sameImage(*image, *turned));
        }
    }
}

// 100 x 50 by 45 degrees: 150 / sqrt(2) = 106.07. 40 x 20 by 30 degrees: 44.64 x 37.32.
TEST(Rotate, GrowsUntilThePictureFits) {
    const DibPtr square = plainImage(100, 50, 24, 7);
    after(*square, "rotate:45,grow");
    expectSize(*square, 107, 107, 24);
    const DibPtr other = plainImage(40, -20, 24, 7);
    after(*other, "rotate:-30,grow");
    expectSize(*other, 45, 38, 24);
    EXPECT_LT(other->Header->biHeight, 0);
    const DibPtr kept = plainImage(40, 20, 24, 7);
    after(*kept, "rotate:30,fill=#000000");
    expectSize(*kept, 40, 20, 24);
}

// Each pixel lies between the two pixels and between the picture and the fill.
TEST(Rotate, MixesThePictureWithTheFill) {
    EXPECT_EQ(after(*picture(2, 24, {0x404040, 0x808080}), "rotate:90,fill=#202020"),
              (Values{0x404040, 0x404040}));
    EXPECT_EQ(after(*picture(2, 32, {0xFF404040, 0xFF808080}), "rotate:90,fill=#202020"),
              (Values{0xFF404040, 0xFF404040}));
}

TEST(Rotate, PixelsAwayFromThePictureHaveTheFill) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bitCount);
        const DibPtr image = randomImage(40, 40, bitCount, 5);
        const Values turned = after(*image, "rotate:45,grow,fill=#102030");
        expectSize(*image, 57, 57, bitCount == 32 ? 32 : 24);
        const std::uint32_t fill = bitCount == 32 ? 0xFF102030 : 0x102030;
        for (int y = 0; y < 57; ++y) {
            for (int x = 0; x < 57; ++x) {
                const int away = std::abs(x - 28) + std::abs(y - 28);
                if (away < 31) continue;
                EXPECT_EQ(turned[static_cast<std::size_t>(57 * y + x)], fill) << x << "," << y;
            }
        }
    }
}

TEST(Rotate, OneColourStaysThatColour) {
    EXPECT_EQ(after(*plainImage(31, 17, 24, 0xFF8001), "rotate:33,fill=#ff8001"), Values(31 * 17, 0xFF8001));
    EXPECT_EQ(after(*plainImage(9, 9, 32, 0x40FF8001), "rotate:33,fill=#ff800140"),
              Values(9 * 9, 0x40FF8001));
}

TEST(Rotate, WidensPalettesAsThePictureOf24BitsIs) {
    for (const int bitCount : {1, 4, 8, 16}) {
        SCOPED_TRACE(bitCount);
        const DibPtr image = randomImage(33, 20, bitCount, 8);
        const DibPtr wide = randomImage(33, 20, bitCount, 8);
        after(*wide, "levels:0,255 bpp:24");
        DibOperationResult result;
        ASSERT_TRUE(DibApply(image.get(), "rotate:20,grow,fill=#ff0000", nullptr, &result));
        ASSERT_EQ(result.noteCount, 1);
        EXPECT_EQ(result.notes[0].kind, DIB_NOTE_LOSS);
        EXPECT_EQ(valuesOf(*image), after(*wide, "rotate:20,grow,fill=#ff0000"));
    }
}

TEST(Rotate, GreyStaysGreyWithAGreyFill) {
    const auto grey = [] {
        DibPtr image = randomImage(20, 20, 8, 4);
        image->SetMonoPalette();
        return image;
    };
    const DibPtr same = grey();
    const Values turned = after(*same, "rotate:45,grow,fill=#303030");
    expectSize(*same, 29, 29, 8);
    EXPECT_EQ(entriesOf(*same)[turned[0]] & 0xFFFFFF, 0x303030U);
    const DibPtr coloured = grey();
    EXPECT_EQ(after(*coloured, "rotate:45,grow,fill=#300000")[0], 0x300000U);
    const DibPtr clear = grey();
    EXPECT_EQ(after(*clear, "rotate:45,grow,fill=#00000000")[0], 0U);
    expectSize(*clear, 29, 29, 32);
}

TEST(Rotate, WithoutAFillGrownCornersAreWhiteOrTransparent) {
    EXPECT_EQ(after(*plainImage(20, 20, 24, 7), "rotate:45,grow")[0], 0xFFFFFFU);
    EXPECT_EQ(after(*plainImage(20, 20, 32, 0xFF000007), "rotate:45,grow")[0], 0U);
}

// The edges of a white picture on nothing are white, however transparent they are.
TEST(Rotate, ColoursCountByAlpha) {
    const Values turned = after(*plainImage(21, 13, 24, 0xFFFFFF), "rotate:30,grow,fill=#00000000");
    int halves = 0;
    for (const std::uint32_t value : turned) {
        const std::uint32_t alpha = value >> 24;
        EXPECT_EQ(value & 0xFFFFFF, alpha == 0 ? 0U : 0xFFFFFFU);
        halves += alpha != 0 && alpha != 255 ? 1 : 0;
    }
    EXPECT_EQ(turned[0], 0U);
    EXPECT_GT(halves, 20);
    EXPECT_EQ(turned[10 * 25 + 12] >> 24, 255U);  // of 25 x 22
}

TEST(Rotate, WithoutBothItIsTheClassicOne) {
    const DibPtr image = randomImage(31, 22, 24, 6);
    const DibPtr expected = randomImage(31, 22, 24, 6);
    after(*image, "rotate:0.5rad,wrap=x");
    ASSERT_TRUE(DibEffectRotate(nullptr, nullptr, expected.get(), 0.5F, DIB_WRAP_X));
    EXPECT_TRUE(sameImage(*image, *expected));
}

TEST(Rotate, RefusesWhatCannotGoTogether) {
    const DibPtr image = plainImage(4, 3, 24, 7);
    for (const char* chain : {"rotate:3,grow,classic", "rotate:3,fill=#000000,classic",
                              "rotate:3,wrap=x,grow", "rotate:3,fill=black"}) {
        DibOperationResult result;
        EXPECT_FALSE(DibApply(image.get(), chain, nullptr, &result)) << chain;
        EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    }
    EXPECT_TRUE(sameImage(*image, *plainImage(4, 3, 24, 7)));
    EXPECT_TRUE(DibApply(image.get(), "rotate:3,fill=none"));
}

TEST(Rotate, RefusesACanvasThatNoImageHas) {
    const DibPtr image = plainImage(200000, 1, 24, 7);
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), "rotate:45,grow", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MEMORY);
    expectSize(*image, 200000, 1, 24);
}

}  // namespace

}  // namespace operations_test
