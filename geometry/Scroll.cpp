// The cyclic shift.
#include <DibStream.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/EdgeAxis.h"
#include "dib/Memory.h"
#include "dib/Raster.h"
#include "geometry/BitCopy.h"

namespace {

// The amount of a shift, of any int, as one of 0 to size - 1.
int cyclic(std::int64_t amount, int size) { return dib::EdgeAxis{size, true}.at(amount); }

// Writes rows turned right by some bits.
struct RowTurn {
    const dib::Raster& rows;
    std::int64_t shiftBits;

    void operator()(unsigned char* to, const unsigned char* from) const {
        if (shiftBits == 0) {
            std::memcpy(to, from, rows.rowBytes);
            return;
        }
        const std::int64_t bits = std::int64_t{rows.width} * rows.bitCount;
        if (rows.bitCount >= 8) {
            // The fill bytes stay with their row.
            std::copy(from + bits / 8, from + rows.rowStep, to + bits / 8);
        } else {
            std::memset(to, 0, rows.rowBytes);
        }
        dib::copyBits(to, shiftBits, from, 0, bits - shiftBits);
        dib::copyBits(to, 0, from, bits - shiftBits, shiftBits);
    }
};

}  // namespace

bool DibStream::Scroll(int dx, int dy) {
    dib::Raster rows;
    if (!dib::hasPixels(*this) || !dib::viewRows(*this, rows)) return false;
    const int lines = cyclic(rows.rowStep < 0 ? -std::int64_t{dy} : dy, rows.height);
    rows = rows.inBlockOrder();
    const int shift = dib::isDepth(rows.bitCount) ? cyclic(dx, rows.width) : 0;
    if (lines == 0 && shift == 0) return true;
    const RowTurn turn{rows, std::int64_t{shift} * rows.bitCount};
    const auto saved = dib::allocateArray<unsigned char>(rows.rowBytes);
    if (saved == nullptr) return false;

    // Every row moves once, straight to its place: along each cycle of rows a row is written after it was
    // read and the first one waits in `saved`.
    int moved = 0;
    for (int start = 0; moved < rows.height; ++start) {
        std::memcpy(saved.get(), rows.row(start), rows.rowBytes);
        int to = start;
        for (;;) {
            const int from = to >= lines ? to - lines : to + (rows.height - lines);
            ++moved;
            if (from == start) break;
            turn(rows.row(to), rows.row(from));
            to = from;
        }
        turn(rows.row(to), saved.get());
    }
    return true;
}
