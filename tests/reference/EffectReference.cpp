#include "tests/reference/EffectReference.h"

#include <algorithm>
#include <cstdlib>

namespace reference {

namespace {

int heightOf(const DibStream& image) { return std::abs(image.Header->biHeight); }

}  // namespace

std::uint32_t pixelAt(DibStream& image, int x, int y) {
    const int bits = image.Header->biBitCount;
    const unsigned char* at = image.Pixel(x, y);
    if (bits < 8) return (at[0] >> (8 - bits - x * bits % 8)) & ((1U << bits) - 1);
    std::uint32_t value = 0;
    for (int byte = 0; byte < bits / 8; ++byte) value |= std::uint32_t{at[byte]} << (8 * byte);
    return value;
}

void setPixel(DibStream& image, int x, int y, std::uint32_t value) {
    const int bits = image.Header->biBitCount;
    unsigned char* at = image.Pixel(x, y);
    if (bits < 8) {
        const int shift = 8 - bits - x * bits % 8;
        const unsigned mask = ((1U << bits) - 1) << shift;
        at[0] = static_cast<unsigned char>((at[0] & ~mask) | (value << shift));
        return;
    }
    for (int byte = 0; byte < bits / 8; ++byte) at[byte] = static_cast<unsigned char>(value >> (8 * byte));
}

void reverse(DibStream& image) {
    const std::int64_t bytes = std::int64_t{image.GetPitch()} * heightOf(image);
    for (std::int64_t i = 0; i < bytes; ++i) image.Buffer[i] = static_cast<unsigned char>(~image.Buffer[i]);
}

void mosaic(DibStream& image, int blockSize) {
    const int width = image.Header->biWidth;
    const int height = heightOf(image);
    const int bits = image.Header->biBitCount;
    const std::int64_t n = blockSize;
    for (std::int64_t by = 0; by < height; by += n) {
        for (std::int64_t bx = 0; bx < width; bx += n) {
            const int firstX = static_cast<int>(bx);
            const int firstY = static_cast<int>(by);
            const int endX = static_cast<int>(std::min<std::int64_t>(bx + n, width));
            const int endY = static_cast<int>(std::min<std::int64_t>(by + n, height));
            std::uint32_t color = pixelAt(image, firstX, firstY);
            if (bits >= 16) {
                const int channels = bits == 32 ? 4 : 3;
                const int channelBits = bits == 16 ? 5 : 8;
                const std::uint32_t mask = (1U << channelBits) - 1;
                color = 0;
                for (int c = 0; c < channels; ++c) {
                    std::uint64_t sum = 0;
                    for (int y = firstY; y < endY; ++y) {
                        for (int x = firstX; x < endX; ++x) {
                            sum += (pixelAt(image, x, y) >> (c * channelBits)) & mask;
                        }
                    }
                    const std::uint64_t pixels =
                        static_cast<std::uint64_t>(endX - firstX) * static_cast<std::uint64_t>(endY - firstY);
                    color |= static_cast<std::uint32_t>(sum / pixels) << (c * channelBits);
                }
            }
            for (int y = firstY; y < endY; ++y) {
                for (int x = firstX; x < endX; ++x) setPixel(image, x, y, color);
            }
        }
    }
}

}  // namespace reference
