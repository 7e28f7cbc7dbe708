/// Whether a file was written whole, for codecs that do not tell.
#ifndef TOOLS_IO_WHOLE_FILE_H
#define TOOLS_IO_WHOLE_FILE_H

#include <DibStream.h>

#include <cstdint>
#include <filesystem>

#include "tools/io/Images.h"

namespace tool {

/// Stores the code of a write error when the file has not the size that it must have.
inline bool isWhole(const char* path, std::uint64_t bytes, DibStream& image) {
    std::error_code failed;
    if (std::filesystem::file_size(path, failed) == bytes && !failed) return true;
    image.ErrorCode = DIB_ERROR_WRITE;
    return false;
}

/// Bytes of the rows, whose pixels of `bitCount` bits are packed into units of `unitBits`.
inline std::uint64_t packedBytes(const DibStream& image, unsigned bitCount, unsigned unitBits) {
    const auto columns = static_cast<std::uint64_t>(width(image));
    const auto rows = static_cast<std::uint64_t>(height(image));
    return (columns * bitCount + unitBits - 1) / unitBits * (unitBits / 8) * rows;
}

}  // namespace tool

#endif
