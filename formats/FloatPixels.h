// Floats of linear light as bytes.
#ifndef FORMATS_FLOAT_PIXELS_H
#define FORMATS_FLOAT_PIXELS_H

#include <cstddef>

namespace formats {

// Red, green, blue, alpha floats (at any address) to blue, green, red, alpha bytes.
void floatsToBgra(const unsigned char* from, unsigned char* to, std::size_t pixels);

// One float: floor(255 v^0.4545... + 0.5), clamped to 0 to 255; 0 for NaN and negative values.
unsigned char byteOfLight(float value);

}  // namespace formats

#endif
