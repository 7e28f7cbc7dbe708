// The filters that prepare the rows of PNG files for packing: each byte becomes its difference from
// a prediction.
#ifndef FORMATS_LINUX_PNG_FILTERS_H
#define FORMATS_LINUX_PNG_FILTERS_H

#include <cstddef>

#include "dib/Memory.h"

namespace formats {

class PngFilters {
public:
    // For rows of `rowBytes` bytes with `pixelBytes` bytes a pixel. False when memory is short.
    bool start(std::size_t rowBytes, std::size_t pixelBytes);
    // Writes the number of a filter and the next row as it leaves it. The filter is the one that leaves the
    // smallest numbers, because those are packed best.
    void filter(const unsigned char* row, unsigned char* to);

private:
    std::size_t rowBytes_ = 0;
    std::size_t pixelBytes_ = 0;
    // Each row begins with a pixel of 0, which lies left of the picture.
    dib::MallocPtr<unsigned char> above_;
    dib::MallocPtr<unsigned char> row_;
    dib::MallocPtr<unsigned char> trial_;
};

}  // namespace formats

#endif
