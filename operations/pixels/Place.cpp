#include "operations/pixels/Place.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "dib/Bytes.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "operations/pixels/Fill.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

bool isSame(const DibBGRA& a, const DibBGRA& b) {
    return a.blue == b.blue && a.green == b.green && a.red == b.red;
}

// A size that no image can have fails like short memory.
int checkedSize(std::int64_t size) {
    if (size > INT_MAX) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    return dib::asInt(size);
}

bool hasSamePalette(const DibStream& a, const DibStream& b) {
    if (a.Header->biBitCount != 8 || b.Header->biBitCount != 8) return false;
    const std::size_t entries = dib::announcedEntries(*a.Header);
    if (entries != dib::announcedEntries(*b.Header) || entries > 256) return false;
    return std::equal(dib::colorTable(a.Header), dib::colorTable(a.Header) + entries,
                      dib::colorTable(b.Header), isSame);
}

// Brings two pictures to one depth and returns the value of the fill.
std::uint32_t unify(const Job& job, DibStream& second, const DibBGRA& fill) {
    const bool keepsPalette = hasSamePalette(job.image, second);
    if (!keepsPalette) {
        const bool hasAlpha = job.image.Header->biBitCount == 32 || second.Header->biBitCount == 32;
        widen(job, hasAlpha ? 32 : 24);
    }
    const std::uint32_t value = widenedFill(job, fill);
    const int bitCount = job.image.Header->biBitCount;
    if (second.Header->biBitCount != bitCount) widenQuietly(second, bitCount);
    return value;
}

// Where `length` pixels lie on a side of `full`.
int aligned(int full, int length, int align) {
    return align == 0 ? 0 : (full - length) / (align == 1 ? 2 : 1);
}

}  // namespace

bool addBorder(const Job& job, const Sides& sides, const DibBGRA& color) {
    rowsOf(job.image);
    const std::uint32_t value = widenedFill(job, color);
    DibStream& image = job.image;
    const int oldWidth = width(image);
    const int oldHeight = height(image);
    // The canvas grows about its middle; what is too much is cut off.
    const int sideways = std::max(sides.left, sides.right);
    const int upwards = std::max(sides.top, sides.bottom);
    if (!image.ChangeSize(checkedSize(oldWidth + 2 * std::int64_t{sideways}),
                          checkedSize(oldHeight + 2 * std::int64_t{upwards}), value))
        return false;
    if (sides.left == sides.right && sides.top == sides.bottom) return true;
    return image.ClipCut(sideways - sides.left, upwards - sides.top, oldWidth + sides.left + sides.right,
                         oldHeight + sides.top + sides.bottom);
}

bool join(const Job& job, DibStream& second, const Joint& joint) {
    rowsOf(job.image);
    rowsOf(second);
    const std::uint32_t fill = unify(job, second, joint.fill);
    const dib::Raster a = rowsOf(job.image);
    const dib::Raster b = rowsOf(second);
    const std::int64_t gap = joint.gap;
    const int width = joint.isColumn ? std::max(a.width, b.width) : checkedSize(a.width + gap + b.width);
    const int height = joint.isColumn ? checkedSize(a.height + gap + b.height) : std::max(a.height, b.height);
    DibStream both;
    createImage(both, width, height, a.bitCount);
    if (a.bitCount == 8) dib::copyColorTable(job.image, both);
    const dib::Raster to = rowsOf(both);
    const auto bytes = dib::asSize(a.bitCount / 8);
    std::vector<unsigned char> blank(bytes * dib::asSize(width));
    for (std::size_t i = 0; i < blank.size(); ++i) blank[i] = dib::byteOf(fill >> (8 * (i % bytes)));
    // A row of a picture from column x on, and the fill where it has none.
    const auto put = [&](const dib::Raster& from, int x, int y, unsigned char* row) {
        const unsigned char* const pixels = y < 0 || y >= from.height ? blank.data() : from.row(y);
        std::memcpy(row + bytes * dib::asSize(x), pixels, bytes * dib::asSize(from.width));
    };
    const auto fillColumns = [&](int first, int end, unsigned char* row) {
        std::memcpy(row + bytes * dib::asSize(first), blank.data(), bytes * dib::asSize(end - first));
    };
    // One picture of a column, with the fill beside it.
    const auto putAlone = [&](const dib::Raster& from, int y, unsigned char* row) {
        const int x = aligned(width, from.width, joint.align);
        fillColumns(0, x, row);
        put(from, x, y, row);
        fillColumns(x + from.width, width, row);
    };
    const bool isDone = forEachRow(job, height, [&](int y) {
        unsigned char* const row = to.row(y);
        if (joint.isColumn) {
            y < a.height ? putAlone(a, y, row) : putAlone(b, y - a.height - joint.gap, row);
        } else {
            put(a, 0, y - aligned(height, a.height, joint.align), row);
            fillColumns(a.width, a.width + joint.gap, row);
            put(b, a.width + joint.gap, y - aligned(height, b.height, joint.align), row);
        }
    });
    if (isDone) dib::moveBlocks(both, job.image);
    return isDone;
}

}  // namespace operations
