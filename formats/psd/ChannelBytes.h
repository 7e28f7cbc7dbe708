// The loops of storing a channel: a byte from each sample, and a byte into each pixel.
#ifndef FORMATS_PSD_CHANNEL_BYTES_H
#define FORMATS_PSD_CHANNEL_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"

namespace formats::psd {

// A set bit is ink: black.
DIB_ALWAYS_INLINE void bytesOfBits(const unsigned char* __restrict line, unsigned char* __restrict to,
                                   std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) to[x] = ((line[x / 8] << (x % 8)) & 0x80) != 0 ? 0 : 255;
}

// The high byte.
DIB_ALWAYS_INLINE void bytesOfWords(const unsigned char* __restrict line, unsigned char* __restrict to,
                                    std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) to[x] = line[2 * x];
}

// The nearest byte. A sample is 257 x its high byte + the difference of its bytes.
DIB_ALWAYS_INLINE void bytesOfRoundedWords(const unsigned char* __restrict line, unsigned char* __restrict to,
                                           std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        std::uint16_t swapped = 0;
        std::memcpy(&swapped, line + 2 * x, sizeof swapped);
        const auto high = static_cast<std::int16_t>(swapped & 255);
        const auto more = static_cast<std::int16_t>((swapped >> 8) - high);
        to[x] = dib::byteOf(high + (more > 128 ? 1 : 0) - (more < -128 ? 1 : 0));
    }
}

// What black leaves of another ink's light: the nearest color x black / 255.
constexpr unsigned char darkened(unsigned color, unsigned black) {
    const unsigned product = color * black + 128;
    return dib::byteOf((product + (product >> 8)) >> 8);
}
DIB_ALWAYS_INLINE void darkenBytes(const unsigned char* __restrict colors,
                                   const unsigned char* __restrict black, unsigned char* __restrict to,
                                   std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) to[x] = darkened(colors[x], black[x]);
}

// Floats from 0 to 1, clamped and scaled. Compared in this order, NaN is white.
DIB_ALWAYS_INLINE void bytesOfFloats(const unsigned char* __restrict line, unsigned char* __restrict to,
                                     std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, line + 4 * x, sizeof bits);
        bits = bits >> 24 | (bits >> 8 & 0xFF00) | (bits << 8 & 0xFF0000) | bits << 24;
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        const double scaled = value * 255.0;
        const double below = scaled < 255.0 ? scaled : 255.0;
        to[x] = static_cast<unsigned char>(static_cast<int>(below > 0.0 ? below : 0.0));
    }
}

// Stores one byte in each pixel of 3 or 4 bytes and keeps the others.
void placeBytes(const unsigned char* bytes, unsigned char* pixels, std::size_t pixelBytes, std::size_t byte,
                std::size_t count);

}  // namespace formats::psd

#endif
