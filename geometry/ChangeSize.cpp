// A new canvas around the same pixels.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Depths.h"
#include "dib/Numbers.h"
#include "geometry/BitCopy.h"
#include "geometry/Canvas.h"

namespace {

// Where the copied block starts on one axis, in the old image and in the new one, and how long it is.
struct Overlap {
    int from;
    int to;
    int length;

    Overlap(int oldSize, int newSize)
        : from(std::max(oldSize - newSize, 0) / 2),
          to(std::max(newSize - oldSize, 0) / 2),
          length(std::min(oldSize, newSize)) {}
};

// The first row of the fill value: every byte up to 8 bits, every word at 16; at 24 bits the pixels alone,
// where fill bytes could hold no whole one.
void fillFirstRow(const dib::Raster& rows, std::uint32_t fill) {
    std::uint32_t value = fill;
    if (rows.bitCount == 1) value = fill != 0 ? 255 : 0;
    if (rows.bitCount == 4) value = (fill & 15U) * 17U;
    const int unitBits = std::max(rows.bitCount, 8);
    dib::withDepth<dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(unitBits, [&](auto depth) {
        using Unit = decltype(depth);
        const std::ptrdiff_t units = Unit::kBits == 24 ? rows.width : rows.rowStep / (Unit::kBits / 8);
        for (std::ptrdiff_t x = 0; x < units; ++x) Unit::put(rows.top, x, value);
        return true;
    });
}

}  // namespace

bool DibStream::ChangeSize(int width, int height, unsigned int fill) {
    dib::Raster old;
    if (Buffer == nullptr || !dib::viewRows(*this, old) || !dib::isDepth(old.bitCount)) return false;
    old = old.inBlockOrder();

    dib::Canvas canvas(*this, width, dib::heightLike(height, Header->biHeight));
    if (canvas.pixels == nullptr) return dib::failForMemory(*this);
    const dib::Raster& rows = canvas.rows;
    fillFirstRow(rows, fill);

    const Overlap columns(old.width, rows.width);
    const Overlap lines(old.height, rows.height);
    const std::int64_t bits = old.bitCount;
    // From the last row to the first, whose fill the others copy. From 8 bits on only beside the old pixels.
    const bool hasWholeBytes = bits >= 8;
    const auto left = dib::asSize(columns.to * bits / 8);
    const auto right = dib::asSize((columns.to + std::int64_t{columns.length}) * bits / 8);
    for (int y = rows.height - 1; y >= 0; --y) {
        unsigned char* const row = rows.row(y);
        const int line = y - lines.to;
        const bool hasOld = line >= 0 && line < lines.length;
        const bool isBeside = hasOld && hasWholeBytes;
        if (y > 0) {
            std::memcpy(row, rows.top, isBeside ? left : rows.rowBytes);
            if (isBeside) std::memcpy(row + right, rows.top + right, rows.rowBytes - right);
        }
        if (!hasOld) continue;
        dib::copyBits(row, columns.to * bits, old.row(lines.from + line), columns.from * bits,
                      columns.length * bits);
    }
    return canvas.installInto(*this) || dib::failForMemory(*this);
}
