// Floats of 16 bits, as files store them.
#ifndef DIB_HALF_FLOAT_H
#define DIB_HALF_FLOAT_H

#include <cstdint>

#include "dib/FloatBits.h"

namespace dib {

inline float floatOfHalf(std::uint16_t half) {
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t exponent = half >> 10 & 31U;
    const std::uint32_t fraction = half & 0x3FFU;
    if (exponent == 0) {
        constexpr float kLeast = 1.0F / (1 << 24);
        const float value = static_cast<float>(fraction) * kLeast;
        return sign != 0 ? -value : value;
    }
    const std::uint32_t wide = exponent == 31 ? 255 : exponent + 127 - 15;
    return floatOfBits(sign | wide << 23 | fraction << 13);
}

}  // namespace dib

#endif
