// Rows of the platform's bitmaps as rows of images, and back.
#ifndef FORMATS_PLATFORM_PIXELS_H
#define FORMATS_PLATFORM_PIXELS_H

#include <cstddef>

namespace formats {

// Exchanges the first and the third byte of every pixel of four bytes.
void swapRedBlue32(const unsigned char* from, unsigned char* to, std::size_t pixels);

// Blue, green, red to red, green, blue, alpha of 255.
void expandToRgba(const unsigned char* from, unsigned char* to, std::size_t pixels);

// Red, green, blue, alpha floats (at any address) to blue, green, red, alpha bytes.
void floatsToBgra(const unsigned char* from, unsigned char* to, std::size_t pixels);

// One float: floor(255 v^0.4545... + 0.5), held within 0 to 255; 0 for NaN and all that is negative.
unsigned char byteOfLight(float value);

}  // namespace formats

#endif
