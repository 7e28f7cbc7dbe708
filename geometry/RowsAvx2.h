// Passes over rows for AVX2 where the compiler falls short: it does not find the byte shuffles that bring the
// neighbours of several outputs together, nor the high halves of products. Results are those of the plain loops.
#ifndef GEOMETRY_ROWS_AVX2_H
#define GEOMETRY_ROWS_AVX2_H

#include <cstddef>
#include <cstdint>

#include "geometry/AreaRows.h"
#include "geometry/BilinearRows.h"

namespace dib {

// Only while kernelLevel() is kAvx2 or above.

// As mixAcross, for as many taps from the front as come in fours; returns how many those are.
std::size_t mixAcrossAvx2(const unsigned char* row, const ColumnTap* taps, std::size_t count, int channels,
                          std::uint16_t* sums);
// As mixDown, for as many values from the front as come in blocks of 32; returns how many those are.
std::size_t mixDownAvx2(const std::uint16_t* upper, const std::uint16_t* lower, std::uint32_t lowerWeight,
                        std::size_t count, unsigned char* out);
// As averageAcross, for spans that are exact.
void averageAcrossAvx2(const unsigned char* row, const AreaSpans& spans, int channels, unsigned char* out);
// The means of two by two pixels for as many of `width` results from the left as come in eights; returns how
// many those are.
std::size_t halveRowAvx2(const unsigned char* first, const unsigned char* second, int channels,
                         unsigned char* out, std::size_t width);

}  // namespace dib

#endif
