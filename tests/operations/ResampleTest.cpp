// Sums of pixels against plain sums in double, with alpha and at every kernel level.
#include <algorithm>
#include <cmath>

#include "dib/Kernels.h"
#include "operations/pixels/Resample.h"
#include "tests/operations/Pictures.h"
#include "tests/support/FailingMalloc.h"

namespace operations_test {

namespace {

using operations::Filter;
using operations::Taps;
using testing_support::DibPtr;
using testing_support::fillImage;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

int edge(int at, int size, bool wraps) {
    if (wraps) return ((at % size) + size) % size;
    return std::clamp(at, 0, size - 1);
}

double channel(DibStream& image, int x, int y, int c) {
    return image.Header->biBitCount == 8 ? pixelValue(image, x, y) : pixelValue(image, x, y) >> (8 * c) & 255;
}

// Whether a pixel is the weighted sum of pixels within `most`, colours by their alpha.
void expectSum(DibStream& before, DibStream& after, const Taps& across, const Taps& down, int x, int y,
               bool isWeighted, double most) {
    double sums[4] = {};
    const int channels = before.Header->biBitCount / 8;
    const auto column = static_cast<std::size_t>(x);
    const auto line = static_cast<std::size_t>(y);
    for (int j = 0; j < down.width; ++j) {
        for (int i = 0; i < across.width; ++i) {
            const int fromX = edge(across.first[column] + i, before.Header->biWidth, across.wraps);
            const int fromY = edge(down.first[line] + j, std::abs(before.Header->biHeight), down.wraps);
            const double weight = double{across.weightsOf(column)[i]} * double{down.weightsOf(line)[j]};
            const double alpha = isWeighted ? channel(before, fromX, fromY, 3) : 1;
            for (int c = 0; c < channels; ++c)
                sums[c] += weight * (isWeighted && c == 3 ? 1 : channel(before, fromX, fromY, c)) * alpha;
        }
    }
    if (isWeighted) {
        ASSERT_NEAR(channel(after, x, y, 3), std::clamp(sums[3], 0.0, 255.0), most);
        if (sums[3] < 1) return;
        for (int c = 0; c < 3; ++c) sums[c] /= sums[3];
    }
    for (int c = 0; c < (isWeighted ? 3 : channels); ++c)
        ASSERT_NEAR(channel(after, x, y, c), std::clamp(sums[c], 0.0, 255.0), most)
            << x << "," << y << " " << c;
}

struct Tried {
    const char* chain;
    Taps across;
    Taps down;
};

std::vector<Tried> tried(int width, int height) {
    using operations::resizeTaps;
    return {
        {"resize:13x9,filter=area", resizeTaps(Filter::kArea, width, 13),
         resizeTaps(Filter::kArea, height, 9)},
        {"resize:13x9,filter=bicubic", resizeTaps(Filter::kBicubic, width, 13),
         resizeTaps(Filter::kBicubic, height, 9)},
        {"resize:13x9,filter=lanczos", resizeTaps(Filter::kLanczos, width, 13),
         resizeTaps(Filter::kLanczos, height, 9)},
        {"resize:70x50,filter=lanczos", resizeTaps(Filter::kLanczos, width, 70),
         resizeTaps(Filter::kLanczos, height, 50)},
        {"resize:70x50", resizeTaps(Filter::kBicubic, width, 70), resizeTaps(Filter::kBicubic, height, 50)},
        {"resize:13x50", resizeTaps(Filter::kArea, width, 13), resizeTaps(Filter::kBicubic, height, 50)},
        {"blur:3,wrap=x", operations::boxTaps(width, 3, true), operations::boxTaps(height, 3, false)},
    };
}

TEST(Resample, IsTheWeightedSumAtEveryLevel) {
    for (const int height : {31, -31}) {
        for (const Tried& each : tried(41, 31)) {
            SCOPED_TRACE(each.chain);
            const DibPtr before = randomImage(41, height, 32, 7);
            DibPtr first;
            for (const dib::KernelLevel level : dib::kKernelLevels) {
                dib::limitKernelLevel(level);
                DibPtr image = randomImage(41, height, 32, 7);
                ASSERT_TRUE(DibApply(image.get(), each.chain));
                if (first == nullptr) {
                    first = std::move(image);
                    continue;
                }
                EXPECT_TRUE(sameImage(*image, *first));
            }
            dib::limitKernelLevel(dib::bestKernelLevel());
            ASSERT_EQ(first->Header->biWidth, static_cast<int>(each.across.first.size()));
            ASSERT_EQ(std::abs(first->Header->biHeight), static_cast<int>(each.down.first.size()));
            for (int y = 0; y < std::abs(first->Header->biHeight); y += 3) {
                for (int x = 0; x < first->Header->biWidth; ++x)
                    ASSERT_NO_FATAL_FAILURE(
                        expectSum(*before, *first, each.across, each.down, x, y, true, 0.51));
            }
        }
    }
}

TEST(Resample, PicturesWithoutAlphaToo) {
    for (const int bitCount : {8, 24}) {
        const DibPtr before = randomImage(41, 31, bitCount, 7);
        const DibPtr image = randomImage(41, 31, bitCount, 7);
        if (bitCount == 8) image->SetMonoPalette();
        ASSERT_TRUE(DibApply(image.get(), "resize:60x17,filter=bicubic"));
        const Taps across = operations::resizeTaps(Filter::kBicubic, 41, 60);
        const Taps down = operations::resizeTaps(Filter::kBicubic, 31, 17);
        for (int y = 0; y < 17; ++y) {
            for (int x = 0; x < 60; ++x)
                ASSERT_NO_FATAL_FAILURE(expectSum(*before, *image, across, down, x, y, false, 0.51));
        }
    }
}

// Of the cubic convolution and of sinc(x) sinc(x / 3), half a pixel and a quarter away.
TEST(Resample, FiltersHaveTheirWeights) {
    const auto expectWeights = [](const Taps& taps, std::size_t i, int first,
                                  const std::vector<double>& weights) {
        ASSERT_EQ(taps.width, static_cast<int>(weights.size()));
        EXPECT_EQ(taps.first[i], first);
        for (std::size_t k = 0; k < weights.size(); ++k)
            EXPECT_NEAR(double{taps.weightsOf(i)[k]}, weights[k], 1e-6) << k;
    };
    // Three pixels become six: the second of them lies a quarter to the right of the first.
    expectWeights(operations::resizeTaps(Filter::kBicubic, 3, 6), 1, -1,
                  {-0.0703125, 0.8671875, 0.2265625, -0.0234375});
    expectWeights(operations::resizeTaps(Filter::kLanczos, 3, 6), 1, -2,
                  {0.0301123, -0.1332746, 0.8927708, 0.2710106, -0.0679973, 0.0073783});
    expectWeights(operations::resizeTaps(Filter::kArea, 6, 4), 1, 1, {1.0 / 3, 2.0 / 3, 0});
}

TEST(Resample, RefusesTablesWithoutBound) {
    EXPECT_NO_THROW(operations::resizeTaps(Filter::kLanczos, 1000, 1000000));
    EXPECT_THROW(operations::resizeTaps(Filter::kLanczos, 1000, 100000000), operations::Refusal);
    EXPECT_THROW(operations::resizeTaps(Filter::kBicubic, 2000000000, 1000000), operations::Refusal);
}

// A red disc on transparent black stays red up to its rim.
TEST(Resample, HiddenColoursShowNowhere) {
    for (const char* chain : {"resize:25%", "resize:150%", "resize:25%,filter=bicubic", "half", "blur:3",
                              "gaussian:6", "fit:9x9", "fill:9x5"}) {
        SCOPED_TRACE(chain);
        const DibPtr image = randomImage(40, 40, 32, 1);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool isInside = (x - 20) * (x - 20) + (y - 20) * (y - 20) < 225;
                setPixelValue(*image, x, y, isInside ? 0xFFFF0000 : 0);
            }
        }
        int partly = 0;
        for (const std::uint32_t value : after(*image, chain)) {
            const std::uint32_t alpha = value >> 24;
            EXPECT_EQ(value & 0xFFFFFF, alpha > 0 ? 0xFF0000U : 0U);
            if (alpha > 0 && alpha < 255) ++partly;
        }
        EXPECT_GT(partly, 4);
    }
}

TEST(Resample, NearestPixelsKeepPalettes) {
    for (const int bitCount : testing_support::kDepths) {
        const DibPtr before = randomImage(8, 6, bitCount, 3);
        const DibPtr image = randomImage(8, 6, bitCount, 3);
        after(*image, "resize:24x3,filter=nearest");
        EXPECT_EQ(entriesOf(*image), entriesOf(*before));
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 24; ++x)
                ASSERT_EQ(pixelValue(*image, x, y), pixelValue(*before, x / 3, 2 * y + 1));
        }
    }
}

TEST(Resample, FitAndFillKeepTheShape) {
    const auto size = [](const char* chain, int width, int height, int bitCount = 24) {
        const DibPtr image = randomImage(width, height, bitCount, 3);
        after(*image, chain);
        return std::pair<int, int>(image->Header->biWidth, image->Header->biHeight);
    };
    EXPECT_EQ(size("fit:20x20", 80, 40), std::pair(20, 10));
    EXPECT_EQ(size("fit:20x20", 40, 80), std::pair(10, 20));
    EXPECT_EQ(size("fit:200x20", 80, 40), std::pair(40, 20));
    EXPECT_EQ(size("fit:200x200", 80, 40), std::pair(80, 40));
    EXPECT_EQ(size("fit:200x200,enlarge", 80, 40), std::pair(200, 100));
    EXPECT_EQ(size("fit:1x1", 80, 3), std::pair(1, 1));
    EXPECT_EQ(size("fit:20x20", 80, -40), std::pair(20, -10));
    EXPECT_EQ(size("fill:20x20", 80, 40), std::pair(20, 20));
    EXPECT_EQ(size("fill:20x30", 80, -40), std::pair(20, 30)) << "cropping changes the row order";
    EXPECT_EQ(size("fill:100x10", 80, 40), std::pair(100, 10));
    EXPECT_EQ(size("fill:7x5,filter=nearest", 80, 40, 4), std::pair(7, 5));
    EXPECT_EQ(size("resize:20x", 80, 40), std::pair(20, 10));
    EXPECT_EQ(size("resize:x20", 80, 40), std::pair(40, 20));
    const DibPtr small = randomImage(8, 4, 4, 3);
    const DibPtr before = randomImage(8, 4, 4, 3);
    after(*small, "fit:9x9");
    EXPECT_TRUE(sameImage(*small, *before)) << "not widened either";
}

TEST(Resample, FillShowsTheMiddle) {
    // Columns 0 to 7 hold their numbers; four of them remain.
    const DibPtr image = testing_support::blankImage(8, 4, 24);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 8; ++x) setPixelValue(*image, x, y, static_cast<std::uint32_t>(x));
    }
    EXPECT_EQ(after(*image, "fill:4x4"),
              (std::vector<std::uint32_t>{2, 3, 4, 5, 2, 3, 4, 5, 2, 3, 4, 5, 2, 3, 4, 5}));
}

TEST(Resample, MayBeCancelledAndRunOutOfMemory) {
    const DibPtr before = randomImage(19, 13, 32, 4);
    ProgressLog whole;
    const DibPtr done = randomImage(19, 13, 32, 4);
    const char* chain = "blur:2 resize:30x9";
    ASSERT_TRUE(DibApply(done.get(), chain, nullptr, nullptr, ProgressLog::callback, &whole));
    EXPECT_GE(whole.fractions.size(), 13U + 9U);
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
    EXPECT_GT(failures, 20);
}

}  // namespace

}  // namespace operations_test
