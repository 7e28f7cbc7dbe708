// The rows of an image as a view: where they are, and their size and depth.
#ifndef DIB_RASTER_H
#define DIB_RASTER_H

#include <DibStream.h>

#include <cstddef>

#include "dib/ImageSize.h"

namespace dib {

// Rows count from the top of the picture, whichever order the image stores them in.
struct Raster {
    unsigned char* top = nullptr;
    std::ptrdiff_t rowStep = 0;  // bytes from a row to the one below it
    int width = 0;
    int height = 0;
    int bitCount = 0;
    std::size_t rowBytes = 0;  // pitch

    bool hasPixels() const { return width > 0 && height > 0; }
    unsigned char* row(std::ptrdiff_t y) const { return top + y * rowStep; }
    // Bytes of a row that hold pixels; above 4 bits per pixel no byte is shared with row fill.
    std::size_t pixelBytes() const {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) + 7) / 8;
    }
};

// Views the rows of an image. False, with `raster` unchanged, without a header, for sizes that cannot exist
// and where rows have no pixel block. An image without rows needs none.
inline bool viewRows(const DibStream& image, Raster& raster) {
    if (image.Header == nullptr) return false;
    const BITMAPINFOHEADER& header = *image.Header;
    const ImageSize size = admitSize(header);
    if (!size.admitted || (image.Buffer == nullptr && size.rows != 0)) return false;
    const bool bottomUp = header.biHeight > 0;
    raster.top = image.Buffer + (bottomUp ? (size.rows - 1) * size.rowBytes : 0);
    raster.rowStep = static_cast<std::ptrdiff_t>(size.rowBytes) * (bottomUp ? -1 : 1);
    raster.width = header.biWidth;
    raster.height = static_cast<int>(size.rows);
    raster.bitCount = header.biBitCount;
    raster.rowBytes = size.rowBytes;
    return true;
}

}  // namespace dib

#endif
