#include "formats/ColorOrder.h"

#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/PixelShuffles.h"

namespace formats {

namespace {

DIB_ALWAYS_INLINE void swapRedBlueLoop(const unsigned char* __restrict from, unsigned char* __restrict to,
                                       std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        to[3 * i] = from[3 * i + 2];
        to[3 * i + 1] = from[3 * i + 1];
        to[3 * i + 2] = from[3 * i];
    }
}

DIB_ALWAYS_INLINE void swapRedBlue32Loop(const unsigned char* __restrict from, unsigned char* __restrict to,
                                         std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        std::uint32_t pixel;
        std::memcpy(&pixel, from + 4 * i, 4);
        pixel = (pixel & 0xFF00FF00U) | (pixel & 0xFFU) << 16 | (pixel >> 16 & 0xFFU);
        std::memcpy(to + 4 * i, &pixel, 4);
    }
}

DIB_ALWAYS_INLINE void expandToRgbaLoop(const unsigned char* __restrict from, unsigned char* __restrict to,
                                        std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        to[4 * i] = from[3 * i + 2];
        to[4 * i + 1] = from[3 * i + 1];
        to[4 * i + 2] = from[3 * i];
        to[4 * i + 3] = 255;
    }
}

}  // namespace

void swapRedBlue(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    const std::size_t done = dib::runVectors<dib::shuffleBgrToRgb>(from, to, pixels);
    dib::runKernel<swapRedBlueLoop>(from + 3 * done, to + 3 * done, pixels - done);
}

void swapRedBlue32(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    dib::runKernel<swapRedBlue32Loop>(from, to, pixels);
}

void expandToRgba(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    const std::size_t done = dib::runVectors<dib::shuffleBgrToRgba>(from, to, pixels);
    dib::runKernel<expandToRgbaLoop>(from + 3 * done, to + 4 * done, pixels - done);
}

}  // namespace formats
