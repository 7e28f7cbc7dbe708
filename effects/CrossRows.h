// Filters of the four neighbours that share an edge: each channel of the result depends on the same channel
// of the pixel and of the pixels above, left, right and below.
//
//     struct Mean {
//         static DIB_ALWAYS_INLINE unsigned char channel(const dib::Cross& c) {
//             return static_cast<unsigned char>((c.above + c.left + c.right + c.below) >> 2);
//         }
//     };
//     return dib::filterCross<Mean>({callback, user}, image, flags);
#ifndef EFFECTS_CROSS_ROWS_H
#define EFFECTS_CROSS_ROWS_H

#include <cstddef>

#include "dib/Kernels.h"
#include "effects/EffectFrame.h"
#include "effects/RollingCopy.h"

namespace dib {

// One channel of a pixel and of its neighbours, 0 to 255. 16 bits wide, so that sums of a few fit and vectors
// hold twice as many as of ints.
struct Cross {
    short above;
    short left;
    short center;
    short right;
    short below;
};

// A row and its neighbours. The neighbour of an edge row is the row itself or, wrapped, the opposite edge.
struct CrossRows {
    const unsigned char* above;
    const unsigned char* center;
    const unsigned char* below;
};

// The rule for byte `at` of a row, with the bytes at `left` and `right` as its neighbours.
template <class Rule>
DIB_ALWAYS_INLINE unsigned char crossChannel(const CrossRows& rows, std::ptrdiff_t at, std::ptrdiff_t left,
                                             std::ptrdiff_t right) {
    return Rule::channel(
        {rows.above[at], rows.center[left], rows.center[at], rows.center[right], rows.below[at]});
}

// A row of pixels of `channels` bytes. The inner pixels are one flat run of bytes with the neighbours
// `channels` bytes to either side.
template <class Rule>
DIB_ALWAYS_INLINE void crossRow(CrossRows rows, unsigned char* __restrict out, int width, int channels,
                                bool wrap) {
    if (width < 1) return;
    const std::ptrdiff_t last = (std::ptrdiff_t{width} - 1) * channels;
    for (std::ptrdiff_t i = channels; i < last; ++i) {
        out[i] = crossChannel<Rule>(rows, i, i - channels, i + channels);
    }
    const std::ptrdiff_t second = width > 1 ? channels : 0;
    for (int c = 0; c < channels; ++c) {
        out[c] = crossChannel<Rule>(rows, c, wrap ? last + c : c, second + c);
        if (width > 1) {
            out[last + c] = crossChannel<Rule>(rows, last + c, last - channels + c, wrap ? c : last + c);
        }
    }
}

// The filter for dib::filterInPlace, at depths of whole bytes per channel.
template <class Rule>
class CrossFilter {
public:
    explicit CrossFilter(unsigned int flags) : flags_(flags) {}

    bool prepare(const Raster& image) {
        axisX_ = axisX(image, flags_);
        axisY_ = axisY(image, flags_);
        // The row and the one above it, and if y wraps the first row, which is below the last.
        return source_.prepare(image, 2, axisY_.wrap ? 1 : 0);
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        static_assert(Depth::kBits == 8 * Depth::kChannels);
        source_.keepNext();
        const CrossRows rows = {source_.row(axisY_.at(y - 1)), source_.row(y), source_.row(axisY_.at(y + 1))};
        runWidestKernel<crossRow<Rule>>(rows, out, axisX_.size, Depth::kChannels, axisX_.wrap);
    }

private:
    unsigned int flags_;
    EdgeAxis axisX_;
    EdgeAxis axisY_;
    RollingCopy source_;
};

// Runs such a filter as an effect.
template <class Rule>
bool filterCross(const Progress& progress, DibStream* image, unsigned int flags) {
    return filterInPlace<Depth8, Depth24, Depth32>(progress, image, CrossFilter<Rule>(flags));
}

}  // namespace dib

#endif
