// The cyclic shift.
#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/EdgeAxis.h"
#include "geometry/BitCopy.h"
#include "geometry/Canvas.h"

namespace {

// The amount of a shift, of any int, as one of 0 to size - 1.
std::size_t cyclic(std::int64_t amount, std::size_t size) {
    return static_cast<std::size_t>(dib::EdgeAxis{static_cast<int>(size), true}.at(amount));
}

// Writes rows turned right by some pixels.
struct RowTurn {
    std::size_t rowBytes;
    std::size_t pixelBits;
    std::size_t width;
    std::size_t shift;

    void operator()(unsigned char* to, const unsigned char* from) const {
        if (shift == 0) {
            std::memcpy(to, from, rowBytes);
            return;
        }
        const std::size_t bits = width * pixelBits;
        const std::size_t shiftBits = shift * pixelBits;
        if (pixelBits >= 8) {
            // The fill bytes stay with their row.
            std::memcpy(to + bits / 8, from + bits / 8, rowBytes - bits / 8);
        } else {
            std::memset(to, 0, rowBytes);
        }
        dib::copyBits(to, shiftBits, from, 0, bits - shiftBits);
        dib::copyBits(to, 0, from, bits - shiftBits, shiftBits);
    }
};

}  // namespace

bool DibStream::Scroll(int dx, int dy) {
    if (!dib::hasPixels(*this)) return false;
    const dib::ImageSize size = dib::admitSize(*Header);
    const int depth = Header->biBitCount;
    const std::int64_t downBuffer = Header->biHeight > 0 ? -std::int64_t{dy} : dy;
    const std::size_t lines = cyclic(downBuffer, size.rows);
    const auto width = static_cast<std::size_t>(Header->biWidth);
    const RowTurn turn{size.rowBytes, static_cast<std::size_t>(depth), width,
                       dib::isDepth(depth) ? cyclic(dx, width) : 0};
    if (lines == 0 && turn.shift == 0) return true;

    const auto saved = dib::allocateArray<unsigned char>(size.rowBytes);
    if (saved == nullptr) return false;
    const auto row = [&](std::size_t index) { return Buffer + index * size.rowBytes; };

    // Every row moves once, straight to its place: along each cycle of rows a row is written after it was
    // read and the first one waits in `saved`.
    std::size_t moved = 0;
    for (std::size_t start = 0; moved < size.rows; ++start) {
        std::memcpy(saved.get(), row(start), size.rowBytes);
        std::size_t to = start;
        for (;;) {
            const std::size_t from = to >= lines ? to - lines : to + size.rows - lines;
            ++moved;
            if (from == start) break;
            turn(row(to), row(from));
            to = from;
        }
        turn(row(to), saved.get());
    }
    return true;
}
