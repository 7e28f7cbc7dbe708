// A new canvas around the same pixels.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "geometry/BitCopy.h"
#include "geometry/Canvas.h"

namespace {

// Where the copied block starts on one axis, in the old image and in the new one, and how long it is.
struct Overlap {
    std::size_t from;
    std::size_t to;
    std::size_t length;

    Overlap(std::size_t oldSize, std::size_t newSize)
        : from(newSize < oldSize ? (oldSize - newSize) / 2 : 0),
          to(newSize < oldSize ? 0 : (newSize - oldSize) / 2),
          length(std::min(oldSize, newSize)) {}
};

// One row of the fill value: every byte up to 8 bits, every word at 16; at 24 bits the pixels alone, where
// fill bytes could hold no whole one.
void fillRow(unsigned char* row, std::size_t rowBytes, std::size_t width, int depth, std::uint32_t fill) {
    switch (depth) {
        case 1: std::memset(row, fill != 0 ? 255 : 0, rowBytes); return;
        case 4: std::memset(row, static_cast<int>((fill & 15U) * 17U), rowBytes); return;
        case 8: std::memset(row, static_cast<int>(fill & 255U), rowBytes); return;
        default: break;
    }
    const std::size_t pixelBytes = static_cast<std::size_t>(depth) / 8;
    const std::size_t pixels = depth == 24 ? width : rowBytes / pixelBytes;
    for (std::size_t x = 0; x < pixels; ++x) std::memcpy(row + x * pixelBytes, &fill, pixelBytes);
    std::memset(row + pixels * pixelBytes, 0, rowBytes - pixels * pixelBytes);
}

}  // namespace

bool DibStream::ChangeSize(int width, int height, unsigned int fill) {
    if (Buffer == nullptr || Header == nullptr) return false;
    const dib::ImageSize old = dib::admitSize(*Header);
    const int depth = Header->biBitCount;
    if (!dib::isDepth(depth) || !old.admitted) return false;

    dib::Canvas canvas(*this, width, dib::heightLike(height, Header->biHeight));
    if (canvas.pixels == nullptr) return dib::failForMemory(*this);
    const auto newWidth = static_cast<std::size_t>(width);
    fillRow(canvas.row(0), canvas.rowBytes, newWidth, depth, fill);
    for (std::size_t row = 1; row < canvas.rows; ++row) {
        std::memcpy(canvas.row(row), canvas.row(0), canvas.rowBytes);
    }

    const Overlap columns(static_cast<std::size_t>(Header->biWidth), newWidth);
    const Overlap lines(old.rows, canvas.rows);
    const auto pixelBits = static_cast<std::size_t>(depth);
    for (std::size_t line = 0; line < lines.length; ++line) {
        dib::copyBits(canvas.row(lines.to + line), columns.to * pixelBits,
                      Buffer + (lines.from + line) * old.rowBytes, columns.from * pixelBits,
                      columns.length * pixelBits);
    }
    return canvas.installInto(*this) || dib::failForMemory(*this);
}
