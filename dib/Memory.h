// Owned blocks from malloc, since callers free the blocks that they get with free; and the failure of an
// allocation.
#ifndef DIB_MEMORY_H
#define DIB_MEMORY_H

#include <DibStream.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace dib {

// The ownership word that the library writes for its own blocks.
constexpr unsigned int kOwned = 6;

struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
};

// An array. Its index is a number of any integer type.
template <class T>
struct MallocPtr : std::unique_ptr<T[], FreeDeleter> {
    using std::unique_ptr<T[], FreeDeleter>::unique_ptr;
    T& operator[](std::integral auto i) const { return this->get()[i]; }
};

// The bytes of an array; nothing when it is too large. Negative counts are.
template <class T>
constexpr std::optional<std::size_t> arrayBytes(std::integral auto count) {
    if (std::cmp_less(count, 0) || std::cmp_greater(count, PTRDIFF_MAX / sizeof(T))) return {};
    return static_cast<std::size_t>(count) * sizeof(T);
}

// An uninitialised array; null when it is too large or memory is short.
template <class T>
MallocPtr<T> allocateArray(std::integral auto count) {
    const auto bytes = arrayBytes<T>(count);
    return MallocPtr<T>(bytes ? static_cast<T*>(std::malloc(*bytes)) : nullptr);
}

// The same, zeroed.
template <class T>
MallocPtr<T> allocateZeroed(std::integral auto count) {
    const auto bytes = arrayBytes<T>(count);
    return MallocPtr<T>(bytes ? static_cast<T*>(std::calloc(*bytes, 1)) : nullptr);
}

// A pixel block of at least one byte. All pixel blocks come from here, so that large ones can use large
// pages.
MallocPtr<unsigned char> allocateImageBlock(std::size_t bytes);

// The same, zeroed. A large block takes memory only where it is written.
MallocPtr<unsigned char> allocateZeroedImageBlock(std::size_t bytes);

// Stores the code of failed allocations and of sizes that cannot exist. Always false.
inline bool failForMemory(DibStream& image) {
    image.ErrorCode = DIB_ERROR_MEMORY;
    return false;
}

}  // namespace dib

#endif
