#include "geometry/Canvas.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "dib/ColorTable.h"

namespace dib {

Canvas::Canvas(DibStream& image, int width, int height) {
    if (!image.SetBitmapInfo(header, width, height, image.Header->biBitCount)) return;
    pixels.reset(image.CreateBuffer(&header));
    if (viewRows(header, pixels.get(), rows)) rows = rows.inBlockOrder();
}

bool Canvas::installInto(DibStream& image) {
    if (!ensureColorTable(image, addressableEntries(header.biBitCount))) return false;
    // The table of a longer header moves to where that of a 40-byte header is.
    const std::size_t entries = addressableEntries(header.biBitCount);
    auto* block = reinterpret_cast<unsigned char*>(image.Header);
    std::memmove(block + kHeaderBytes, colorTable(image.Header), entries * kEntryBytes);
    *image.Header = header;
    image.SetBuffer(pixels.release(), kOwned);
    return true;
}

int heightLike(int height, int model) {
    if (height == INT32_MIN) return height;
    return model > 0 ? std::abs(height) : -std::abs(height);
}

}  // namespace dib
