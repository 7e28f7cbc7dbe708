// Turning a picture.
#ifndef OPERATIONS_PIXELS_ROTATE_H
#define OPERATIONS_PIXELS_ROTATE_H

#include <optional>

#include "dib/Turn.h"
#include "operations/Operations.h"

namespace operations {

// Exactly, by quarters and mirrors: every pixel stays as it is. False when the caller cancels or memory is
// short.
bool turnBy(const Job& job, const dib::Turn& turn);

struct Rotation {
    double angle;  // in radians, counter-clockwise
    bool grows;    // the canvas becomes as large as the turned picture, instead of keeping its size
    // Of the pixels that the picture does not cover. Without it they are white, and transparent where the
    // picture has 32 bits.
    std::optional<DibBGRA> fill;
};

// Turns a picture about its middle. Pixels are mixed from four, of which those outside the picture have the
// fill; colours count by alpha. Quarters on a canvas that grows are exact, at every depth. For others
// palettes are widened, and the result has 32 bits where the fill has alpha. False when the caller cancels.
bool rotate(const Job& job, const Rotation& rotation);

}  // namespace operations

#endif
