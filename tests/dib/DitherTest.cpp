// Ordered dither, the carried remainder and error diffusion, pixel by pixel.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/dib/ConvertSupport.h"

namespace convert_support {
namespace {

TEST(Dither, OrderedDitherHasACubeAndAGreyTail) {
    const DibPtr image = oneColor(8, -8, 0x808080);
    ASSERT_TRUE(image->ChangeTo8Bit(1));
    EXPECT_EQ(entryValue(*image, 0), 0U);
    EXPECT_EQ(entryValue(*image, 1), 0x00330000U);  // red is the fastest
    EXPECT_EQ(entryValue(*image, 6), 0x00003300U);
    EXPECT_EQ(entryValue(*image, 36), 0x00000033U);
    EXPECT_EQ(entryValue(*image, 215), 0x00FFFFFFU);
    EXPECT_EQ(entryValue(*image, 216), 0x00D8D8D8U);
    EXPECT_EQ(entryValue(*image, 255), 0x00FFFFFFU);
    // 128 = 2 x 51 + 26: level 3 where the threshold is below 26, level 2 elsewhere. Indices 43 x level.
    EXPECT_EQ(pixelValue(*image, 0, 0), 129U);  // threshold 0
    EXPECT_EQ(pixelValue(*image, 0, 1), 86U);   // 38
    EXPECT_EQ(pixelValue(*image, 1, 0), 129U);  // 25
    EXPECT_EQ(pixelValue(*image, 5, 6), 86U);   // 35
    EXPECT_EQ(pixelValue(*image, 5, 2), 86U);   // 36
    EXPECT_EQ(pixelValue(*image, 2, 0), 129U);  // 6
    EXPECT_EQ(pixelValue(*image, 1, 4), 86U);   // 27
    const Values values = valuesOf(*image);
    EXPECT_EQ(std::count(values.begin(), values.end(), 129U), 33);
}

TEST(Dither, DitherRowsCountFromTheStartOfTheBuffer) {
    const DibPtr image = oneColor(1, 2, 0x808080);  // bottom-up: buffer row 1 is picture row 0
    ASSERT_TRUE(image->ChangeTo8Bit(1));
    EXPECT_EQ(valuesOf(*image), (Values{86, 129}));
}

TEST(Dither, SixteenBitRemainderIsCarriedAcrossRows) {
    const DibPtr image = oneColor(1, -4, 0x070503);
    ASSERT_TRUE(image->ChangeTo16Bit(1));
    // Sums: blue 3, 6, 9, 4; green 5, 10, 7, 12; red 7, 14, 13, 12. Each of 8 and above gives a field of 1.
    EXPECT_EQ(valuesOf(*image), (Values{0x0000, 0x0420, 0x0401, 0x0420}));
}

TEST(Dither, SixteenBitRemainderStopsAt255) {
    const DibPtr image = oneRow(24, {0x0000FF, 0x0000FF, 0x000001});
    ASSERT_TRUE(image->ChangeTo16Bit(1));
    EXPECT_EQ(valuesOf(*image), (Values{31, 31, 1}));  // 1 + 7 is a step of five bits
}

int whitePixels(DibStream& image) {
    const Values values = valuesOf(image);
    return static_cast<int>(std::count(values.begin(), values.end(), 1U));
}

TEST(Dither, ErrorDiffusionOfUniformGreys) {
    const DibPtr black = oneColor(50, 40, 0);
    ASSERT_TRUE(black->ChangeTo1Bit(0));
    EXPECT_EQ(whitePixels(*black), 0);
    EXPECT_EQ(entryValue(*black, 0), 0U);
    EXPECT_EQ(entryValue(*black, 1), 0x00FFFFFFU);

    const DibPtr white = oneColor(50, 40, 0xFFFFFF);
    ASSERT_TRUE(white->ChangeTo1Bit(0));
    EXPECT_EQ(whitePixels(*white), 2000);

    const DibPtr grey = oneColor(50, 40, 0x808080);
    ASSERT_TRUE(grey->ChangeTo1Bit(0));
    EXPECT_NEAR(whitePixels(*grey), 1000, 50);
}

TEST(Dither, ErrorDiffusionByHand) {
    // 100: black, error 100, 800 to the right: 100 + 800 / 42 = 119 black, then 100 + (8 x 119 + 4 x 100) /
    // 42 = 132 white.
    const DibPtr image = oneColor(3, 1, 0x646464);
    ASSERT_TRUE(image->ChangeTo1Bit(0));
    EXPECT_EQ(image->Buffer[0], 0x20);
}

TEST(Dither, ErrorDiffusionOverThreeRowsByHand) {
    // The errors are, row by row:
    //   70   83   92   95   96
    //   95  123 -111  100  110
    //  107 -121  103 -126   97
    // What the first columns cannot give to their left goes two rows down and two to the right: without it
    // the last row would be white in columns 1 and 4.
    const DibPtr image = oneColor(5, -3, 0x464646);
    ASSERT_TRUE(image->ChangeTo1Bit(0));
    EXPECT_EQ(image->Buffer[0], 0x00);
    EXPECT_EQ(image->Buffer[4], 0x20);
    EXPECT_EQ(image->Buffer[8], 0x50);

    // 43 turns white once, and by those remainders alone.
    const DibPtr darker = oneColor(5, -3, 0x2B2B2B);
    ASSERT_TRUE(darker->ChangeTo1Bit(0));
    EXPECT_EQ(darker->Buffer[0], 0x00);
    EXPECT_EQ(darker->Buffer[4], 0x00);
    EXPECT_EQ(darker->Buffer[8], 0x20);
}

}  // namespace
}  // namespace convert_support
