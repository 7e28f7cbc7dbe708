#include "dib/Memory.h"

#include <algorithm>

namespace dib {

MallocPtr<unsigned char> allocateImageBlock(std::size_t bytes) {
    return allocateArray<unsigned char>(std::max(bytes, std::size_t{1}));
}

MallocPtr<unsigned char> allocateZeroedImageBlock(std::size_t bytes) {
    return allocateZeroed<unsigned char>(std::max(bytes, std::size_t{1}));
}

}  // namespace dib
