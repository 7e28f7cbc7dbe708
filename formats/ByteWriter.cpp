#include "formats/ByteWriter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "dib/File.h"
#include "dib/Numbers.h"

namespace formats {

bool ByteWriter::grow(std::size_t end) {
    if (end <= capacity_) return true;
    constexpr std::size_t kFirst = 64 * 1024;
    const std::size_t capacity = std::max({end, kFirst, capacity_ + capacity_ / 2});
    void* block = std::realloc(memory_->data, capacity);
    if (block == nullptr) return false;
    memory_->data = static_cast<unsigned char*>(block);
    capacity_ = capacity;
    return true;
}

void ByteWriter::bytes(const void* from, std::size_t count) {
    if (!isWhole_ || count == 0) return;
    if (memory_ == nullptr) {
        isWhole_ = dib::writeBytes(file_, from, count);
        return;
    }
    isWhole_ = grow(at_ + count);
    if (!isWhole_) return;
    // Bytes that a seek skipped are 0.
    if (at_ > memory_->size) std::memset(memory_->data + memory_->size, 0, at_ - memory_->size);
    std::memcpy(memory_->data + at_, from, count);
    at_ += count;
    memory_->size = std::max(memory_->size, at_);
}

void ByteWriter::rows(const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
                      std::size_t rows) {
    if (step == dib::asOffset(rowBytes)) return bytes(first, rowBytes * rows);
    if (memory_ == nullptr) {
        if (!dib::writeRows(file_, first, step, rowBytes, rows)) isWhole_ = false;
        return;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        bytes(first + dib::asOffset(row) * step, rowBytes);
    }
}

std::int64_t ByteWriter::position() const {
    return memory_ != nullptr ? dib::asOffset(at_) : dib::positionIn(file_);
}

bool ByteWriter::seek(std::int64_t position) {
    if (position < 0) return false;
    if (memory_ == nullptr) {
        if (!dib::seekTo(file_, position)) isWhole_ = false;
        return isWhole_;
    }
    at_ = dib::asSize(position);
    return true;
}

std::size_t ByteWriter::readBack(void* out, std::size_t count) {
    if (memory_ == nullptr) return std::fread(out, 1, count, file_);
    const std::size_t part = at_ < memory_->size ? std::min(count, memory_->size - at_) : 0;
    if (part > 0) std::memcpy(out, memory_->data + at_, part);
    at_ += part;
    return part;
}

std::int64_t ByteWriter::size() {
    if (memory_ != nullptr) return dib::asOffset(memory_->size);
    const std::int64_t here = position();
    // Seeking writes what is still buffered.
    if (std::fseek(file_, 0, SEEK_END) != 0) isWhole_ = false;
    const std::int64_t end = position();
    return isWhole_ && seek(here) ? end : -1;
}

}  // namespace formats
