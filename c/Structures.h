// Structures whose first member is their size, so that programs and libraries of different versions work
// together.
#ifndef C_STRUCTURES_H
#define C_STRUCTURES_H

#include <DibTypes.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "c/include/dibstream.h"

namespace c_interface {

// With pointers of 64 bits, and of 32.
constexpr std::size_t firstSize(std::size_t of64, std::size_t of32) {
    return sizeof(void*) == 8 ? of64 : of32;
}

// The size of the first version of each structure. It never changes: members are added at the end, in whole
// words, and their default is 0.
template <class Structure>
constexpr std::size_t kFirstSize = 0;
template <>
inline constexpr std::size_t kFirstSize<dib_metadata> = firstSize(64, 60);
template <>
inline constexpr std::size_t kFirstSize<dib_result> = firstSize(2624, 2600);
template <>
inline constexpr std::size_t kFirstSize<dib_format> = firstSize(64, 40);
template <>
inline constexpr std::size_t kFirstSize<dib_load_options> = firstSize(80, 88);
template <>
inline constexpr std::size_t kFirstSize<dib_file_info> = firstSize(72, 344);
template <>
inline constexpr std::size_t kFirstSize<dib_save_options> = firstSize(48, 36);
template <>
inline constexpr std::size_t kFirstSize<dib_apply_options> = firstSize(40, 24);
template <>
inline constexpr std::size_t kFirstSize<dib_difference> = firstSize(56, 52);
template <>
inline constexpr std::size_t kFirstSize<dib_layer> = firstSize(816, 812);
template <>
inline constexpr std::size_t kFirstSize<dib_layer_mask> = firstSize(40, 36);
template <>
inline constexpr std::size_t kFirstSize<dib_montage_options> = firstSize(56, 44);

// Whether some version of the structure has that size. Structures that were not initialised mostly do not.
template <class Structure>
bool isSized(const Structure& structure) {
    static_assert(kFirstSize<Structure> != 0 && sizeof(Structure) >= kFirstSize<Structure>);
    constexpr std::size_t kMost = 1 << 16;
    return structure.size >= kFirstSize<Structure> && structure.size <= kMost &&
           structure.size % sizeof(std::size_t) == 0;
}

// Whether the program's structure reaches to the end of a member, so that it has that.
template <class Structure, class Member>
bool has(const Structure& structure, const Member& member) {
    const auto* end = reinterpret_cast<const char*>(&member + 1);
    return structure.size >= static_cast<std::size_t>(end - reinterpret_cast<const char*>(&structure));
}

// Reads the options of a program over the defaults in `options`; null keeps them. The code is 6 for a wrong
// size and 8 for members that this library does not have.
template <class Structure>
DibErrorCode readOptions(const Structure* given, Structure& options) {
    if (given == nullptr) return DIB_OK;
    if (!isSized(*given)) return DIB_ERROR_INVALID;
    const auto* bytes = reinterpret_cast<const unsigned char*>(given);
    for (std::size_t i = sizeof(Structure); i < given->size; ++i) {
        if (bytes[i] != 0) return DIB_ERROR_MISMATCH;
    }
    std::memcpy(&options, given, std::min(given->size, sizeof(Structure)));
    options.size = sizeof(Structure);
    return DIB_OK;
}

// Fills the members that the program has; `to` must be sized.
template <class Structure>
void fill(Structure& to, const Structure& from) {
    const std::size_t size = to.size;
    std::memcpy(&to, &from, std::min(size, sizeof(Structure)));
    to.size = size;
}

}  // namespace c_interface

#endif
