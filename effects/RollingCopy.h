// The unchanged rows that a filter still needs while it overwrites the image.
#ifndef EFFECTS_ROLLING_COPY_H
#define EFFECTS_ROLLING_COPY_H

#include <algorithm>
#include <cstddef>

#include "dib/Memory.h"
#include "effects/EffectFrame.h"

namespace dib {

// An image is overwritten from the top down, so the rows below are still unchanged. Of the rows above a
// filter needs only the last few, and if y wraps, the first few again at the end. Unlike a full copy, these
// rows stay in the processor's cache.
class RollingCopy {
public:
    // Keeps the last `above` rows and the first `first`. False when memory is short.
    bool prepare(const Raster& image, int above, int first) {
        image_ = image;
        const std::int64_t slots = std::int64_t{above} + first;
        first_ = slots < image.height ? first : 0;
        ring_ = slots < image.height ? above : image.height;
        slots_ = allocateArray<unsigned char>(std::ptrdiff_t{first_ + ring_} * image.pixelBytes() + 1);
        return slots_ != nullptr;
    }

    const unsigned char* row(int y) const { return y < written_ ? slot(y) : image_.row(y); }

    // Copies the next row, which is about to be overwritten.
    void keepNext() {
        if (written_ < first_ || ring_ != 0)
            std::copy_n(image_.row(written_), image_.pixelBytes(), slot(written_));
        ++written_;
    }

private:
    unsigned char* slot(int y) const {
        const int at = y < first_ ? y : first_ + (y - first_) % ring_;
        return slots_.get() + std::ptrdiff_t{at} * image_.pixelBytes();
    }

    Raster image_;
    int first_ = 0;
    int ring_ = 0;
    int written_ = 0;
    MallocPtr<unsigned char> slots_;
};

}  // namespace dib

#endif
