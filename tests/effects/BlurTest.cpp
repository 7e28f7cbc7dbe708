#include <DibEffect.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "effects/BoxMean.h"
#include "tests/reference/BlurReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::setPixelValue;

const std::vector<int> kBlurDepths{8, 16, 24, 32};

testing_support::EffectRun blurBy(int radius, unsigned int flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectBlur(callback, user, image, radius, flags);
    };
}

// A row of 8-bit pixels after the blur.
std::vector<std::uint32_t> blurred(const std::vector<std::uint32_t>& row, int radius, unsigned int flags,
                                   int depth = 8) {
    const int width = static_cast<int>(row.size());
    const DibPtr image = blankImage(width, 1, depth);
    for (int x = 0; x < width; ++x) setPixelValue(*image, x, 0, row[static_cast<std::size_t>(x)]);
    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), radius, flags));
    std::vector<std::uint32_t> result;
    for (int x = 0; x < width; ++x) result.push_back(pixelValue(*image, x, 0));
    return result;
}

TEST(Blur, EqualsThePlainLoops) {
    for (const int radius : {1, 2, 3}) {
        for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
            SCOPED_TRACE(::testing::Message() << "radius " << radius << " flags " << flags);
            testing_support::expectEqualsReference(
                blurBy(radius, flags), [=](DibStream& image) { reference::blur(image, radius, flags); },
                kBlurDepths);
        }
    }
}

TEST(Blur, SquaresLargerThanTheImage) {
    for (const int depth : kBlurDepths) {
        for (const int radius : {4, 6, 7, 20, 64}) {
            for (unsigned flags = 0; flags < 4; ++flags) {
                for (const testing_support::Size size :
                     {testing_support::Size{1, 1}, {3, 2}, {2, -5}, {7, 3}}) {
                    const DibPtr image = randomImage(size.width, size.height, depth, 5 + flags);
                    const DibPtr expected(image->Clone());
                    reference::blur(*expected, radius, flags);
                    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*image, *expected))
                        << "depth " << depth << " radius " << radius << " flags " << flags;
                }
            }
        }
    }
}

TEST(Blur, KeepsTheEffectsManners) {
    testing_support::expectRefusals(blurBy(2, 0), kBlurDepths);
    testing_support::expectProgressByRow(blurBy(2, 3), kBlurDepths);
    testing_support::expectProgressByRow(blurBy(9, 0), kBlurDepths);
    EXPECT_GT(testing_support::expectSurvivesFailingAllocations(blurBy(2, 0), kBlurDepths), 0);
}

TEST(Blur, RadiusZeroIsDoneAndANegativeOneRefused) {
    ProgressLog log;
    for (const int depth : testing_support::kDepths) {
        const DibPtr image = randomImage(5, 4, depth, 2);
        const DibPtr before(image->Clone());
        EXPECT_TRUE(DibEffectBlur(ProgressLog::callback, &log, image.get(), 0, 0U));
        EXPECT_FALSE(DibEffectBlur(ProgressLog::callback, &log, image.get(), -1, 0U));
        EXPECT_FALSE(DibEffectBlur(ProgressLog::callback, &log, image.get(), INT_MIN, 0U));
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
    }
    DibStream empty;
    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, &empty, 0, 0U));
    EXPECT_FALSE(DibEffectBlur(nullptr, nullptr, nullptr, 0, 0U));
    EXPECT_TRUE(log.fractions.empty());
}

TEST(Blur, ClampedEdgesCountAsOftenAsTheSquareOverhangs) {
    // Rows count three times, so the sums are of columns alone.
    EXPECT_EQ(blurred({90, 0, 0, 30}, 1, 0), (std::vector<std::uint32_t>{60, 30, 10, 20}));
    EXPECT_EQ(blurred({90, 0, 0, 30}, 1, 1), (std::vector<std::uint32_t>{40, 30, 10, 40}));
    // Of 21 columns, 10, 9, 8 and 7 lie on the left of the picture and are its first.
    EXPECT_EQ(blurred({210, 0, 0, 0}, 10, 0), (std::vector<std::uint32_t>{110, 100, 90, 80}));
    // 21 columns cover the picture exactly seven times.
    EXPECT_EQ(blurred({30, 60, 99}, 10, 3), (std::vector<std::uint32_t>{63, 63, 63}));
}

TEST(Blur, IndicesAreAveragedAsNumbersAndTheirColorsStay) {
    const DibPtr image = randomImage(3, 1, 8, 4);
    setPixelValue(*image, 0, 0, 90);
    setPixelValue(*image, 1, 0, 0);
    setPixelValue(*image, 2, 0, 30);
    const auto header = testing_support::headerBytes(*image);
    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), 1, 0U));
    EXPECT_EQ(pixelValue(*image, 0, 0), 60U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 40U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 20U);
    EXPECT_EQ(testing_support::headerBytes(*image), header);
}

TEST(Blur, MeansAreRoundedDown) {
    EXPECT_EQ(blurred({0, 0, 8}, 1, 0), (std::vector<std::uint32_t>{0, 2, 5}));
}

TEST(Blur, Bit15IsClearedAndFieldsAreAveragedApart) {
    EXPECT_EQ(blurred({0x8000, 0x8000}, 1, 0, 16), (std::vector<std::uint32_t>{0, 0}));
    EXPECT_EQ(blurred({0xFFFF, 0xFFFF}, 1, 0, 16), (std::vector<std::uint32_t>{0x7FFF, 0x7FFF}));
    // 31 / 3, 62 / 3
    EXPECT_EQ(blurred({31 << 10, 31}, 1, 0, 16), (std::vector<std::uint32_t>{20 << 10 | 10, 10 << 10 | 20}));
}

TEST(Blur, UniformImagesStay) {
    for (const int depth : kBlurDepths) {
        for (const int radius : {1, 10, 63, 64, 1450}) {
            const DibPtr image = blankImage(6, 5, depth);
            for (int i = 0; i < 30; ++i) setPixelValue(*image, i % 6, i / 6, 0xC8FF7F99);
            const DibPtr before(image->Clone());
            if (depth == 16) {
                for (int i = 0; i < 30; ++i) setPixelValue(*before, i % 6, i / 6, 0x7F99);
                for (int i = 0; i < 30; ++i) setPixelValue(*image, i % 6, i / 6, 0x7F99);
            }
            EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), radius, 0U));
            EXPECT_TRUE(testing_support::sameImage(*image, *before)) << depth << " " << radius;
        }
    }
}

TEST(Blur, SumsAndAreasWrapAt32Bits) {
    // 255 x 2903^2 = 2148989295 passes 2^31: (255 x 8427409 - 2^32) / 8427409 = -254.6..., low byte 2.
    EXPECT_EQ(blurred({255}, 1451, 0), (std::vector<std::uint32_t>{2}));
    EXPECT_EQ(blurred({254}, 1451, 0), (std::vector<std::uint32_t>{254}));
    // The area 65535^2 wraps to -131071, so does the sum of ones: the quotient is 1.
    EXPECT_EQ(blurred({1}, 32767, 0), (std::vector<std::uint32_t>{1}));
    // The side 2^32 - 1 wraps to -1, its square to 1, and 2^64 - 2^33 + 1 ones add up to 1.
    EXPECT_EQ(blurred({200}, INT_MAX, 0), (std::vector<std::uint32_t>{200}));
}

TEST(Blur, HugeRadiiEndAtOnce) {
    for (const int depth : kBlurDepths) {
        for (unsigned flags = 0; flags < 4; ++flags) {
            const DibPtr image = randomImage(300, 200, depth, 9);
            EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), INT_MAX, flags));
        }
    }
}

TEST(Blur, ACancelAtTheFirstRowLeavesOneRowChanged) {
    const DibPtr image = blankImage(1, 3, 8);
    setPixelValue(*image, 0, 1, 90);
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_FALSE(DibEffectBlur(ProgressLog::callback, &log, image.get(), 1, 0U));
    EXPECT_EQ(pixelValue(*image, 0, 0), 30U);
    EXPECT_EQ(pixelValue(*image, 0, 1), 90U);
    EXPECT_EQ(pixelValue(*image, 0, 2), 0U);
}

TEST(Blur, RecordsPassTheirFieldsOn) {
    DEBlurInfo info{0xDEADBEEF, 2, 1};
    const DibPtr image = randomImage(6, 4, 24, 1);
    const DibPtr expected(image->Clone());
    reference::blur(*expected, 2, 1);
    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), &info));
    EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    EXPECT_EQ(info.tag, 0xDEADBEEF);
}

// The two sums where a quotient changes, for every quotient, at every radius that is divided by
// multiplication: in between the rounded product can only rise.
// Columns of white up to radius 63 sum up to 32385, which 16 bits hold with a sign, and beyond that to more.
TEST(Blur, WhiteStaysWhiteAndAnEdgeIsSharedWhereColumnSumsWiden) {
    for (const int radius : {62, 63, 64, 127, 128}) {
        for (const int depth : {8, 24, 32}) {
            for (const unsigned flags : {0U, 3U}) {
                const DibPtr image = blankImage(300, 2, depth);
                std::fill_n(image->Buffer, static_cast<std::size_t>(image->GetPitch()) * 2, 255);
                EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image.get(), radius, flags));
                const std::uint32_t white = depth == 8 ? 255U : depth == 24 ? 0xFFFFFFU : 0xFFFFFFFFU;
                for (const int x : {0, 150, 299}) EXPECT_EQ(pixelValue(*image, x, 1), white) << radius;
            }
        }
    }
    // 150 black columns, 150 white ones: next to the edge 63 of 127 are white, or 64.
    std::vector<std::uint32_t> row(300, 0);
    std::fill(row.begin() + 150, row.end(), 255U);
    const std::vector<std::uint32_t> result = blurred(row, 63, 0);
    EXPECT_EQ(result[86], 0U);
    EXPECT_EQ(result[87], 2U);     // 255 / 127
    EXPECT_EQ(result[149], 126U);  // 63 x 255 / 127
    EXPECT_EQ(result[150], 128U);  // 64 x 255 / 127
    EXPECT_EQ(result[212], 252U);  // 126 x 255 / 127
    EXPECT_EQ(result[213], 255U);
}

TEST(BoxMean, IsExactAtEveryStepOfEveryRadius) {
    for (int radius = 1; radius <= 1450; ++radius) {
        const dib::BoxMean mean(radius);
        const auto divisor = static_cast<std::uint32_t>(mean.divisor());
        ASSERT_EQ(divisor, static_cast<std::uint32_t>((2 * radius + 1) * (2 * radius + 1)));
        std::vector<std::uint32_t> sums;
        std::vector<unsigned char> expected;
        for (std::uint32_t q = 0; q < 256; ++q) {
            sums.push_back(q * divisor);
            expected.push_back(static_cast<unsigned char>(q));
            if (q == 255) continue;
            sums.push_back(q * divisor + divisor - 1);
            expected.push_back(static_cast<unsigned char>(q));
        }
        std::vector<unsigned char> actual(sums.size());
        mean.ofSums(sums.data(), actual.data(), std::ssize(sums));
        ASSERT_EQ(actual, expected) << radius;
    }
}

}  // namespace
