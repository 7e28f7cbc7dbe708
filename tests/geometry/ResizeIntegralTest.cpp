#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "geometry/AreaRows.h"
#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(ResizeIntegral, ThreeColumnsIntoTwo) {
    const DibPtr dib = blueRow({10, 100, 201});
    EXPECT_TRUE(dib->ResizeIntegral(2, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{(10 * 256 + 100 * 128) / 384, (100 * 128 + 201 * 256) / 384}));
}

TEST(ResizeIntegral, TwoColumnsIntoFourAreCopied) {
    const DibPtr dib = blueRow({7, 250});
    EXPECT_TRUE(dib->ResizeIntegral(4, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{7, 7, 250, 250}));
}

TEST(ResizeIntegral, RowsAreAveragedLikeColumns) {
    const DibPtr dib = blueColumn({10, 100, 201});
    EXPECT_TRUE(dib->ResizeIntegral(1, 2));
    EXPECT_EQ(pixelValue(*dib, 0, 0), (10U * 256 + 100 * 128) / 384);
    EXPECT_EQ(pixelValue(*dib, 0, 1), (100U * 128 + 201 * 256) / 384);
}

TEST(ResizeIntegral, TruncatesBetweenThePasses) {
    // Columns first: rows become (0 + 1) / 2 = 0 and (1 + 1) / 2 = 1, then 0.
    const DibPtr dib = blankImage(2, -2, 24);
    setPixelValue(*dib, 1, 0, 1);
    setPixelValue(*dib, 0, 1, 1);
    setPixelValue(*dib, 1, 1, 2);
    EXPECT_TRUE(dib->ResizeIntegral(1, 1));
    EXPECT_EQ(pixelValue(*dib, 0, 0), 0U);
}

TEST(ResizeIntegral, OtherDepthsGetTheSizeAndZeros) {
    for (const int depth : {1, 4, 8, 16}) {
        const DibPtr dib = randomImage(9, 5, depth, 13);
        EXPECT_TRUE(dib->Resize(4, 6, DibStream::DIB_RESIZE_INTEGRAL));
        EXPECT_EQ(dib->Header->biWidth, 4);
        EXPECT_EQ(dib->Header->biHeight, 6);
        for (const unsigned char byte : testing_support::pixelBytes(*dib)) EXPECT_EQ(byte, 0);
    }
}

// Both neighbours of every exact quotient, for every total; between them the quotient cannot change, because
// multiplying by a positive constant and truncating are monotone.
TEST(ResizeIntegral, DivisionByMultiplicationIsExact) {
    for (std::int32_t total = 1; total < static_cast<std::int32_t>(dib::kExactTotal); ++total) {
        const float inverse = 1.0F / static_cast<float>(total);
        for (std::int32_t quotient = 0; quotient < 256; ++quotient) {
            ASSERT_EQ(dib::divideExactly(quotient * total, inverse), quotient) << total;
            ASSERT_EQ(dib::divideExactly(quotient * total + total - 1, inverse), quotient) << total;
        }
    }
}

TEST(ResizeIntegral, LongSpansAreAveragedExactly) {
    for (const int depth : {24, 32}) {
        const DibPtr wide = randomImage(70001, 2, depth, 14);
        expectSame(
            *wide, [](DibStream& d) { return d.ResizeIntegral(3, 1); },
            reference::resizeIntegral(reference::Image(*wide), 3, 1), "long rows");
        const DibPtr tall = randomImage(2, -70001, depth, 15);
        expectSame(
            *tall, [](DibStream& d) { return d.ResizeIntegral(1, 3); },
            reference::resizeIntegral(reference::Image(*tall), 1, 3), "long columns");
    }
}

}  // namespace
}  // namespace geometry_test
