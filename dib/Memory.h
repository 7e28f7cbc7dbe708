// Owned blocks from malloc, since callers free the blocks that they get with free; and the failure of an
// allocation.
#ifndef DIB_MEMORY_H
#define DIB_MEMORY_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace dib {

// The ownership word that the library writes for its own blocks.
constexpr unsigned int kOwned = 6;

struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
};

template <class T>
using MallocPtr = std::unique_ptr<T[], FreeDeleter>;

// An uninitialised array; null when it is too large or memory is short.
template <class T>
MallocPtr<T> allocateArray(std::size_t count) {
    if (count > PTRDIFF_MAX / sizeof(T)) return nullptr;
    return MallocPtr<T>(static_cast<T*>(std::malloc(count * sizeof(T))));
}

// The same, zeroed.
template <class T>
MallocPtr<T> allocateZeroed(std::size_t count) {
    return MallocPtr<T>(static_cast<T*>(std::calloc(count, sizeof(T))));
}

// A pixel block of at least one byte. All pixel blocks come from here, so that large ones can use large
// pages.
MallocPtr<unsigned char> allocateImageBlock(std::size_t bytes);

// The same, zeroed. A large block takes memory only where it is written.
MallocPtr<unsigned char> allocateZeroedImageBlock(std::size_t bytes);

// Stores the code of short memory, which also stands for sizes that cannot exist. Always false.
inline bool failForMemory(DibStream& image) {
    image.ErrorCode = DIB_ERROR_MEMORY;
    return false;
}

}  // namespace dib

#endif
