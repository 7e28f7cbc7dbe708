// The image that a chain works on. It borrows the caller's pixels until a step changes them, so that steps
// that make a new picture need no copy.
#ifndef OPERATIONS_BORROWING_H
#define OPERATIONS_BORROWING_H

#include <DibStream.h>

#include <memory>

namespace operations {

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

// An image with a copy of the header and the same pixels (LentPixels.h). Throws Refusal when memory is short.
ImagePtr borrow(DibStream& image);

// Replaces lent pixels by a copy; does nothing to other images. Throws Refusal when memory is short.
void ownPixels(DibStream& image);

}  // namespace operations

#endif
