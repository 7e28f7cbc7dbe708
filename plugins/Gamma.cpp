#include "plugins/Gamma.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace plugins {

namespace {

constexpr double kExponent = 0.45454543828964233;
constexpr int kLevels = 255;
constexpr std::uint32_t kOne = 0x3F800000;  // the bits of 1.0

float floatOf(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The smallest sample that gives each byte from 1 on; none gives one after 255. The curve rises, and so do
// floats with their bits, so that each is found by halving the range between 0 and 1.
std::array<float, kLevels + 1> thresholds() {
    std::array<float, kLevels + 1> smallest{};
    smallest.back() = std::numeric_limits<float>::infinity();
    for (int level = 1; level <= kLevels; ++level) {
        std::uint32_t below = 0;
        std::uint32_t reaches = kOne;
        while (reaches - below > 1) {
            const std::uint32_t middle = below + (reaches - below) / 2;
            const double byte = std::floor(std::pow(double{floatOf(middle)}, kExponent) * 255.0 + 0.5);
            (byte >= level ? reaches : below) = middle;
        }
        smallest[static_cast<std::size_t>(level - 1)] = floatOf(reaches);
    }
    return smallest;
}

// Exponent and the highest seven bits of the fraction decide the byte of a sample between 0 and 1, except
// that it may be one higher: over a step of these bits, at most 1/128, the curve rises by less than one byte.
constexpr unsigned kTold = 16;
constexpr std::size_t kGuesses = kOne >> kTold;

class Curve {
public:
    Curve() : smallest_(thresholds()) {
        for (std::size_t i = 0; i < guesses_.size(); ++i) {
            const float sample = floatOf(static_cast<std::uint32_t>(i << kTold));
            const auto above = std::upper_bound(smallest_.begin(), smallest_.end(), sample);
            guesses_[i] = static_cast<unsigned char>(above - smallest_.begin());
        }
    }
    unsigned char byte(float sample) const {
        if (!(sample > 0.0F)) return 0;
        if (sample >= 1.0F) return kLevels;
        std::uint32_t bits;
        std::memcpy(&bits, &sample, sizeof bits);
        const unsigned char guess = guesses_[bits >> kTold];
        return static_cast<unsigned char>(guess + (sample >= smallest_[guess] ? 1 : 0));
    }

private:
    std::array<float, kLevels + 1> smallest_;
    std::array<unsigned char, kGuesses> guesses_{};
};

}  // namespace

unsigned char gammaByte(float sample) {
    static const Curve curve;
    return curve.byte(sample);
}

float floatOfHalf(std::uint16_t bits) {
    const int exponent = bits >> 10 & 31;
    const auto fraction = static_cast<float>(bits & 1023);
    float magnitude;
    if (exponent == 31) {
        magnitude =
            fraction == 0 ? std::numeric_limits<float>::infinity() : std::numeric_limits<float>::quiet_NaN();
    } else if (exponent == 0) {
        magnitude = std::ldexp(fraction, -24);
    } else {
        magnitude = std::ldexp(1024 + fraction, exponent - 25);
    }
    return (bits >> 15) != 0 ? -magnitude : magnitude;
}

}  // namespace plugins
