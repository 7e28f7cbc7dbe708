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

struct RippleOf {
    float centerX, centerY, wavelength, amplitude, phase;
    unsigned int flags;
    bool operator()(DibProgressCallback callback, void* user, DibStream* image) const {
        return DibEffectRipple(callback, user, image, centerX, centerY, wavelength, amplitude, phase, flags);
    }
    void operator()(DibStream& image) const {
        reference::ripple(image, centerX, centerY, wavelength, amplitude, phase, flags);
    }
};

struct WaveOf {
    float wavelength, amplitude, phase, direction;
    unsigned int flags;
    bool operator()(DibProgressCallback callback, void* user, DibStream* image) const {
        return DibEffectWave(callback, user, image, wavelength, amplitude, phase, direction, flags);
    }
    void operator()(DibStream& image) const {
        reference::wave(image, wavelength, amplitude, phase, direction, flags);
    }
};

TEST(Ripple, EqualsThePlainLoops) {
    for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
        for (const RippleOf& ripple :
             {RippleOf{8, 2.5F, 20, 0.1F, 0, flags}, RippleOf{-1000, 500, 40, 2, 1, flags},
              RippleOf{3, 3, -7, -0.5F, 100, flags}, RippleOf{0, 0, 1e-38F, 1e30F, 0, flags},
              RippleOf{kNan, 2, 5, 1, 0, flags}, RippleOf{3, kInfinity, 5, 1, 0, flags},
              RippleOf{3, 3, kNan, 1, 0, flags}, RippleOf{3, 3, kInfinity, 1, 0, flags},
              RippleOf{3, 3, 5, kInfinity, 0, flags}, RippleOf{3, 3, 5, 1, -kInfinity, flags}}) {
            testing_support::expectEqualsReference(ripple, ripple, kAll);
        }
    }
}

TEST(Wave, EqualsThePlainLoops) {
    for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
        for (const WaveOf& wave :
             {WaveOf{8, 3, kPi / 2, 0, flags}, WaveOf{20, 5, 0, 1, flags}, WaveOf{-5, -2, 3, kPi / 2, flags},
              WaveOf{1e-38F, 1e30F, 0, 2, flags}, WaveOf{kNan, 3, 0, 1, flags}, WaveOf{5, kNan, 0, 1, flags},
              WaveOf{5, 3, kInfinity, 1, flags}, WaveOf{5, 3, 0, kInfinity, flags},
              WaveOf{5, kInfinity, 0, 1, flags}, WaveOf{kInfinity, 3, 1, 1, flags}}) {
            testing_support::expectEqualsReference(wave, wave, kAll);
        }
    }
}

TEST(Ripple, Refusals) { testing_support::expectRefusals(RippleOf{2, 2, 5, 1, 0, 0}, kAll); }
TEST(Wave, Refusals) { testing_support::expectRefusals(WaveOf{5, 1, 0, 0, 0}, kAll); }

TEST(Ripple, ProgressAndCancel) { testing_support::expectProgressByRow(RippleOf{2, 2, 5, 1, 0, 3}, kAll); }
TEST(Wave, ProgressAndCancel) { testing_support::expectProgressByRow(WaveOf{5, 2, 0, 1, 3}, kAll); }

TEST(Ripple, FailingAllocations) {
    EXPECT_EQ(testing_support::expectSurvivesFailingAllocations(RippleOf{2, 2, 5, 1, 0, 3}, kAll), 6 * 5);
}
TEST(Wave, FailingAllocations) {
    EXPECT_EQ(testing_support::expectSurvivesFailingAllocations(WaveOf{5, 2, 0, 1, 3}, kAll), 6 * 5);
}

// Wavelength 0 is checked before amplitude 0.
template <class Effect>
void expectZeroes(Effect zeroWavelength, Effect zeroAmplitude, Effect both) {
    ProgressLog log;
    const DibPtr image = randomImage(5, 5, 24, 1);
    const DibPtr before(image->Clone());
    EXPECT_FALSE(zeroWavelength(ProgressLog::callback, &log, image.get()));
    EXPECT_TRUE(zeroAmplitude(ProgressLog::callback, &log, image.get()));
    EXPECT_FALSE(both(ProgressLog::callback, &log, image.get()));
    DibStream empty;
    EXPECT_TRUE(zeroAmplitude(ProgressLog::callback, &log, &empty));
    EXPECT_FALSE(zeroAmplitude(ProgressLog::callback, &log, nullptr));
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
    EXPECT_TRUE(log.fractions.empty());
}

TEST(Ripple, ZeroParameters) {
    expectZeroes(RippleOf{2, 2, -0.0F, 1, 0, 0}, RippleOf{2, 2, 5, -0.0F, 0, 0}, RippleOf{2, 2, 0, 0, 0, 0});
}
TEST(Wave, ZeroParameters) {
    expectZeroes(WaveOf{-0.0F, 1, 0, 0, 0}, WaveOf{5, -0.0F, 0, 0, 0}, WaveOf{0, 0, 0, 0, 0});
}

TEST(Ripple, CenterComesFromItselfAndAQuarterWaveTurnsByTheAmplitude) {
    const DibPtr image = blankImage(21, 21, 24);
    setPixelValue(*image, 10, 10, 0x112233);
    // Right of the centre at r = 5 the source is (10 + 5 cos 0.1, 10 + 5 sin 0.1) = (14.97, 10.49).
    setPixelValue(*image, 14, 11, 0xFF0000);
    setPixelValue(*image, 15, 11, 0x0000FF);
    EXPECT_TRUE(DibEffectRipple(nullptr, nullptr, image.get(), 10, 10, 20, 0.1F, 0, 0));
    EXPECT_EQ(pixelValue(*image, 10, 10), 0x112233U);
    // Weights: 249 of 256 to the right (0.975 x 256), 127 of 256 down (0.499 x 256).
    EXPECT_EQ(pixelValue(*image, 15, 10) & 0xFF, 255U * 249 * 127 >> 16);
    EXPECT_EQ(pixelValue(*image, 15, 10) >> 16, 255U * 7 * 127 >> 16);
}

TEST(Ripple, FlagsBringPixelsFromTheOppositeSide) {
    // A quarter wave from the centre the turn is half a turn: 8 pixels ahead of it come from 8 pixels behind.
    for (const bool alongX : {true, false}) {
        SCOPED_TRACE(alongX);
        const auto resultAtTheEnd = [alongX](unsigned int flags) {
            const DibPtr image = blankImage(9, 9, 24);
            for (int i = 0; i < 9; ++i) setPixelValue(*image, alongX ? 1 : i, alongX ? i : 1, 0x646464);
            EXPECT_TRUE(DibEffectRipple(nullptr, nullptr, image.get(), alongX ? 0 : 4, alongX ? 4 : 0, 32,
                                        kPi, 0, flags));
            return pixelValue(*image, alongX ? 8 : 4, alongX ? 4 : 8) & 0xFF;
        };
        EXPECT_GE(resultAtTheEnd(3), 99U);  // line -8 is line 1, but for a weight of 1 in 256
        EXPECT_EQ(resultAtTheEnd(0), 0U);   // line 0
    }
}

TEST(Wave, TheCentreColumnComesFromThreeRowsFurtherOn) {
    // d = 0 there, so w = 3 sin(pi / 2): the source is y + 3 exactly.
    for (const int depth : {8, 24}) {
        const DibPtr image = blankImage(9, 9, depth);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(10 * y + x));
        }
        EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image.get(), 8, 3, kPi / 2, 0, 0));
        for (int y = 0; y < 9; ++y) {
            const auto source = static_cast<std::uint32_t>(y < 6 ? y + 3 : 8);
            EXPECT_EQ(pixelValue(*image, 4, y), 10 * source + 4) << depth << ", row " << y;
        }
    }
}

TEST(Wave, DirectionZeroMovesPixelsAlongY) {
    const DibPtr image = blankImage(9, -9, 8);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 9; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(10 * y + x));
    }
    // d = 0 in the middle column; half a pixel keeps truncation away from the pixel's border.
    EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image.get(), 8, 3.5F, kPi / 2, 0, 0));
    for (int y = 0; y < 6; ++y) EXPECT_EQ(pixelValue(*image, 4, y), 10U * static_cast<unsigned>(y + 3) + 4);
    EXPECT_EQ(pixelValue(*image, 4, 7), 84U);  // clamped
}

TEST(Wave, DistanceIsPositiveOnBothSidesOfTheLineAlongTheDirection) {
    // With phase 0 a shift of opposite sign would be expected at equal distances on both sides of the middle.
    const DibPtr image = blankImage(9, 9, 8);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 9; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(y));
    }
    EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image.get(), 8, 2.5F, 0, 0, 0));
    // d = 2 gives w = 2.5, d = -2 gives -2.5.
    EXPECT_EQ(pixelValue(*image, 2, 4), 6U);  // on the line, before the middle
    EXPECT_EQ(pixelValue(*image, 6, 4), 6U);  // on the line, behind the middle
    EXPECT_EQ(pixelValue(*image, 2, 5), 7U);  // off the line: d = 2
    EXPECT_EQ(pixelValue(*image, 6, 5), 2U);  // off the line: d = -2
}

TEST(Wave, FlagsBringPixelsFromTheOppositeSide) {
    const DibPtr image = blankImage(9, 9, 24);
    for (int x = 0; x < 9; ++x) setPixelValue(*image, x, 0, 0xFFFFFF);
    EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image.get(), 8, 2, kPi / 2, 0, 3));
    EXPECT_EQ(pixelValue(*image, 4, 7), 0xFFFFFFU);
    // Across: in the middle row every pixel comes from two columns before it.
    for (const unsigned int flags : {3U, 0U}) {
        const DibPtr across = blankImage(9, 9, 24);
        for (int y = 0; y < 9; ++y) setPixelValue(*across, 8, y, 0xFFFFFF);
        EXPECT_TRUE(DibEffectWave(nullptr, nullptr, across.get(), 8, 2, kPi / 2, kPi / 2, flags));
        EXPECT_EQ(pixelValue(*across, 1, 4), flags == 3 ? 0xFFFFFFU : 0U);
    }
}

TEST(Ripple, RecordOverload) {
    testing_support::expectRecordOverload(RippleOf{1, 2, 3, 4, 5, 1}, DibEffectRipple,
                                          DERippleInfo{0, 1, 2, 3, 4, 5, 1});
}

TEST(Wave, RecordOverload) {
    testing_support::expectRecordOverload(WaveOf{3, 4, 5, 6, 2}, DibEffectWave, DEWaveInfo{0, 3, 4, 5, 6, 2});
}

}  // namespace
