#include "dib/Memory.h"

#include <algorithm>

namespace dib {

MallocPtr<unsigned char> allocateImageBlock(std::size_t bytes) {
    return allocateArray<unsigned char>(std::max(bytes, std::size_t{1}));
}

}  // namespace dib
