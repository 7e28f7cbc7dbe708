#include <DibEffect.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "dib/Kernels.h"
#include "tests/reference/LineReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::fillImage;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::Random;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

const std::vector<int> kSampled{8, 16, 24, 32};
const std::vector<int> kEdgeDepths{8, 24, 32};

testing_support::EffectRun motionBlurOf(int length, float angle, unsigned flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectMotionBlur(callback, user, image, length, angle, flags);
    };
}

testing_support::EffectRun embossOf(float strength, int distance, float angle, unsigned flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectEmboss(callback, user, image, strength, distance, angle, flags);
    };
}

testing_support::EffectRun pickEdgeOf(unsigned flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectPickEdge(callback, user, image, flags);
    };
}

TEST(MotionBlur, EqualsThePlainLoops) {
    for (const int length : {2, 15}) {
        for (const float angle : {0.0F, 0.5F, -2.0F, 3.1415927F}) {
            for (const unsigned flags : {0U, 1U, 2U, 3U}) {
                SCOPED_TRACE(::testing::Message() << length << " " << angle << " " << flags);
                testing_support::expectEqualsReference(
                    motionBlurOf(length, angle, flags),
                    [=](DibStream& image) { reference::motionBlur(image, length, angle, flags); }, kSampled);
            }
        }
    }
}

// Positions round differently in every power-of-two range of floats, so a wide row has seams.
TEST(MotionBlur, WideRowsAtManyAngles) {
    Random random(11);
    for (int round = 0; round < 24; ++round) {
        const int depth = kSampled[static_cast<std::size_t>(round % 4)];
        const float angle = random.real(-7, 7);
        const auto flags = static_cast<unsigned>(random.below(4));
        dib::limitKernelLevel(round % 2 == 0 ? dib::KernelLevel::kBaseline : dib::bestKernelLevel());
        const DibPtr image = randomImage(random.between(900, 2600), 2, depth, 3);
        const DibPtr expected(image->Clone());
        EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 40, angle, flags));
        reference::motionBlur(*expected, 40, angle, flags);
        EXPECT_TRUE(sameImage(*image, *expected)) << angle << " " << flags;
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(MotionBlur, WrappedSums) {
    // 255 x 8423460 wraps; divided by the total of the weights it leaves -254.
    const DibPtr image = blankImage(1, 1, 24);
    setPixelValue(*image, 0, 0, 0x0000FF);
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 4104, 0, 0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x000002U);

    const DibPtr word = blankImage(1, 1, 16);
    setPixelValue(*word, 0, 0, 0xFFFF);
    const DibPtr expected(word->Clone());
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, word.get(), 12000, 0, 0));
    reference::motionBlur(*expected, 12000, 0, 0);
    EXPECT_TRUE(sameImage(*word, *expected));
    EXPECT_EQ(pixelValue(*word, 0, 0) & 0x8000U, 0U);

    // 31 x 112507500 leaves -7 in each field: -7 x 1024 - 7 x 32 - 7, without bit 15.
    setPixelValue(*word, 0, 0, 0xFFFF);
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, word.get(), 15000, 0, 0));
    EXPECT_EQ(pixelValue(*word, 0, 0), 0x6319U);
}

TEST(MotionBlur, LengthTwoOnTwoIndices) {
    const DibPtr image = blankImage(4, 1, 8);
    setPixelValue(*image, 1, 0, 255);
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 2, 0, 0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 85U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 170U);
}

TEST(MotionBlur, LengthsThatDoNothing) {
    for (const int depth : {1, 4, 8, 16, 24, 32}) {
        const DibPtr image = randomImage(4, 4, depth, 1);
        const DibPtr before(image->Clone());
        ProgressLog log;
        EXPECT_TRUE(DibEffectMotionBlur(ProgressLog::callback, &log, image.get(), 1, 1, 0));
        for (const int length : {0, -1, INT_MIN}) {
            EXPECT_FALSE(DibEffectMotionBlur(ProgressLog::callback, &log, image.get(), length, 1, 0));
        }
        EXPECT_TRUE(log.fractions.empty());
        EXPECT_TRUE(sameImage(*image, *before));
    }
}

TEST(MotionBlur, UniformImagesStayAndBit15Goes) {
    for (const int depth : kSampled) {
        // At the right edge of 32 bits the sampler replaces alpha by red, so they are equal here.
        const std::uint32_t value = depth == 32 ? 0x20201008 : 0x1234;
        const DibPtr image = blankImage(9, 5, depth);
        fillImage(*image, depth == 16 ? value | 0x8000 : value);
        const std::uint32_t stored = depth == 8 ? 0x34 : value;
        EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 7, 0.7F, 0));
        for (int x = 0; x < 9; ++x) EXPECT_EQ(pixelValue(*image, x, 2), stored) << depth;
    }
}

// Without a direction every position is NaN, which reads the pixel at the upper left.
TEST(MotionBlur, AnglesWithoutADirectionReadTheFirstPixel) {
    constexpr std::uint32_t kFirst = 0x40302010;
    struct Case {
        int depth;
        std::uint32_t smeared;
        std::uint32_t flat;
    };
    for (const Case c : {Case{8, 0x10, 0x7F},
                         {16, 0x2010, 0x3DEF},
                         {24, 0x302010, 0x7F7F7F},
                         {32, 0x40302010, 0x7F7F7F7F}}) {
        for (const float angle : {INFINITY, -INFINITY, std::nanf("")}) {
            for (const unsigned flags : {0U, 1U, 2U, 3U}) {
                const DibPtr smeared = randomImage(40, 3, c.depth, 1);
                setPixelValue(*smeared, 0, 0, kFirst);
                const DibPtr relief(smeared->Clone());
                EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, smeared.get(), 3, angle, flags));
                EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, relief.get(), 1, 3, angle, flags));
                for (int i = 0; i < 120; ++i) {
                    EXPECT_EQ(pixelValue(*smeared, i % 40, i / 40), c.smeared);
                    EXPECT_EQ(pixelValue(*relief, i % 40, i / 40), c.flat);
                }
            }
        }
    }
}

TEST(MotionBlur, HugeAnglesAreAnglesLikeOthers) {
    const DibPtr image = randomImage(40, 3, 24, 1);
    const DibPtr expected(image->Clone());
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 3, 1e30F, 0));
    reference::motionBlur(*expected, 3, 1e30F, 0);
    EXPECT_TRUE(sameImage(*image, *expected));
}

TEST(Emboss, EqualsThePlainLoops) {
    for (const float strength : {1.0F, -2.5F, 0.0F}) {
        for (const int distance : {1, 3}) {
            for (const float angle : {0.0F, 0.785F, -2.0F}) {
                for (const unsigned flags : {0U, 1U, 2U, 3U}) {
                    SCOPED_TRACE(::testing::Message()
                                 << strength << " " << distance << " " << angle << " " << flags);
                    testing_support::expectEqualsReference(
                        embossOf(strength, distance, angle, flags),
                        [=](DibStream& image) { reference::emboss(image, strength, distance, angle, flags); },
                        kSampled);
                }
            }
        }
    }
}

// Most of their samples lie beyond the edges.
TEST(Emboss, LongLinesEqualThePlainLoops) {
    for (const unsigned flags : {0U, 1U, 2U, 3U}) {
        SCOPED_TRACE(flags);
        testing_support::expectEqualsReference(
            embossOf(1, 60, 0.785F, flags),
            [=](DibStream& image) { reference::emboss(image, 1, 60, 0.785F, flags); }, kSampled);
        testing_support::expectEqualsReference(
            motionBlurOf(60, -2.0F, flags),
            [=](DibStream& image) { reference::motionBlur(image, 60, -2.0F, flags); }, kSampled);
    }
}

TEST(Emboss, UniformImagesBecomeMiddleGrey) {
    const std::uint32_t expected[] = {127, 15 * 1024 + 15 * 32 + 15, 0x7F7F7F, 0x7F7F7F7F};
    for (std::size_t i = 0; i < kSampled.size(); ++i) {
        const DibPtr image = blankImage(6, 4, kSampled[i]);
        fillImage(*image, 0x50505050);
        EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image.get(), 3, 2, 0.3F, 0));
        for (int at = 0; at < 24; ++at) EXPECT_EQ(pixelValue(*image, at % 6, at / 6), expected[i]) << at;

        const DibPtr other = randomImage(6, 4, kSampled[i], 2);
        EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, other.get(), 0, 2, 0.3F, 0));
        for (int x = 0; x < 6; ++x) EXPECT_EQ(pixelValue(*other, x, 2), expected[i]);
    }
}

// Alpha differs wherever the sample ahead is in the last column, because the sampler replaces it by red
// there.
TEST(Emboss, UniformAlphaUnlikeRedShowsTheRightEdge) {
    for (const int height : {4, -4}) {
        for (const unsigned flags : {0U, 1U, 2U, 3U}) {
            const DibPtr image = blankImage(6, height, 32);
            fillImage(*image, 0x640A1428);
            EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image.get(), 1, 1, 0, flags));
            for (int y = 0; y < 4; ++y) {
                for (int x = 0; x < 6; ++x) {
                    // The last row has no row to mix with unless y wraps.
                    const bool edge = (flags & 1U) == 0 && x >= 4 && (y < 3 || (flags & 2U) != 0);
                    // 127.5 + 10 - 100 in the alpha.
                    EXPECT_EQ(pixelValue(*image, x, y), edge ? 0x257F7F7FU : 0x7F7F7F7FU)
                        << x << " " << y << " flags " << flags;
                }
            }
        }
    }
}

TEST(Emboss, AStepToTheLightComesOutBright) {
    const DibPtr image = blankImage(4, 1, 8);
    setPixelValue(*image, 2, 0, 100);
    setPixelValue(*image, 3, 0, 100);
    EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image.get(), 1, 1, 0, 0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 127U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 227U);  // 100 + 127.5
    EXPECT_EQ(pixelValue(*image, 2, 0), 227U);
    EXPECT_EQ(pixelValue(*image, 3, 0), 127U);
}

TEST(Emboss, ForeignStrengths) {
    for (const float strength : {INFINITY, -INFINITY, std::nanf("")}) {
        const DibPtr image = randomImage(20, 3, 24, 3);
        const DibPtr expected(image->Clone());
        EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image.get(), strength, 1, 0, 0));
        reference::emboss(*expected, strength, 1, 0, 0);
        EXPECT_TRUE(sameImage(*image, *expected));
    }
    const DibPtr image = randomImage(3, 3, 24, 3);
    for (const int distance : {0, -1, INT_MIN}) {
        EXPECT_FALSE(DibEffectEmboss(nullptr, nullptr, image.get(), 1, distance, 0, 0));
    }
}

TEST(PickEdge, EqualsThePlainLoops) {
    for (const unsigned flags : {0U, 1U, 2U, 3U}) {
        testing_support::expectEqualsReference(
            pickEdgeOf(flags), [=](DibStream& image) { reference::pickEdge(image, flags); }, kEdgeDepths);
    }
}

// Every pair of differences at once: dx from -255 to 255 in the columns, dy in the rows.
TEST(PickEdge, TheRootIsExactForEveryGradient) {
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (int dy = 0; dy <= 255; ++dy) {
            // Three rows; the middle one alternates so that neighbours two apart differ by dx.
            const DibPtr image = blankImage(3 * 256, 3, 8);
            for (int dx = 0; dx <= 255; ++dx) {
                setPixelValue(*image, 3 * dx, 1, static_cast<std::uint32_t>(dx));
                setPixelValue(*image, 3 * dx + 1, 0, static_cast<std::uint32_t>(dy));
            }
            EXPECT_TRUE(DibEffectPickEdge(nullptr, nullptr, image.get(), 0U));
            for (int dx = 0; dx <= 255; ++dx) {
                const double root = std::sqrt(static_cast<double>(dx * dx + dy * dy));
                ASSERT_EQ(pixelValue(*image, 3 * dx + 1, 1), static_cast<unsigned>(root) & 255U)
                    << dx << " " << dy;
            }
        }
    }
}

TEST(PickEdge, FlatIsBlackAndStrongCornersWrap) {
    for (const int depth : kEdgeDepths) {
        for (const unsigned flags : {0U, 1U, 2U, 3U}) {
            const DibPtr flat = blankImage(4, 3, depth);
            fillImage(*flat, 0xC8336699);
            EXPECT_TRUE(DibEffectPickEdge(nullptr, nullptr, flat.get(), flags));
            for (int at = 0; at < 12; ++at) EXPECT_EQ(pixelValue(*flat, at % 4, at / 4), 0U) << depth;
        }
    }

    const DibPtr corner = blankImage(3, 3, 8);
    setPixelValue(*corner, 0, 1, 255);
    EXPECT_TRUE(DibEffectPickEdge(nullptr, nullptr, corner.get(), 0U));
    EXPECT_EQ(pixelValue(*corner, 1, 1), 255U);
    const DibPtr both = blankImage(3, 3, 8);
    setPixelValue(*both, 0, 1, 255);
    setPixelValue(*both, 1, 0, 255);
    EXPECT_TRUE(DibEffectPickEdge(nullptr, nullptr, both.get(), 0U));
    EXPECT_EQ(pixelValue(*both, 1, 1), 104U);
}

TEST(LineFamily, RefusalsProgressAndFailingAllocations) {
    const testing_support::EffectRun sampled[] = {motionBlurOf(3, 1, 1), embossOf(1, 2, 1, 2)};
    for (const auto& run : sampled) {
        testing_support::expectRefusals(run, kSampled);
        testing_support::expectProgressByRow(run, kSampled);
        EXPECT_GE(testing_support::expectSurvivesFailingAllocations(run, kSampled), 4);
    }
    testing_support::expectRefusals(pickEdgeOf(0), kEdgeDepths);
    testing_support::expectProgressByRow(pickEdgeOf(3), kEdgeDepths);
    EXPECT_GE(testing_support::expectSurvivesFailingAllocations(pickEdgeOf(0), kEdgeDepths), 3);
}

TEST(LineFamily, RecordsPassTheirFieldsOn) {
    const DibPtr image = randomImage(9, 6, 24, 4);
    const DibPtr expected(image->Clone());
    DEMotionBlurInfo motion{1, 4, 0.5F, 1};
    DEEmbossInfo relief{2, 1.5F, 2, 0.25F, 2};
    DEPickEdgeInfo edge{3, 3};
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), &motion));
    EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image.get(), &relief));
    EXPECT_TRUE(DibEffectPickEdge(nullptr, nullptr, image.get(), &edge));
    reference::motionBlur(*expected, 4, 0.5F, 1);
    reference::emboss(*expected, 1.5F, 2, 0.25F, 2);
    reference::pickEdge(*expected, 3);
    EXPECT_TRUE(sameImage(*image, *expected));
}

}  // namespace
