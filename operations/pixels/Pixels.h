// Shared by operations that compute pixels themselves.
#ifndef OPERATIONS_PIXELS_PIXELS_H
#define OPERATIONS_PIXELS_PIXELS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "operations/Borrowing.h"
#include "operations/Operations.h"

namespace operations {

// The rows of an image, top of the picture first. Throws Refusal when it has no pixels.
dib::Raster rowsOf(const DibStream& image);

// Whether a colour, or every colour that the palette of a picture may show, is grey. Pictures without a
// palette are not looked at.
inline bool isGrey(const DibBGRA& color) { return color.blue == color.green && color.green == color.red; }
bool isGrey(const DibStream& image);

void addNote(DibOperationResult& result, DibNoteKind kind, std::string_view text);

// Makes a picture of fewer bits one of 24 or 32, and notes it where that is a loss: up to 16 bits. Throws
// Refusal when memory is short.
void widen(const Job& job, int bitCount = 24);
// The same without a note. Pictures of 24 bits that are to have 24 and of 32 bits stay as they are.
void widenQuietly(DibStream& image, int bitCount = 24);

// A new image. Its pixels are undefined, but 0 where several share a byte. Throws Refusal when it cannot
// exist or memory is short.
void createImage(DibStream& image, int width, int height, int bitCount);
// The same with the depth, row order and colour table of another image.
void createLike(const DibStream& image, int width, int height, DibStream& created);

// (over x alpha + under x (255 - alpha)) / 255, rounded: with a sum s + 128 = t the quotient is
// (t + (t >> 8)) >> 8.
DIB_ALWAYS_INLINE unsigned char mixed(std::uint32_t over, std::uint32_t under, std::uint32_t alpha) {
    const std::uint32_t sum = over * alpha + under * (255 - alpha) + 128;
    return dib::byteOf((sum + (sum >> 8)) >> 8);
}

// Reports that `done` of `total` rows are done. False when the caller cancels.
inline bool report(const Job& job, std::int64_t done, std::int64_t total) {
    return job.callback == nullptr || job.callback(dib::doneShare(done, total), job.user);
}

// Runs `rowRule(y)` for every row and reports after each. False when cancelled.
template <class RowRule>
bool forEachRow(const Job& job, int rows, const RowRule& rowRule) {
    for (int y = 0; y < rows; ++y) {
        rowRule(y);
        if (!report(job, std::int64_t{y} + 1, rows)) return false;
    }
    return true;
}

// Changes every colour by itself: the entries of the colour table up to 8 bits, else the pixels, where 16
// bits become 24 first. `rule(pixels, count, bytes)` changes the colours of `count` pixels of 3 or 4 bytes;
// the fourth byte of a table entry stays as it is like alpha. For functions of rows that are `replacing`.
template <class Rule>
bool changeColors(const Job& job, const Rule& rule) {
    BITMAPINFOHEADER& header = *job.image.Header;
    if (header.biBitCount <= 8) {
        if (dib::announcesPossibleTable(header))
            rule(reinterpret_cast<unsigned char*>(dib::colorTable(&header)), dib::announcedEntries(header),
                 std::size_t{4});
        return report(job, 1, 1);
    }
    widen(job);
    const OwnRows rows(job.image);
    const dib::Raster& raster = rows.raster();
    return forEachRow(job, raster.height,
                      [&](int y) { rule(rows.row(y), raster.columns(), raster.bytesPerPixel()); });
}

}  // namespace operations

#endif
