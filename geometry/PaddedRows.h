// Rows of an image that may be read a little past their ends, as whole-vector loads do.
#ifndef GEOMETRY_PADDED_ROWS_H
#define GEOMETRY_PADDED_ROWS_H

#include <cstddef>
#include <cstring>

#include "dib/Memory.h"
#include "dib/Raster.h"

namespace dib {

class PaddedRows {
public:
    // Rows in block order. `extraBytes` after the end of each can be read.
    PaddedRows(const Raster& rows, std::ptrdiff_t extraBytes)
        : rows_(rows),
          extraBytes_(extraBytes),
          copy_(allocateZeroed<unsigned char>(rows.rowStep + extraBytes)) {}

    // False when memory was short; row() must then not be called.
    bool ready() const { return copy_ != nullptr; }

    // The row is valid until the next call. Inside the block the next rows follow; only a row near the end of
    // the block has to be copied.
    const unsigned char* row(int y) const {
        const unsigned char* start = rows_.row(y);
        if ((rows_.height - 1 - y) * rows_.rowStep >= extraBytes_) return start;
        std::memcpy(copy_.get(), start, rows_.rowBytes);
        return copy_.get();
    }

private:
    Raster rows_;
    std::ptrdiff_t extraBytes_;
    MallocPtr<unsigned char> copy_;
};

}  // namespace dib

#endif
