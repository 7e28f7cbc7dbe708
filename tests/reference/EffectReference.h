// The effects as plain loops, one pixel at a time, with every test and formula spelled out. The fast paths
// are compared with them. The image has both blocks and a size that can exist. There is no progress and no
// cancellation. The result is that of the effect; false leaves the image unchanged.
#ifndef TESTS_REFERENCE_EFFECT_REFERENCE_H
#define TESTS_REFERENCE_EFFECT_REFERENCE_H

#include <DibStream.h>

#include <cstdint>
#include <initializer_list>

namespace reference {

// Pixel values as stored: an index, a 16-bit word, or bytes from blue in the low end.
std::uint32_t pixelAt(DibStream& image, int x, int y);
void setPixel(DibStream& image, int x, int y, std::uint32_t value);

int widthOf(const DibStream& image);
int heightOf(const DibStream& image);
bool hasDepth(const DibStream& image, std::initializer_list<int> depths);

// The pixel of an axis that a position inside or outside the image reads.
int edgePixel(std::int64_t v, int size, bool wrap);

bool reverse(DibStream& image);
bool mosaic(DibStream& image, int blockSize);
bool rotate(DibStream& image, float angle, unsigned int flags);
bool ripple(DibStream& image, float centerX, float centerY, float wavelength, float amplitude, float phase,
            unsigned int flags);
bool wave(DibStream& image, float wavelength, float amplitude, float phase, float direction,
          unsigned int flags);
bool whirl(DibStream& image, float centerX, float centerY, float twist, unsigned int flags);

}  // namespace reference

#endif
