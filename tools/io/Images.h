// Shorthand for images.
#ifndef TOOLS_IO_IMAGES_H
#define TOOLS_IO_IMAGES_H

#include <DibStream.h>

#include <cstdlib>
#include <memory>

namespace tool {

inline int width(const DibStream& image) { return image.Header->biWidth; }
// The number of rows, in either row order.
inline int height(const DibStream& image) { return std::abs(image.Header->biHeight); }

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
// An image on the heap.
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

}  // namespace tool

#endif
