// The rows that a Gaussian blur reads for one row of the image.
#ifndef EFFECTS_GAUSSIAN_GAUSSIAN_WINDOW_H
#define EFFECTS_GAUSSIAN_GAUSSIAN_WINDOW_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "effects/EffectFrame.h"
#include "effects/RollingCopy.h"

namespace dib {

// Kernels work on blocks of this many samples.
constexpr std::ptrdiff_t kGaussianBlock = 64;
// Sums of a piece of a row stay in the first-level cache for several distances.
constexpr std::ptrdiff_t kGaussianPiece = 4 * kGaussianBlock;

// Vectors that cross a cache line take twice as long to load. Blocks are allocated with this many elements
// more and used from their first cache line on.
constexpr std::ptrdiff_t kCacheLine = 64;
template <class Element>
Element* atCacheLine(Element* block) {
    const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(block) % kCacheLine;
    return past == 0 ? block : block + (kCacheLine - past) / sizeof *block;
}

// The unchanged rows from `reach` above the current one to `reach` below it, with `reach` pixels beyond the
// edges on either side. The memory beyond them can be read for a whole piece.
class GaussianWindow {
public:
    // False when memory is short.
    bool prepare(const Raster& image, int reach, unsigned int flags) {
        reach_ = reach;
        across_ = axisX(image, flags);
        down_ = axisY(image, flags);
        width_ = image.width;
        channels_ = channelsOf(image);
        padding_ = std::ptrdiff_t{reach} * channels_;
        stride_ = ((samples() + 2 * padding_) / kGaussianPiece + 2) * kGaussianPiece;
        rows_ = allocateZeroed<unsigned char>((std::ptrdiff_t{side()} + 1) * stride_);
        // The first rows follow the last one where rows wrap.
        const int firstRows = down_.wrap ? std::min(reach, image.height) : 0;
        return rows_ != nullptr && source_.prepare(image, 0, firstRows);
    }

    // Moves on to row y, which must still be unchanged. Called for every row from the top.
    void moveTo(int y) {
        y_ = y;
        for (int t = y == 0 ? -reach_ : y + reach_; t <= y + reach_; ++t) load(t);
        source_.keepNext();
    }

    // The rows at a distance from the current one; the current row counts as below. A black row where the
    // window ends.
    const unsigned char* above(int distance) const {
        return distance == 0 || distance > reach_ ? black() : slot(y_ - distance);
    }
    const unsigned char* below(int distance) const {
        return distance > reach_ ? black() : slot(y_ + distance);
    }

    std::ptrdiff_t width() const { return width_; }
    std::ptrdiff_t channels() const { return channels_; }
    std::ptrdiff_t samples() const { return width_ * channels_; }
    // Samples before the row, and after it.
    std::ptrdiff_t padding() const { return padding_; }
    // Samples from one row of the window to the next.
    std::ptrdiff_t stride() const { return stride_; }

private:
    int side() const { return 2 * reach_ + 1; }
    unsigned char* slot(int t) const { return rows_.get() + std::ptrdiff_t{(t + side()) % side()} * stride_; }
    const unsigned char* black() const { return rows_.get() + std::ptrdiff_t{side()} * stride_; }

    // Position t of the vertical axis, which may lie beyond its edges.
    void load(int t) {
        unsigned char* row = slot(t) + padding_;
        std::copy_n(source_.row(down_.at(t)), samples(), row);
        across_.pad(row, reach_, reach_, channels_);
    }

    RollingCopy source_;
    EdgeAxis across_;
    EdgeAxis down_;
    int reach_ = 0;
    int y_ = 0;
    std::ptrdiff_t width_ = 0;
    std::ptrdiff_t channels_ = 0;
    std::ptrdiff_t padding_ = 0;
    std::ptrdiff_t stride_ = 0;
    MallocPtr<unsigned char> rows_;  // a ring of them, and a black one
};

}  // namespace dib

#endif
