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

// Sums down and then across in 64ths of a level, with weights in 32768ths that total exactly 1. Each sum is
// rounded once, so areas of one colour stay as they are.
class GaussianWords {
public:
    static constexpr int kFraction = 6;  // bits of a sample below 1

    // Beyond a reach of 35 GaussianRows is as fast. The weight of the middle must be below 1.
    static bool suits(const Gaussian& gaussian) { return gaussian.reach <= 35 && gaussian.deviation >= 0.3; }

    GaussianWords(const dib::Raster& from, const Gaussian& gaussian);

    std::ptrdiff_t samples() const { return samples_; }
    // A row of the blurred picture in 64ths of a level. Rows are asked for from the top. Valid until the next
    // call.
    const std::int16_t* row(int y);
    // The same as bytes.
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
