// Cropping in place and into a new image.
#include <DibStream.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "dib/ColorTable.h"
#include "geometry/BitCopy.h"
#include "geometry/Canvas.h"

namespace {

struct Area {
    int x;
    int y;
    int width;
    int height;
};

// Negative x and y are let through: what lies before the first pixel reads as the bytes there, or as 0
// outside the block.
bool isAdmitted(const DibStream& image, const Area& area) {
    if (!dib::hasPixels(image)) return false;
    return area.width >= 1 && area.height >= 1 &&
           std::int64_t{area.x} + area.width <= image.Header->biWidth &&
           std::int64_t{area.y} + area.height <= dib::rowCount(image.Header->biHeight);
}

// Copies bits of the pixel block; those outside it count as 0.
void copyBlockBits(unsigned char* to, const unsigned char* block, std::int64_t blockBits,
                   std::int64_t firstBit, std::int64_t count) {
    const std::int64_t begin = std::clamp(firstBit, std::int64_t{0}, blockBits);
    const std::int64_t end = std::clamp(firstBit + count, begin, blockBits);
    if (end - begin < count) std::fill_n(to, (count + 7) / 8, 0);
    if (begin != end) dib::copyBits(to, begin - firstBit, block, begin, end - begin);
}

// Copies the rectangle, row by row from its top. From 8 bits on whole rows are copied, fill bytes included;
// with `wholeBytes` also below, where x must then lie on a byte. Otherwise exactly the pixels are
// copied into cleared rows. The source is the whole block and not a view of its rows, since a rectangle may
// begin before the first byte of a row.
void copyRows(const DibStream& image, const Area& area, bool wholeBytes, const dib::Raster& to) {
    dib::Raster source;
    if (!dib::viewRows(image, source)) return;
    const std::int64_t rowBits = 8 * source.inBlockOrder().rowStep;
    const std::int64_t blockBits = rowBits * source.height;
    const bool pixelsOnly = to.bitCount < 8 && !wholeBytes;
    const std::int64_t count =
        pixelsOnly ? std::int64_t{area.width} * to.bitCount : 8 * to.inBlockOrder().rowStep;
    // No x of an int leads back into the block from rows that far away; rows have at least four bytes.
    const std::int64_t farRow = (std::int64_t{1} << 40) / std::max(rowBits, std::int64_t{32});
    for (int k = 0; k < area.height; ++k) {
        const std::int64_t y = std::int64_t{area.y} + k;
        const std::int64_t blockRow = image.Header->biHeight > 0 ? image.Header->biHeight - 1 - y : y;
        const std::int64_t firstBit =
            std::clamp(blockRow, -farRow, farRow) * rowBits + std::int64_t{area.x} * to.bitCount;
        if (pixelsOnly) std::memset(to.row(k), 0, to.rowBytes);
        copyBlockBits(to.row(k), image.Buffer, blockBits, firstBit, count);
    }
}

}  // namespace

bool DibStream::ClipCut(int x, int y, int width, int height) {
    const Area area{x, y, width, height};
    if (!isAdmitted(*this, area)) return false;
    dib::Canvas canvas(*this, width, height);
    dib::Raster cut;
    if (canvas.pixels == nullptr || !dib::viewRows(canvas.header, canvas.pixels.get(), cut)) return false;
    copyRows(*this, area, false, cut);
    return canvas.installInto(*this);
}

DibStream* DibStream::ClipClone(int x, int y, int width, int height) {
    const Area area{x, y, width, height};
    if (!isAdmitted(*this, area)) return nullptr;
    const int depth = Header->biBitCount;
    auto* clip = new (std::nothrow) DibStream;
    if (clip == nullptr) return nullptr;
    dib::Raster rows;
    if (!clip->Create(width, height, depth) || !dib::viewRows(*clip, rows)) {
        clip->Release();
        return nullptr;
    }
    const std::size_t entries = dib::addressableEntries(depth);
    DibBGRA* table = dib::colorTable(clip->Header);
    // A new 4-bit image has no table yet, and this one may announce fewer entries than it has room for.
    if (depth == 4) std::memset(table, 0, entries * dib::kEntryBytes);
    std::memcpy(table, dib::colorTable(Header),
                std::min(entries, dib::announcedEntries(*Header)) * dib::kEntryBytes);
    copyRows(*this, area, depth == 4 && x % 2 == 0, rows);
    return clip;
}
