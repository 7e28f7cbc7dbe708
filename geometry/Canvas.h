// A new size for an image: a header and a pixel block that are filled while the image still has the old ones,
// and then replace them.
#ifndef GEOMETRY_CANVAS_H
#define GEOMETRY_CANVAS_H

#include <DibStream.h>

#include "dib/Memory.h"
#include "dib/Raster.h"

namespace dib {

struct Canvas {
    BITMAPINFOHEADER header;
    MallocPtr<unsigned char> pixels;  // null when the size cannot exist or memory is short
    Raster rows;                      // in block order; their fill bytes are 0

    // The depth is that of the image.
    Canvas(DibStream& image, int width, int height);

    // Overwrites the 40 header bytes of the image and replaces its pixel block; the colour table stays, in a
    // grown block where it would be shorter than the new header announces. False, with the image unchanged,
    // when memory for that is short.
    bool installInto(DibStream& image);
};

// |height| with the sign that `model` has; 0 and below count as top-down. A height whose absolute value is no
// int stays as it is and is refused as a size.
int heightLike(int height, int model);

}  // namespace dib

#endif
