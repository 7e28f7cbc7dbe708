// The bytes of one plane, read in large parts while other planes are read beside it.
#ifndef FORMATS_PSD_PLANE_WINDOW_H
#define FORMATS_PSD_PLANE_WINDOW_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"

namespace formats::psd {

class PlaneWindow {
public:
    // Reads from `start` to `end`, which lies within the file. Rows have at most `longestRow` bytes. False
    // when memory is short.
    bool prepare(std::int64_t start, std::int64_t end, std::size_t longestRow) {
        // Reading in larger parts costs fewer calls; the windows of four planes still stay in the cache
        // (measured).
        constexpr std::size_t kWindowBytes = 1 << 18;
        position_ = start;
        end_ = end;
        next_ = filled_ = 0;
        const auto bytes = dib::asSize(std::max<std::int64_t>(end - start, 1));
        windowBytes_ = std::min(std::max(kWindowBytes, longestRow), bytes);
        window_ = dib::allocateArray<unsigned char>(windowBytes_);
        return window_ != nullptr;
    }
    // The next row as the file has it; null when it cannot be read.
    const unsigned char* row(ByteReader& file, std::size_t bytes) {
        if (filled_ - next_ < bytes && !slide(file, bytes)) return nullptr;
        const unsigned char* row = window_.get() + next_;
        next_ += bytes;
        return row;
    }
    // The bytes that follow, as many as come at once; none at the end.
    ByteReader::Bytes some(ByteReader& file) {
        if (next_ == filled_) slide(file, 1);
        const ByteReader::Bytes bytes = {window_.get() + next_, filled_ - next_};
        next_ = filled_;
        return bytes;
    }

private:
    bool slide(ByteReader& file, std::size_t wanted) {
        if (wanted > windowBytes_) return false;
        std::memmove(window_.get(), window_.get() + next_, filled_ - next_);
        filled_ -= next_;
        next_ = 0;
        const auto rest = dib::asSize(std::max<std::int64_t>(end_ - position_, 0));
        const std::size_t part = std::min(rest, windowBytes_ - filled_);
        file.seek(position_);
        if (!file.read(window_.get() + filled_, part)) return false;
        filled_ += part;
        position_ += dib::asOffset(part);
        return filled_ >= wanted;
    }

    dib::MallocPtr<unsigned char> window_;
    std::size_t windowBytes_ = 0;
    std::size_t next_ = 0;
    std::size_t filled_ = 0;
    std::int64_t position_ = 0;  // of the byte after the window
    std::int64_t end_ = 0;
};

}  // namespace formats::psd

#endif
