// Weighted sums along rows, for the Gaussian blur. Rows are flat runs of samples; a step to the next pixel is
// `step` samples.
#ifndef EFFECTS_GAUSSIAN_ROWS_H
#define EFFECTS_GAUSSIAN_ROWS_H

#include <cstddef>
#include <cstdint>

namespace dib {

// Rows are worked on in blocks of up to this many samples: sums and what they are read from extend to a whole
// number of blocks beyond the last sample.
constexpr std::size_t kGaussianBlock = 64;

// sums[x] += weights[0] * row[x] + weights[i] * (row[x - i steps] + row[x + i steps]) for i below `count`.
// Each element of `row` holds samples of two rows, up to 510 each, in its low and its high half; so does each
// weight. `smallWeights`: all halves are below 2^15.
void addProducts(const std::uint32_t* row, std::ptrdiff_t step, const std::uint32_t* weights,
                 std::ptrdiff_t count, bool smallWeights, std::uint32_t* sums, std::size_t samples);

// steps[x] += what the sum of all runs grows by from the pixel of x to the next one: the sample h + 1 steps
// ahead less the sample h steps back, for every h of `halves`, in two's complement. Samples are at most 510.
void addRunSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves, std::size_t count,
                 std::uint32_t* steps, std::size_t samples);

}  // namespace dib

#endif
