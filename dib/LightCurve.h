// Linear light in floats as bytes, in the library and its plug-ins.
#ifndef DIB_LIGHT_CURVE_H
#define DIB_LIGHT_CURVE_H

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "dib/FloatBits.h"

namespace dib {

// floor(255 f(v) + 0.5) of a curve f from 0 to 1, held within 0 to 255; 0 for NaN and negative values.
//
// The curve rises, so a float belongs to the highest byte whose least float it reaches. Floats with the same
// upper 16 bits differ by less than a 128th, or are too small to show, and so by less than one byte: one
// comparison decides between two bytes.
class LightCurve {
public:
    using Function = double (*)(double);

    explicit LightCurve(Function function) : function_(function) {
        for (unsigned byte = 1; byte < 256; ++byte) least_[byte] = leastOf(byte);
        least_[256] = std::numeric_limits<float>::infinity();
        for (std::uint32_t upper = 0; upper < kUppers; ++upper) {
            lowest_[upper] = static_cast<unsigned char>(shown(floatOfBits(upper << 16)));
        }
    }
    unsigned char operator()(float value) const {
        if (!(value > 0.0F)) return 0;
        if (value >= 1.0F) return 255;
        const unsigned low = lowest_[bitsOfFloat(value) >> 16];
        return static_cast<unsigned char>(low + (value >= least_[low + 1] ? 1U : 0U));
    }

private:
    static constexpr std::uint32_t kUppers = 0x3F80;  // of the floats from 0 to below 1

    double shown(float value) const { return std::floor(function_(double{value}) * 255.0 + 0.5); }

    // Positive floats are ordered like their bits.
    float leastOf(unsigned byte) const {
        std::uint32_t below = 0;
        std::uint32_t reaches = bitsOfFloat(1.0F);
        while (reaches - below > 1) {
            const std::uint32_t middle = below + (reaches - below) / 2;
            (shown(floatOfBits(middle)) >= byte ? reaches : below) = middle;
        }
        return floatOfBits(reaches);
    }

    Function function_;
    std::array<float, 257> least_{};
    std::array<unsigned char, kUppers> lowest_{};
};

// The curve of float images: light to the power 1 / 2.2.
inline const LightCurve& lightCurve() {
    // A neighbour of the nearest float, which float images have always been raised to.
    constexpr double kGamma = 0.45454543828964233;
    static const LightCurve curve([](double light) { return std::pow(light, kGamma); });
    return curve;
}

// The curve of sRGB.
inline const LightCurve& srgbCurve() {
    static const LightCurve curve([](double light) {
        return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    });
    return curve;
}

}  // namespace dib

#endif
