#include "tests/reference/PointReference.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>

#include "tests/reference/EffectReference.h"

namespace reference {

namespace {

// Changes the colours of a pixel value one by one. Byte 0 is blue or the index.
std::uint32_t changeColors(int bits, std::uint32_t value, const std::function<int(int, int)>& change) {
    const int colors = bits == 8 ? 1 : 3;
    for (int c = 0; c < colors; ++c) {
        const int old = static_cast<int>((value >> (8 * c)) & 255);
        value &= ~(255U << (8 * c));
        value |= static_cast<std::uint32_t>(change(c, old) & 255) << (8 * c);
    }
    return value;
}

int clampByte(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

bool tone(DibStream& image, const std::function<int(int)>& curve) {
    const int bits = image.Header->biBitCount;
    if (hasDepth(image, {24, 32})) {
        for (int y = 0; y < heightOf(image); ++y) {
            for (int x = 0; x < image.Header->biWidth; ++x) {
                const std::uint32_t old = pixelAt(image, x, y);
                setPixel(image, x, y, changeColors(bits, old, [&](int, int v) { return curve(v); }));
            }
        }
        return true;
    }
    if (!hasDepth(image, {1, 4, 8})) return false;
    const auto used = static_cast<std::int32_t>(image.Header->biClrUsed);
    const std::int32_t entries = used != 0 ? used : 1 << bits;
    unsigned char* entry = reinterpret_cast<unsigned char*>(image.Header) + image.Header->biSize;
    for (std::int32_t i = 0; i < entries; ++i, entry += 4) {
        for (int c = 2; c >= 0; --c) entry[c] = static_cast<unsigned char>(curve(entry[c]));
    }
    return true;
}

std::int64_t truncate(float f) {
    if (std::isnan(f)) return 0;
    if (f >= 2147483648.0F) return INT32_MAX;
    if (f <= -2147483648.0F) return INT32_MIN;
    return static_cast<std::int64_t>(f);
}

}  // namespace

bool noise(DibStream& image, int amount) {
    const int bits = image.Header->biBitCount;
    if (amount < 0 || !hasDepth(image, {8, 24, 32})) return false;
    const auto modulus = static_cast<std::int32_t>(2 * static_cast<std::uint32_t>(amount) + 1);
    for (int y = 0; y < heightOf(image); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            const int r = (std::rand() >> 4) % modulus - amount;
            const std::uint32_t old = pixelAt(image, x, y);
            setPixel(image, x, y, changeColors(bits, old, [&](int, int v) { return clampByte(v + r); }));
        }
    }
    return true;
}

bool colorNoise(DibStream& image, DibBGRA color, float strength) {
    const int bits = image.Header->biBitCount;
    const float scaled = strength * 256;
    if (!(scaled < 257) || !(scaled > -1)) return false;
    const int level = static_cast<int>(scaled);
    if (!hasDepth(image, {8, 24, 32})) return false;
    const int grey = (37 * color.blue + 146 * color.green + 73 * color.red) >> 8;
    const int targets[] = {bits == 8 ? grey : color.blue, color.green, color.red};
    for (int y = 0; y < heightOf(image); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            const int t = ((std::rand() >> 4) & 255) * level;
            const std::uint32_t old = pixelAt(image, x, y);
            setPixel(image, x, y, changeColors(bits, old, [&](int c, int v) {
                         return ((65280 - t) * v + t * targets[c]) / 65280;
                     }));
        }
    }
    return true;
}

bool diffuse(DibStream& image, int radius, unsigned int flags) {
    if (radius < 0) return false;
    if (radius == 0) return true;
    if (!hasDepth(image, {8, 16, 24, 32})) return false;
    const std::unique_ptr<DibStream> copy(image.Clone());
    const auto modulus = static_cast<std::int32_t>(2 * static_cast<std::uint32_t>(radius) + 1);
    for (int y = 0; y < heightOf(image); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            const std::int64_t a = (std::rand() >> 8) % modulus;
            const int fromX = edgePixel(std::int64_t{x} - radius + a, widthOf(image), (flags & 1) != 0);
            const std::int64_t b = (std::rand() >> 8) % modulus;
            const int fromY = edgePixel(std::int64_t{y} - radius + b, heightOf(image), (flags & 2) != 0);
            setPixel(image, x, y, pixelAt(*copy, fromX, fromY));
        }
    }
    return true;
}

bool gammaCorrect(DibStream& image, int low, int high, float gamma) {
    const auto wrapped = [](std::int64_t v) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    };
    const std::int32_t n = wrapped(std::int64_t{high} - low + 1);
    const double e = 1.0 / static_cast<double>(gamma);
    return tone(image, [&](int i) -> int {
        const std::int32_t d = wrapped(std::int64_t{i} - low);
        if (d >= high) return 255;
        if (d <= low) return 0;
        const double power = std::pow(static_cast<double>(d) / static_cast<double>(n), e);
        return static_cast<int>(truncate(static_cast<float>(power) * static_cast<float>(n) + 0.5F) & 255);
    });
}

bool contrast(DibStream& image, float brightness, float slope) {
    return tone(image, [&](int i) -> int {
        const float f =
            (static_cast<float>(i) / 255.0F * slope + ((1.0F - slope) * 0.5F + brightness)) * 255.0F + 0.5F;
        const std::int64_t v = truncate(f);
        return static_cast<int>(v > 255 ? 255 : v < 0 ? 0 : v);
    });
}

}  // namespace reference
