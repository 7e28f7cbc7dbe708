// The frame of the effects that move pixels. The effect's rule gives for every pixel its position in the
// unchanged picture; the frame samples there and stores the colour.
//
//     struct Shift {
//         float distance;
//         DIB_ALWAYS_INLINE void operator()(const dib::WarpRow& row) const {
//             for (int x = 0; x < row.width; ++x) {
//                 row.sourceX[x] = dib::positionOf(x) - distance;
//                 row.sourceY[x] = row.y;
//             }
//         }
//     };
//     return dib::warpImage({callback, user}, image, flags, Shift{distance});
#ifndef EFFECTS_WARP_FRAME_H
#define EFFECTS_WARP_FRAME_H

#include "effects/EffectFrame.h"
#include "geometry/Sampler.h"

namespace dib {

// One row of the picture, and where a rule stores the positions of its pixels. Rules compute in float, in the
// order that they are written. They call the C library in separate loops, so that everything else vectorises.
struct WarpRow {
    int width;
    int height;
    float y;
    float* __restrict sourceX;
    float* __restrict sourceY;
};

// The middle of `size` pixels.
DIB_ALWAYS_INLINE float middleOf(int size) { return positionOf(size - 1) * 0.5F; }

// Samples `source` at each position of the row and stores the colours in `out`, which is clear at 1 and 4
// bits.
template <class Depth>
void sampleRow(const SampleSource& source, unsigned int flags, const WarpRow& row, unsigned char* out);

template <class Rule>
DIB_ALWAYS_INLINE void placeRow(const Rule& rule, const WarpRow& row) {
    rule(row);
}

template <class Rule>
class Warp {
public:
    Warp(const Rule& rule, unsigned int flags) : rule_(rule), flags_(flags) {}

    bool prepare(const FullCopy& copy, const Raster& image) {
        source_ = SampleSource(copy.image());
        positions_ = allocateArray<float>(std::ptrdiff_t{image.width} * 2 + 1);
        if (!positions_) return false;
        row_ = {image.width, image.height, 0, positions_.get(), positions_.get() + image.width};
        return true;
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        row_.y = positionOf(y);
        runKernel<placeRow<Rule>>(rule_, row_);
        sampleRow<Depth>(source_, flags_, row_, out);
    }

private:
    Rule rule_;
    unsigned int flags_;
    SampleSource source_;
    MallocPtr<float> positions_;
    WarpRow row_{};
};

template <class Rule>
bool warpImage(const Progress& progress, DibStream* image, unsigned int flags, const Rule& rule) {
    return filterImage<Depth1, Depth4, Depth8, Depth16, Depth24, Depth32>(progress, image,
                                                                          Warp<Rule>(rule, flags));
}

}  // namespace dib

#endif
