#include "formats/Rows.h"

#include <algorithm>

namespace formats {

namespace {

// Fits the second-level cache; the cost of a call is negligible beside such a block.
constexpr std::size_t kBlockBytes = 256 * 1024;

}  // namespace

std::size_t rowsPerBlock(std::size_t rowBytes, std::size_t rows) {
    const std::size_t fitting = kBlockBytes / std::max(rowBytes, std::size_t{1});
    return std::clamp(fitting, std::size_t{1}, std::max(rows, std::size_t{1}));
}

std::size_t rowsPerStep(const Progress& progress, std::size_t rowBytes, std::size_t rows) {
    constexpr std::size_t kMostRows = 64;
    return progress.isWatched() ? rowsPerBlock(rowBytes, std::min(rows, kMostRows))
                                : std::max(rows, std::size_t{1});
}

RowWriter::RowWriter(ByteWriter& file, std::size_t rowBytes, std::size_t rows)
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
    if (filled_ > 0) file_.bytes(block_.get(), filled_);
    filled_ = 0;
}

}  // namespace formats
