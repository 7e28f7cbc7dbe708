// Pixel values of colours that a step brings to a picture.
#ifndef OPERATIONS_PIXELS_FILL_H
#define OPERATIONS_PIXELS_FILL_H

#include <cstdint>

#include "operations/Operations.h"

namespace operations {

// The value of pixels of a colour, in a picture that is widened where it has none: palettes and 16 bits to 24
// bits a pixel, all to 32 for a colour with alpha.
std::uint32_t widenedFill(const Job& job, const DibBGRA& color);
// The same, but a palette that has room gets an entry for an opaque colour that it lacks.
std::uint32_t paletteFill(const Job& job, const DibBGRA& color);

}  // namespace operations

#endif
