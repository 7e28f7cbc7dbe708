// Choosing a resampler, and halving.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"
#include "geometry/Canvas.h"

bool DibStream::Resize(int width, int height, DIB_RESIZE_METHOD method) {
    if (Buffer == nullptr || Header == nullptr) return false;
    const std::int64_t rows = dib::rowCount(Header->biHeight);
    if (width == Header->biWidth && height == rows) return true;
    const bool isHalf = std::int64_t{width} * 2 == Header->biWidth && std::int64_t{height} * 2 == rows;
    if (isHalf && ResizeHalf()) return true;
    switch (method) {
        case DIB_RESIZE_INTEGRAL: return ResizeIntegral(width, height);
        case DIB_RESIZE_BILINEAR: return ResizeBilinear(width, height);
    }
    return false;
}

namespace {

// Each result is the mean of two neighbours in two rows, truncated.
DIB_ALWAYS_INLINE void halveRow32(const unsigned char* first, const unsigned char* second, unsigned char* out,
                                  std::size_t width) {
    // Every second channel of a pair of pixels in 16-bit lanes, so that sums of four bytes have room.
    constexpr std::uint64_t kLanes = 0x00FF00FF00FF00FFU;
    for (std::size_t x = 0; x < width; ++x) {
        std::uint64_t pairA;
        std::uint64_t pairB;
        std::memcpy(&pairA, first + 8 * x, 8);
        std::memcpy(&pairB, second + 8 * x, 8);
        const std::uint64_t blueRed = (pairA & kLanes) + (pairB & kLanes);
        const std::uint64_t greenAlpha = (pairA >> 8 & kLanes) + (pairB >> 8 & kLanes);
        const std::uint64_t even = (blueRed + (blueRed >> 32)) >> 2 & 0x00FF00FFU;
        const std::uint64_t odd = (greenAlpha + (greenAlpha >> 32)) >> 2 & 0x00FF00FFU;
        const auto pixel = static_cast<std::uint32_t>(even | odd << 8);
        std::memcpy(out + 4 * x, &pixel, 4);
    }
}

DIB_ALWAYS_INLINE void halveRow24(const unsigned char* __restrict first,
                                  const unsigned char* __restrict second, unsigned char* __restrict out,
                                  std::size_t width) {
    // The means of every pixel with its right neighbour are one flat loop; every second of them is a result.
    constexpr std::size_t kChunk = 256;
    unsigned char means[kChunk * 6];
    while (width > 0) {
        const std::size_t pixels = std::min(width, kChunk);
        for (std::size_t i = 0; i < pixels * 6 - 3; ++i) {
            means[i] = static_cast<unsigned char>((first[i] + first[i + 3] + second[i] + second[i + 3]) >> 2);
        }
        // Four bytes move at once; the fourth is overwritten by the next pixel.
        for (std::size_t x = 0; x + 1 < pixels; ++x) std::memcpy(out + 3 * x, means + 6 * x, 4);
        std::memcpy(out + 3 * (pixels - 1), means + 6 * (pixels - 1), 3);
        first += pixels * 6;
        second += pixels * 6;
        out += pixels * 3;
        width -= pixels;
    }
}

}  // namespace

bool DibStream::ResizeHalf() {
    if (!dib::hasPixels(*this)) return false;
    const int depth = Header->biBitCount;
    if (depth != 24 && depth != 32) return false;

    const std::size_t rowBytes = GetPitch();
    dib::Canvas half(*this, Header->biWidth / 2, Header->biHeight / 2);
    if (half.pixels == nullptr) return dib::failForMemory(*this);
    const auto width = static_cast<std::size_t>(half.header.biWidth);
    for (std::size_t row = 0; row < half.rows; ++row) {
        const unsigned char* first = Buffer + 2 * row * rowBytes;
        const unsigned char* second = first + rowBytes;
        if (depth == 32) {
            dib::runKernel<halveRow32>(first, second, half.row(row), width);
        } else {
            dib::runKernel<halveRow24>(first, second, half.row(row), width);
        }
        half.clearRowEnd(row, width * static_cast<std::size_t>(depth) / 8);
    }
    return half.installInto(*this) || dib::failForMemory(*this);
}
