// Conversions between the orders blue, green, red and red, green, blue.
#ifndef FORMATS_COLOR_ORDER_H
#define FORMATS_COLOR_ORDER_H

#include <cstddef>

namespace formats {

// Exchanges the first and the third byte of every pixel of three bytes.
void swapRedBlue(const unsigned char* from, unsigned char* to, std::size_t pixels);

// The same of pixels of four bytes.
void swapRedBlue32(const unsigned char* from, unsigned char* to, std::size_t pixels);

// Blue, green, red to red, green, blue, alpha of 255.
void expandToRgba(const unsigned char* from, unsigned char* to, std::size_t pixels);

}  // namespace formats

#endif
