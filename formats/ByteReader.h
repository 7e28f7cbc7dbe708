// Buffered reading of a file or of memory. Positions have 64 bits.
#ifndef FORMATS_BYTE_READER_H
#define FORMATS_BYTE_READER_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats {

class ByteReader {
public:
    // Reading in blocks is fast. Exact reading takes only the bytes that the caller asks for; the caller of a
    // public routine reads the others.
    enum class Buffering { kBlocks, kExact };

    // Reads from the current position of the file. Positions are those of the file; in a pipe, and when
    // reading exactly, they start at 0.
    explicit ByteReader(std::FILE* file, Buffering buffering = Buffering::kBlocks);
    // Reads memory, which must outlive the reader.
    ByteReader(const unsigned char* bytes, std::size_t size)
        : memory_(bytes),
          next_(bytes),
          end_(bytes + size),
          endPosition_(dib::asOffset(size)),
          size_(endPosition_) {}
    ByteReader(const ByteReader&) = delete;
    ByteReader& operator=(const ByteReader&) = delete;

    // The most bytes that `ahead` and `take` return.
    static constexpr std::size_t kBufferBytes = 32 * 1024;

    struct Bytes {
        const unsigned char* data;
        std::size_t size;
    };
    // Returns the next bytes without consuming them, valid until the next call: at least `wanted`
    // (kBufferBytes at most) unless the source ends first.
    Bytes ahead(std::size_t wanted) {
        if (buffered() < wanted) fill(wanted);
        return {next_, buffered()};
    }
    // Consumes bytes that `ahead` returned.
    void consume(std::size_t bytes) { next_ += bytes; }

    // The next byte; negative at the end.
    int byte() {
        if (next_ == end_) fill(1);
        return next_ != end_ ? *next_++ : -1;
    }
    // The next `bytes` bytes (kBufferBytes at most), valid until the next call; null when the source ends
    // before.
    const unsigned char* take(std::size_t bytes) {
        if (ahead(bytes).size < bytes) return nullptr;
        next_ += bytes;
        return next_ - bytes;
    }
    // Copies up to `bytes` bytes; returns how many there were.
    std::size_t copy(void* out, std::size_t bytes) {
        if (bytes > buffered()) return copyMore(static_cast<unsigned char*>(out), bytes);
        // Not memcpy: when GCC knows that it is short it emits slow string instructions (HDR: 14 %).
        std::memmove(out, next_, bytes);
        next_ += bytes;
        return bytes;
    }
    // The same; false when the source ends first.
    bool read(void* out, std::size_t bytes) { return copy(out, bytes) == bytes; }
    // Copies rows to their places in an image (dib/File.h); returns the number of bytes copied.
    std::size_t readRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows);
    // Copies the next line, line feed included, and ends it by NUL. A line of `most` bytes or more comes in
    // pieces. False when there is none.
    bool line(char* out, std::size_t most);

    std::int64_t position() const { return endPosition_ - dib::asOffset(buffered()); }
    // Sets the position, which may be beyond the end. A pipe only moves forward; false when the position
    // cannot be reached.
    bool seek(std::integral auto position) { return seekTo(dib::asOffset(position)); }
    bool skip(std::uint64_t bytes) { return seek(position() + dib::asOffset(bytes)); }
    // Skips bytes; false when the source ends first.
    bool pass(std::uint64_t bytes);
    // Sets the position of a file that can seek to the position of the reader.
    void leave();

    // Why a read failed, as the system's number: the source ends there for the reader. 0 when none failed.
    int error() const { return error_; }

    // The length of the source; negative when unknown.
    std::int64_t size();
    // The same; 0 when unknown.
    std::uint64_t knownSize() { return hasKnownEnd() ? dib::asUnsigned(size()) : 0; }
    // Loops over data of any length must stop by themselves when the end is unknown.
    bool hasKnownEnd() { return size() >= 0; }
    // Bytes from the position to the end; 0 beyond the end and when it is unknown.
    std::int64_t remaining();
    // The same; the largest number when the end is unknown.
    std::uint64_t mostRemaining() { return hasKnownEnd() ? dib::asUnsigned(remaining()) : UINT64_MAX; }

private:
    std::size_t buffered() const { return dib::bytesBetween(next_, end_); }
    bool seekTo(std::int64_t position);
    void fill(std::size_t wanted);
    // Reads from the file.
    std::size_t fetch(unsigned char* out, std::size_t bytes);
    std::size_t copyMore(unsigned char* out, std::size_t bytes);
    // Empties the buffer and sets the position of the file.
    bool dropBuffer(std::int64_t position);

    static constexpr std::int64_t kUnknown = -1;
    static constexpr std::int64_t kNotAsked = -2;

    // No read starts beyond a known end: `dropBuffer` leaves the file at its end there.
    bool isAtEnd() const { return size_ >= 0 && endPosition_ >= size_; }

    std::FILE* file_ = nullptr;  // or memory:
    const unsigned char* memory_ = nullptr;
    bool canSeek_ = false;
    bool isExact_ = false;
    bool isFirst_ = true;  // nothing was read yet
    const unsigned char* next_ = nullptr;
    const unsigned char* end_ = nullptr;
    std::int64_t endPosition_ = 0;  // of *end_, and of the file
    std::int64_t size_ = kNotAsked;
    int error_ = 0;
    unsigned char buffer_[kBufferBytes];
};

}  // namespace formats

#endif
