// What single pixels become at each depth.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/dib/ConvertSupport.h"

namespace convert_support {
namespace {

TEST(ConvertValues, SixteenBitWhiteBecomes248) {
    const DibPtr image = blankImage(1, 1, 16);
    setPixelValue(*image, 0, 0, 0x7FFF);
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xF8F8F8U);
}

TEST(ConvertValues, SixteenBitChannelsLieBlueLowest) {
    const DibPtr image = blankImage(3, 1, 16);
    setPixelValue(*image, 0, 0, 0x001F);
    setPixelValue(*image, 1, 0, 0x03E0);
    setPixelValue(*image, 2, 0, 0xFC00);  // bit 15 is ignored
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xFF0000F8U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0xFF00F800U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 0xFFF80000U);
}

TEST(ConvertValues, AlphaIsKeptFrom32BitsAndOpaqueFromOthers) {
    const DibPtr image = blankImage(1, 1, 32);
    setPixelValue(*image, 0, 0, 0x12345678);
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x12345678U);
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x345678U);
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xFF345678U);
}

TEST(ConvertValues, GreyWeighsTheChannels) {
    const DibPtr image = blankImage(4, 1, 24);
    setPixelValue(*image, 0, 0, 0x0000FF);
    setPixelValue(*image, 1, 0, 0x00FF00);
    setPixelValue(*image, 2, 0, 0xFF0000);
    setPixelValue(*image, 3, 0, 0xFFFFFF);
    ASSERT_TRUE(image->ChangeTo8Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 36U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 145U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 72U);
    EXPECT_EQ(pixelValue(*image, 3, 0), 255U);
    EXPECT_EQ(entryValue(*image, 77), 0x004D4D4DU);
}

TEST(ConvertValues, SignOfTheHeightIsKept) {
    for (const int height : {3, -3}) {
        for (const int depth : kDepths) {
            const DibPtr image = randomImage(5, height, 24, 1);
            ASSERT_TRUE(image->ChangeBpp(depth, 0));
            EXPECT_EQ(image->Header->biHeight, height);
            EXPECT_EQ(image->Header->biWidth, 5);
            EXPECT_EQ(image->Header->biBitCount, depth);
        }
    }
}

TEST(ConvertValues, SameDepthIsRebuiltAllTheSame) {
    const DibPtr image = randomImage(5, 3, 24, 1);
    image->Header->biXPelsPerMeter = 2835;
    const auto* oldBuffer = image->Buffer;
    const DibPtr before(image->Clone());
    ASSERT_TRUE(image->ChangeBpp(24, 0));
    EXPECT_NE(image->Buffer, oldBuffer);
    EXPECT_EQ(image->Header->biXPelsPerMeter, 0);
    EXPECT_EQ(pixelValue(*image, 4, 2), pixelValue(*before, 4, 2));
}

TEST(ConvertValues, FourBitGreyPutsTheLastOddPixelInTheHighNibble) {
    const DibPtr image = blankImage(3, 1, 24);
    setPixelValue(*image, 0, 0, 0x101010);
    setPixelValue(*image, 1, 0, 0x2F2F2F);
    setPixelValue(*image, 2, 0, 0xFFFFFF);
    ASSERT_TRUE(image->ChangeTo4Bit(1));
    EXPECT_EQ(image->Buffer[0], 0x12);
    EXPECT_EQ(image->Buffer[1], 0xF0);
    EXPECT_EQ(entryValue(*image, 1), 0x00111111U);
    EXPECT_EQ(entryValue(*image, 15), 0x00FFFFFFU);
}

TEST(ConvertValues, SixteenBitTruncatesOtherwise) {
    for (const unsigned int flags : {0U, 2U, 0x10000U}) {
        const DibPtr image = oneColor(1, 1, 0xFF8807);
        ASSERT_TRUE(image->ChangeTo16Bit(flags));
        EXPECT_EQ(pixelValue(*image, 0, 0), 0x7E20U);
    }
}

TEST(ConvertValues, FillBytesAreZero) {
    for (const int depth : {1, 4, 8, 16, 24}) {
        for (const unsigned int flags : {0U, 2U}) {
            const DibPtr image = oneColor(1, 2, 0xFFFFFF);
            ASSERT_TRUE(image->ChangeBpp(depth, flags));
            EXPECT_EQ(image->Buffer[3], 0);
            EXPECT_EQ(image->Buffer[7], 0);
        }
    }
}

}  // namespace
}  // namespace convert_support
