// The Gaussian blur of small reach in words of 16 bits.
#ifndef OPERATIONS_PIXELS_GAUSSIAN_WORDS_H
#define OPERATIONS_PIXELS_GAUSSIAN_WORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "dib/Memory.h"
#include "operations/pixels/Gaussian.h"

namespace operations {

// Sums down and then across in 64ths of a level, with weights in 32768ths that total exactly 1. Products are
// rounded to 64ths.
class GaussianWords {
public:
    // Beyond it the rounded products add up to more, and GaussianRows is as fast.
    static constexpr int kMostReach = 35;

    GaussianWords(const dib::Raster& from, const Gaussian& gaussian);

    // Rows are asked for from the top.
    void store(int y, unsigned char* out);

private:
    const std::int16_t* load(int position);
    void sum(std::int16_t* out) const;

    dib::Raster from_;
    std::ptrdiff_t channels_;
    std::ptrdiff_t samples_;
    std::ptrdiff_t stride_;  // samples in whole blocks
    dib::EdgeAxis axisX_;
    dib::EdgeAxis axisY_;
    int reach_;
    std::vector<std::int16_t> weights_;  // from the middle on
    std::vector<std::int16_t> rows_;     // a ring of them
    std::vector<std::optional<int>> positions_;
    std::vector<std::int16_t> column_;  // a row summed down, with padding
    std::vector<std::int16_t> blurred_;
    std::vector<const std::int16_t*> above_;  // or to the left, at each distance
    std::vector<const std::int16_t*> below_;
};

}  // namespace operations

#endif
