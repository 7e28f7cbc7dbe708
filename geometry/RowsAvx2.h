// The passes across a row for AVX2. Neighbouring pixels of several outputs have to be brought together with
// byte shuffles, which the compiler does not find in the plain loops; results are the same.
#ifndef GEOMETRY_ROWS_AVX2_H
#define GEOMETRY_ROWS_AVX2_H

#include <cstddef>
#include <cstdint>

#include "geometry/AreaRows.h"
#include "geometry/BilinearRows.h"

namespace dib {

// Only while kernelLevel() is kAvx2.

// As mixAcross, for as many taps from the front as come in fours; returns how many those are.
std::size_t mixAcrossAvx2(const unsigned char* row, const ColumnTap* taps, std::size_t count, int channels,
                          std::uint16_t* sums);
// As averageAcross, for spans that are exact.
void averageAcrossAvx2(const unsigned char* row, const AreaSpans& spans, int channels, unsigned char* out);
// The means of two by two pixels for as many of `width` results from the left as come in eights; returns how
// many those are.
std::size_t halveRowAvx2(const unsigned char* first, const unsigned char* second, int channels,
                         unsigned char* out, std::size_t width);

}  // namespace dib

#endif
