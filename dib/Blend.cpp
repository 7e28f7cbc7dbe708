#include "dib/Blend.h"

#include <algorithm>
#include <cmath>

namespace dib {

namespace {

double multiply(double b, double s) { return b * s; }
double screen(double b, double s) { return b + s - b * s; }
double hardLight(double b, double s) { return s <= 0.5 ? multiply(b, 2 * s) : screen(b, 2 * s - 1); }
double dodge(double b, double s) { return b <= 0 ? 0 : s >= 1 ? 1 : std::min(1.0, b / (1 - s)); }
double burn(double b, double s) { return b >= 1 ? 1 : s <= 0 ? 0 : 1 - std::min(1.0, (1 - b) / s); }

double softLight(double b, double s) {
    if (s <= 0.5) return b - (1 - 2 * s) * b * (1 - b);
    const double d = b <= 0.25 ? ((16 * b - 12) * b + 4) * b : std::sqrt(b);
    return b + (2 * s - 1) * (d - b);
}

double luminosity(const BlendColor& c) { return 0.11 * c[0] + 0.59 * c[1] + 0.3 * c[2]; }
double saturation(const BlendColor& c) {
    return *std::max_element(c.begin(), c.end()) - *std::min_element(c.begin(), c.end());
}

// The colour moved to a luminosity; what leaves 0 to 1 is pulled back towards the grey of that luminosity.
BlendColor withLuminosity(BlendColor c, double wanted) {
    const double shift = wanted - luminosity(c);
    for (double& channel : c) channel += shift;
    const double least = *std::min_element(c.begin(), c.end());
    const double most = *std::max_element(c.begin(), c.end());
    for (double& channel : c) {
        if (least < 0) channel = wanted + (channel - wanted) * wanted / (wanted - least);
    }
    for (double& channel : c) {
        if (most > 1) channel = wanted + (channel - wanted) * (1 - wanted) / (most - wanted);
    }
    return c;
}

// The colour with its channels stretched to a saturation, from 0 on.
BlendColor withSaturation(const BlendColor& c, double wanted) {
    const double least = *std::min_element(c.begin(), c.end());
    const double range = saturation(c);
    BlendColor stretched{};
    if (range <= 0) return stretched;
    for (std::size_t i = 0; i < 3; ++i) stretched[i] = (c[i] - least) * wanted / range;
    return stretched;
}

std::uint8_t toByte(double share) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(share, 0.0, 1.0) * 255));
}

}  // namespace

double blendChannel(BlendMode mode, double b, double s) {
    switch (mode) {
        case BlendMode::kDarken: return std::min(b, s);
        case BlendMode::kLighten: return std::max(b, s);
        case BlendMode::kMultiply: return multiply(b, s);
        case BlendMode::kScreen: return screen(b, s);
        case BlendMode::kOverlay: return hardLight(s, b);
        case BlendMode::kHardLight: return hardLight(b, s);
        case BlendMode::kSoftLight: return softLight(b, s);
        case BlendMode::kDifference: return std::fabs(b - s);
        case BlendMode::kExclusion: return b + s - 2 * b * s;
        case BlendMode::kColorDodge: return dodge(b, s);
        case BlendMode::kColorBurn: return burn(b, s);
        case BlendMode::kLinearDodge: return std::min(1.0, b + s);
        case BlendMode::kVividLight: return s <= 0.5 ? burn(b, 2 * s) : dodge(b, 2 * s - 1);
        case BlendMode::kLinearLight: return std::clamp(b + 2 * s - 1, 0.0, 1.0);
        case BlendMode::kPinLight: return s <= 0.5 ? std::min(b, 2 * s) : std::max(b, 2 * s - 1);
        case BlendMode::kHardMix: return b + s >= 1 ? 1 : 0;
        default: return s;
    }
}

BlendColor blendColor(BlendMode mode, const BlendColor& b, const BlendColor& s) {
    switch (mode) {
        case BlendMode::kHue: return withLuminosity(withSaturation(s, saturation(b)), luminosity(b));
        case BlendMode::kSaturation: return withLuminosity(withSaturation(b, saturation(s)), luminosity(b));
        case BlendMode::kColor: return withLuminosity(s, luminosity(b));
        case BlendMode::kLuminosity: return withLuminosity(b, luminosity(s));
        case BlendMode::kDarkerColor: return luminosity(s) < luminosity(b) ? s : b;
        case BlendMode::kLighterColor: return luminosity(s) > luminosity(b) ? s : b;
        default: return s;
    }
}

bool Blender::needsTable() const {
    return !blendsWholeColors(mode_) && mode_ != BlendMode::kNormal && mode_ != BlendMode::kDissolve;
}

Blender::Blender(BlendMode mode) : mode_(mode) {
    if (!needsTable()) return;
    table_ = allocateArray<std::uint8_t>(256 * 256);
    if (table_ == nullptr) return;
    for (int b = 0; b < 256; ++b) {
        for (int s = 0; s < 256; ++s) table_[256 * b + s] = toByte(blendChannel(mode, b / 255.0, s / 255.0));
    }
}

void Blender::blend(const std::uint8_t* backdrop, const std::uint8_t* source, std::uint8_t* result) const {
    if (table_ != nullptr) {
        for (int i = 0; i < 3; ++i) result[i] = table_[256 * backdrop[i] + source[i]];
    } else if (blendsWholeColors(mode_)) {
        BlendColor b;
        BlendColor s;
        for (std::size_t i = 0; i < 3; ++i) {
            b[i] = backdrop[i] / 255.0;
            s[i] = source[i] / 255.0;
        }
        const BlendColor blended = blendColor(mode_, b, s);
        for (std::size_t i = 0; i < 3; ++i) result[i] = toByte(blended[i]);
    } else {
        std::copy_n(source, 3, result);
    }
}

}  // namespace dib
