#include "formats/BitPlanes.h"

#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

// Transposes a matrix of 8 x 8 bits (byte k, bit c) by exchanging blocks of 1, 2 and 4 bits across the
// diagonal.
DIB_ALWAYS_INLINE std::uint64_t transpose(std::uint64_t matrix) {
    std::uint64_t change = (matrix ^ (matrix >> 7)) & 0x00AA00AA00AA00AAU;
    matrix ^= change ^ (change << 7);
    change = (matrix ^ (matrix >> 14)) & 0x0000CCCC0000CCCCU;
    matrix ^= change ^ (change << 14);
    change = (matrix ^ (matrix >> 28)) & 0x00000000F0F0F0F0U;
    return matrix ^ change ^ (change << 28);
}

DIB_ALWAYS_INLINE void planesToBytesLoop(const unsigned char* __restrict planes, std::size_t stride,
                                         unsigned char* __restrict pixels, std::size_t groups) {
    for (std::size_t group = 0; group < groups; ++group) {
        std::uint64_t matrix = 0;
        for (int k = 0; k < kPlaneGroup; ++k) {
            matrix |= std::uint64_t{planes[dib::asSize(k) * stride + group]} << (8 * k);
        }
        // The leftmost pixel is the top bit of a plane's byte and the first of the pixels' bytes.
        const std::uint64_t bytes = __builtin_bswap64(transpose(matrix));
        std::memcpy(pixels + 8 * group, &bytes, sizeof bytes);
    }
}

DIB_ALWAYS_INLINE void bytesToPlanesLoop(const unsigned char* __restrict pixels, std::size_t groups,
                                         unsigned char* __restrict planes, std::size_t stride) {
    for (std::size_t group = 0; group < groups; ++group) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, pixels + 8 * group, sizeof bytes);
        const std::uint64_t matrix = transpose(__builtin_bswap64(bytes));
        for (int k = 0; k < kPlaneGroup; ++k) {
            planes[dib::asSize(k) * stride + group] = dib::byteOf(matrix >> (8 * k));
        }
    }
}

DIB_ALWAYS_INLINE void joinThree(const unsigned char* __restrict red, const unsigned char* __restrict green,
                                 const unsigned char* __restrict blue, unsigned char* __restrict pixels,
                                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        pixels[3 * i] = blue[i];
        pixels[3 * i + 1] = green[i];
        pixels[3 * i + 2] = red[i];
    }
}

DIB_ALWAYS_INLINE void joinFour(const unsigned char* __restrict red, const unsigned char* __restrict green,
                                const unsigned char* __restrict blue, const unsigned char* __restrict alpha,
                                unsigned char* __restrict pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        pixels[4 * i] = blue[i];
        pixels[4 * i + 1] = green[i];
        pixels[4 * i + 2] = red[i];
        pixels[4 * i + 3] = alpha[i];
    }
}

DIB_ALWAYS_INLINE void splitLoop(const unsigned char* __restrict pixels, std::size_t count,
                                 unsigned char* __restrict planes, std::size_t stride) {
    for (std::size_t i = 0; i < count; ++i) {
        planes[i] = pixels[3 * i + 2];
        planes[stride + i] = pixels[3 * i + 1];
        planes[2 * stride + i] = pixels[3 * i];
    }
}

}  // namespace

void planesToBytes(const unsigned char* planes, std::size_t stride, unsigned char* pixels,
                   std::size_t groups) {
    dib::runKernel<planesToBytesLoop>(planes, stride, pixels, groups);
}

void bytesToPlanes(const unsigned char* pixels, std::size_t groups, unsigned char* planes,
                   std::size_t stride) {
    dib::runKernel<bytesToPlanesLoop>(pixels, groups, planes, stride);
}

void joinColors(std::span<const unsigned char* const> planes, unsigned char* pixels, std::size_t count) {
    if (planes.size() == 3) {
        dib::runKernel<joinThree>(planes[0], planes[1], planes[2], pixels, count);
    } else {
        dib::runKernel<joinFour>(planes[0], planes[1], planes[2], planes[3], pixels, count);
    }
}

void splitColors(const unsigned char* pixels, std::size_t count, unsigned char* planes, std::size_t stride) {
    dib::runKernel<splitLoop>(pixels, count, planes, stride);
}

}  // namespace formats
