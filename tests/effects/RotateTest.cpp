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

constexpr float kPi = 3.14159265F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
const std::vector<int> kAll{1, 4, 8, 16, 24, 32};

testing_support::EffectRun rotateBy(float angle, unsigned int flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectRotate(callback, user, image, angle, flags);
    };
}

TEST(Rotate, EqualsThePlainLoops) {
    for (const float angle : {0.5F, -0.5F, kPi / 2, kPi, 1e-7F, 100.0F, 3e38F, kInfinity, kNan}) {
        for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
            SCOPED_TRACE(testing::Message() << angle << " flags " << flags);
            testing_support::expectEqualsReference(
                rotateBy(angle, flags), [=](DibStream& image) { reference::rotate(image, angle, flags); },
                kAll);
        }
    }
}

TEST(Rotate, AngleZeroDoesNothing) {
    ProgressLog log;
    const DibPtr image = randomImage(5, 5, 24, 1);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(DibEffectRotate(ProgressLog::callback, &log, image.get(), 0.0F, 3));
    EXPECT_TRUE(DibEffectRotate(ProgressLog::callback, &log, image.get(), -0.0F, 3));
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
    DibStream empty;
    EXPECT_TRUE(DibEffectRotate(ProgressLog::callback, &log, &empty, 0.0F, 0));
    EXPECT_FALSE(DibEffectRotate(ProgressLog::callback, &log, nullptr, 0.0F, 0));
    EXPECT_TRUE(log.fractions.empty());
}

TEST(Rotate, Refusals) { testing_support::expectRefusals(rotateBy(1, 0), kAll); }
TEST(Rotate, ProgressAndCancel) { testing_support::expectProgressByRow(rotateBy(1, 3), kAll); }
TEST(Rotate, FailingAllocations) {
    // Copy, its two blocks, its rows, the positions.
    EXPECT_EQ(testing_support::expectSurvivesFailingAllocations(rotateBy(1, 0), kAll), 6 * 5);
}

TEST(Rotate, HalfTurn) {
    for (const int height : {6, -6}) {
        const DibPtr image = randomImage(7, height, 24, 8);
        const DibPtr before(image->Clone());
        EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image.get(), kPi, 0));
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 7; ++x) {
                const std::uint32_t turned = pixelValue(*image, x, y);
                const std::uint32_t expected = pixelValue(*before, 6 - x, 5 - y);
                // The computed position may be less than 1/256 short of the pixel.
                for (int shift = 0; shift < 24; shift += 8) {
                    EXPECT_NEAR(turned >> shift & 255, expected >> shift & 255, 2) << x << ", " << y;
                }
            }
        }
    }
}

TEST(Rotate, PositiveAnglesTurnCounterClockwise) {
    for (const int height : {5, -5}) {
        const DibPtr image = blankImage(5, height, 24);
        setPixelValue(*image, 2, 4, 0xFFFFFF);  // below the middle
        EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image.get(), kPi / 2, 0));
        EXPECT_GE(pixelValue(*image, 4, 2) & 255, 250U);  // right of it
        EXPECT_LE(pixelValue(*image, 0, 2) & 255, 5U);
    }
}

TEST(Rotate, OnePixelStaysItself) {
    for (const int depth : kAll) {
        const DibPtr image = blankImage(1, 1, depth);
        // Alpha equals red, which replaces it at a clamped edge.
        setPixelValue(*image, 0, 0,
                      depth == 1 ? 1U : 0x0A0A0905U & static_cast<std::uint32_t>((1ULL << depth) - 1));
        const std::uint32_t value = pixelValue(*image, 0, 0);
        for (const float angle : {1.2F, -0.3F, kPi, 100.0F}) {
            for (const unsigned int flags : {0U, 1U, 2U, 3U}) {
                EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image.get(), angle, flags));
                EXPECT_EQ(pixelValue(*image, 0, 0), value) << depth << ", " << angle << ", " << flags;
            }
        }
    }
}

TEST(Rotate, ClampedCornersRepeatTheBorderAndWrappedOnesTheTiles) {
    // 9 x 9, left column 1, others 0: an eighth of a turn looks beyond the corners.
    const auto stripes = [] {
        DibPtr image = blankImage(9, 9, 8);
        for (int y = 0; y < 9; ++y) setPixelValue(*image, 0, y, 1);
        return image;
    };
    const DibPtr clamped = stripes();
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, clamped.get(), kPi / 4, 0));
    EXPECT_EQ(pixelValue(*clamped, 0, 8), 1U);  // source column 4 - 4 sqrt 2, left of the picture
    const DibPtr wrapped = stripes();
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, wrapped.get(), kPi / 4, 3));
    EXPECT_EQ(pixelValue(*wrapped, 0, 8), 0U);  // column 7.3 of the next tile
}

TEST(Rotate, IndicesAreNeverMixed) {
    const DibPtr image = blankImage(16, 16, 8);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) setPixelValue(*image, x, y, (x + y) % 2 == 0 ? 10 : 200);
    }
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image.get(), 0.3F, 0));
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            EXPECT_TRUE(pixelValue(*image, x, y) == 10 || pixelValue(*image, x, y) == 200);
        }
    }
}

TEST(Rotate, RedTakesThePlaceOfAlphaAtTheClampedRightEdge) {
    const DibPtr image = blankImage(4, 4, 32);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) setPixelValue(*image, x, y, 0x11405060);
    }
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image.get(), kPi / 4, 0));
    EXPECT_EQ(pixelValue(*image, 3, 0), 0x40405060U);
    EXPECT_EQ(pixelValue(*image, 1, 1), 0x11405060U);
}

TEST(Rotate, RecordOverload) {
    testing_support::expectRecordOverload(rotateBy(0.7F, 2), DibEffectRotate, DERotateInfo{0, 0.7F, 2});
}

}  // namespace
