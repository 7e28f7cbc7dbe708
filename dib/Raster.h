// The rows of an image as a view: where they are, and their size and depth.
#ifndef DIB_RASTER_H
#define DIB_RASTER_H

#include <DibStream.h>

#include <cstddef>

#include "dib/ImageSize.h"

namespace dib {

// Rows count from the top of the picture, whichever order the image stores them in, unless the view is one in
// block order.
struct Raster {
    unsigned char* top = nullptr;
    std::ptrdiff_t rowStep = 0;  // bytes from a row to the one below it
    int width = 0;
    int height = 0;
    int bitCount = 0;
    std::size_t rowBytes = 0;  // pitch

    // The size as numbers of things, and the bytes of a pixel from 8 bits on.
    std::size_t columns() const { return static_cast<std::size_t>(width); }
    std::size_t rows() const { return static_cast<std::size_t>(height); }
    std::size_t bytesPerPixel() const { return static_cast<std::size_t>(bitCount / 8); }

    bool hasPixels() const { return width > 0 && height > 0; }
    unsigned char* row(std::ptrdiff_t y) const { return top + y * rowStep; }
    // Bytes of a row that hold pixels; above 4 bits per pixel no byte is shared with row fill.
    std::ptrdiff_t pixelBytes() const { return (std::ptrdiff_t{width} * bitCount + 7) / 8; }
    // The rows from the start of the pixel block on.
    Raster inBlockOrder() const {
        Raster rows = *this;
        if (rowStep < 0) {
            rows.top = row(std::ptrdiff_t{height} - 1);
            rows.rowStep = -rowStep;
        }
        return rows;
    }
};

// Views the rows that a header describes. False, with `raster` unchanged, for sizes that cannot exist and
// where rows have no pixel block. An image without rows needs none.
inline bool viewRows(const BITMAPINFOHEADER& header, unsigned char* block, Raster& raster) {
    const ImageSize size = admitSize(header);
    if (!size.admitted || (block == nullptr && size.rows != 0)) return false;
    const auto pitch = static_cast<std::ptrdiff_t>(size.rowBytes);
    const auto rows = static_cast<int>(size.rows);
    raster = {block, pitch, header.biWidth, rows, header.biBitCount, size.rowBytes};
    if (header.biHeight > 0) {
        raster.top += (rows - 1) * pitch;
        raster.rowStep = -pitch;
    }
    return true;
}

// The same of an image, which must also have a header.
inline bool viewRows(const DibStream& image, Raster& raster) {
    return image.Header != nullptr && viewRows(*image.Header, image.Buffer, raster);
}

}  // namespace dib

#endif
