#include "formats/Rows.h"

#include <algorithm>
#include <cstring>

namespace formats {

namespace {

// Small enough to stay in the second-level cache, large enough that the cost of a call does not show.
constexpr std::size_t kBlockBytes = 256 * 1024;

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
