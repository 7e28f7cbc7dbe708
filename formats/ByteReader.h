// Buffered reading of a file or of memory. Positions have 64 bits.
#ifndef FORMATS_BYTE_READER_H
#define FORMATS_BYTE_READER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace formats {

class ByteReader {
public:
    // How much is read from the file: blocks, or no byte that was not asked for (what follows is then read by
    // others).
    enum class Buffering { kBlocks, kExact };

    // Reads from where the file stands. Positions count from the start of the file, those of a pipe from
    // here.
    explicit ByteReader(std::FILE* file, Buffering buffering = Buffering::kBlocks);
    // Reads memory, which must outlive the reader.
    ByteReader(const unsigned char* bytes, std::size_t size)
        : memory_(bytes),
          next_(bytes),
          end_(bytes + size),
          endPosition_(static_cast<std::int64_t>(size)),
          size_(endPosition_) {}
    ByteReader(const ByteReader&) = delete;
    ByteReader& operator=(const ByteReader&) = delete;

    // The most bytes that `ahead` and `take` can show.
    static constexpr std::size_t kBufferBytes = 32 * 1024;

    struct Bytes {
        const unsigned char* data;
        std::size_t size;
    };
    // The bytes ahead, valid until the next call: at least `wanted` (kBufferBytes at most) unless the source
    // ends before.
    Bytes ahead(std::size_t wanted) {
        if (buffered() < wanted) fill(wanted);
        return {next_, buffered()};
    }
    // Moves past bytes that `ahead` showed.
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
        // memmove is always called: of a memcpy known to be short, compilers make slow string instructions.
        std::memmove(out, next_, bytes);
        next_ += bytes;
        return bytes;
    }
    // Whether all of them were there.
    bool read(void* out, std::size_t bytes) { return copy(out, bytes) == bytes; }
    // Copies rows to where they belong (dib/File.h); returns the bytes that there were of them all.
    std::size_t readRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows);
    // Copies the next line, line feed included, and ends it by NUL. A line of `most` bytes or more comes in
    // pieces. False when there is none.
    bool line(char* out, std::size_t most);

    std::int64_t position() const { return endPosition_ - static_cast<std::int64_t>(buffered()); }
    // Goes to any position, also one beyond the end, where nothing is found. A pipe only goes forward; false
    // when it cannot go there.
    bool seek(std::int64_t position);
    bool skip(std::uint64_t bytes) { return seek(position() + static_cast<std::int64_t>(bytes)); }
    // Moves past bytes that are there; false when the source ends before.
    bool pass(std::uint64_t bytes);
    // Puts the file, where that is possible, to where reading stopped.
    void leave();

    // The length of the source; negative where it is not known.
    std::int64_t size();
    // A loop that waits for something useful to come must leave a source without a known end.
    bool hasKnownEnd() { return size() >= 0; }
    // Bytes from the position to the end; 0 beyond it or where it is not known.
    std::int64_t remaining();

private:
    std::size_t buffered() const { return static_cast<std::size_t>(end_ - next_); }
    void fill(std::size_t wanted);
    std::size_t copyMore(unsigned char* out, std::size_t bytes);
    // Drops the buffer and puts the file to the position.
    bool dropBuffer(std::int64_t position);

    static constexpr std::int64_t kUnknown = -1;
    static constexpr std::int64_t kNotAsked = -2;

    // Beyond its known end a file is not read: it may stand elsewhere than the position says.
    bool isAtEnd() const { return size_ >= 0 && endPosition_ >= size_; }

    std::FILE* file_ = nullptr;  // or memory:
    const unsigned char* memory_ = nullptr;
    bool canSeek_ = false;
    bool isExact_ = false;
    bool isFirst_ = true;  // nothing was read so far
    const unsigned char* next_ = nullptr;
    const unsigned char* end_ = nullptr;
    std::int64_t endPosition_ = 0;  // of *end_, and of the file
    std::int64_t size_ = kNotAsked;
    unsigned char buffer_[kBufferBytes];
};

}  // namespace formats

#endif
