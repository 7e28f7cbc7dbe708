// The run lengths of BMP files: pairs of a count and a pixel (at 4 bits two pixels in turn), or of 0 and an
// escape.
#ifndef FORMATS_BMP_RUNS_H
#define FORMATS_BMP_RUNS_H

#include <cstddef>

#include "formats/door/Request.h"

namespace formats {

// Rows of an image in the order of its pixel block.
struct BmpRows {
    unsigned char* pixels;
    std::size_t pitch;
    std::size_t width;
    std::size_t rows;
};

// Decodes pixels of 4, 8 or 24 bits into rows of 0. Pixels that no
// run reaches stay 0. False when the file ends before an end code or the last pixel, or the caller cancels.
// Runs that leave their row or the picture are noted.
bool decodeBmpRuns(ReadRequest& request, int bitCount, const BmpRows& image);

// Appends a row of 8-bit pixels and an end of line to `out`, which must have room for kMostRunBytes(width)
// bytes; returns the bytes written.
constexpr std::size_t mostRunBytes(std::size_t width) { return 2 * width + 2; }
std::size_t encodeBmpRow(const unsigned char* row, std::size_t width, unsigned char* out);

}  // namespace formats

#endif
