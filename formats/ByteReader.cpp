#include "formats/ByteReader.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/Numbers.h"

namespace formats {

ByteReader::ByteReader(std::FILE* file, Buffering buffering)
    : file_(file), isExact_(buffering == Buffering::kExact), next_(buffer_), end_(buffer_) {
    const std::int64_t start = isExact_ ? -1 : dib::positionIn(file);
    canSeek_ = start >= 0;
    endPosition_ = std::max(start, std::int64_t{0});
}

std::size_t ByteReader::fetch(unsigned char* out, std::size_t bytes) {
    // The classic loaders print what `errno` was before.
    const int earlier = std::exchange(errno, 0);
    const std::size_t got = std::fread(out, 1, bytes, file_);
    const int error = got < bytes ? dib::readError(file_) : 0;
    if (error_ == 0) error_ = error;
    if (error == 0) errno = earlier;
    endPosition_ += dib::asOffset(got);
    return got;
}

void ByteReader::fill(std::size_t wanted) {
    if (file_ == nullptr || isAtEnd()) return;
    const std::size_t rest = buffered();
    if (rest > 0) std::memmove(buffer_, next_, rest);
    next_ = buffer_;
    end_ = buffer_ + rest;
    const std::size_t most = kBufferBytes - rest;
    std::size_t asked = isExact_ ? std::min(wanted - rest, most) : most;
    if (!isExact_) {
        // One block is enough for a header; whole blocks bypass the buffer of the stream.
        constexpr std::size_t kBlock = 4096;
        const std::size_t blocks = isFirst_ ? kBlock : most / kBlock * kBlock;
        if (rest + blocks >= wanted) asked = blocks;
        isFirst_ = false;
    }
    end_ += fetch(buffer_ + rest, asked);
}

std::size_t ByteReader::copyMore(unsigned char* out, std::size_t bytes) {
    const std::size_t held = buffered();
    std::memcpy(out, next_, held);
    next_ = end_;
    const std::size_t left = bytes - held;
    if (file_ != nullptr && (left >= kBufferBytes || isExact_)) {
        // Large parts bypass the buffer.
        const std::size_t direct = isAtEnd() ? 0 : fetch(out + held, left);
        next_ = end_ = buffer_;
        return held + direct;
    }
    const std::size_t part = std::min(left, ahead(left).size);
    std::memcpy(out + held, next_, part);
    next_ += part;
    return held + part;
}

std::size_t ByteReader::readRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
                                 std::size_t rows) {
    std::size_t done = 0;
    if (canSeek_) {
        if (!dropBuffer(position())) return 0;
        done = dib::readRows(file_, first, step, rowBytes, rows);
        endPosition_ += dib::asOffset(done);
        // The rows were read past the stream's buffer; this read makes the stream note why they ended.
        if (done < rows * rowBytes) fill(1);
        return done;
    }
    for (std::size_t row = 0; row < rows && done == row * rowBytes; ++row)
        done += copy(first + dib::asOffset(row) * step, rowBytes);
    return done;
}

bool ByteReader::line(char* out, std::size_t most) {
    std::size_t length = 0;
    while (length + 1 < most) {
        const int next = byte();
        if (next < 0) break;
        out[length++] = dib::charOf(next);
        if (next == '\n') break;
    }
    out[length] = '\0';
    return length > 0;
}

bool ByteReader::seekTo(std::int64_t position) {
    if (file_ == nullptr) {
        const std::int64_t inside = std::clamp(position, std::int64_t{0}, size_);
        end_ = memory_ + size_;
        next_ = memory_ + inside;
        endPosition_ = std::max(position, size_);
        return position >= 0;
    }
    // The buffer holds the bytes before endPosition_.
    if (position <= endPosition_ && position >= endPosition_ - (end_ - buffer_)) {
        next_ = end_ - (endPosition_ - position);
        return true;
    }
    if (canSeek_) return dropBuffer(position);
    const std::int64_t forward = position - this->position();
    return forward >= 0 && pass(dib::asUnsigned(forward));
}

bool ByteReader::pass(std::uint64_t bytes) {
    while (bytes > 0) {
        const std::size_t part = dib::asSize(std::min<std::uint64_t>(ahead(1).size, bytes));
        if (part == 0) return false;
        consume(part);
        bytes -= part;
    }
    return true;
}

bool ByteReader::dropBuffer(std::int64_t position) {
    // Some streams cannot seek beyond their end.
    const std::int64_t target = size() >= 0 ? std::min(position, size()) : position;
    if (position < 0 || !dib::seekTo(file_, target)) return false;
    next_ = end_ = buffer_;
    endPosition_ = position;
    return true;
}

void ByteReader::leave() {
    if (canSeek_ && next_ != end_) dropBuffer(position());
}

std::int64_t ByteReader::size() {
    if (size_ == kNotAsked) {
        const std::optional<std::uint64_t> left = dib::bytesLeft(file_);
        size_ = left.has_value() ? endPosition_ + dib::asOffset(*left) : kUnknown;
    }
    return size_;
}

std::int64_t ByteReader::remaining() { return std::max(size() - position(), std::int64_t{0}); }

}  // namespace formats
