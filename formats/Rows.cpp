#include "formats/Rows.h"

#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"

namespace formats {

namespace {

// Small enough to stay in the second-level cache, large enough that the cost of a call does not show.
constexpr std::size_t kBlockBytes = 256 * 1024;

DIB_ALWAYS_INLINE void exchangeLoop(unsigned char* __restrict first, unsigned char* __restrict second,
                                    std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const unsigned char kept = first[i];
        first[i] = second[i];
        second[i] = kept;
    }
}

}  // namespace

std::size_t rowsPerBlock(std::size_t rowBytes, std::size_t rows) {
    const std::size_t fitting = kBlockBytes / std::max(rowBytes, std::size_t{1});
    return std::clamp(fitting, std::size_t{1}, std::max(rows, std::size_t{1}));
}

RowReader::RowReader(std::FILE* file, std::size_t rowBytes, std::size_t rows)
    : file_(file),
      rowBytes_(rowBytes),
      rowsToRead_(rows),
      rowsPerBlock_(rowsPerBlock(rowBytes, rows)),
      block_(dib::allocateArray<unsigned char>(std::max(rowsPerBlock_ * rowBytes, std::size_t{1}))) {}

std::size_t RowReader::atHand() {
    if (position_ == filled_) {
        const std::size_t rows = std::min(rowsToRead_, rowsPerBlock_);
        rowsToRead_ -= rows;
        position_ = 0;
        filled_ = std::fread(block_.get(), 1, rows * rowBytes_, file_);
    }
    return std::min(rowBytes_, filled_ - position_);
}

const unsigned char* RowReader::next() {
    if (atHand() < rowBytes_) return nullptr;
    const unsigned char* row = block_.get() + position_;
    position_ += rowBytes_;
    return row;
}

std::size_t RowReader::copyNext(unsigned char* out) {
    const std::size_t bytes = atHand();
    std::memcpy(out, block_.get() + position_, bytes);
    position_ += bytes;
    return bytes;
}

std::size_t readRows(std::FILE* file, unsigned char* out, std::size_t rowBytes, std::size_t pitch,
                     std::size_t rows) {
    if (rowBytes == pitch) return std::fread(out, 1, rowBytes * rows, file);
    std::size_t total = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t bytes = std::fread(out + row * pitch, 1, rowBytes, file);
        total += bytes;
        if (bytes < rowBytes) break;
    }
    return total;
}

void exchangeBytes(unsigned char* first, unsigned char* second, std::size_t bytes) {
    if (first != second) dib::runKernel<exchangeLoop>(first, second, bytes);
}

void turnRows(unsigned char* block, std::size_t rowBytes, std::size_t pitch, std::size_t rows,
              RowExchange exchange) {
    if (pitch > rowBytes) {
        for (std::size_t row = rows; row-- > 0;) {
            std::memmove(block + row * pitch, block + row * rowBytes, rowBytes);
            // The fill behind a row held pixels of the rows that have left by now.
            std::memset(block + row * pitch + rowBytes, 0, pitch - rowBytes);
        }
    }
    for (std::size_t row = 0; row < (rows + 1) / 2; ++row)
        exchange(block + row * pitch, block + (rows - 1 - row) * pitch, rowBytes);
}

RowWriter::RowWriter(std::FILE* file, std::size_t rowBytes, std::size_t rows)
    : file_(file),
      rowBytes_(rowBytes),
      blockBytes_(rowsPerBlock(rowBytes, rows) * rowBytes),
      block_(dib::allocateArray<unsigned char>(std::max(blockBytes_, std::size_t{1}))) {}

RowWriter::~RowWriter() { flush(); }

unsigned char* RowWriter::next() {
    if (filled_ == blockBytes_) flush();
    unsigned char* row = block_.get() + filled_;
    filled_ += rowBytes_;
    return row;
}

void RowWriter::flush() {
    if (filled_ > 0) std::fwrite(block_.get(), 1, filled_, file_);
    filled_ = 0;
}

}  // namespace formats
