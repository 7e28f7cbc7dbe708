// The effects as plain loops, one pixel at a time, every test and every formula spelled out: what the fast
// paths are compared with. The image has both blocks and a size that can exist. There is no progress and no
// cancellation. The result is that of the effect; false leaves the image as it was.
#ifndef TESTS_REFERENCE_EFFECT_REFERENCE_H
#define TESTS_REFERENCE_EFFECT_REFERENCE_H

#include <DibStream.h>

#include <cstdint>

namespace reference {

// Pixel values as stored: an index, a 16-bit word, or bytes from blue in the low end.
std::uint32_t pixelAt(DibStream& image, int x, int y);
void setPixel(DibStream& image, int x, int y, std::uint32_t value);

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
