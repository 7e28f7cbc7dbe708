// New pictures whose pixels are weighted sums of pixels, along one axis after the other. Where pixels differ
// in alpha each counts by it, so that hidden colours show nowhere.
#ifndef OPERATIONS_PIXELS_RESAMPLE_H
#define OPERATIONS_PIXELS_RESAMPLE_H

#include <cstddef>
#include <vector>

#include "dib/Numbers.h"
#include "operations/Operations.h"

namespace operations {

// Which pixels of an axis make each pixel of the result: `width` of them from first[i] on, with weights that
// total 1. Positions outside the picture are those of its edge.
struct Taps {
    int width = 0;
    std::vector<int> first;
    std::vector<float> weights;  // `width` for each pixel, or once for all
    bool isShared = false;
    bool wraps = false;

    const float* weightsOf(std::size_t i) const {
        return weights.data() + (isShared ? 0 : i * dib::asSize(width));
    }
};

enum class Filter { kArea, kBilinear, kBicubic, kLanczos };

// Of `count` pixels that are made from `sourceCount`. Shrinking widens the filter. Throws Refusal for tables
// that take more than 256 MB.
Taps resizeTaps(Filter filter, int sourceCount, int count);
// Of the mean of 2 x radius + 1 pixels.
Taps boxTaps(int count, int radius, bool wraps);

// Replaces a picture of 8 bits of grey, 24 or 32 bits. False when the caller cancels. Throws Refusal.
bool resample(const Job& job, const Taps& across, const Taps& down);
// The nearest pixels, at every depth; the colour table stays.
bool resampleNearest(const Job& job, int width, int height);

}  // namespace operations

#endif
