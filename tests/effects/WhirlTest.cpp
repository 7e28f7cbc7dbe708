#include <DibEffect.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/reference/EffectReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::setPixelValue;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
const std::vector<int> kAll{1, 4, 8, 16, 24, 32};

struct WhirlOf {
    float centerX, centerY, twist;
    unsigned int flags;
    bool operator()(DibProgressCallback callback, void* user, DibStream* image) const {
        return DibEffectWhirl(callback, user, image, centerX, centerY, twist, flags);
    }
    void operator()(DibStream& image) const { reference::whirl(image, centerX, centerY, twist, flags); }
};

TEST(Whirl, EqualsThePlainLoops) {
    for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
        for (const WhirlOf& whirl :
             {WhirlOf{8, 2.5F, 0.1F, flags}, WhirlOf{-1000, 500, -0.01F, flags}, WhirlOf{31, 24, 30, flags},
              WhirlOf{3e38F, 0, 1, flags}, WhirlOf{2, 2, 3e38F, flags}, WhirlOf{kNan, 2, 1, flags},
              WhirlOf{2, kInfinity, 1, flags}, WhirlOf{2, 2, kNan, flags}, WhirlOf{2, 2, kInfinity, flags}}) {
            testing_support::expectEqualsReference(whirl, whirl, kAll);
        }
    }
}

TEST(Whirl, Refusals) { testing_support::expectRefusals(WhirlOf{2, 2, 0.5F, 0}, kAll); }
TEST(Whirl, ProgressAndCancel) { testing_support::expectProgressByRow(WhirlOf{2, 2, 0.5F, 3}, kAll); }
TEST(Whirl, FailingAllocations) {
    EXPECT_EQ(testing_support::expectSurvivesFailingAllocations(WhirlOf{2, 2, 0.5F, 0}, kAll), 6 * 5);
}

TEST(Whirl, TwistZeroDoesNothing) {
    ProgressLog log;
    const DibPtr image = randomImage(5, 5, 24, 1);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(DibEffectWhirl(ProgressLog::callback, &log, image.get(), 1, 1, 0.0F, 3));
    EXPECT_TRUE(DibEffectWhirl(ProgressLog::callback, &log, image.get(), 1, 1, -0.0F, 3));
    DibStream empty;
    EXPECT_TRUE(DibEffectWhirl(ProgressLog::callback, &log, &empty, 1, 1, 0, 0));
    EXPECT_FALSE(DibEffectWhirl(ProgressLog::callback, &log, nullptr, 1, 1, 0, 0));
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
    EXPECT_TRUE(log.fractions.empty());
}

TEST(Whirl, CenterComesFromItself) {
    const DibPtr image = randomImage(9, 9, 24, 2);
    const std::uint32_t center = pixelValue(*image, 4, 3);
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, image.get(), 4, 3, 2, 0));
    EXPECT_EQ(pixelValue(*image, 4, 3), center);
}

TEST(Whirl, TurnGrowsWithTheDistance) {
    // 100 pixels right of the centre at 0.01 a pixel: turned by 1 radian to (54.03, 84.147).
    const DibPtr image = blankImage(120, -120, 8);
    setPixelValue(*image, 54, 84, 99);
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, image.get(), 0, 0, 0.01F, 0));
    EXPECT_EQ(pixelValue(*image, 100, 0), 99U);
    EXPECT_EQ(pixelValue(*image, 99, 0), 0U);
}

TEST(Whirl, TheCentreMayLieOutside) {
    const DibPtr image = blankImage(9, 9, 8);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 9; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(10 * y + x));
    }
    // 108 pixels right of the centre the turn is 0.0231 and leads to (7.97, 6.50); 100 pixels, to (-0.02,
    // 6.14).
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, image.get(), -100, 4, 0.000214335F, 0));
    EXPECT_EQ(pixelValue(*image, 8, 4), 67U);
    EXPECT_EQ(pixelValue(*image, 0, 4), 60U);
}

TEST(Whirl, BeyondTheBorderClampsOrWraps) {
    // The pixel at the right end of the row through the centre turns by half a turn, to column -8.
    const auto picture = [] {
        DibPtr image = blankImage(9, 9, 8);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(x));
        }
        return image;
    };
    const float twist = 3.14159265F / 8;
    const DibPtr clamped = picture();
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, clamped.get(), 0, 4, twist, 0));
    EXPECT_EQ(pixelValue(*clamped, 8, 4), 0U);
    const DibPtr wrapped = picture();
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, wrapped.get(), 0, 4, twist, 3));
    EXPECT_EQ(pixelValue(*wrapped, 8, 4), 1U);
}

TEST(Whirl, RecordOverload) {
    testing_support::expectRecordOverload(WhirlOf{1, 2, 0.3F, 1}, DibEffectWhirl,
                                          DEWhirlInfo{0, 1, 2, 0.3F, 1});
}

}  // namespace
