#include "tests/reference/EffectReference.h"

#include <math.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tests/reference/SamplerReference.h"

namespace reference {

namespace {

bool hasEffectDepth(const DibStream& image) { return hasDepth(image, {1, 4, 8, 16, 24, 32}); }

struct Point {
    float x;
    float y;
};

// Every pixel is taken from `positionOf(x, y)` of the unchanged image.
template <class PositionOf>
bool warp(DibStream& image, unsigned int flags, const PositionOf& positionOf) {
    const int bits = image.Header->biBitCount;
    if (!hasEffectDepth(image)) return false;
    const std::unique_ptr<DibStream> copy(image.Clone());
    for (int y = 0; y < heightOf(image); ++y) {
        if (bits < 8) std::memset(image.ScanLine(y), 0, image.GetPitch());
        for (int x = 0; x < widthOf(image); ++x) {
            const Point from = positionOf(x, y);
            setPixel(image, x, y, sampleColor(*copy, from.x, from.y, flags));
        }
    }
    return true;
}

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

int widthOf(const DibStream& image) { return image.Header->biWidth; }
int heightOf(const DibStream& image) { return std::abs(image.Header->biHeight); }

bool hasDepth(const DibStream& image, std::initializer_list<int> depths) {
    return std::find(depths.begin(), depths.end(), image.Header->biBitCount) != depths.end();
}

int edgePixel(std::int64_t v, int size, bool wrap) {
    if (!wrap) return static_cast<int>(v < 0 ? 0 : v >= size ? size - 1 : v);
    if (v >= 0) return static_cast<int>(v % size);
    return static_cast<int>(-v % size == 0 ? 0 : size - -v % size);
}

bool reverse(DibStream& image) {
    const std::int64_t bytes = std::int64_t{image.GetPitch()} * heightOf(image);
    for (std::int64_t i = 0; i < bytes; ++i) image.Buffer[i] = static_cast<unsigned char>(~image.Buffer[i]);
    return true;
}

bool mosaic(DibStream& image, int blockSize) {
    if (blockSize < 1) return false;
    if (blockSize == 1) return true;
    const int width = widthOf(image);
    const int height = heightOf(image);
    const int bits = image.Header->biBitCount;
    if (!hasEffectDepth(image)) return false;
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
    return true;
}

bool rotate(DibStream& image, float angle, unsigned int flags) {
    if (angle == 0.0F) return true;
    float s;
    float c;
    sincosf(angle, &s, &c);
    const float cx = static_cast<float>(widthOf(image) - 1) * 0.5F;
    const float cy = static_cast<float>(heightOf(image) - 1) * 0.5F;
    return warp(image, flags, [&](int x, int y) {
        const float dx = static_cast<float>(x) - cx;
        const float dy = static_cast<float>(y) - cy;
        const float a = s * dy;
        const float b = dy * c;
        return Point{(c * dx - a) + cx, (dx * s + b) + cy};
    });
}

bool ripple(DibStream& image, float centerX, float centerY, float wavelength, float amplitude, float phase,
            unsigned int flags) {
    if (wavelength == 0.0F) return false;
    if (amplitude == 0.0F) return true;
    return warp(image, flags, [&](int x, int y) {
        const float dx = static_cast<float>(x) - centerX;
        const float dy = static_cast<float>(y) - centerY;
        const float r = sqrtf(dx * dx + dy * dy);
        const float a = sinf((r / wavelength) * 6.2831855F + phase) * amplitude;
        float s;
        float c;
        sincosf(a, &s, &c);
        return Point{(dx * c - dy * s) + centerX, (c * dy + dx * s) + centerY};
    });
}

bool wave(DibStream& image, float wavelength, float amplitude, float phase, float direction,
          unsigned int flags) {
    if (wavelength == 0.0F) return false;
    if (amplitude == 0.0F) return true;
    float s;
    float c;
    sincosf(direction, &s, &c);
    const float cx = static_cast<float>(widthOf(image) - 1) * 0.5F;
    const float cy = static_cast<float>(heightOf(image) - 1) * 0.5F;
    return warp(image, flags, [&](int x, int y) {
        const float dx = static_cast<float>(x) - cx;
        const float dy = static_cast<float>(y) - cy;
        float t = s * dx - c * dy;
        const float q = (dx * dx + dy * dy) - t * t;
        float d = q > 0.0F ? sqrtf(q) : 0.0F;
        t = fabsf(t);
        const float e = (t * c - dy) * (s * t) - (dx + s * t) * (t * c);
        if (e < 0.0F) d = -d;
        const float w = sinf((d / wavelength) * 6.2831855F + phase) * amplitude;
        return Point{static_cast<float>(x) - s * w, w * c + static_cast<float>(y)};
    });
}

bool whirl(DibStream& image, float centerX, float centerY, float twist, unsigned int flags) {
    if (twist == 0.0F) return true;
    return warp(image, flags, [&](int x, int y) {
        const float dx = static_cast<float>(x) - centerX;
        const float dy = static_cast<float>(y) - centerY;
        const float a = sqrtf(dx * dx + dy * dy) * twist;
        float s;
        float c;
        sincosf(a, &s, &c);
        return Point{(dx * c - dy * s) + centerX, (c * dy + dx * s) + centerY};
    });
}

}  // namespace reference
