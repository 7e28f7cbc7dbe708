#include "plugins/Gamma.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace plugins {

namespace {

constexpr double kExponent = 0.45454543828964233;
constexpr int kLevels = 255;

float floatOf(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The smallest sample that gives each byte from 1 on. The curve rises, and so do floats with their bits, so that
// each is found by halving the range between 0 and 1.
std::array<float, kLevels> thresholds() {
    std::array<float, kLevels> smallest{};
    for (int level = 1; level <= kLevels; ++level) {
        std::uint32_t below = 0;
        std::uint32_t reaches = 0x3F800000;  // 1.0
        while (reaches - below > 1) {
            const std::uint32_t middle = below + (reaches - below) / 2;
            const double byte = std::floor(std::pow(double{floatOf(middle)}, kExponent) * 255.0 + 0.5);
            (byte >= level ? reaches : below) = middle;
        }
        smallest[static_cast<std::size_t>(level - 1)] = floatOf(reaches);
    }
    return smallest;
}

}  // namespace

unsigned char gammaByte(float sample) {
    static const std::array<float, kLevels> smallest = thresholds();
    if (!(sample > 0.0F)) return 0;
    return static_cast<unsigned char>(std::upper_bound(smallest.begin(), smallest.end(), sample) -
                                      smallest.begin());
}

}  // namespace plugins
