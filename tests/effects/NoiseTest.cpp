#include <DibEffect.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "tests/reference/PointReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

const std::vector<int> kDirect{8, 24, 32};
const std::vector<int> kDiffuseDepths{8, 16, 24, 32};
constexpr unsigned kSeed = 7;
constexpr DibBGRA kColor{10, 200, 90, 5};

// Seeds rand() for the effect and for the reference.
testing_support::EffectRun seeded(const testing_support::EffectRun& run) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        std::srand(kSeed);
        return run(callback, user, image);
    };
}

testing_support::EffectRun noiseOf(int amount) {
    return seeded([=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectNoise(callback, user, image, amount);
    });
}

testing_support::EffectRun colorNoiseOf(float strength) {
    return seeded([=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectColorNoise(callback, user, image, kColor, strength);
    });
}

testing_support::EffectRun diffuseOf(int radius, unsigned flags) {
    return seeded([=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectDiffuse(callback, user, image, radius, flags);
    });
}

// The draw that follows `count` draws after seeding.
int drawAfter(int count) {
    std::srand(kSeed);
    for (int i = 0; i < count; ++i) std::rand();
    return std::rand();
}

TEST(Noise, EqualsThePlainLoops) {
    for (const int amount : {0, 1, 20, 300, 1 << 30, INT_MAX}) {
        SCOPED_TRACE(amount);
        testing_support::expectEqualsReference(
            noiseOf(amount),
            [=](DibStream& image) {
                std::srand(kSeed);
                reference::noise(image, amount);
            },
            kDirect);
    }
}

TEST(Noise, RowsLongerThanARunOfDraws) {
    const DibPtr image = randomImage(700, 3, 24, 2);
    const DibPtr expected(image->Clone());
    EXPECT_TRUE(noiseOf(9)(nullptr, nullptr, image.get()));
    std::srand(kSeed);
    reference::noise(*expected, 9);
    EXPECT_TRUE(sameImage(*image, *expected));
}

TEST(Noise, AmountZeroOnlyDraws) {
    const DibPtr image = randomImage(5, 4, 24, 3);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(noiseOf(0)(nullptr, nullptr, image.get()));
    const int next = std::rand();
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(next, drawAfter(20));
}

TEST(Noise, ChannelsMoveTogetherAndSaturate) {
    const DibPtr image = blankImage(40, 10, 24);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 40; ++x) setPixelValue(*image, x, y, 0x808080);
    }
    EXPECT_TRUE(noiseOf(300)(nullptr, nullptr, image.get()));
    int black = 0;
    int white = 0;
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 40; ++x) {
            const std::uint32_t value = pixelValue(*image, x, y);
            EXPECT_EQ(value & 255, (value >> 8) & 255);
            EXPECT_EQ(value & 255, value >> 16);
            black += value == 0 ? 1 : 0;
            white += value == 0xFFFFFF ? 1 : 0;
        }
    }
    EXPECT_GT(black, 50);
    EXPECT_GT(white, 50);
}

TEST(Noise, OfAnIndexedImageTheIndicesMoveNotTheirColors) {
    const DibPtr image = blankImage(40, 2, 8);
    for (int i = 0; i < 80; ++i) setPixelValue(*image, i % 40, i / 40, 100);
    const auto header = testing_support::headerBytes(*image);
    std::srand(kSeed);
    EXPECT_TRUE(DibEffectNoise(nullptr, nullptr, image.get(), 3));
    std::srand(kSeed);
    for (int i = 0; i < 80; ++i) {
        const auto expected = static_cast<std::uint32_t>(100 + (std::rand() >> 4) % 7 - 3);
        EXPECT_EQ(pixelValue(*image, i % 40, i / 40), expected) << i;
    }
    EXPECT_EQ(testing_support::headerBytes(*image), header);
}

TEST(Noise, NegativeAmountIsRefusedWithoutADraw) {
    const DibPtr image = randomImage(3, 3, 24, 4);
    std::srand(kSeed);
    EXPECT_FALSE(DibEffectNoise(nullptr, nullptr, image.get(), -1));
    const int next = std::rand();
    EXPECT_EQ(next, drawAfter(0));
}

TEST(ColorNoise, EqualsThePlainLoops) {
    for (const float strength : {0.0F, 0.25F, 0.999F, 1.0F, 1.0039F, -0.001F}) {
        SCOPED_TRACE(strength);
        testing_support::expectEqualsReference(
            colorNoiseOf(strength),
            [=](DibStream& image) {
                std::srand(kSeed);
                reference::colorNoise(image, kColor, strength);
            },
            kDirect);
    }
}

TEST(ColorNoise, FullStrengthOfRedOnWhite) {
    const DibPtr image = blankImage(6, 1, 24);
    for (int x = 0; x < 6; ++x) setPixelValue(*image, x, 0, 0xFFFFFF);
    std::srand(kSeed);
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image.get(), DibBGRA{0, 0, 255, 0}, 1.0F));
    std::srand(kSeed);
    for (int x = 0; x < 6; ++x) {
        const auto rest = static_cast<std::uint32_t>(255 - ((std::rand() >> 4) & 255));
        EXPECT_EQ(pixelValue(*image, x, 0), 0xFF0000U | (rest << 8) | rest);
    }
}

TEST(ColorNoise, OfAnIndexedImageTheIndicesMoveNotTheirColors) {
    const DibPtr image = blankImage(40, 2, 8);
    const auto header = testing_support::headerBytes(*image);
    std::srand(kSeed);
    DEColorNoiseInfo info{0, 0x5AC80A, 1.0F};
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image.get(), &info));
    std::srand(kSeed);
    constexpr int kGrey = 141;  // (37 x 10 + 146 x 200 + 73 x 90) / 256
    for (int i = 0; i < 80; ++i) {
        const auto expected = static_cast<std::uint32_t>(((std::rand() >> 4) & 255) * kGrey / 255);
        EXPECT_EQ(pixelValue(*image, i % 40, i / 40), expected) << i;
    }
    EXPECT_EQ(testing_support::headerBytes(*image), header);
}

TEST(ColorNoise, StrengthOutsideItsRange) {
    const DibPtr image = randomImage(3, 3, 24, 5);
    const DibPtr before(image->Clone());
    for (const float strength : {1.01F, -0.01F, 2.0F, 1e30F, -1e30F, std::nanf(""), INFINITY, -INFINITY}) {
        EXPECT_FALSE(DibEffectColorNoise(nullptr, nullptr, image.get(), kColor, strength)) << strength;
    }
    EXPECT_TRUE(sameImage(*image, *before));
}

TEST(ColorNoise, StrengthZeroOnlyDraws) {
    const DibPtr image = randomImage(4, 2, 8, 6);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(colorNoiseOf(0)(nullptr, nullptr, image.get()));
    const int next = std::rand();
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(next, drawAfter(8));
}

TEST(ColorNoise, WordAndRecordMeanTheSameColor) {
    const DibPtr image = randomImage(8, 3, 32, 7);
    const DibPtr word(image->Clone());
    const DibPtr record(image->Clone());
    EXPECT_TRUE(colorNoiseOf(0.5F)(nullptr, nullptr, image.get()));
    std::srand(kSeed);
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, word.get(), 0xAA5AC80AU, 0.5F));
    std::srand(kSeed);
    DEColorNoiseInfo info{123, 0x5AC80A, 0.5F};
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, record.get(), &info));
    EXPECT_TRUE(sameImage(*image, *word));
    EXPECT_TRUE(sameImage(*image, *record));
}

TEST(Diffuse, EqualsThePlainLoops) {
    for (const int radius : {1, 3, 40, 1 << 30, INT_MAX}) {
        for (const unsigned flags : {0U, 1U, 2U, 3U}) {
            SCOPED_TRACE(::testing::Message() << radius << " flags " << flags);
            testing_support::expectEqualsReference(
                diffuseOf(radius, flags),
                [=](DibStream& image) {
                    std::srand(kSeed);
                    reference::diffuse(image, radius, flags);
                },
                kDiffuseDepths);
        }
    }
}

TEST(Diffuse, OnePixelStillDrawsTwice) {
    const DibPtr image = randomImage(1, 1, 24, 8);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(diffuseOf(1, 0)(nullptr, nullptr, image.get()));
    const int next = std::rand();
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(next, drawAfter(2));
}

// Every pixel of the source has its own value, so the result shows where each pixel came from.
TEST(Diffuse, EveryPixelIsAWholeOneOfItsNeighbourhood) {
    for (const int depth : kDiffuseDepths) {
        for (const int height : {9, -9}) {
            const auto valueAt = [&](int x, int y) {
                const auto number = static_cast<std::uint32_t>(20 * y + x);
                return depth == 8    ? number
                       : depth == 16 ? 0x8000U | number
                       : depth == 24 ? number << 14 | 5U
                                     : 0xA5000033U | number << 12;
            };
            const DibPtr image = blankImage(20, height, depth);
            for (int i = 0; i < 180; ++i) setPixelValue(*image, i % 20, i / 20, valueAt(i % 20, i / 20));
            EXPECT_TRUE(diffuseOf(2, 0)(nullptr, nullptr, image.get()));
            int moved = 0;
            for (int y = 0; y < 9; ++y) {
                for (int x = 0; x < 20; ++x) {
                    const std::uint32_t value = pixelValue(*image, x, y);
                    bool found = false;
                    for (int sy = std::max(y - 2, 0); sy <= std::min(y + 2, 8); ++sy) {
                        for (int sx = std::max(x - 2, 0); sx <= std::min(x + 2, 19); ++sx) {
                            found = found || value == valueAt(sx, sy);
                        }
                    }
                    EXPECT_TRUE(found) << depth << ": " << x << " " << y;
                    moved += value != valueAt(x, y) ? 1 : 0;
                }
            }
            EXPECT_GT(moved, 120) << depth;
        }
    }
}

// Left half black, right half white: at the left border white can only come from across the edge.
TEST(Diffuse, WrappingMovesPixelsAcrossTheOppositeEdge) {
    const auto whiteInTheCorner = [](unsigned flags, bool columns) {
        const DibPtr image = blankImage(columns ? 10 : 200, columns ? 200 : 10, 8);
        for (int along = 0; along < 200; ++along) {
            for (int across = 5; across < 10; ++across) {
                setPixelValue(*image, columns ? across : along, columns ? along : across, 255);
            }
        }
        EXPECT_TRUE(diffuseOf(1, flags)(nullptr, nullptr, image.get()));
        int white = 0;
        for (int along = 0; along < 200; ++along) {
            white += pixelValue(*image, columns ? 0 : along, columns ? along : 0) == 255 ? 1 : 0;
        }
        return white;
    };
    EXPECT_EQ(whiteInTheCorner(0, true), 0);
    EXPECT_EQ(whiteInTheCorner(DIB_WRAP_Y, true), 0);
    EXPECT_EQ(whiteInTheCorner(0, false), 0);
    EXPECT_EQ(whiteInTheCorner(DIB_WRAP_X, false), 0);
    // One draw in three crosses: 67 of 200 are expected.
    for (const bool columns : {true, false}) {
        const int white = whiteInTheCorner(columns ? DIB_WRAP_X : DIB_WRAP_Y, columns);
        EXPECT_GT(white, 30);
        EXPECT_LT(white, 110);
    }
}

TEST(Diffuse, ClampedBorderPixelsAreChosenMoreOften) {
    const DibPtr image = blankImage(8, 300, 8);
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 8; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(x));
    }
    EXPECT_TRUE(diffuseOf(1, 0)(nullptr, nullptr, image.get()));
    int fromBorder = 0;
    int fromInside = 0;
    for (int y = 0; y < 300; ++y) {
        fromBorder += pixelValue(*image, 0, y) == 0 ? 1 : 0;
        fromInside += pixelValue(*image, 3, y) == 3 ? 1 : 0;
    }
    // The border column keeps two draws in three, an inner one a single draw in three.
    EXPECT_GT(fromBorder, 170);
    EXPECT_LT(fromInside, 130);
    EXPECT_GT(fromInside, 70);
}

TEST(Diffuse, RadiusZeroAndNegative) {
    const DibPtr image = randomImage(3, 3, 16, 9);
    ProgressLog log;
    std::srand(kSeed);
    EXPECT_TRUE(DibEffectDiffuse(ProgressLog::callback, &log, image.get(), 0, 0));
    EXPECT_FALSE(DibEffectDiffuse(ProgressLog::callback, &log, image.get(), -1, 0));
    EXPECT_TRUE(log.fractions.empty());
    const int next = std::rand();
    EXPECT_EQ(next, drawAfter(0));
}

TEST(NoiseFamily, RefusalsProgressAndFailingAllocations) {
    for (const auto& run : {noiseOf(5), colorNoiseOf(0.5F)}) {
        testing_support::expectRefusals(run, kDirect);
        testing_support::expectProgressByRow(run, kDirect);
    }
    testing_support::expectRefusals(diffuseOf(2, 0), kDiffuseDepths);
    testing_support::expectProgressByRow(diffuseOf(2, 3), kDiffuseDepths);
    EXPECT_GE(testing_support::expectSurvivesFailingAllocations(diffuseOf(2, 0), kDiffuseDepths), 4);
}

TEST(NoiseFamily, RecordsPassTheirFieldsOn) {
    const DibPtr image = randomImage(8, 3, 24, 7);
    const DibPtr expected(image->Clone());
    std::srand(kSeed);
    DENoiseInfo noise{1, 20};
    DEDiffuseInfo diffuse{2, 3, 1};
    EXPECT_TRUE(DibEffectNoise(nullptr, nullptr, image.get(), &noise));
    EXPECT_TRUE(DibEffectDiffuse(nullptr, nullptr, image.get(), &diffuse));
    std::srand(kSeed);
    reference::noise(*expected, 20);
    reference::diffuse(*expected, 3, 1);
    EXPECT_TRUE(sameImage(*image, *expected));
}

}  // namespace
