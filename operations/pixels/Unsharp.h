// Sharpening by the difference from a blurred picture.
#ifndef OPERATIONS_PIXELS_UNSHARP_H
#define OPERATIONS_PIXELS_UNSHARP_H

#include "operations/Operations.h"

namespace operations {

struct UnsharpMask {
    double deviation;  // of the Gaussian, in pixels
    float amount;      // the share of the difference that is added
    float threshold;   // smaller differences count as none
};

// Up to 16 bits become 24. Alpha stays, and colours count by it in the blurred picture.
bool unsharp(const Job& job, const UnsharpMask& mask);

}  // namespace operations

#endif
