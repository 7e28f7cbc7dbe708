#include "formats/FloatPixels.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace formats {

namespace {

// One float below the nearest to 1 / 2.2. Loaded bytes depend on this exact value.
constexpr double kGamma = 0.45454543828964233;

// The curve rises, so a float has the highest byte whose least float it reaches. Floats with the same upper
// 16 bits differ by less than 1/128 of the smaller one, or are tiny, so their bytes differ by at most 1: a
// table by the upper bits and one comparison give the byte.
class LightCurve {
public:
    LightCurve() {
        for (unsigned byte = 1; byte < 256; ++byte) least_[byte] = leastOf(byte);
        least_[256] = std::numeric_limits<float>::infinity();
        for (std::uint32_t upper = 0; upper < kUppers; ++upper) {
            lowest_[upper] = byteOfLight(std::bit_cast<float>(upper << 16));
        }
    }
    unsigned char operator()(float value) const {
        if (!(value > 0.0F)) return 0;
        if (value >= 1.0F) return 255;
        const unsigned low = lowest_[std::bit_cast<std::uint32_t>(value) >> 16];
        return static_cast<unsigned char>(low + (value >= least_[low + 1] ? 1U : 0U));
    }

private:
    static constexpr std::uint32_t kUppers = 0x3F80;  // of the floats from 0 to below 1

    // Positive floats are ordered like their bits.
    static float leastOf(unsigned byte) {
        std::uint32_t below = 0;
        std::uint32_t reaches = std::bit_cast<std::uint32_t>(1.0F);
        while (reaches - below > 1) {
            const std::uint32_t middle = below + (reaches - below) / 2;
            (byteOfLight(std::bit_cast<float>(middle)) >= byte ? reaches : below) = middle;
        }
        return std::bit_cast<float>(reaches);
    }

    std::array<float, 257> least_{};
    std::array<unsigned char, kUppers> lowest_{};
};

const LightCurve& lightCurve() {
    static const LightCurve curve;
    return curve;
}

}  // namespace

unsigned char byteOfLight(float value) {
    if (!(value > 0.0F)) return 0;
    const double byte = std::floor(std::pow(static_cast<double>(value), kGamma) * 255.0 + 0.5);
    return byte >= 255.0 ? 255 : static_cast<unsigned char>(byte);
}

void floatsToBgra(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    const LightCurve& curve = lightCurve();
    for (std::size_t i = 0; i < pixels; ++i) {
        float sample[4];
        std::memcpy(sample, from + sizeof sample * i, sizeof sample);
        to[4 * i] = curve(sample[2]);
        to[4 * i + 1] = curve(sample[1]);
        to[4 * i + 2] = curve(sample[0]);
        to[4 * i + 3] = curve(sample[3]);
    }
}

}  // namespace formats
