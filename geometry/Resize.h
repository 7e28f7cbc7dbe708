// Resizing with progress, for callers that work for long.
#ifndef GEOMETRY_RESIZE_H
#define GEOMETRY_RESIZE_H

#include <DibStream.h>

#include "dib/Progress.h"

namespace dib {

// The methods of `DibStream` with these names. Where the caller cancels they fail as for short memory, with
// the image unchanged.
bool resize(DibStream& image, int width, int height, DibStream::DIB_RESIZE_METHOD method,
            const Progress& progress);
bool resizeBilinear(DibStream& image, int width, int height, const Progress& progress);
bool resizeIntegral(DibStream& image, int width, int height, const Progress& progress);

}  // namespace dib

#endif
