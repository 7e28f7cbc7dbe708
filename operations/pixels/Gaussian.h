// The Gaussian blur, normalised so that the mean of a picture stays.
#ifndef OPERATIONS_PIXELS_GAUSSIAN_H
#define OPERATIONS_PIXELS_GAUSSIAN_H

#include <cstddef>
#include <optional>
#include <vector>

#include "dib/EdgeAxis.h"
#include "dib/Raster.h"
#include "operations/Operations.h"

namespace operations {

struct Gaussian {
    double deviation;  // in pixels
    int reach;         // pixels on each side that count, 1 or more
    bool wrapsX;
    bool wrapsY;
};

// Replaces a picture of 8 bits of grey, 24 or 32 bits by the blurred one, in which colours count by alpha
// where pixels differ in it. Channels differ by less than 1 from the exact sum. False when the caller
// cancels. Throws Refusal.
bool blurGaussian(const Job& job, const Gaussian& gaussian);

// The rows of the blurred picture as floats.
//
// From a deviation of 12 on they are interpolated between cells: every few pixels there is one, a sum of the
// pixels around it with weights that fall to both sides down to the next cells. The Gaussian is that of the
// cells. It is narrower, as cells and interpolation blur by themselves. Whatever the picture, either axis
// differs from the exact sum by less than a third of a level.
class GaussianRows {
public:
    // With `isWeighted`, of a picture of 32 bits, rows are colours times alpha, and alpha.
    GaussianRows(const dib::Raster& from, const Gaussian& gaussian, bool isWeighted);

    std::ptrdiff_t samples() const { return channels_ * from_.width; }
    // Rows are asked for from the top. Valid until the next call.
    const float* row(int y);

private:
    struct Slot {
        std::optional<int> position;
        std::vector<float> samples;
    };
    void makeWeights(const Gaussian& gaussian);
    static Slot& slotOf(std::vector<Slot>& slots, int position);
    void addRows(int cell);
    const float* across(int cell);
    const float* whole(int cell);

    dib::Raster from_;
    bool isWeighted_;
    std::ptrdiff_t channels_;
    dib::EdgeAxis axisX_;
    dib::EdgeAxis axisY_;
    int step_;                        // pixels from one cell to the next
    std::vector<float> cellWeights_;  // of the pixels of a cell, from step - 1 before to step - 1 after it
    int half_ = 0;                    // cells on each side that count
    std::vector<float> weights_;      // of cells
    std::ptrdiff_t cells_ = 0;        // of a row, from the one at pixel 0 on
    std::ptrdiff_t before_ = 0;       // pixels of the padding on the left
    std::ptrdiff_t after_ = 0;
    std::vector<float> pixels_;  // a padded row of them, or sums of several
    std::vector<float> sums_;    // its cells
    std::vector<const float*> lines_;
    std::vector<Slot> across_;  // rows of cells, summed across
    std::vector<float> down_;   // one of them, summed down
    std::vector<Slot> whole_;   // that for all pixels, twice
    std::vector<float> mixed_;
};

}  // namespace operations

#endif
