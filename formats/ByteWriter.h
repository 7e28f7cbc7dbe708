// Writes a file and remembers whether a write failed. The classic savers do not report that, others do.
#ifndef FORMATS_BYTE_WRITER_H
#define FORMATS_BYTE_WRITER_H

#include <cstddef>
#include <cstdio>

#include "dib/File.h"

namespace formats {

class ByteWriter {
public:
    explicit ByteWriter(std::FILE* file) : file_(file) {}
    ByteWriter(const ByteWriter&) = delete;
    ByteWriter& operator=(const ByteWriter&) = delete;

    void bytes(const void* from, std::size_t count) {
        if (!dib::writeBytes(file_, from, count)) isWhole_ = false;
    }
    // Rows of an image (dib/File.h).
    void rows(const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows) {
        if (step == static_cast<std::ptrdiff_t>(rowBytes)) return bytes(first, rowBytes * rows);
        if (!dib::writeRows(file_, first, step, rowBytes, rows)) isWhole_ = false;
    }

    // Whether every write succeeded; closing the file may still fail.
    bool isWhole() const { return isWhole_; }

private:
    std::FILE* file_;
    bool isWhole_ = true;
};

}  // namespace formats

#endif
