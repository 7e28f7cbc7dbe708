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

// The sums of two pairs of rows in the halves of each element, the first in the low one; whole blocks.
void addRowPairs(const unsigned char* above, const unsigned char* below, const unsigned char* nextAbove,
                 const unsigned char* nextBelow, std::uint32_t* out, std::size_t count);

// sums[x] = the sum over j of both products of pairs[j * stride + x] and weights[j], for whole blocks of samples. A
// pair holds samples of two rows, up to 510 each, in its low and its high half; so does each weight.
// `smallWeights`: all halves are below 2^15.
void weighPairs(const std::uint32_t* pairs, std::size_t stride, const std::uint32_t* weights,
                std::size_t count, bool smallWeights, std::uint32_t* sums, std::size_t samples);

// out[x] = bits 16 to 23 of columns[0][x] + the sum over i of columns[i][x - i steps] + columns[i][x + i steps],
// where columns[i] starts at i * stride, for i up to `reach`. May read a block behind the last sample.
void gatherColumns(const std::uint32_t* columns, std::size_t stride, std::ptrdiff_t step,
                   std::ptrdiff_t reach, unsigned char* out, std::size_t samples);

// steps[x] += what the sum of all runs grows by from the pixel of x to the next one: the sample h + 1 steps
// ahead less the sample h steps back, for every h of `halves`, in two's complement. Samples are at most 510.
void addRunSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves, std::size_t count,
                 std::uint32_t* steps, std::size_t samples);

}  // namespace dib

#endif
