// Linear light in floats as bytes: the curve of all float images, in the library and its plug-ins.
#ifndef DIB_LIGHT_CURVE_H
#define DIB_LIGHT_CURVE_H

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace dib {

// floor(255 v^0.4545... + 0.5), held within 0 to 255; 0 for NaN and negative values.
//
// The curve rises, so a float belongs to the highest byte whose least float it reaches. Floats with the same
// upper 16 bits differ by less than a 128th, or are too small to show, and so by less than one byte: one
// comparison decides between two bytes.
class LightCurve {
public:
    LightCurve() {
        for (unsigned byte = 1; byte < 256; ++byte) least_[byte] = leastOf(byte);
        least_[256] = std::numeric_limits<float>::infinity();
        for (std::uint32_t upper = 0; upper < kUppers; ++upper) {
            lowest_[upper] = static_cast<unsigned char>(shown(std::bit_cast<float>(upper << 16)));
        }
    }
    unsigned char operator()(float value) const {
        if (!(value > 0.0F)) return 0;
        if (value >= 1.0F) return 255;
        const unsigned low = lowest_[std::bit_cast<std::uint32_t>(value) >> 16];
        return static_cast<unsigned char>(low + (value >= least_[low + 1] ? 1U : 0U));
    }

private:
    // 1 / 2.2 as a neighbour of the nearest float, which float images have always been raised to.
    static constexpr double kGamma = 0.45454543828964233;
    static constexpr std::uint32_t kUppers = 0x3F80;  // of the floats from 0 to below 1

    static double shown(float value) { return std::floor(std::pow(double{value}, kGamma) * 255.0 + 0.5); }

    // Positive floats are ordered like their bits.
    static float leastOf(unsigned byte) {
        std::uint32_t below = 0;
        std::uint32_t reaches = std::bit_cast<std::uint32_t>(1.0F);
        while (reaches - below > 1) {
            const std::uint32_t middle = below + (reaches - below) / 2;
            (shown(std::bit_cast<float>(middle)) >= byte ? reaches : below) = middle;
        }
        return std::bit_cast<float>(reaches);
    }

    std::array<float, 257> least_{};
    std::array<unsigned char, kUppers> lowest_{};
};

inline const LightCurve& lightCurve() {
    static const LightCurve curve;
    return curve;
}

}  // namespace dib

#endif
