// Both medians by themselves: where both apply they give the same, and each handles what the other never
// sees.
#include <gtest/gtest.h>

#include "effects/rank/MedianLargeRadius.h"
#include "effects/rank/MedianSmallRadius.h"
#include "tests/reference/RankReference.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

template <class Median>
bool run(DibStream& image, int radius, unsigned int flags) {
    return dib::filterImage<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
        {nullptr, nullptr}, &image, Median(radius, flags));
}

TEST(Median, BothEqualThePlainLoopsAtSmallRadii) {
    for (const int depth : testing_support::kDepths) {
        for (const int radius : {1, 2, 5, 7}) {
            for (unsigned flags = 0; flags < 4; ++flags) {
                const DibPtr expected = randomImage(19, flags < 2 ? 17 : -6, depth, flags);
                const DibPtr small(expected->Clone());
                const DibPtr large(expected->Clone());
                reference::brightMiddle(*expected, radius, flags);
                EXPECT_TRUE(run<dib::MedianSmallRadius>(*small, radius, flags));
                EXPECT_TRUE(run<dib::MedianLargeRadius>(*large, radius, flags));
                EXPECT_TRUE(sameImage(*small, *expected)) << depth << " " << radius << " " << flags;
                EXPECT_TRUE(sameImage(*large, *expected)) << depth << " " << radius << " " << flags;
            }
        }
    }
}

TEST(Median, SmallRadiusTakesTheSixthBrightestOfNine) {
    const DibPtr image = testing_support::blankImage(3, 3, 24);
    for (int i = 0; i < 9; ++i) setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(10 * (9 - i)));
    EXPECT_TRUE(run<dib::MedianSmallRadius>(*image, 1, 0));
    EXPECT_EQ(pixelValue(*image, 1, 1), 40U);
}

TEST(Median, LargeRadiusTakesTheSixthBrightestOfNine) {
    const DibPtr image = testing_support::blankImage(3, 3, 24);
    for (int i = 0; i < 9; ++i) setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(10 * (9 - i)));
    EXPECT_TRUE(run<dib::MedianLargeRadius>(*image, 1, 0));
    EXPECT_EQ(pixelValue(*image, 1, 1), 40U);
}

TEST(Median, RankIsOneStepDarkerThanTheMedian) {
    EXPECT_EQ(dib::medianRank(1, 8), 5U);
    EXPECT_EQ(dib::medianRank(7, 24), 113U);
    EXPECT_EQ(dib::medianRank(1, 1), 4U);
    EXPECT_EQ(dib::medianRank(23169, 24), 1073651461U);
}

TEST(LevelValues, KnowWhetherALevelHasOneValue) {
    dib::LevelValues values;
    ASSERT_TRUE(values.prepare(3));
    EXPECT_FALSE(values.several(1));
    values.note(1, 0);
    values.note(1, 0);
    EXPECT_FALSE(values.several(1));
    EXPECT_EQ(values.value(1), 0U);
    values.note(2, 7);
    values.note(2, 8);
    values.note(2, 7);
    EXPECT_TRUE(values.several(2));
    EXPECT_FALSE(values.several(0));
}

}  // namespace
