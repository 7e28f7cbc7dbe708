// The Gaussian blur: every pixel of a square times its weight, exactly, in two ways.
//
// Rows at the same distance above and below share their weights and are added up first, as are columns to
// the left and right; what lies beyond the last weight is left out. Up to about half-size 42 the products are
// summed. Above that the weights are few small integers: along a row they are a pile of runs, as many as the
// weight in the middle. From one pixel to the next a run gains a sample and loses one, so the steps of the
// result are sums of differences that fit 16 bits, and one running total per row turns them into the result.

#include <DibEffect.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "effects/EffectFrame.h"
#include "effects/GaussianKernel.h"
#include "effects/GaussianRows.h"

namespace {

// Measured per sample in picoseconds (AVX2, 24 bits): a product, a run, and what each row of runs costs besides.
// They meet near half-size 42.
constexpr std::size_t kProductCost = 35;
constexpr std::size_t kRunCost = 29;
constexpr std::size_t kLineCost = 367;

DIB_ALWAYS_INLINE void addRows(const unsigned char* above, const unsigned char* below,
                               std::uint16_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<std::uint16_t>(above[i] + below[i]);
}

// The sums of two pairs of rows in the halves of each element.
DIB_ALWAYS_INLINE void addRowPairs(const unsigned char* above, const unsigned char* below,
                                   const unsigned char* nextAbove, const unsigned char* nextBelow,
                                   std::uint32_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (static_cast<std::uint32_t>(nextAbove[i]) + nextBelow[i]) << 16 |
                 (static_cast<std::uint32_t>(above[i]) + below[i]);
    }
}

// Turns the steps between the pixels of a row into the pixels, the first of which is given.
template <std::size_t Channels>
DIB_ALWAYS_INLINE void addUpSteps(std::uint32_t* __restrict row, std::size_t pixels,
                                  const std::uint32_t* __restrict first) {
    std::uint32_t total[Channels];
    for (std::size_t c = 0; c < Channels; ++c) total[c] = first[c];
    for (std::size_t x = 0; x < pixels; ++x, row += Channels) {
        for (std::size_t c = 0; c < Channels; ++c) {
            const std::uint32_t step = row[c];
            row[c] = total[c];
            total[c] += step;
        }
    }
}

DIB_ALWAYS_INLINE void putHighHalves(const std::uint32_t* __restrict sums, unsigned char* __restrict out,
                                     std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<unsigned char>(sums[i] >> 16);
}

class GaussianFilter {
public:
    GaussianFilter(const dib::GaussianKernel& kernel, unsigned int flags) : kernel_(kernel), flags_(flags) {}

    bool prepare(const dib::WorkingCopy& source, const dib::Raster& image) {
        source_ = &source;
        reach_ = kernel_.reach();
        width_ = static_cast<std::size_t>(image.width);
        channels_ = static_cast<std::size_t>(image.bitCount) / 8;
        padding_ = static_cast<std::size_t>(reach_) * channels_;
        const std::size_t samples = width_ * channels_;
        const std::size_t slack = dib::kGaussianBlock + channels_;
        columns_ = dib::edgeColumns(image.width, reach_, reach_, flags_);
        rows_ = dib::edgeRows(image.height, reach_, reach_, flags_);
        blank_ = dib::allocateZeroed<unsigned char>(samples);
        sums_ = dib::allocateZeroed<std::uint32_t>(samples + slack);
        if (!columns_ || !rows_ || !blank_ || !sums_) return false;
        if (runsAreCheaper()) {
            line_ = dib::allocateZeroed<std::uint16_t>(samples + 2 * padding_ + slack);
            return line_ != nullptr && listRuns();
        }
        row_ = dib::allocateZeroed<std::uint32_t>(samples + 2 * padding_ + slack);
        return row_ != nullptr && pairWeights();
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        const std::size_t samples = width_ * channels_;
        if (samples == 0) return;
        std::fill_n(sums_.get(), samples, 0U);
        constexpr auto kChannels = static_cast<std::size_t>(Depth::kChannels);
        if (halves_ != nullptr) {
            sumRuns<kChannels>(y);
        } else {
            sumProducts<kChannels>(y);
        }
        dib::runKernel<putHighHalves>(static_cast<const std::uint32_t*>(sums_.get()), out, samples);
    }

private:
    bool runsAreCheaper() const {
        if (!kernel_.falls()) return false;
        std::size_t products = 0;
        std::size_t runs = 0;
        for (int j = 0; j <= reach_; ++j) {
            runs += kernel_.weight(0, j);
            for (int i = 0; i <= reach_; ++i) products += kernel_.weight(i, j) != 0 ? 1 : 0;
        }
        return runs * kRunCost + (static_cast<std::size_t>(reach_) + 1) * kLineCost < products * kProductCost;
    }

    // Weights of two rows at a time, the nearer in the low half.
    bool pairWeights() {
        const std::size_t stride = static_cast<std::size_t>(reach_) + 1;
        const std::size_t pairs = static_cast<std::size_t>(reach_) / 2 + 1;
        weights_ = dib::allocateZeroed<std::uint32_t>(stride * pairs);
        if (weights_ == nullptr) return false;
        for (int j = 0; j <= reach_; ++j) {
            for (int i = 0; i <= reach_; ++i) {
                weights_[static_cast<std::size_t>(j / 2) * stride + static_cast<std::size_t>(i)] |=
                    kernel_.weight(i, j) << (j % 2 == 0 ? 0 : 16);
            }
        }
        return true;
    }

    // For each row one half width per level of its weights.
    bool listRuns() {
        std::size_t count = 0;
        for (int j = 0; j <= reach_; ++j) count += kernel_.weight(0, j);
        halves_ = dib::allocateArray<std::uint8_t>(count + 1);
        if (halves_ == nullptr) return false;
        std::uint8_t* next = halves_.get();
        for (int j = 0; j <= reach_; ++j) {
            int half = reach_;
            for (std::uint32_t level = 1; level <= kernel_.weight(0, j); ++level) {
                while (kernel_.weight(half, j) < level) --half;
                *next++ = static_cast<std::uint8_t>(half);
            }
        }
        return true;
    }

    const unsigned char* sourceRow(int y) const {
        const std::ptrdiff_t position = std::ptrdiff_t{y} + reach_;
        return source_->row(rows_[static_cast<std::size_t>(position)]);
    }
    // The row that is added to its counterpart; the middle row has none.
    const unsigned char* counterpart(int y, int distance) const {
        return distance == 0 ? blank_.get() : sourceRow(y - distance);
    }

    template <std::size_t Channels>
    void sumProducts(int y) {
        const std::size_t stride = static_cast<std::size_t>(reach_) + 1;
        const std::size_t samples = width_ * channels_;
        const bool smallWeights = kernel_.weight(0, 0) < 0x8000;
        for (int j = 0; j <= reach_; j += 2) {
            const bool hasNext = j < reach_;
            dib::runKernel<addRowPairs>(
                sourceRow(y + j), counterpart(y, j), hasNext ? sourceRow(y + j + 1) : blank_.get(),
                hasNext ? sourceRow(y - j - 1) : blank_.get(), row_.get() + padding_, samples);
            padRow<Channels>(row_.get());
            const std::uint32_t* weights = weights_.get() + static_cast<std::size_t>(j / 2) * stride;
            std::ptrdiff_t count = reach_ + 1;
            while (count > 1 && weights[count - 1] == 0) --count;
            dib::addProducts(row_.get() + padding_, static_cast<std::ptrdiff_t>(channels_), weights, count,
                             smallWeights, sums_.get(), samples);
        }
    }

    template <std::size_t Channels>
    void sumRuns(int y) {
        const std::size_t samples = width_ * channels_;
        const std::uint8_t* halves = halves_.get();
        std::uint32_t first[Channels] = {};
        for (int j = 0; j <= reach_; ++j) {
            const std::size_t runs = kernel_.weight(0, j);
            if (runs == 0) continue;
            dib::runKernel<addRows>(sourceRow(y + j), counterpart(y, j), line_.get() + padding_, samples);
            padRow<Channels>(line_.get());
            const int reach = halves[0];
            const std::uint16_t* tap = line_.get() + padding_ - static_cast<std::size_t>(reach) * Channels;
            for (int i = -reach; i <= reach; ++i, tap += Channels) {
                const std::uint32_t weight = kernel_.weight(std::abs(i), j);
                for (std::size_t c = 0; c < Channels; ++c) first[c] += weight * tap[c];
            }
            dib::addRunSteps(line_.get() + padding_, Channels, halves, runs, sums_.get(), samples);
            halves += runs;
        }
        dib::runKernel<addUpSteps<Channels>>(sums_.get(), width_, static_cast<const std::uint32_t*>(first));
    }

    // Fills in the pixels beyond the edges.
    template <std::size_t Channels, class Sample>
    void padRow(Sample* row) {
        const auto reach = static_cast<std::size_t>(reach_);
        const auto fill = [&](std::size_t position) {
            const auto from = static_cast<std::size_t>(columns_[position]);
            std::memcpy(row + position * Channels, row + padding_ + from * Channels,
                        Channels * sizeof(Sample));
        };
        for (std::size_t i = 0; i < reach; ++i) {
            fill(i);
            fill(reach + width_ + i);
        }
    }

    const dib::GaussianKernel& kernel_;
    unsigned int flags_;
    const dib::WorkingCopy* source_ = nullptr;
    int reach_ = 0;
    std::size_t width_ = 0;
    std::size_t channels_ = 0;
    std::size_t padding_ = 0;  // samples in front of the row
    dib::EdgeTable columns_;
    dib::EdgeTable rows_;
    dib::MallocPtr<unsigned char> blank_;    // a black row
    dib::MallocPtr<std::uint32_t> row_;      // pairs of rows added up, with `reach` pixels on either side
    dib::MallocPtr<std::uint16_t> line_;     // the same of one pair, when runs are summed
    dib::MallocPtr<std::uint32_t> sums_;     // of the pixels of the result
    dib::MallocPtr<std::uint32_t> weights_;  // when products are summed
    dib::MallocPtr<std::uint8_t> halves_;    // when runs are
};

}  // namespace

bool DibEffectGaussianBlur(DibProgressCallback callback, void* user, DibStream* image, float radius,
                           unsigned int flags) {
    if (image == nullptr || !(std::floor(radius) >= 0)) return false;
    if (radius < 1) return true;
    dib::GaussianKernel kernel;
    return kernel.build(radius) && dib::filterImage<dib::Depth8, dib::Depth24, dib::Depth32>(
                                       {callback, user}, image, GaussianFilter(kernel, flags));
}
