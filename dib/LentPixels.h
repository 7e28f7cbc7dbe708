// Images that borrow the pixels of a caller and must not change them.
#ifndef DIB_LENT_PIXELS_H
#define DIB_LENT_PIXELS_H

#include <DibStream.h>

namespace dib {

// The ownership word of the header of such an image. Effects that read an unchanged copy read the lent pixels
// and write to the copy. Images of callers never have it.
constexpr unsigned int kOwnedWithLentPixels = 0x6C656E74;

inline bool hasLentPixels(const DibStream& image) {
    return image.HeaderOwner == kOwnedWithLentPixels && image.BufferOwner == 0;
}

}  // namespace dib

#endif
