// Rows sampled in passes must equal rows sampled pixel by pixel.
#include "effects/WarpFrame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "dib/Kernels.h"
#include "effects/BilinearMix.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::Random;
using testing_support::randomImage;

struct Positions {
    std::vector<float> x;
    std::vector<float> y;
    void add(float px, float py) {
        x.push_back(px);
        y.push_back(py);
    }
};

// Positions inside, on whole pixels, near the edges, far away, infinite and NaN.
Positions positionsFor(int width, int height) {
    Positions positions;
    Random random(11);
    const auto w = static_cast<float>(width);
    const auto h = static_cast<float>(height);
    for (int i = 0; i < 300; ++i) positions.add(random.real(-3 * w, 4 * w), random.real(-3 * h, 4 * h));
    for (int i = 0; i < 300; ++i) positions.add(random.real(0, w), random.real(0, h));
    const float infinity = std::numeric_limits<float>::infinity();
    const float special[] = {0,
                             -0.0F,
                             w - 1,
                             w,
                             h - 1,
                             h,
                             -w,
                             -h,
                             1e30F,
                             -1e30F,
                             infinity,
                             -infinity,
                             NAN,
                             std::nextafter(w - 1, 0.0F),
                             std::nextafter(h - 1, 0.0F),
                             std::nextafter(w, 0.0F),
                             std::nextafter(h, 0.0F),
                             -1e-30F,
                             w * 2.5F,
                             h * 2.5F};
    for (const float px : special) {
        for (const float py : special) positions.add(px, py);
    }
    return positions;
}

template <class Depth>
void expectSameAsSampler(int width, int height) {
    const DibPtr image = randomImage(width, height, Depth::kBits, 21);
    const dib::SampleSource source(*image);
    Positions positions = positionsFor(width, std::abs(height));
    for (const std::size_t count : {positions.x.size(), std::size_t{1}, std::size_t{64}, std::size_t{65}}) {
        const auto columns = static_cast<int>(count);
        const dib::WarpRow row{columns, 1, 0, positions.x.data(), positions.y.data()};
        for (unsigned flags = 0; flags < 4; ++flags) {
            for (const auto level : dib::kKernelLevels) {
                dib::limitKernelLevel(level);
                const DibPtr out = blankImage(columns, 1, Depth::kBits);
                dib::sampleRow<Depth>(source, flags, row, out->ScanLine(0));
                dib::limitKernelLevel(dib::bestKernelLevel());
                for (int i = 0; i < columns; ++i) {
                    const auto at = static_cast<std::size_t>(i);
                    ASSERT_EQ(pixelValue(*out, i, 0),
                              dib::sample<Depth>(source, positions.x[at], positions.y[at], flags))
                        << Depth::kBits << " bits, " << width << " x " << height << ", flags " << flags
                        << " at " << positions.x[at] << ", " << positions.y[at];
                }
            }
        }
    }
}

template <class Depth>
void expectSameAtAllSizes() {
    for (const auto size : testing_support::kSizes) {
        expectSameAsSampler<Depth>(size.width, size.height);
        expectSameAsSampler<Depth>(size.width, -size.height);
    }
}

TEST(WarpFrame, SamplesEveryDepthLikeTheSamplers) {
    expectSameAtAllSizes<dib::Depth1>();
    expectSameAtAllSizes<dib::Depth4>();
    expectSameAtAllSizes<dib::Depth8>();
    expectSameAtAllSizes<dib::Depth16>();
    expectSameAtAllSizes<dib::Depth24>();
    expectSameAtAllSizes<dib::Depth32>();
}

template <class Depth, bool Roomy>
void expectSameMix() {
    Random random(31);
    constexpr std::uint32_t kMask = Depth::kBits == 24 ? 0x00FFFFFFU : 0xFFFFFFFFU;
    unsigned char pixels[256];
    dib::MixTaps taps;
    for (int round = 0; round < 500; ++round) {
        // Extremes are frequent, because 16-bit sums would overflow there.
        for (unsigned char& byte : pixels) {
            byte = random.below(3) == 0 ? 255 : static_cast<unsigned char>(random.next());
        }
        for (int i = 0; i < dib::kMixTaps; ++i) {
            const auto weight = [&] {
                return dib::mixWeight(random.below(8) == 0 ? 256 * random.below(2) : random.below(257));
            };
            taps.offset[i] = random.below(100);
            taps.weightX[i] = weight();
            taps.weightY[i] = weight();
        }
        std::uint32_t plain[dib::kMixTaps];
        std::uint32_t vector[dib::kMixTaps];
        const int count = 1 + random.below(dib::kMixTaps);
        dib::mixRunPlain<Depth>(pixels, 128, taps, count, plain);
        dib::mixRun<Depth, Roomy>(pixels, 128, taps, count, vector);
        for (int i = 0; i < count; ++i) ASSERT_EQ(vector[i] & kMask, plain[i] & kMask) << i;
    }
}

TEST(WarpFrame, VectorMixIsThePlainOne) {
    expectSameMix<dib::Depth24, false>();
    expectSameMix<dib::Depth24, true>();
    expectSameMix<dib::Depth32, true>();
}

TEST(WarpFrame, PlainMix) {
    EXPECT_EQ(dib::mixWeight(0), 256);
    EXPECT_EQ(dib::mixWeight(100), 156 | (100 << 16));
    EXPECT_EQ(dib::mixWeight(256), 256 << 16);
    const unsigned char pixels[] = {0, 1, 2, 255, 3, 4};
    dib::MixTaps taps{{0}, {dib::mixWeight(128)}, {dib::mixWeight(77)}};
    std::uint32_t color = 0;
    dib::mixRunPlain<dib::Depth24>(pixels, 0, taps, 1, &color);
    EXPECT_EQ(color & 0xFFFFFF, 0x03027FU);
}

// Beyond 2^24 pixels float positions skip pixels and may round up to the size itself.
TEST(WarpFrame, SamplesPicturesTooWideForFloat) { expectSameAsSampler<dib::Depth1>((1 << 24) + 3, 2); }

}  // namespace
