// What differs between two pictures.
#ifndef OPERATIONS_PIXELS_COMPARE_H
#define OPERATIONS_PIXELS_COMPARE_H

#include "operations/Operations.h"

namespace operations {

// Replaces every channel by its distance from that of a second picture, times `gain`. The result is opaque,
// of 24 bits; differences of alpha show in all channels. Where only one of the two has pixels it is white.
bool showDifference(const Job& job, DibStream& second, int gain);

}  // namespace operations

#endif
