// The pixel depths as types: how a pixel is read and written, and which channels it has.
//
// A pixel value is the number that the bytes of the pixel form from the low end: an index at 1, 4 and 8 bits,
// a 5-5-5 word at 16, blue, green, red (, alpha) from the low byte at 24 and 32.
#ifndef DIB_DEPTHS_H
#define DIB_DEPTHS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"

namespace dib {

// Channels of one pixel, blue first.
template <std::size_t Count>
using Channels = std::array<std::uint32_t, Count>;

// The depths.
//
// `put` expects the bits of the pixel to be zero at 1 and 4 bits: a row of these is cleared before its pixels
// are written.
struct Depth1 {
    static constexpr int kBits = 1;
    static constexpr int kChannels = 1;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) {
        return (row[x >> 3] >> (7 - (x & 7))) & 1U;
    }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        row[x >> 3] = static_cast<unsigned char>(row[x >> 3] | value << (7 - (x & 7)));
    }
};

struct Depth4 {
    static constexpr int kBits = 4;
    static constexpr int kChannels = 1;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) {
        return (x & 1) != 0 ? row[x >> 1] & 15U : row[x >> 1] >> 4U;
    }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        row[x >> 1] = static_cast<unsigned char>(row[x >> 1] | ((x & 1) != 0 ? value : value << 4));
    }
};

struct Depth8 {
    static constexpr int kBits = 8;
    static constexpr int kChannels = 1;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) { return row[x]; }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        row[x] = value & 255;
    }
    static DIB_ALWAYS_INLINE Channels<1> split(std::uint32_t value) { return {value}; }
    static DIB_ALWAYS_INLINE std::uint32_t join(const Channels<1>& c) { return c[0]; }
};

// Bit 15 belongs to no channel.
struct Depth16 {
    static constexpr int kBits = 16;
    static constexpr int kChannels = 3;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) {
        std::uint16_t value;
        std::memcpy(&value, row + 2 * x, sizeof value);
        return value;
    }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        const auto word = static_cast<std::uint16_t>(value);
        std::memcpy(row + 2 * x, &word, sizeof word);
    }
    static DIB_ALWAYS_INLINE Channels<3> split(std::uint32_t value) {
        return {value & 31U, (value >> 5) & 31U, (value >> 10) & 31U};
    }
    static DIB_ALWAYS_INLINE std::uint32_t join(const Channels<3>& c) {
        return (c[2] << 10) | (c[1] << 5) | c[0];
    }
};

struct Depth24 {
    static constexpr int kBits = 24;
    static constexpr int kChannels = 3;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) {
        const unsigned char* at = row + 3 * x;
        return at[0] | (std::uint32_t{at[1]} << 8) | (std::uint32_t{at[2]} << 16);
    }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        unsigned char* at = row + 3 * x;
        at[0] = value & 255;
        at[1] = value >> 8 & 255;
        at[2] = value >> 16 & 255;
    }
    static DIB_ALWAYS_INLINE Channels<3> split(std::uint32_t value) {
        return {value & 255U, (value >> 8) & 255U, (value >> 16) & 255U};
    }
    static DIB_ALWAYS_INLINE std::uint32_t join(const Channels<3>& c) {
        return (c[2] << 16) | (c[1] << 8) | c[0];
    }
};

struct Depth32 {
    static constexpr int kBits = 32;
    static constexpr int kChannels = 4;
    static DIB_ALWAYS_INLINE std::uint32_t get(const unsigned char* row, std::ptrdiff_t x) {
        std::uint32_t value;
        std::memcpy(&value, row + 4 * x, sizeof value);
        return value;
    }
    static DIB_ALWAYS_INLINE void put(unsigned char* row, std::ptrdiff_t x, std::uint32_t value) {
        std::memcpy(row + 4 * x, &value, sizeof value);
    }
    static DIB_ALWAYS_INLINE Channels<4> split(std::uint32_t value) {
        return {value & 255U, (value >> 8) & 255U, (value >> 16) & 255U, value >> 24};
    }
    static DIB_ALWAYS_INLINE std::uint32_t join(const Channels<4>& c) {
        return (c[3] << 24) | (c[2] << 16) | (c[1] << 8) | c[0];
    }
};

// Several pixels of these depths share a byte.
template <class Depth>
inline constexpr bool kIsPacked = Depth::kBits < 8;

// Pixels of these depths mix with their neighbours, byte by byte; others are taken whole.
template <class Depth>
inline constexpr bool kMixes = Depth::kBits >= 24;

// Calls `visit` with the depth type of that many bits; false, without a call, when it is not among `Depths`.
//
//     return withDepth<Depth8, Depth24, Depth32>(bits, [&](auto depth) { return run<decltype(depth)>(); });
template <class... Depths, class Visit>
bool withDepth(int bitCount, const Visit& visit) {
    bool result = false;
    (void)((bitCount == Depths::kBits && (result = visit(Depths{}), true)) || ...);
    return result;
}

// The same for all depths that exist.
template <class Visit>
bool withAnyDepth(int bitCount, const Visit& visit) {
    return withDepth<Depth1, Depth4, Depth8, Depth16, Depth24, Depth32>(bitCount, visit);
}

// Whether a depth is one of `Depths`.
template <class... Depths>
constexpr bool isOneOf(int bitCount) {
    return ((bitCount == Depths::kBits) || ...);
}

}  // namespace dib

#endif
