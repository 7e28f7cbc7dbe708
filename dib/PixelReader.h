// Reads the pixels of an image of any depth as packed bytes, a strip of a buffer row at a time, so that a
// conversion needs no copy of the whole image between source and result.
#ifndef DIB_PIXEL_READER_H
#define DIB_PIXEL_READER_H

#include <DibStream.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>

#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "dib/RowConverter.h"

namespace dib {

// The level from 0 to 255 of a channel of 5 bits, the low ones of `value`: 255 value / 31, rounded. The
// fraction 527 / 64 is near enough for all 32 values.
DIB_ALWAYS_INLINE std::uint8_t levelOf5Bits(std::uint32_t value) {
    return static_cast<std::uint8_t>(((value & 31) * 527 + 23) >> 6);
}

// Calls `work(x, count)` for the strips of a row; x is always a multiple of 8, so no strip starts inside a
// byte.
template <class Work>
void forEachStrip(std::integral auto width, Work work) {
    const auto end = static_cast<std::size_t>(width);
    for (std::size_t x = 0; x < end; x += kStripPixels) work(x, std::min(kStripPixels, end - x));
}

class PixelReader {
public:
    // Copies the colour table; the pixels must stay alive. `readable` is false without header or pixels, for
    // a depth that does not exist and for a size that cannot; the last leaves the memory code in the image.
    PixelReader(DibStream& image, Packed form);

    bool readable() const { return convert_ != nullptr; }
    std::size_t width() const { return width_; }
    // None where rows have no pixels: a header may announce billions of those.
    std::size_t rows() const { return width_ > 0 ? size_.rows : 0; }

    // Writes the pixels of one strip.
    void read(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const {
        convert_(at(row, x), to, count, colors_);
    }
    // The same where the image has these bytes itself; otherwise they are written to `scratch`.
    const std::uint8_t* strip(std::size_t row, std::size_t x, std::size_t count,
                              std::uint8_t* scratch) const {
        if (isStored_) return at(row, x);
        read(row, x, count, scratch);
        return scratch;
    }

private:
    const std::uint8_t* at(std::size_t row, std::size_t x) const {
        return pixels_ + row * size_.rowBytes + x * bitCount_ / 8;
    }

    const std::uint8_t* pixels_;
    ImageSize size_;
    std::size_t width_ = 0;
    std::size_t bitCount_ = 0;
    bool isStored_ = false;
    RowConverter convert_ = nullptr;
    IndexColors colors_;
};

}  // namespace dib

#endif
