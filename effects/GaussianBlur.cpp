// The Gaussian blur: every pixel of a square times its weight, exactly, in two ways.
//
// Rows at the same distance above and below share their weights and are added up first; what lies beyond the last
// weight is left out. Up to about half-size 50 the products are summed down each column, once for every distance
// at which the column lies from a pixel, and those sums along the row. Above that the weights are few small
// integers: along a row they are a pile of runs, as many as the weight in the middle. From one pixel to the next
// a run gains a sample and loses one, so the steps of the result are sums of differences that fit 16 bits, and
// one running total per row turns them into the result.

#include <DibEffect.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "effects/EffectFrame.h"
#include "effects/GaussianKernel.h"
#include "effects/GaussianRows.h"
#include "effects/RollingCopy.h"

namespace {

// What a row costs, measured per sample in picoseconds at 24 bits: a product, a run, and the rows of the runs.
struct Costs {
    std::size_t product;
    std::size_t run;
    std::size_t line;
};
constexpr Costs kCosts = {35, 29, 367};
constexpr Costs kCostsAvx512 = {15, 27, 203};

DIB_ALWAYS_INLINE void addRows(const unsigned char* above, const unsigned char* below,
                               std::uint16_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<std::uint16_t>(above[i] + below[i]);
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

// Samples of a row whose columns are summed before the next ones; so many sums of a few distances stay in the
// nearest cache.
constexpr std::size_t kPiece = 4 * dib::kGaussianBlock;

// Bytes of a line of the caches. A vector as wide as that is read at half the speed where it crosses into the next.
constexpr std::size_t kLine = 64;

template <class T>
T* atLine(T* block) {
    const std::size_t behind = reinterpret_cast<std::uintptr_t>(block) % kLine;
    return behind == 0 ? block : block + (kLine - behind) / sizeof(T);
}

class GaussianFilter {
public:
    GaussianFilter(const dib::GaussianKernel& kernel, unsigned int flags) : kernel_(kernel), flags_(flags) {}

    bool prepare(const dib::Raster& image) {
        reach_ = kernel_.reach();
        height_ = image.height;
        width_ = static_cast<std::size_t>(image.width);
        channels_ = static_cast<std::size_t>(image.bitCount) / 8;
        padding_ = static_cast<std::size_t>(reach_) * channels_;
        padded_ = width_ * channels_ + 2 * padding_;
        stride_ = (padded_ / kPiece + 2) * kPiece;
        columns_ = dib::edgeColumns(image.width, reach_, reach_, flags_);
        const std::size_t side = 2 * static_cast<std::size_t>(reach_) + 1;
        // Behind the rows of a square a black one.
        rows_ = dib::allocateZeroed<unsigned char>((side + 1) * stride_);
        // Wrapped rows are wanted again at the end of the image.
        const bool wrap = (flags_ & DIB_WRAP_Y) != 0;
        if (!columns_ || !rows_ || !source_.prepare(image, 0, wrap ? std::min(reach_, height_) : 0))
            return false;
        if (runsAreCheaper()) {
            sums_ = dib::allocateZeroed<std::uint32_t>(stride_);
            line_ = dib::allocateZeroed<std::uint16_t>(stride_);
            return sums_ != nullptr && line_ != nullptr && listRuns();
        }
        pairs_ = dib::allocateArray<std::uint32_t>(pairCount() * kPiece + kLine / sizeof(std::uint32_t));
        const std::size_t distances = static_cast<std::size_t>(reach_) + 1;
        sums_ = dib::allocateZeroed<std::uint32_t>(distances * pieceStride() + dib::kGaussianBlock);
        return pairs_ != nullptr && sums_ != nullptr && pairWeights();
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (width_ == 0) return;
        for (int t = y == 0 ? -reach_ : y + reach_; t <= y + reach_; ++t) loadRow(t);
        source_.keepNext();
        if (halves_ != nullptr) {
            sumRuns<static_cast<std::size_t>(Depth::kChannels)>(out, y);
        } else {
            sumProducts(out, y);
        }
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
        const Costs& costs = dib::kernelLevel() == dib::KernelLevel::kAvx512 ? kCostsAvx512 : kCosts;
        return runs * costs.run + (static_cast<std::size_t>(reach_) + 1) * costs.line <
               products * costs.product;
    }

    std::size_t pairCount() const { return static_cast<std::size_t>(reach_) / 2 + 1; }
    // Sums of a piece for one distance, behind those of the two paddings before it.
    std::size_t pieceStride() const { return 2 * padding_ + kPiece; }

    // For each column the weights of two rows at a time, the nearer in the low half.
    bool pairWeights() {
        weights_ = dib::allocateZeroed<std::uint32_t>((static_cast<std::size_t>(reach_) + 1) * pairCount());
        if (weights_ == nullptr) return false;
        std::uint32_t* weights = weights_.get();
        for (int i = 0; i <= reach_; ++i, weights += pairCount()) {
            for (int j = 0; j <= reach_; ++j) weights[j / 2] |= kernel_.weight(i, j) << (j % 2 == 0 ? 0 : 16);
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

    unsigned char* rowAt(int t) const {
        const int side = 2 * reach_ + 1;
        return rows_.get() + static_cast<std::size_t>((t + side) % side) * stride_;
    }
    // The row that is added to its counterpart; the middle row has none.
    const unsigned char* counterpart(int y, int distance) const {
        return distance == 0 ? blackRow() : rowAt(y - distance);
    }
    const unsigned char* blackRow() const {
        return rows_.get() + (2 * static_cast<std::size_t>(reach_) + 1) * stride_;
    }

    // Position t of the vertical axis, with its edges resolved and the pixels beyond them filled in.
    void loadRow(int t) {
        unsigned char* row = rowAt(t);
        std::memcpy(row + padding_, source_.row(dib::getLoopY(t, height_, flags_)), width_ * channels_);
        const auto reach = static_cast<std::size_t>(reach_);
        const auto fill = [&](std::size_t position) {
            const auto from = static_cast<std::size_t>(columns_[position]);
            std::copy_n(row + padding_ + from * channels_, channels_, row + position * channels_);
        };
        for (std::size_t i = 0; i < reach; ++i) {
            fill(i);
            fill(reach + width_ + i);
        }
    }

    // Piece by piece from the left; results follow two paddings behind, when the columns on both sides are known.
    void sumProducts(unsigned char* out, int y) {
        const std::size_t samples = width_ * channels_;
        const std::size_t behind = 2 * padding_;
        const bool smallWeights = kernel_.weight(0, 0) < 0x8000;
        const std::uint32_t* pairs = atLine(pairs_.get());
        for (std::size_t start = 0; start < samples + behind; start += kPiece) {
            pairRows(y, start);
            for (int i = 0; i <= reach_; ++i) {
                std::uint32_t* sums = sums_.get() + static_cast<std::size_t>(i) * pieceStride();
                std::memmove(sums, sums + kPiece, behind * sizeof *sums);
                const std::uint32_t* weights = weights_.get() + static_cast<std::size_t>(i) * pairCount();
                std::size_t count = pairCount();
                while (count > 1 && weights[count - 1] == 0) --count;
                dib::weighPairs(pairs, kPiece, weights, count, smallWeights, sums + behind, kPiece);
            }
            const std::size_t skipped = start < behind ? std::min(behind - start, kPiece) : 0;
            const std::size_t end = std::min(kPiece, samples + behind - start);
            if (skipped >= end) continue;
            dib::gatherColumns(sums_.get() + padding_ + skipped, pieceStride(),
                               static_cast<std::ptrdiff_t>(channels_), reach_,
                               out + (start + skipped - behind), end - skipped);
        }
    }

    // The rows around row y, added up and two by two, from a sample on.
    void pairRows(int y, std::size_t start) {
        std::uint32_t* pairs = atLine(pairs_.get());
        for (int j = 0; j <= reach_; j += 2, pairs += kPiece) {
            const bool hasNext = j < reach_;
            dib::addRowPairs(rowAt(y + j) + start, counterpart(y, j) + start,
                             (hasNext ? rowAt(y + j + 1) : blackRow()) + start,
                             (hasNext ? rowAt(y - j - 1) : blackRow()) + start, pairs, kPiece);
        }
    }

    template <std::size_t Channels>
    void sumRuns(unsigned char* out, int y) {
        const std::size_t samples = width_ * Channels;
        const std::uint8_t* halves = halves_.get();
        std::uint32_t first[Channels] = {};
        std::fill_n(sums_.get(), samples, 0U);
        for (int j = 0; j <= reach_; ++j) {
            const std::size_t runs = kernel_.weight(0, j);
            if (runs == 0) continue;
            const unsigned char* below = rowAt(y + j);
            dib::runKernel<addRows>(below, counterpart(y, j), line_.get(), padded_);
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
        dib::runKernel<putHighHalves>(static_cast<const std::uint32_t*>(sums_.get()), out, samples);
    }

    const dib::GaussianKernel& kernel_;
    unsigned int flags_;
    dib::RollingCopy source_;
    int reach_ = 0;
    int height_ = 0;
    std::size_t width_ = 0;
    std::size_t channels_ = 0;
    std::size_t padding_ = 0;  // samples in front of the row, and behind it
    std::size_t padded_ = 0;   // samples of a row with both
    std::size_t stride_ = 0;   // the same in whole pieces, and one more
    dib::EdgeTable columns_;
    dib::MallocPtr<unsigned char> rows_;   // of the square, padded
    dib::MallocPtr<std::uint32_t> pairs_;  // of a piece of these rows
    dib::MallocPtr<std::uint32_t> sums_;   // of a piece of columns by distance; of runs, the pixels of a row
    dib::MallocPtr<std::uint16_t> line_;   // two rows added up, when runs are summed
    dib::MallocPtr<std::uint32_t> weights_;  // when products are summed
    dib::MallocPtr<std::uint8_t> halves_;    // when runs are
};

}  // namespace

bool DibEffectGaussianBlur(DibProgressCallback callback, void* user, DibStream* image, float radius,
                           unsigned int flags) {
    if (image == nullptr || !(std::floor(radius) >= 0)) return false;
    if (radius < 1) return true;
    dib::GaussianKernel kernel;
    return kernel.build(radius) && dib::filterInPlace<dib::Depth8, dib::Depth24, dib::Depth32>(
                                       {callback, user}, image, GaussianFilter(kernel, flags));
}
