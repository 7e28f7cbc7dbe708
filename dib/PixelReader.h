// Reads the pixels of an image of any depth as colour or grey bytes, a strip of a buffer row at a time, so
// that a conversion needs no copy of the whole image between source and result.
#ifndef DIB_PIXEL_READER_H
#define DIB_PIXEL_READER_H

#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "dib/ImageSize.h"

namespace dib {

// The longest strip: what is needed beside it stays in the first-level cache.
constexpr std::size_t kStripPixels = 2048;

// Calls `work(x, count)` for the strips of a row; x is always a multiple of 8, so no strip starts inside a
// byte.
template <class Work>
void forEachStrip(std::size_t width, Work work) {
    for (std::size_t x = 0; x < width; x += kStripPixels) work(x, std::min(kStripPixels, width - x));
}

class PixelReader {
public:
    // Copies the colour table; the pixels must stay alive. `readable` is false without header or pixels, for
    // a depth that does not exist and for a size that cannot; the last leaves the memory code in the image.
    explicit PixelReader(DibStream& image);

    bool readable() const { return readable_; }
    std::size_t width() const { return width_; }
    // None where rows have no pixels: a header may announce thousands of millions of those.
    std::size_t rows() const { return width_ > 0 ? size_.rows : 0; }

    // Write the pixels of one strip as 3, 4 or 1 bytes each. Alpha is 255 unless the image has its own.
    void readBgr(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const;
    void readBgra(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const;
    void readGrey(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const;

    // One strip as 3 bytes each, in the image itself where it is stored so, else in `scratch`.
    const std::uint8_t* bgr(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* scratch) const;

private:
    const std::uint8_t* at(std::size_t row, std::size_t x) const;
    const std::uint8_t* indices(std::size_t row, std::size_t x, std::size_t count,
                                std::uint8_t* scratch) const;
    void readTable(const BITMAPINFOHEADER& header);

    const std::uint8_t* pixels_ = nullptr;
    ImageSize size_;
    std::size_t width_ = 0;
    unsigned int bitCount_ = 0;
    bool readable_ = false;
    bool greyRamp_ = false;  // index i is the colour (i, i, i)
    std::uint32_t colors_[256] = {};
    std::uint8_t greys_[256] = {};
};

}  // namespace dib

#endif
