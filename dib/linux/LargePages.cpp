#include "dib/LargePages.h"

#include <sys/mman.h>

#include <cstdint>

namespace dib {

void preferLargePages(unsigned char* block, std::size_t bytes) {
    constexpr std::uintptr_t kPage = std::uintptr_t{2} << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (start + kPage - 1) & ~(kPage - 1);
    const std::uintptr_t last = (start + bytes) & ~(kPage - 1);
    if (first < last) madvise(block + (first - start), last - first, MADV_HUGEPAGE);
}

}  // namespace dib
