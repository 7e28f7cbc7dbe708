#include "tests/reference/SamplerReference.h"

#include <DibColor.h>

#include <cmath>
#include <cstdlib>

namespace reference {

namespace {

// NaN gives 0, and so does an infinity that wraps.
float edgeRule(float value, float size, bool wrap) {
    if (std::isnan(value) || (wrap && std::isinf(value))) return 0;
    if (wrap) {
        if (value < 0) {
            const float wrapped = size - fmodf(-value, size);
            return wrapped == size ? 0 : wrapped;
        }
        return value >= size ? fmodf(value, size) : value;
    }
    if (value < 0) return 0;
    if (value > size - 1) return size - 1;
    return value;
}

std::uint32_t nearest(DibStream& image, int x, int y) {
    const unsigned char* pixel = image.Pixel(x, y);
    switch (image.Header->biBitCount) {
        case 1: return (pixel[0] >> (7 - x % 8)) & 1U;
        case 4: return x % 2 == 0 ? pixel[0] >> 4U : pixel[0] & 15U;
        case 8: return pixel[0];
        default: return pixel[0] + 256U * pixel[1];
    }
}

}  // namespace

std::uint32_t colorAt(DibStream& image, float x, float y, unsigned int flags) {
    switch (image.Header->biBitCount) {
        case 1: return DibGetColor1(&image, x, y, flags);
        case 4: return DibGetColor4(&image, x, y, flags);
        case 8: return DibGetColor8(&image, x, y, flags);
        case 16: return DibGetColor16(&image, x, y, flags);
        case 24: return DibGetColor24(&image, x, y, flags);
        default: return DibGetColor32(&image, x, y, flags);
    }
}

std::uint32_t sampleColor(DibStream& image, float x, float y, unsigned int flags) {
    const bool wrapX = (flags & 1) != 0;
    const bool wrapY = (flags & 2) != 0;
    const int width = image.Header->biWidth;
    const int height = std::abs(image.Header->biHeight);
    x = edgeRule(x, static_cast<float>(width), wrapX);
    y = edgeRule(y, static_cast<float>(height), wrapY);
    const int x0 = static_cast<int>(x);
    const int y0 = static_cast<int>(y);
    const int depth = image.Header->biBitCount;
    if (depth <= 16) return nearest(image, x0, y0);

    const auto fx = static_cast<unsigned>((static_cast<double>(x) - x0) * 256.0);
    const auto fy = static_cast<unsigned>((static_cast<double>(y) - y0) * 256.0);
    const bool hasPartner = x0 + 1 < width || wrapX;
    const int x1 = x0 + 1 < width ? x0 + 1 : 0;
    const bool twoRows = y0 + 1 < height || wrapY;
    const int y1 = y0 + 1 < height ? y0 + 1 : 0;
    const unsigned channels = static_cast<unsigned>(depth) / 8;

    std::uint32_t color = 0;
    for (unsigned c = 0; c < channels; ++c) {
        const auto value = [&](int column, int row) -> unsigned { return image.Pixel(column, row)[c]; };
        unsigned mixed = 0;
        if (!twoRows && !hasPartner) {
            mixed = value(x0, y0);
        } else if (!twoRows) {
            mixed = (value(x0, y0) * (256 - fx) + value(x1, y0) * fx) >> 8;
        } else if (!hasPartner) {
            // The fourth byte repeats the third here.
            const unsigned source = c == 3 ? 2 : c;
            mixed = (image.Pixel(x0, y0)[source] * (256 - fy) + image.Pixel(x0, y1)[source] * fy) >> 8;
        } else {
            const unsigned h0 = value(x0, y0) * (256 - fx) + value(x1, y0) * fx;
            const unsigned h1 = value(x0, y1) * (256 - fx) + value(x1, y1) * fx;
            mixed = (h0 * (256 - fy) + h1 * fy) >> 16;
        }
        color |= mixed << (8 * c);
    }
    return color;
}

}  // namespace reference
