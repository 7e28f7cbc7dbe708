// The effects as plain loops, one pixel at a time: what every fast path is compared with. Each function works
// on an image that the effect accepts and with parameters that it accepts; there is no progress and no
// cancellation.
#ifndef TESTS_REFERENCE_EFFECT_REFERENCE_H
#define TESTS_REFERENCE_EFFECT_REFERENCE_H

#include <DibStream.h>

#include <cstdint>

namespace reference {

// Pixel values as stored: an index, a 16-bit word, or bytes from blue in the low end.
std::uint32_t pixelAt(DibStream& image, int x, int y);
void setPixel(DibStream& image, int x, int y, std::uint32_t value);

void reverse(DibStream& image);
void mosaic(DibStream& image, int blockSize);

}  // namespace reference

#endif
