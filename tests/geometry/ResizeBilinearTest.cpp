#include <DibStream.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(ResizeBilinear, WeightsFollowTheSmoothStep) {
    // Positions 0, 1/3, 2/3, 1 of two pixels: weights 3f^2 - 2f^3 give 66 and 189 of 256, and the last is
    // forced.
    const DibPtr dib = blueRow({0, 255});
    EXPECT_TRUE(dib->ResizeBilinear(4, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{0, 255 * 66 / 256, 255 * 189 / 256, 255}));
}

TEST(ResizeBilinear, RowsAreMixedLikeColumnsAndBothAtOnce) {
    // Three by three of two by two: at the middle f is 1/2 and both weights are 128.
    const DibPtr dib = blankImage(2, 2, 32);
    setPixelValue(*dib, 0, 0, 0x01020310);
    setPixelValue(*dib, 1, 0, 0x03040520);
    setPixelValue(*dib, 0, 1, 0x05060740);
    setPixelValue(*dib, 1, 1, 0x08090A81);
    EXPECT_TRUE(dib->ResizeBilinear(3, 3));
    EXPECT_EQ(pixelValue(*dib, 0, 0), 0x01020310U);
    EXPECT_EQ(pixelValue(*dib, 1, 0), 0x02030418U);
    EXPECT_EQ(pixelValue(*dib, 0, 1), 0x03040528U);
    EXPECT_EQ(pixelValue(*dib, 1, 1), 0x0405063CU);
    EXPECT_EQ(pixelValue(*dib, 2, 2), 0x08090A81U);
}

TEST(ResizeBilinear, WidthOneIsTheLastColumnAndHeightOneTheLastBufferRow) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(5, 3, depth, 9);
        const std::uint32_t topRight = pixelValue(*dib, 4, 0);
        EXPECT_TRUE(dib->ResizeBilinear(1, 1));
        EXPECT_EQ(pixelValue(*dib, 0, 0), topRight) << depth;
    }
}

TEST(ResizeBilinear, EdgeColumnsStayWhenGrowing) {
    const DibPtr dib = randomImage(7, 1, 24, 10);
    const DibPtr grown(dib->Clone());
    EXPECT_TRUE(grown->ResizeBilinear(23, 1));
    EXPECT_EQ(pixelValue(*grown, 0, 0), pixelValue(*dib, 0, 0));
    EXPECT_EQ(pixelValue(*grown, 22, 0), pixelValue(*dib, 6, 0));
}

TEST(ResizeBilinear, OnePixelFillsAnySize) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(1, 1, depth, 11);
        const std::uint32_t pixel = pixelValue(*dib, 0, 0);
        EXPECT_TRUE(dib->ResizeBilinear(5, 4));
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) EXPECT_EQ(pixelValue(*dib, x, y), pixel) << depth;
        }
    }
}

TEST(ResizeBilinear, IndexedPixelsSwitchWhereTheWeightPassesOneHalf) {
    const DibPtr dib = blankImage(2, 1, 8);
    setPixelValue(*dib, 0, 0, 10);
    setPixelValue(*dib, 1, 0, 20);
    EXPECT_TRUE(dib->ResizeBilinear(5, 1));
    // At exactly one half the weight of the first pixel is 128, which is not below 128.
    EXPECT_EQ(blues(*dib), (std::vector<int>{10, 10, 10, 20, 20}));
}

TEST(ResizeBilinear, NegativeHeightCountsAbsolute) {
    const DibPtr up = randomImage(4, 4, 24, 12);
    const DibPtr down = randomImage(4, -4, 24, 12);
    EXPECT_TRUE(up->ResizeBilinear(3, -2));
    EXPECT_TRUE(down->ResizeBilinear(3, 2));
    EXPECT_EQ(up->Header->biHeight, 2);
    EXPECT_EQ(down->Header->biHeight, -2);
}

}  // namespace
}  // namespace geometry_test
