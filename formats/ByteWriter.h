// Writes a file or memory and remembers whether a write failed. The classic savers do not report that, others
// do.
#ifndef FORMATS_BYTE_WRITER_H
#define FORMATS_BYTE_WRITER_H

#include <DibFile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace formats {

class ByteWriter {
public:
    explicit ByteWriter(std::FILE* file) : file_(file) {}
    // Memory grows as it is written.
    explicit ByteWriter(DibBytes& memory) : memory_(&memory) {}
    ByteWriter(const ByteWriter&) = delete;
    ByteWriter& operator=(const ByteWriter&) = delete;

    void bytes(const void* from, std::size_t count);
    // Rows of an image (dib/File.h).
    void rows(const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows);

    // For formats that come back to what they have written. Counted from the start of the file or memory.
    std::int64_t position() const;
    bool seek(std::int64_t position);
    // Copies what was written at the position; returns the number of bytes. Files must be open for reading.
    std::size_t readBack(void* out, std::size_t count);
    std::int64_t size();

    // Whether every write succeeded; closing the file may still fail.
    bool isWhole() const { return isWhole_; }
    // Whether memory could not grow.
    bool isShortOfMemory() const { return !isWhole_ && memory_ != nullptr; }

private:
    bool grow(std::size_t end);

    std::FILE* file_ = nullptr;  // or memory:
    DibBytes* memory_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t at_ = 0;
    bool isWhole_ = true;
};

}  // namespace formats

#endif
