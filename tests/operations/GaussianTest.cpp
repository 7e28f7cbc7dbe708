// The normalised Gaussian against plain sums in double precision.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"
#include "tests/reference/GaussianReference.h"
#include "tests/support/FailingMalloc.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;

constexpr int kWidth = 61;
constexpr int kHeight = 47;

// Noise; lines, which alias with cells; and an edge, where errors of the shape of the weights show most.
DibPtr tried(int bitCount, int height = kHeight) {
    const DibPtr noise = randomImage(kWidth, kHeight, bitCount, 7);
    DibPtr image = testing_support::blankImage(kWidth, height, bitCount);
    if (bitCount == 8) image->SetMonoPalette();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool isWhite = x > 50 || (x < 45 && (y + x) % 5 < 2);
            const std::uint32_t white = bitCount == 8 ? 0xFF : 0xFFFFFFFF;
            testing_support::setPixelValue(*image, x, y,
                                           x < 25    ? pixelValue(*noise, x, y)
                                           : isWhite ? white
                                                     : 0);
        }
    }
    return image;
}

std::vector<double> channelOf(DibStream& image, int channel, bool isWeighted) {
    std::vector<double> samples;
    for (const std::uint32_t value : valuesOf(image)) {
        const double sample = value >> (8 * channel) & 255;
        samples.push_back(isWeighted && channel < 3 ? sample * (value >> 24) : sample);
    }
    return samples;
}

// The largest difference of the result from the plain sums. Colours of pixels with an alpha below 16 are too
// coarse to tell.
double largestError(DibStream& before, DibStream& after, const reference::GaussianAxis& across,
                    const reference::GaussianAxis& down) {
    const int channels = before.Header->biBitCount / 8;
    const auto blurred = [&](int channel) {
        return reference::gaussian(channelOf(before, channel, channels == 4), kWidth, kHeight, across, down);
    };
    const std::vector<double> alpha = channels == 4 ? blurred(3) : std::vector<double>();
    double largest = 0;
    for (int channel = 0; channel < channels; ++channel) {
        const std::vector<double> expected = channel == 3 ? alpha : blurred(channel);
        const std::vector<double> found = channelOf(after, channel, false);
        for (std::size_t i = 0; i < found.size(); ++i) {
            const bool isColor = channels == 4 && channel < 3;
            if (isColor && alpha[i] < 16) continue;
            largest =
                std::max(largest, std::fabs(found[i] - (isColor ? expected[i] / alpha[i] : expected[i])));
        }
    }
    return largest;
}

// Half a level is the rounding to bytes.
TEST(Gaussian, DiffersFromTheExactSumByLessThanALevel) {
    for (const float radius : {1.0F, 2.5F, 9.0F, 35.9F, 36.0F, 44.0F, 61.0F, 100.0F, 255.0F}) {
        for (const int bitCount : {8, 24, 32}) {
            for (const bool wraps : {false, true}) {
                const DibPtr before = tried(bitCount);
                const DibPtr image = tried(bitCount);
                const std::string chain = "gaussian:" + std::to_string(radius) + (wraps ? ",wrap=xy" : "");
                ASSERT_TRUE(DibApply(image.get(), chain.c_str()));
                const reference::GaussianAxis axis = {radius / 3.0, static_cast<int>(radius), wraps};
                EXPECT_LT(largestError(*before, *image, axis, axis), 0.75) << chain << " at " << bitCount;
            }
        }
    }
}

TEST(Gaussian, IsTheSameAtEveryKernelLevelAndInBothRowOrders) {
    for (const char* chain : {"gaussian:4", "gaussian:35,wrap=x", "gaussian:37", "gaussian:80,wrap=y"}) {
        for (const int bitCount : {8, 24, 32}) {
            std::vector<std::uint32_t> expected;
            for (const dib::KernelLevel level : dib::kKernelLevels) {
                dib::limitKernelLevel(level);
                const std::vector<std::uint32_t> values = after(*tried(bitCount), chain);
                if (expected.empty()) expected = values;
                EXPECT_EQ(values, expected) << chain << " at " << bitCount;
                EXPECT_EQ(after(*tried(bitCount, -kHeight), chain), expected);
            }
            dib::limitKernelLevel(dib::bestKernelLevel());
        }
    }
}

TEST(Gaussian, KeepsAreasOfOneColour) {
    for (const char* chain : {"gaussian:1", "gaussian:3.3", "gaussian:17", "gaussian:35", "gaussian:36",
                              "gaussian:100", "gaussian:255,wrap=xy"}) {
        for (std::uint32_t value = 0; value < 256; value += 5) {
            const std::uint32_t color = value << 16 | (255 - value) << 8 | value;
            const DibPtr image = testing_support::plainImage(5, 3, 24, color);
            ASSERT_EQ(after(*image, chain), std::vector<std::uint32_t>(15, color)) << chain;
        }
        const DibPtr image = testing_support::plainImage(5, 3, 32, 0x40FF8001);
        EXPECT_EQ(after(*image, chain), std::vector<std::uint32_t>(15, 0x40FF8001)) << chain;
    }
    const DibPtr image = testing_support::plainImage(64, 48, 24, 0x8C8C8C);
    EXPECT_NE(after(*image, "gaussian:100,classic"), std::vector<std::uint32_t>(64 * 48, 0x8C8C8C));
}

double meanOf(DibStream& image) {
    double sum = 0;
    const std::vector<double> samples = channelOf(image, 0, false);
    for (const double sample : samples) sum += sample;
    return sum / static_cast<double>(samples.size());
}

// Where rows and columns wrap every pixel counts as much as any other.
TEST(Gaussian, KeepsTheMean) {
    for (const char* chain : {"gaussian:5,wrap=xy", "gaussian:25,wrap=xy", "gaussian:100,wrap=xy"}) {
        const DibPtr image = tried(24);
        const double before = meanOf(*image);
        after(*image, chain);
        EXPECT_NEAR(meanOf(*image), before, 0.5) << chain;  // wide ones make it one colour
    }
}

TEST(Gaussian, ReachesBeyondSmallPictures) {
    for (const testing_support::Size size : testing_support::kSizes) {
        for (const char* chain :
             {"gaussian:9", "gaussian:9,wrap=xy", "gaussian:255", "gaussian:200,wrap=xy"}) {
            const DibPtr image = randomImage(size.width, size.height, 24, 3);
            const std::vector<std::uint32_t> values = after(*image, chain);
            const std::vector<double> before =
                channelOf(*randomImage(size.width, size.height, 24, 3), 1, false);
            const float radius = std::strtof(chain + 9, nullptr);
            const reference::GaussianAxis axis = {radius / 3.0, static_cast<int>(radius),
                                                  std::string(chain).ends_with("wrap=xy")};
            const std::vector<double> expected =
                reference::gaussian(before, size.width, size.height, axis, axis);
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_NEAR(values[i] >> 8 & 255, expected[i], 0.75) << chain;
        }
    }
}

TEST(Gaussian, MayBeCancelledAndRunOutOfMemory) {
    for (const char* chain : {"gaussian:3", "gaussian:40"}) {
        const DibPtr before = randomImage(19, 13, 32, 4);
        ProgressLog whole;
        const DibPtr done = randomImage(19, 13, 32, 4);
        ASSERT_TRUE(DibApply(done.get(), chain, nullptr, nullptr, ProgressLog::callback, &whole));
        EXPECT_GE(whole.fractions.size(), 13U);
        for (int call = 0; call < static_cast<int>(whole.fractions.size()); ++call) {
            const DibPtr image = randomImage(19, 13, 32, 4);
            ProgressLog log{{}, call};
            EXPECT_FALSE(DibApply(image.get(), chain, nullptr, nullptr, ProgressLog::callback, &log));
            EXPECT_TRUE(sameImage(*image, *before));
        }
        DibPtr image;
        bool isDone = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { image = randomImage(19, 13, 32, 4); }, [&] { isDone = DibApply(image.get(), chain); },
            [&](bool failureMet) {
                EXPECT_EQ(isDone, !failureMet);
                EXPECT_TRUE(sameImage(*image, isDone ? *done : *before));
                image.reset();
            });
        EXPECT_GT(failures, 10);
    }
}

}  // namespace

}  // namespace operations_test
