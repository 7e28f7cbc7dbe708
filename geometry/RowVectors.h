// The vector parts (see `runVectors`) of the loops over rows. Compilers do not find the byte shuffles that
// bring the neighbours of several outputs together, nor the high halves of products.
#ifndef GEOMETRY_ROW_VECTORS_H
#define GEOMETRY_ROW_VECTORS_H

#include <cstddef>
#include <cstdint>

#include "geometry/AreaRows.h"
#include "geometry/BilinearRows.h"

namespace dib {

// Of mixAcross: taps done.
std::size_t mixAcrossVectors(const unsigned char* row, const ColumnTap* taps, std::size_t count, int channels,
                             std::uint16_t* sums);
// Of mixDown: values done.
std::size_t mixDownVectors(const std::uint16_t* upper, const std::uint16_t* lower, std::uint32_t lowerWeight,
                           std::size_t count, unsigned char* out);
// Of averageAcross, for exact spans: spans done.
std::size_t averageAcrossVectors(const unsigned char* row, const AreaSpans& spans, int channels,
                                 unsigned char* out);
// The means of two by two pixels: pixels of the result done.
std::size_t halveRowVectors(const unsigned char* first, const unsigned char* second, int channels,
                            unsigned char* out, std::size_t width);

}  // namespace dib

#endif
