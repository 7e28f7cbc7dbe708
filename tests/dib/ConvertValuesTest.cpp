// What single pixels become at each depth.
#include <DibStream.h>
#include <gtest/gtest.h>

#include "tests/dib/ConvertSupport.h"

namespace convert_support {
namespace {

TEST(ConvertValues, SixteenBitWhiteBecomes248) {
    const DibPtr image = oneRow(16, {0x7FFF});
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{0xF8F8F8}));
}

TEST(ConvertValues, SixteenBitChannelsLieBlueLowest) {
    const DibPtr image = oneRow(16, {0x001F, 0x03E0, 0xFC00});  // bit 15 is ignored
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{0xFF0000F8, 0xFF00F800, 0xFFF80000}));
}

TEST(ConvertValues, AlphaIsKeptFrom32BitsAndOpaqueFromOthers) {
    const DibPtr image = oneRow(32, {0x12345678});
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{0x12345678}));
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{0x345678}));
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{0xFF345678}));
}

TEST(ConvertValues, GreyWeighsTheChannels) {
    const DibPtr image = oneRow(24, {0x0000FF, 0x00FF00, 0xFF0000, 0xFFFFFF});
    ASSERT_TRUE(image->ChangeTo8Bit(0));
    EXPECT_EQ(valuesOf(*image), (Values{36, 145, 72, 255}));
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
    const DibPtr image = oneRow(24, {0x101010, 0x2F2F2F, 0xFFFFFF});
    ASSERT_TRUE(image->ChangeTo4Bit(1));
    EXPECT_EQ(image->Buffer[0], 0x12);
    EXPECT_EQ(image->Buffer[1], 0xF0);
    EXPECT_EQ(entryValue(*image, 1), 0x00111111U);
    EXPECT_EQ(entryValue(*image, 15), 0x00FFFFFFU);
}

TEST(ConvertValues, SixteenBitTruncatesOtherwise) {
    for (const unsigned int flags : {0U, 2U, 0x10000U}) {
        const DibPtr image = oneRow(24, {0xFF8807});
        ASSERT_TRUE(image->ChangeTo16Bit(flags));
        EXPECT_EQ(valuesOf(*image), (Values{0x7E20}));
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
