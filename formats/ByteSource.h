// Bytes of a file one after the other, for formats whose packets are short. It reads ahead, so what follows
// the packets in the file must be sought, not read on.
#ifndef FORMATS_BYTE_SOURCE_H
#define FORMATS_BYTE_SOURCE_H

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace formats {

class ByteSource {
public:
    explicit ByteSource(std::FILE* file) : file_(file) {}

    // The next byte; negative at the end of the file.
    int byte() { return fill(1) > 0 ? buffer_[position_++] : -1; }

    // The next `bytes` bytes (kMost at most), valid until the following call; null when the file ends before.
    const unsigned char* take(std::size_t bytes) { return fill(bytes) >= bytes ? advance(bytes) : nullptr; }

    // Copies any number of bytes; false when the file ends before.
    bool copy(unsigned char* out, std::size_t bytes) {
        while (bytes > 0) {
            const std::size_t count = std::min(bytes, fill(std::min(bytes, kMost)));
            if (count == 0) return false;
            std::memcpy(out, advance(count), count);
            out += count;
            bytes -= count;
        }
        return true;
    }

    // Bytes at hand: at least as many as wanted (kMost at most), or all that the file still has.
    std::size_t fill(std::size_t wanted) {
        if (filled_ - position_ < wanted) refill();
        return filled_ - position_;
    }
    // Uses up bytes that are at hand and tells where they are.
    const unsigned char* advance(std::size_t bytes) {
        const unsigned char* start = buffer_ + position_;
        position_ += bytes;
        return start;
    }

    static constexpr std::size_t kMost = 512;

private:
    void refill() {
        std::memmove(buffer_, buffer_ + position_, filled_ - position_);
        filled_ -= position_;
        position_ = 0;
        filled_ += std::fread(buffer_ + filled_, 1, sizeof buffer_ - filled_, file_);
    }

    std::FILE* file_;
    std::size_t position_ = 0;
    std::size_t filled_ = 0;
    unsigned char buffer_[16 * 1024];
};

}  // namespace formats

#endif
