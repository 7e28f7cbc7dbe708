// What reader and writer of ILBM files share about their layout.
#ifndef FORMATS_ILBM_LAYOUT_H
#define FORMATS_ILBM_LAYOUT_H

#include <cstddef>

namespace formats {

constexpr int kBmhdBytes = 20;
constexpr int kMostPlanes = 24;

// Bytes of one plane of one row: planes are padded to words.
constexpr std::size_t planeRowBytes(std::size_t width) { return (width + 15) / 16 * 2; }
// Groups of eight pixels, the last one perhaps broken.
constexpr std::size_t pixelGroups(std::size_t width) { return (width + 7) / 8; }

// Sets the bits behind the last pixel of a row to 0.
inline void clearBehind(unsigned char* bits, std::size_t width) {
    if (width % 8 != 0) bits[width / 8] = static_cast<unsigned char>(bits[width / 8] & (0xFF00 >> width % 8));
}

}  // namespace formats

#endif
