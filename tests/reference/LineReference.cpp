#include "tests/reference/LineReference.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "tests/reference/EffectReference.h"
#include "tests/reference/SamplerReference.h"

namespace reference {

namespace {

// Field c of a pixel value: a byte, or five bits at 16 bits.
int field(int bits, std::uint32_t value, int c) {
    return static_cast<int>(bits == 16 ? (value >> (5 * c)) & 31 : (value >> (8 * c)) & 255);
}
std::uint32_t fieldAt(int bits, std::uint32_t value, int c) { return value << (bits == 16 ? 5 * c : 8 * c); }
int fieldsOf(int bits) { return bits == 8 ? 1 : bits == 32 ? 4 : 3; }

}  // namespace

bool motionBlur(DibStream& image, int length, float angle, unsigned int flags) {
    if (length < 1) return false;
    if (length == 1) return true;
    const int bits = image.Header->biBitCount;
    if (!hasDepth(image, {8, 16, 24, 32})) return false;
    float s = 0;
    float c = 0;
    ::sincosf(angle, &s, &c);
    const std::unique_ptr<DibStream> copy(image.Clone());
    // Sums and divisor wrap in 32 bits.
    const auto wide = static_cast<std::uint32_t>(length);
    const std::int64_t divisor = static_cast<std::int32_t>(wide * (wide + 1)) / 2;
    for (int y = 0; y < heightOf(image); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            std::uint32_t sums[4] = {};
            for (int i = 0; i < length; ++i) {
                const float dx = static_cast<float>(i) * c;
                const float dy = static_cast<float>(i) * s;
                const std::uint32_t color =
                    sampleColor(*copy, static_cast<float>(x) + dx, static_cast<float>(y) + dy, flags);
                for (int f = 0; f < fieldsOf(bits); ++f) {
                    sums[f] += static_cast<std::uint32_t>(length - i) *
                               static_cast<std::uint32_t>(field(bits, color, f));
                }
            }
            std::uint32_t value = 0;
            for (int f = 0; f < fieldsOf(bits); ++f) {
                const std::int64_t mean = std::int64_t{static_cast<std::int32_t>(sums[f])} / divisor;
                value += fieldAt(bits, static_cast<std::uint32_t>(mean) & (bits == 16 ? ~0U : 255U), f);
            }
            setPixel(image, x, y, bits == 16 ? value & 0x7FFFU : value);
        }
    }
    return true;
}

bool emboss(DibStream& image, float strength, int distance, float angle, unsigned int flags) {
    const int bits = image.Header->biBitCount;
    if (distance < 1 || !hasDepth(image, {8, 16, 24, 32})) return false;
    float s = 0;
    float c = 0;
    ::sincosf(angle, &s, &c);
    const float scale = strength / static_cast<float>(distance);
    const std::unique_ptr<DibStream> copy(image.Clone());
    for (int y = 0; y < heightOf(image); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            int sums[4] = {};
            for (int i = distance; i >= 1; --i) {
                const float dx = static_cast<float>(i) * c;
                const float dy = static_cast<float>(i) * s;
                const auto fx = static_cast<float>(x);
                const auto fy = static_cast<float>(y);
                const std::uint32_t a = sampleColor(*copy, fx - dx, fy - dy, flags);
                const std::uint32_t b = sampleColor(*copy, fx + dx, fy + dy, flags);
                for (int f = 0; f < fieldsOf(bits); ++f) sums[f] += field(bits, b, f) - field(bits, a, f);
            }
            const float top = bits == 16 ? 31.0F : 255.0F;
            std::uint32_t value = 0;
            for (int f = 0; f < fieldsOf(bits); ++f) {
                float v = static_cast<float>(sums[f]) * scale + (bits == 16 ? 15.5F : 127.5F);
                if (!(v > 0.0F)) v = 0.0F;
                if (v > top) v = top;
                value |= fieldAt(bits, static_cast<std::uint32_t>(v), f);
            }
            setPixel(image, x, y, value);
        }
    }
    return true;
}

bool pickEdge(DibStream& image, unsigned int flags) {
    const int bits = image.Header->biBitCount;
    if (!hasDepth(image, {8, 24, 32})) return false;
    const std::unique_ptr<DibStream> copy(image.Clone());
    const int width = image.Header->biWidth;
    const int height = heightOf(image);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int left = x > 0 ? x - 1 : (flags & 1) != 0 ? width - 1 : x;
            const int right = x < width - 1 ? x + 1 : (flags & 1) != 0 ? 0 : x;
            const int above = y > 0 ? y - 1 : (flags & 2) != 0 ? height - 1 : y;
            const int below = y < height - 1 ? y + 1 : (flags & 2) != 0 ? 0 : y;
            std::uint32_t value = 0;
            for (int f = 0; f < fieldsOf(bits); ++f) {
                const int dx =
                    field(bits, pixelAt(*copy, left, y), f) - field(bits, pixelAt(*copy, right, y), f);
                const int dy =
                    field(bits, pixelAt(*copy, x, above), f) - field(bits, pixelAt(*copy, x, below), f);
                const auto length = static_cast<int>(std::sqrt(static_cast<double>(dx * dx + dy * dy)));
                value |= fieldAt(bits, static_cast<std::uint32_t>(length & 255), f);
            }
            setPixel(image, x, y, value);
        }
    }
    return true;
}

}  // namespace reference
