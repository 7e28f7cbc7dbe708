#include <DibEffect.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "dib/Kernels.h"
#include "effects/gaussian/GaussianByBoxes.h"
#include "effects/gaussian/GaussianByProducts.h"
#include "effects/gaussian/ProductRows.h"
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

const std::vector<int> kByteDepths{8, 24, 32};

testing_support::EffectRun gaussian(float radius, unsigned int flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectGaussianBlur(callback, user, image, radius, flags);
    };
}

TEST(GaussianBlur, EqualsThePlainLoops) {
    for (const float radius : {1.0F, 1.5F, 2.9F, 6.0F}) {
        for (unsigned flags = 0; flags < 4; ++flags) {
            if (radius == 6.0F && flags != 1) continue;
            SCOPED_TRACE(::testing::Message() << "radius " << radius << " flags " << flags);
            testing_support::expectEqualsReference(
                gaussian(radius, flags),
                [=](DibStream& image) { reference::gaussianBlur(image, radius, flags); }, kByteDepths);
        }
    }
}

// Runs one of the two algorithms, even if the effect chose the other.
template <class Algorithm>
bool blurBy(DibStream& image, float radius, unsigned int flags) {
    dib::GaussianKernel kernel;
    return kernel.build(radius) && dib::filterInPlace<dib::Depth8, dib::Depth24, dib::Depth32>(
                                       {nullptr, nullptr}, &image, Algorithm(kernel, flags));
}

// Radii for which either algorithm is chosen. Some windows are larger than the image.
TEST(GaussianBlur, BothAlgorithmsEqualThePlainLoops) {
    for (const float radius : {1.0F, 2.5F, 21.5F, 48.0F, 70.0F, 90.25F, 255.0F}) {
        for (unsigned flags = 0; flags < 4; ++flags) {
            const int depth = kByteDepths[flags % 3];
            for (const testing_support::Size size : {testing_support::Size{1, 1}, {5, 3}, {75, 2}}) {
                if (size.width == 75 && radius > 70) continue;
                const DibPtr image = randomImage(size.width, size.height, depth, flags);
                const DibPtr expected(image->Clone());
                reference::gaussianBlur(*expected, radius, flags);
                for (const auto level : dib::kKernelLevels) {
                    SCOPED_TRACE(::testing::Message()
                                 << "radius " << radius << " flags " << flags << " depth " << depth
                                 << " level " << static_cast<int>(level));
                    dib::limitKernelLevel(level);
                    const DibPtr byProducts(image->Clone());
                    EXPECT_TRUE(blurBy<dib::GaussianByProducts>(*byProducts, radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*byProducts, *expected));
                    const DibPtr byBoxes(image->Clone());
                    EXPECT_TRUE(blurBy<dib::GaussianByBoxes>(*byBoxes, radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*byBoxes, *expected));
                    const DibPtr chosen(image->Clone());
                    EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, chosen.get(), radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*chosen, *expected));
                }
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

// The half-sizes in the table at the top of GaussianBlur.cpp.
TEST(GaussianBlur, WideKernelsAreSummedByBoxes) {
    for (int half = 1; half <= 255; ++half) {
        dib::GaussianKernel kernel;
        ASSERT_TRUE(kernel.build(static_cast<float>(half)));
        for (const auto level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            constexpr int kFirst[] = {31, 40, 38};
            EXPECT_EQ(dib::boxesAreCheaper(kernel), half >= kFirst[static_cast<int>(dib::kernelLevel())])
                << half;
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(GaussianBlur, KeepsTheEffectsManners) {
    for (const float radius : {2.5F, 120.0F}) {
        testing_support::expectRefusals(gaussian(radius, 0), kByteDepths);
        testing_support::expectProgressByRow(gaussian(radius, 3), kByteDepths);
        EXPECT_GT(testing_support::expectSurvivesFailingAllocations(gaussian(radius, 0), kByteDepths), 0);
    }
}

TEST(GaussianBlur, RadiiBelowOneAreDoneAndNegativeOnesRefused) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const DibPtr image = randomImage(5, 4, 24, 2);
    const DibPtr before(image->Clone());
    ProgressLog log;
    for (const float radius : {0.0F, -0.0F, 0.5F, 0.999F}) {
        EXPECT_TRUE(DibEffectGaussianBlur(ProgressLog::callback, &log, image.get(), radius, 0));
    }
    for (const float radius : {-0.001F, -7.0F, -kInfinity, std::nanf("")}) {
        EXPECT_FALSE(DibEffectGaussianBlur(ProgressLog::callback, &log, image.get(), radius, 0));
    }
    EXPECT_FALSE(DibEffectGaussianBlur(ProgressLog::callback, &log, nullptr, 0, 0));
    EXPECT_TRUE(log.fractions.empty());
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
}

TEST(GaussianBlur, RadiiAbove255CountAs255) {
    for (const float radius : {256.0F, 300.0F, 1e30F, std::numeric_limits<float>::infinity()}) {
        const DibPtr image = randomImage(9, 6, 8, 3);
        const DibPtr expected(image->Clone());
        EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, expected.get(), 255, 0));
        EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, image.get(), radius, 0));
        EXPECT_TRUE(testing_support::sameImage(*image, *expected)) << radius;
    }
}

TEST(GaussianBlur, UniformImagesDarkenALittle) {
    const DibPtr image = blankImage(8, 8, 8);
    for (int i = 0; i < 64; ++i) setPixelValue(*image, i % 8, i / 8, 255);
    EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, image.get(), 4, 0));
    for (int i = 0; i < 64; ++i) EXPECT_EQ(pixelValue(*image, i % 8, i / 8), 254U);
}

TEST(GaussianBlur, TheSpreadIsTheRadiusItself) {
    dib::GaussianKernel sharp;
    ASSERT_TRUE(sharp.build(1.0F));
    EXPECT_EQ(sharp.half(), 1);
    dib::GaussianKernel soft;
    ASSERT_TRUE(soft.build(1.5F));
    EXPECT_EQ(soft.half(), 1);
    // exp(-9) and exp(-4) of the middle.
    EXPECT_EQ(sharp.weight(1, 1), 7U);
    EXPECT_EQ(soft.weight(1, 1), 743U);
}

// One block, and more blocks than are processed together, with the largest samples and weights that fit.
TEST(GaussianByProducts, WeighsPairsExactlyAtEveryLevel) {
    constexpr std::ptrdiff_t kStride = 7 * dib::kGaussianBlock;
    constexpr std::ptrdiff_t kPairs = 3;
    const std::uint32_t weights[kPairs] = {0x7FFF7FFF, 0x00010002, 0x7FFF0000};
    std::vector<std::uint32_t> pairs(kPairs * kStride);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = static_cast<std::uint32_t>(i % 511 << 16 | (510 - i * 7 % 511));
    }
    for (const std::ptrdiff_t samples : {dib::kGaussianBlock, kStride}) {
        for (const auto level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            std::uint32_t sums[kStride + 1];
            std::fill_n(sums, samples + 1, 5U);
            dib::weighPairs(pairs.data(), kStride, weights, kPairs, true, sums, samples);
            for (std::ptrdiff_t x = 0; x < samples; ++x) {
                std::uint32_t expected = 0;
                for (std::ptrdiff_t j = 0; j < kPairs; ++j) {
                    const std::uint32_t pair = pairs.data()[j * kStride + x];
                    expected += (pair & 0xFFFFU) * (weights[j] & 0xFFFFU) + (pair >> 16) * (weights[j] >> 16);
                }
                EXPECT_EQ(sums[x], expected) << x;
            }
            EXPECT_EQ(sums[samples], 5U);
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

// More boxes than fit one sum of 16 bits, with the largest samples there are.
TEST(GaussianByBoxes, StepsOfManyBoxesAreExact) {
    constexpr std::size_t kSamples = dib::kGaussianPiece;
    constexpr std::size_t kBetween = 7;  // the pixels that lose begin so far behind those that gain
    std::vector<std::uint16_t> rows(3 * kSamples);
    for (std::size_t i = 2 * kSamples + kSamples / 2; i < rows.size(); ++i) rows[i] = 510;
    std::vector<std::uint8_t> boxes(200, 2);
    boxes.push_back(1);  // a row of zeros
    for (const auto level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        std::vector<std::uint32_t> steps(kSamples + kBetween, 7);
        dib::addBoxSteps(rows.data(), boxes.data(), std::ssize(boxes), steps.data(), steps.data() + kBetween);
        for (std::size_t x = 0; x < steps.size(); ++x) {
            const std::uint32_t gained = x >= kSamples / 2 && x < kSamples ? 102000 : 0;
            const std::uint32_t lost = x >= kSamples / 2 + kBetween ? 102000 : 0;
            EXPECT_EQ(steps[x], 7 + gained - lost) << x;
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(GaussianKernel, EqualsThePlainTable) {
    for (const float radius : {1.0F, 1.25F, 3.7F, 5.0F, 15.0F, 50.0F, 99.9F, 255.0F, 255.5F}) {
        dib::GaussianKernel kernel;
        ASSERT_TRUE(kernel.build(radius));
        const int half = kernel.half();
        const std::vector<std::int32_t> table = reference::gaussianWeights(half, radius);
        std::size_t k = 0;
        for (int j = -half; j <= half; ++j) {
            for (int i = -half; i <= half; ++i) {
                ASSERT_EQ(kernel.weight(std::abs(i), std::abs(j)), static_cast<std::uint32_t>(table[k++]));
            }
        }
        EXPECT_TRUE(kernel.falls());
    }
}

}  // namespace
