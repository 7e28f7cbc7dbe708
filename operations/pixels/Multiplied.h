// Colours multiplied with alpha.
#ifndef OPERATIONS_PIXELS_MULTIPLIED_H
#define OPERATIONS_PIXELS_MULTIPLIED_H

#include <DibStream.h>

namespace operations {

// Multiplies the colours of a picture of 32 bits with alpha, so that functions which mix all four channels
// alike count them by it, and divides them again: those of pixels with an alpha of 0 are black then. Full
// alpha changes nothing. Throws Refusal when there are no pixels.
void multiplyByAlpha(const DibStream& image);
void divideByAlpha(const DibStream& image);

}  // namespace operations

#endif
