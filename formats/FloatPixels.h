// Floats of linear light as bytes.
#ifndef FORMATS_FLOAT_PIXELS_H
#define FORMATS_FLOAT_PIXELS_H

#include <cstddef>

namespace formats {

// Red, green, blue, alpha floats (at any address) to blue, green, red, alpha bytes, by dib::LightCurve.
void floatsToBgra(const unsigned char* from, unsigned char* to, std::size_t pixels);

}  // namespace formats

#endif
