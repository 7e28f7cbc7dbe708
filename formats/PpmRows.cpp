#include "formats/PpmRows.h"

#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "dib/PixelShuffles.h"
#include "formats/Rows.h"

namespace formats {

namespace {

// Exchanges two rows, and red and blue in each. Both may be the same row.
void exchangeColors(unsigned char* first, unsigned char* second, std::size_t bytes) {
    const std::size_t pixels = bytes / 3;
    for (std::size_t i = dib::runVectors<dib::shuffleAndExchange>(first, second, pixels); i < pixels; ++i) {
        const DibBGR one = {first[3 * i + 2], first[3 * i + 1], first[3 * i]};
        const DibBGR other = {second[3 * i + 2], second[3 * i + 1], second[3 * i]};
        std::memcpy(second + 3 * i, &one, sizeof one);
        std::memcpy(first + 3 * i, &other, sizeof other);
    }
}

}  // namespace

bool BinaryRows::read(int y) {
    if (y == blockEnd_) readBlock();
    if (y < wholeRows_) return true;
    // Grey samples are stored as they are.
    if (image_->Header->biBitCount == 8) image_.readPart(image_->ScanLine(y), partBytes_);
    return false;
}

void BinaryRows::readBlock() {
    const auto left = dib::asSize(image_->Header->biHeight - blockEnd_);
    const bool hasColors = image_->Header->biBitCount == 24;
    // Rows that are exchanged must still be in the cache.
    const std::size_t rows =
        std::min(mostRows_, hasColors ? rowsPerBlock(rowBytes_, left)
                                      : std::min(left, 4 * rowsPerBlock(rowBytes_, left)));
    const int first = blockEnd_;
    blockEnd_ += dib::asInt(rows);
    const std::size_t bytes = hasColors ? readColors(image_->ScanLine(blockEnd_ - 1), rows)
                                        : file_.readRows(image_->ScanLine(first),
                                                         -dib::asOffset(image_->GetPitch()), rowBytes_, rows);
    wholeRows_ = first + dib::asInt(bytes / rowBytes_);
    partBytes_ = bytes % rowBytes_;
}

// Reads the block in one piece, top row first and without fill, then spreads and exchanges the rows.
std::size_t BinaryRows::readColors(unsigned char* block, std::size_t rows) {
    const std::size_t bytes = file_.copy(block, rows * rowBytes_);
    const std::size_t pitch = image_->GetPitch();
    if (pitch > rowBytes_) spreadRows(block, pitch, rows);
    for (std::size_t row = 0; row < (rows + 1) / 2; ++row)
        exchangeColors(block + row * pitch, block + (rows - 1 - row) * pitch, rowBytes_);
    return bytes;
}

void BinaryRows::spreadRows(unsigned char* block, std::size_t pitch, std::size_t rows) const {
    for (std::size_t row = rows; row-- > 0;)
        std::memmove(block + row * pitch, block + row * rowBytes_, rowBytes_);
}

}  // namespace formats
