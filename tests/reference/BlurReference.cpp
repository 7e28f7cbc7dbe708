#include "tests/reference/BlurReference.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "tests/reference/EffectReference.h"

namespace reference {

namespace {

// An unchanged copy, read by channel at any position.
struct Source {
    std::unique_ptr<DibStream> copy;
    int width;
    int height;
    int bits;
    unsigned int flags;

    Source(DibStream& image, unsigned int edgeFlags)
        : copy(image.Clone()),
          width(image.Header->biWidth),
          height(std::abs(image.Header->biHeight)),
          bits(image.Header->biBitCount),
          flags(edgeFlags) {}

    int channels() const { return bits == 8 ? 1 : bits == 32 ? 4 : 3; }
    std::uint32_t channel(int x, int y, int c) const {
        const std::uint32_t value =
            pixelAt(*copy, edgePixel(x, width, (flags & 1U) != 0), edgePixel(y, height, (flags & 2U) != 0));
        return bits == 16 ? (value >> (5 * c)) & 31U : (value >> (8 * c)) & 255U;
    }
};

// Every pixel of the image from its channels: rule(source, x, y, c) is the channel's new value.
template <class Rule>
void change(DibStream& image, unsigned int flags, const Rule& rule) {
    const Source source(image, flags);
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            std::uint32_t value = 0;
            for (int c = 0; c < source.channels(); ++c) {
                value |= static_cast<std::uint32_t>(rule(source, x, y, c))
                         << (source.bits == 16 ? 5 * c : 8 * c);
            }
            setPixel(image, x, y, value);
        }
    }
}

bool isByteDepth(const DibStream& image) { return hasDepth(image, {8, 24, 32}); }

}  // namespace

bool blur(DibStream& image, int radius, unsigned int flags) {
    if (radius < 0) return false;
    if (radius == 0) return true;
    if (!isByteDepth(image) && image.Header->biBitCount != 16) return false;
    const int side = 2 * radius + 1;
    const int divisor = side * side;
    change(image, flags, [=](const Source& source, int x, int y, int c) {
        int sum = 0;
        for (int sy = y - radius; sy <= y + radius; ++sy) {
            for (int sx = x - radius; sx <= x + radius; ++sx) {
                sum += static_cast<int>(source.channel(sx, sy, c));
            }
        }
        return sum / divisor;
    });
    return true;
}

bool blurLittle(DibStream& image, unsigned int flags) {
    if (!isByteDepth(image)) return false;
    change(image, flags, [](const Source& source, int x, int y, int c) {
        return (source.channel(x, y - 1, c) + source.channel(x - 1, y, c) + source.channel(x + 1, y, c) +
                source.channel(x, y + 1, c)) >>
               2;
    });
    return true;
}

bool sharpLittle(DibStream& image, unsigned int flags) {
    if (!isByteDepth(image)) return false;
    change(image, flags, [](const Source& source, int x, int y, int c) {
        const int value = 5 * static_cast<int>(source.channel(x, y, c)) -
                          static_cast<int>(source.channel(x, y - 1, c) + source.channel(x - 1, y, c) +
                                           source.channel(x + 1, y, c) + source.channel(x, y + 1, c));
        if (value >= 256) return 255;
        return value < 0 ? 0 : value;
    });
    return true;
}

std::vector<std::int32_t> gaussianWeights(int half, float spread) {
    const auto side = static_cast<std::size_t>(2 * half + 1);
    std::vector<float> floats(side * side);
    float total = 0;
    for (int j = -half; j <= half; ++j) {
        for (int i = -half; i <= half; ++i) {
            const float u = static_cast<float>(i) / spread * 3.0F;
            const float v = static_cast<float>(j) / spread * 3.0F;
            const float squares = u * u + v * v;
            const auto weight = static_cast<float>(std::exp(-0.5 * static_cast<double>(squares)));
            floats[static_cast<std::size_t>(j + half) * side + static_cast<std::size_t>(i + half)] = weight;
            total += weight;
        }
    }
    if (total == 0) return {};
    const float factor = 65536.0F / total;
    std::vector<std::int32_t> weights;
    for (const float weight : floats) weights.push_back(static_cast<std::int32_t>(weight * factor));
    return weights;
}

bool gaussianBlur(DibStream& image, float radius, unsigned int flags) {
    if (!(std::floor(radius) >= 0)) return false;
    if (std::floor(radius) == 0) return true;
    const bool wide = std::floor(radius) > 255;
    const int half = wide ? 255 : static_cast<int>(radius);
    const std::vector<std::int32_t> weights = gaussianWeights(half, wide ? 255.0F : radius);
    if (weights.empty() || !isByteDepth(image)) return false;
    change(image, flags, [&](const Source& source, int x, int y, int c) {
        std::uint32_t sum = 0;
        std::size_t k = 0;
        for (int j = -half; j <= half; ++j) {
            for (int i = -half; i <= half; ++i) {
                const auto weight = static_cast<std::uint32_t>(weights[k++]);
                if (weight != 0) sum += weight * source.channel(x + i, y + j, c);
            }
        }
        return sum >> 16;
    });
    return true;
}

}  // namespace reference
