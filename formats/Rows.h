// Rows of pixels read and written in blocks of many, so that a picture costs few calls whatever its width.
#ifndef FORMATS_ROWS_H
#define FORMATS_ROWS_H

#include <cstddef>
#include <cstdio>

#include "dib/Memory.h"

namespace formats {

// How many rows of a picture are best read or written at once.
std::size_t rowsPerBlock(std::size_t rowBytes, std::size_t rows);

class RowReader {
public:
    // Reads `rows` rows of `rowBytes` bytes, and nothing past them.
    RowReader(std::FILE* file, std::size_t rowBytes, std::size_t rows);
    // False when the block could not be allocated.
    bool ready() const { return block_ != nullptr; }

    // The next row, valid until the following call; null when the file ends before the end of it.
    const unsigned char* next();
    // Copies the next row, or what the file still holds of it. Returns the bytes copied.
    std::size_t copyNext(unsigned char* out);

private:
    // Bytes at hand of the next row, after reading another block if needed.
    std::size_t atHand();

    std::FILE* file_;
    std::size_t rowBytes_;
    std::size_t rowsToRead_;
    std::size_t rowsPerBlock_;
    dib::MallocPtr<unsigned char> block_;
    std::size_t position_ = 0;
    std::size_t filled_ = 0;
};

class RowWriter {
public:
    RowWriter(std::FILE* file, std::size_t rowBytes, std::size_t rows);
    // Writes what is still held. Results of writing are not told: the codecs that use this promise none.
    ~RowWriter();
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    // False when the block could not be allocated.
    bool ready() const { return block_ != nullptr; }

    // Where the bytes of the next row go.
    unsigned char* next();

private:
    void flush();

    std::FILE* file_;
    std::size_t rowBytes_;
    std::size_t blockBytes_;
    dib::MallocPtr<unsigned char> block_;
    std::size_t filled_ = 0;
};

}  // namespace formats

#endif
