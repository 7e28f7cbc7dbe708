// Rows of images of any depth as files take them.
#ifndef FORMATS_FILE_ROWS_H
#define FORMATS_FILE_ROWS_H

#include <cstddef>

#include "dib/RowConverter.h"

namespace formats {

// As dib::converterOf, but the channels of 16-bit words are scaled and rounded: their largest value becomes
// 255, so that white stays white.
dib::RowConverter fileConverterOf(int fromBits, dib::Packed to);

// Converts a row by it.
void convertFileRow(const unsigned char* row, int bits, unsigned char* to, dib::Packed form,
                    std::size_t width, const dib::IndexColors& colors);

}  // namespace formats

#endif
