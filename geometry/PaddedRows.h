// Rows of an image that may be read a little past their ends, as whole-vector loads do.
#ifndef GEOMETRY_PADDED_ROWS_H
#define GEOMETRY_PADDED_ROWS_H

#include <DibStream.h>

#include <cstddef>
#include <cstring>

#include "dib/ImageSize.h"
#include "dib/Memory.h"

namespace dib {

class PaddedRows {
public:
    // `extraBytes` after the end of each row can be read.
    PaddedRows(const DibStream& image, std::size_t extraBytes)
        : block_(image.Buffer),
          size_(admitSize(*image.Header)),
          extraBytes_(extraBytes),
          copy_(allocateZeroed<unsigned char>(size_.rowBytes + extraBytes)) {}

    // False when memory was short; no row may then be asked for.
    bool ready() const { return copy_ != nullptr; }

    // The row is valid until the next call. Inside the block the next rows follow; only a row near the end of
    // the block has to be copied.
    const unsigned char* row(std::size_t bufferRow) const {
        const unsigned char* start = block_ + bufferRow * size_.rowBytes;
        if ((bufferRow + 1) * size_.rowBytes + extraBytes_ <= size_.imageBytes) return start;
        std::memcpy(copy_.get(), start, size_.rowBytes);
        return copy_.get();
    }

private:
    const unsigned char* block_;
    ImageSize size_;
    std::size_t extraBytes_;
    MallocPtr<unsigned char> copy_;
};

}  // namespace dib

#endif
