// The image that a chain works on. It borrows the caller's pixels until a step changes them, so that steps
// that make a new picture need no copy.
#ifndef OPERATIONS_BORROWING_H
#define OPERATIONS_BORROWING_H

#include <DibStream.h>

#include <cstring>
#include <memory>

#include "dib/Raster.h"

namespace operations {

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

// An image with a copy of the header and the same pixels (LentPixels.h). Throws Refusal when memory is short.
ImagePtr borrow(DibStream& image);

// Replaces lent pixels by a copy; does nothing to other images. Throws Refusal when memory is short.
void ownPixels(DibStream& image);

// The rows of an image whose pixels change. Lent pixels are replaced, too, but row by row: a row is copied
// when it is asked for, and is then in the cache for its change. So every row must be asked for, once.
class OwnRows {
public:
    // Throws Refusal when there are no pixels or memory is short.
    explicit OwnRows(DibStream& image);

    const dib::Raster& raster() const { return to_; }
    unsigned char* row(int y) const {
        unsigned char* const row = to_.row(y);
        if (row != from_.row(y)) std::memcpy(row, from_.row(y), to_.rowBytes);
        return row;
    }

private:
    dib::Raster from_;
    dib::Raster to_;
};

}  // namespace operations

#endif
