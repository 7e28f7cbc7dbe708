// Loops over packed pixels that the depth conversions share. Most run through dib::runKernel; sources and
// destinations never overlap.
#ifndef DIB_PIXEL_KERNELS_H
#define DIB_PIXEL_KERNELS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"

namespace dib {

// The brightness of a colour; the weights add up to 256, so the sum fits in 16 bits.
constexpr std::uint8_t greyOf(unsigned int blue, unsigned int green, unsigned int red) {
    return static_cast<std::uint8_t>(static_cast<std::uint16_t>(37 * blue + 146 * green + 73 * red) >> 8);
}

// Pixels of 24 and 32 bits. Widening moves whole words; their fourth byte belongs to the next pixel and
// becomes alpha: twice as fast as byte by byte where the compiler does not find the shuffle.
DIB_ALWAYS_INLINE void bgrToBgra(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                 std::size_t count) {
    if (count == 0) return;
    const std::size_t last = count - 1;
    for (std::size_t i = 0; i < last; ++i) {
        std::uint32_t pixel;
        std::memcpy(&pixel, from + 3 * i, 4);
        pixel |= 0xFF000000U;
        std::memcpy(to + 4 * i, &pixel, 4);
    }
    std::memcpy(to + 4 * last, from + 3 * last, 3);
    to[4 * last + 3] = 255;
}

DIB_ALWAYS_INLINE void bgraToBgr(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[3 * i] = from[4 * i];
        to[3 * i + 1] = from[4 * i + 1];
        to[3 * i + 2] = from[4 * i + 2];
    }
}

template <std::size_t kBytes>
DIB_ALWAYS_INLINE void bgrToGrey(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = greyOf(from[kBytes * i], from[kBytes * i + 1], from[kBytes * i + 2]);
    }
}

// Pixels of 16 bits: 5-5-5 words, blue in the low bits. Widening leaves the three low bits of a channel zero.
template <std::size_t kBytes>
DIB_ALWAYS_INLINE void wordsToBgr(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                  std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t word;
        std::memcpy(&word, from + 2 * i, 2);
        to[kBytes * i] = static_cast<std::uint8_t>(word << 3);
        to[kBytes * i + 1] = static_cast<std::uint8_t>((word >> 5) << 3);
        to[kBytes * i + 2] = static_cast<std::uint8_t>((word >> 10) << 3);
        if constexpr (kBytes == 4) to[kBytes * i + 3] = 255;
    }
}

DIB_ALWAYS_INLINE void wordsToGrey(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                   std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t word;
        std::memcpy(&word, from + 2 * i, 2);
        to[i] = greyOf((word & 31U) << 3, ((word >> 5) & 31U) << 3, ((word >> 10) & 31U) << 3);
    }
}

DIB_ALWAYS_INLINE void bgrToWords(const std::uint8_t* __restrict from, std::uint16_t* __restrict to,
                                  std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = static_cast<std::uint16_t>((from[3 * i + 2] >> 3) << 10 | (from[3 * i + 1] >> 3) << 5 |
                                           from[3 * i] >> 3);
    }
}

// The three low bits of each channel, red highest, which bgrToWords drops. The quantizer calls the colours of
// one word a cell: the word is its number, and these bits distinguish its colours.
constexpr std::size_t kColorCells = 32768;
constexpr std::size_t kColorsPerCell = 512;
DIB_ALWAYS_INLINE void bgrToLowBits(const std::uint8_t* __restrict from, std::uint16_t* __restrict to,
                                    std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = static_cast<std::uint16_t>((from[3 * i + 2] & 7) << 6 | (from[3 * i + 1] & 7) << 3 |
                                           (from[3 * i] & 7));
    }
}

// Indices to colours, through a table of blue, green, red, alpha words.
DIB_ALWAYS_INLINE void indicesToBgra(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                     std::size_t count, const std::uint32_t* __restrict table) {
    for (std::size_t i = 0; i < count; ++i) std::memcpy(to + 4 * i, &table[from[i]], 4);
}

// The three-byte form also stores whole words, each overwritten in part by the next pixel; only the last one
// must not reach past the end. Loading eight indices at once leaves the load units to the table.
DIB_ALWAYS_INLINE void indicesToBgr(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                    std::size_t count, const std::uint32_t* __restrict table) {
    std::size_t i = 0;
    for (; i + 8 < count; i += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, from + i, 8);
        for (std::size_t k = 0; k < 8; ++k) std::memcpy(to + 3 * (i + k), &table[eight >> (8 * k) & 255], 4);
    }
    for (; i < count; ++i) std::memcpy(to + 3 * i, &table[from[i]], 3);
}

DIB_ALWAYS_INLINE void greyToBgr(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[3 * i] = from[i];
        to[3 * i + 1] = from[i];
        to[3 * i + 2] = from[i];
    }
}

}  // namespace dib

#endif
