#include "formats/psd/Matte.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/FloatBits.h"
#include "dib/Kernels.h"
#include "dib/LightCurve.h"
#include "formats/psd/ChannelBytes.h"

namespace formats::psd {

namespace {

DIB_ALWAYS_INLINE bool isHalfAnywhere(const unsigned char* alpha, std::size_t count) {
    unsigned char found = 0;
    for (std::size_t x = 0; x < count; ++x)
        found = static_cast<unsigned char>(found | (static_cast<unsigned char>(alpha[x] + 1) & 0xFE));
    return found != 0;
}

// What ink is divided by: 0 counts as opaque.
DIB_ALWAYS_INLINE unsigned char divisorOf(unsigned char alpha) {
    return static_cast<unsigned char>(alpha | -static_cast<int>(alpha == 0));
}

// A numerator slightly above 255 rounds every quotient up that lies halfway between two numbers, and changes
// no others.
DIB_ALWAYS_INLINE float inverseOf(unsigned char divisor) { return 255.00024F / static_cast<float>(divisor); }

// The nearest ink x 255 / divisor.
DIB_ALWAYS_INLINE std::uint32_t inkWithoutWhite(unsigned char mixed, unsigned char divisor, float inverse) {
    const auto ink = static_cast<unsigned char>(~mixed);
    const unsigned char most = ink < divisor ? ink : divisor;
    const float raised = static_cast<float>(most) * inverse + 0.5F;  // to be cut
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(raised));
}

DIB_ALWAYS_INLINE void storePixel(std::uint32_t blue, std::uint32_t green, std::uint32_t red,
                                  unsigned char alpha, unsigned char* to) {
    const std::uint32_t pixel = blue | green << 8 | red << 16 | std::uint32_t{alpha} << 24;
    std::memcpy(to, &pixel, sizeof pixel);
}

DIB_ALWAYS_INLINE void joinThree(const unsigned char* __restrict red, const unsigned char* __restrict green,
                                 const unsigned char* __restrict blue, const unsigned char* __restrict alpha,
                                 unsigned char* __restrict pixels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const unsigned char divisor = divisorOf(alpha[x]);
        const float inverse = inverseOf(divisor);
        storePixel(255 - inkWithoutWhite(blue[x], divisor, inverse),
                   255 - inkWithoutWhite(green[x], divisor, inverse),
                   255 - inkWithoutWhite(red[x], divisor, inverse), alpha[x], pixels + 4 * x);
    }
}

DIB_ALWAYS_INLINE void joinFour(const unsigned char* __restrict red, const unsigned char* __restrict green,
                                const unsigned char* __restrict blue, const unsigned char* __restrict black,
                                const unsigned char* __restrict alpha, unsigned char* __restrict pixels,
                                std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const unsigned char divisor = divisorOf(alpha[x]);
        const float inverse = inverseOf(divisor);
        const std::uint32_t light = 255 - inkWithoutWhite(black[x], divisor, inverse);
        storePixel(darkened(255 - inkWithoutWhite(blue[x], divisor, inverse), light),
                   darkened(255 - inkWithoutWhite(green[x], divisor, inverse), light),
                   darkened(255 - inkWithoutWhite(red[x], divisor, inverse), light), alpha[x],
                   pixels + 4 * x);
    }
}

DIB_ALWAYS_INLINE std::int32_t wordAt(const unsigned char* samples, std::size_t x) {
    std::uint16_t swapped = 0;
    std::memcpy(&swapped, samples + 2 * x, sizeof swapped);
    return static_cast<std::uint16_t>(swapped << 8 | swapped >> 8);
}

// A quotient of floats is off by at most 1; what it leaves of the dividend corrects it.
DIB_ALWAYS_INLINE void removeFromWords(const unsigned char* __restrict mixed,
                                       const unsigned char* __restrict alpha, unsigned char* __restrict to,
                                       std::size_t count) {
    constexpr std::int32_t kMost = 65535;
    for (std::size_t x = 0; x < count; ++x) {
        const std::int32_t part = wordAt(alpha, x);
        const std::int32_t divisor = part + kMost * static_cast<std::int32_t>(part == 0);
        const std::int32_t ink = std::min(kMost - wordAt(mixed, x), divisor);
        const float raised = static_cast<float>(ink) * (255.0F / static_cast<float>(divisor)) + 0.5F;
        const auto near = static_cast<std::int32_t>(raised);
        const std::int32_t rest = 510 * ink + divisor - 2 * divisor * near;
        const std::int32_t nearest =
            near + static_cast<std::int32_t>(rest >= 2 * divisor) - static_cast<std::int32_t>(rest < 0);
        to[x] = static_cast<unsigned char>(255 - nearest);
    }
}

DIB_ALWAYS_INLINE std::uint32_t bitsAt(const unsigned char* samples, std::size_t x) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, samples + 4 * x, sizeof bits);
    return bits >> 24 | (bits >> 8 & 0xFF00) | (bits << 8 & 0xFF0000) | bits << 24;
}

DIB_ALWAYS_INLINE void removeFromFloats(const unsigned char* __restrict mixed,
                                        const unsigned char* __restrict alpha, float* __restrict to,
                                        std::size_t count) {
    constexpr auto kOne = dib::bitsOfFloat(1.0F);
    for (std::size_t x = 0; x < count; ++x) {
        // Floats above 0 are ordered like their bits; 0 and others become 1.
        const std::uint32_t divisor = std::min(bitsAt(alpha, x) - 1, kOne - 1) + 1;
        const auto color = double{dib::floatOfBits(bitsAt(mixed, x))};
        to[x] = static_cast<float>(1.0 - (1.0 - color) / double{dib::floatOfBits(divisor)});
    }
}

// The number of half-transparent samples of so many bytes, and in the upper half that of the dark ones among
// them.
template <std::size_t SampleBytes>
DIB_ALWAYS_INLINE std::uint32_t halfAndDark(const unsigned char* __restrict samples,
                                            const unsigned char* __restrict alpha, std::size_t count) {
    constexpr int kRounding = 2;
    std::uint32_t half = 0;
    std::uint32_t dark = 0;
    for (std::size_t x = 0; x < count; ++x) {
        const auto isHalf = static_cast<std::uint32_t>(alpha[x] != 0 && alpha[x] != 255);
        half += isHalf;
        dark += isHalf & static_cast<std::uint32_t>(255 - samples[x * SampleBytes] > alpha[x] + kRounding);
    }
    return half | dark << 16;
}

}  // namespace

bool hasHalfTransparent(const unsigned char* alpha, std::size_t count) {
    // Where one pixel is, most around it are.
    if (count > 0 && alpha[0] != 0 && alpha[0] != 255) return true;
    return dib::runKernel<isHalfAnywhere>(alpha, count);
}

void joinWithoutWhite(std::span<const unsigned char* const> planes, unsigned char* pixels,
                      std::size_t count) {
    if (planes.size() == 4) {
        dib::runWidestKernel<joinThree>(planes[0], planes[1], planes[2], planes[3], pixels, count);
    } else {
        dib::runWidestKernel<joinFour>(planes[0], planes[1], planes[2], planes[3], planes[4], pixels, count);
    }
}

void wordsWithoutWhite(const unsigned char* mixed, const unsigned char* alpha, unsigned char* to,
                       std::size_t count) {
    dib::runWidestKernel<removeFromWords>(mixed, alpha, to, count);
}

void floatsWithoutWhite(const unsigned char* mixed, const unsigned char* alpha, unsigned char* to,
                        std::size_t count) {
    const dib::LightCurve& curve = dib::srgbCurve();
    constexpr std::size_t kPart = 256;
    float light[kPart];
    for (std::size_t first = 0; first < count; first += kPart) {
        const std::size_t part = std::min(kPart, count - first);
        dib::runWidestKernel<removeFromFloats>(mixed + 4 * first, alpha + 4 * first, light, part);
        for (std::size_t x = 0; x < part; ++x) to[first + x] = curve(light[x]);
    }
}

void InkCensus::add(const unsigned char* samples, std::size_t sampleBytes, const unsigned char* alpha,
                    std::size_t count) {
    const std::uint32_t counted = sampleBytes == 1 ? dib::runKernel<halfAndDark<1>>(samples, alpha, count)
                                                   : dib::runKernel<halfAndDark<2>>(samples, alpha, count);
    half_ += counted & 0xFFFF;
    dark_ += counted >> 16;
}

}  // namespace formats::psd
