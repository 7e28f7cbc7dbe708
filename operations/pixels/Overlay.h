// A second picture over the first.
#ifndef OPERATIONS_PIXELS_OVERLAY_H
#define OPERATIONS_PIXELS_OVERLAY_H

#include <cstddef>

#include "dib/Blend.h"
#include "operations/Places.h"

namespace operations {

// Lays `count` pixels of blue, green, red and alpha upon a row of pixels of 3 or 4 bytes, or of
// 1, which is grey and gets the blue.
void coverRow(const unsigned char* over, std::size_t count, unsigned char* row, std::size_t bytes);

// Lays `over` upon the picture of a job, by its alpha times `opacity` (0 to 255). Up to 16 bits become 24.
bool overlay(const Job& job, DibStream& over, Place place, std::uint32_t opacity, dib::BlendMode mode);

}  // namespace operations

#endif
