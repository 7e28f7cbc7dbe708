// Kernels of GaussianByProducts. Rows are flat runs of samples, of which each pixel has `step`.
#ifndef EFFECTS_GAUSSIAN_PRODUCT_ROWS_H
#define EFFECTS_GAUSSIAN_PRODUCT_ROWS_H

#include <cstddef>
#include <cstdint>

namespace dib {

// The sums of two pairs of rows in the halves of each element, the first pair in the low half. Works on whole
// blocks of kGaussianBlock samples.
void addRowPairs(const unsigned char* above, const unsigned char* below, const unsigned char* nextAbove,
                 const unsigned char* nextBelow, std::uint32_t* out, std::ptrdiff_t count);

// sums[x] = the sum over j of both products of the halves of pairs[j * stride + x] and weights[j], for whole
// blocks. The halves of a pair are at most 510. `smallWeights`: all halves of the weights are below 2^15.
void weighPairs(const std::uint32_t* pairs, std::ptrdiff_t stride, const std::uint32_t* weights,
                std::ptrdiff_t count, bool smallWeights, std::uint32_t* sums, std::ptrdiff_t samples);

// out[x] = bits 16 to 23 of columns[0][x] + the sum over i of columns[i][x - i steps] + columns[i][x + i
// steps], where columns[i] starts at i * stride, for i up to `reach`. May read up to a block beyond the last
// sample.
void gatherColumns(const std::uint32_t* columns, std::ptrdiff_t stride, std::ptrdiff_t step,
                   std::ptrdiff_t reach, unsigned char* out, std::ptrdiff_t samples);

}  // namespace dib

#endif
