// The vector parts (see `runVectors`) of the loops over rows. Compilers do not find the byte shuffles that
// bring the neighbours of several outputs together, nor the high halves of products.
#ifndef GEOMETRY_ROW_VECTORS_H
#define GEOMETRY_ROW_VECTORS_H

#include <cstddef>
#include <cstdint>

#include "dib/Kernels.h"
#include "geometry/AreaRows.h"
#include "geometry/BilinearRows.h"

namespace dib {

// Of mixAcross: taps done.
template <int Channels>
DIB_TARGET_AVX2 int mixAcrossVectors(const unsigned char* row, const ColumnTap* taps, int count,
                                     std::uint16_t* sums);
// Of mixDown: values done.
DIB_TARGET_AVX2 std::ptrdiff_t mixDownVectors(const std::uint16_t* upper, const std::uint16_t* lower,
                                              std::uint16_t lowerWeight, std::ptrdiff_t count,
                                              unsigned char* out);
// Of averageAcross, for exact spans: spans done.
template <int Channels>
DIB_TARGET_AVX2 int averageVectors(const unsigned char* row, const AreaSpans* spans, unsigned char* out);
// The means of two by two pixels: pixels of the result done.
template <int Channels>
DIB_TARGET_AVX2 std::ptrdiff_t halveVectors(const unsigned char* first, const unsigned char* second,
                                            unsigned char* out, int width);

}  // namespace dib

#endif
