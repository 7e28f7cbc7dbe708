// Buffered big-endian reading of a PSD document. Positions are those of reading byte by byte.
#ifndef FORMATS_PSD_READER_H
#define FORMATS_PSD_READER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace formats {

class PsdReader {
public:
    // Takes the file's length and starts at its first byte.
    explicit PsdReader(std::FILE* file);
    // Leaves the file where reading stopped.
    ~PsdReader();
    PsdReader(const PsdReader&) = delete;
    PsdReader& operator=(const PsdReader&) = delete;

    std::int64_t size() const { return size_; }
    std::int64_t position() const { return bufferStart_ + static_cast<std::int64_t>(next_); }
    // Bytes from the position to the end of the file; 0 beyond it.
    std::int64_t remaining() const { return std::max(size_ - position(), std::int64_t{0}); }

    // Any position may be sought, also one beyond the end, where reading finds nothing.
    void seek(std::int64_t position);

    // Reads what is there, up to `bytes`; returns how much that was.
    std::size_t readSome(void* out, std::size_t bytes);
    bool read(void* out, std::size_t bytes) { return readSome(out, bytes) == bytes; }

    // Rows to where they belong (dib/File.h); false when the file ends inside.
    bool readRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows);

    // Numbers: false when the file ends inside. Missing bytes then count as 0.
    bool read8(std::uint8_t& out);
    bool read16(std::uint16_t& out);
    bool read32(std::uint32_t& out);

    // The bytes ahead, without consuming them: at least `wanted` (at most kBufferBytes) unless the file ends
    // before.
    struct Bytes {
        const unsigned char* data;
        std::size_t size;
    };
    Bytes ahead(std::size_t wanted) {
        if (end_ - next_ < wanted) refill();
        return {buffer_ + next_, end_ - next_};
    }
    // Consumes bytes that `ahead` showed.
    void consume(std::size_t bytes) { next_ += bytes; }

    // Channel lengths may be written so that the same bytes are read again and again, and rectangles cost
    // nothing to announce. Pixels made and bytes decoded are therefore counted against what a file of this
    // length can honestly need: a packed bitmap grows to 512 times its length, everything else stays below.
    // False when that is exceeded.
    bool admitWork(std::int64_t bytes);

    static constexpr std::size_t kBufferBytes = 32768;

private:
    void refill();

    std::FILE* file_;
    std::int64_t size_ = 0;
    std::int64_t workLeft_ = 0;
    std::int64_t bufferStart_ = 0;  // position of buffer_[0]; the file itself stands at bufferStart_ + end_
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    unsigned char buffer_[kBufferBytes];
};

}  // namespace formats

#endif
