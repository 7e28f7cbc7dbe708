// Colours and noise of the sample picture. Only additions, multiplications, divisions, square roots and
// comparisons are used: they give the same bits on every machine, unlike the C library's sines and powers.
#ifndef SCRIPTS_SAMPLE_PAINT_H
#define SCRIPTS_SAMPLE_PAINT_H

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace sample {

struct Color {
    double red;
    double green;
    double blue;
};

constexpr Color operator+(Color a, Color b) { return {a.red + b.red, a.green + b.green, a.blue + b.blue}; }
constexpr Color operator*(Color a, double f) { return {a.red * f, a.green * f, a.blue * f}; }

constexpr double clamped(double value) { return std::clamp(value, 0.0, 1.0); }
constexpr double mix(double a, double b, double t) { return a + (b - a) * t; }
constexpr Color mix(Color a, Color b, double t) { return a * (1 - t) + b * t; }

// 0 up to `from`, 1 above `to`, smooth in between.
constexpr double ramp(double from, double to, double x) {
    const double t = clamped((x - from) / (to - from));
    return t * t * (3 - 2 * t);
}

constexpr double squared(double x) { return x * x; }
inline double distance(double x, double y) { return std::sqrt(x * x + y * y); }

// A pseudo-random number from 0 to below 1.
constexpr double hash(std::int32_t x, std::int32_t y, std::uint32_t seed = 0) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1U ^
                      static_cast<std::uint32_t>(y) * 0x85EBCA77U ^ (seed + 1U) * 0xC2B2AE3DU;
    h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
    h = (h ^ (h >> 12)) * 0x297A2D39U;
    return static_cast<double>(h ^ (h >> 15)) / 4294967296.0;
}

// Smooth noise from 0 to 1 with features of size 1.
inline double noise(double x, double y, std::uint32_t seed = 0) {
    const double left = std::floor(x);
    const double top = std::floor(y);
    const auto column = static_cast<std::int32_t>(left);
    const auto row = static_cast<std::int32_t>(top);
    const double s = ramp(0, 1, x - left);
    const double t = ramp(0, 1, y - top);
    return mix(mix(hash(column, row, seed), hash(column + 1, row, seed), s),
               mix(hash(column, row + 1, seed), hash(column + 1, row + 1, seed), s), t);
}

// Noise with ever finer detail, 0 to 1, around one half.
inline double cloudNoise(double x, double y, int octaves, std::uint32_t seed = 0) {
    double sum = 0;
    double weight = 0.5;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * noise(x, y, seed + static_cast<std::uint32_t>(i));
        // Turned by the 3-4-5 triangle, so that the lattices of the octaves do not line up.
        const double turned = 1.6 * x - 1.2 * y;
        y = 1.2 * x + 1.6 * y + 7.3;
        x = turned + 3.1;
        weight *= 0.5;
    }
    return sum / (1 - 2 * weight);
}

}  // namespace sample

#endif
