// Blocks of rows, so that narrow pictures take few calls, too.
#ifndef FORMATS_ROWS_H
#define FORMATS_ROWS_H

#include <cstddef>

#include "dib/Memory.h"
#include "formats/ByteWriter.h"
#include "formats/door/Progress.h"

namespace formats {

// How many rows of a picture are best read or written at once.
std::size_t rowsPerBlock(std::size_t rowBytes, std::size_t rows);

// How many rows a call moves before it reports them: at most 64 rows of 256 KiB together, so that a cancelled
// call ends soon; all rows at once without a callback.
std::size_t rowsPerStep(const Progress& progress, std::size_t rowBytes, std::size_t rows);

class RowWriter {
public:
    RowWriter(ByteWriter& file, std::size_t rowBytes, std::size_t rows);
    // Writes the rows that are still in the block.
    ~RowWriter();
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    // False when the block could not be allocated.
    bool ready() const { return block_ != nullptr; }

    // Where the bytes of the next row go.
    unsigned char* next();

private:
    void flush();

    ByteWriter& file_;
    std::size_t rowBytes_;
    std::size_t blockBytes_;
    dib::MallocPtr<unsigned char> block_;
    std::size_t filled_ = 0;
};

}  // namespace formats

#endif
