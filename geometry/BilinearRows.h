// The two passes of bilinear resizing over rows of 24 or 32 bits.
//
// Across: each output column mixes a source pixel and its right neighbour into unrounded sums of
// channel x weight, at most 255 x 256, so that they fit 16 bits.
// Down: two such rows are mixed and only then shifted, which makes the result exact.
#ifndef GEOMETRY_BILINEAR_ROWS_H
#define GEOMETRY_BILINEAR_ROWS_H

#include <cstddef>
#include <cstdint>

namespace dib {

// Byte offset of the left source pixel, and the weights of it and of its right neighbour; their sum is 256.
struct ColumnTap {
    std::int32_t offset;
    std::uint16_t left;
    std::uint16_t right;
};

// Bytes that mixAcross may read after the offset of a tap, and sums that it may write after the last one.
constexpr std::ptrdiff_t kTapReadBytes = 16;
constexpr std::ptrdiff_t kSumSlack = 8;

// sums[i * Channels + c] for each of the `count` taps; there are 3 or 4 channels.
template <int Channels>
void mixAcross(const unsigned char* row, const ColumnTap* taps, int count, std::uint16_t* sums);

// out[i] = (upper[i] x (256 - lowerWeight) + lower[i] x lowerWeight) >> 16; the weight is 0 to 256.
void mixDown(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t lowerWeight,
             std::ptrdiff_t count, unsigned char* out);

}  // namespace dib

#endif
