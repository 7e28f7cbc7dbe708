#include "formats/psd/RowColors.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/LightCurve.h"
#include "formats/BitPlanes.h"
#include "formats/psd/ChannelBytes.h"
#include "formats/psd/Outline.h"

namespace formats::psd {

namespace {

float floatAt(const unsigned char* samples, std::size_t x) {
    return std::bit_cast<float>(dib::readBe32(samples + 4 * x));
}

unsigned char nearestByte(double value) {
    return static_cast<unsigned char>(value > 0 ? std::min(value, 255.0) + 0.5 : 0);
}

void bytesOfLight(const unsigned char* samples, unsigned char* to, std::size_t count) {
    const dib::LightCurve& curve = dib::srgbCurve();
    for (std::size_t x = 0; x < count; ++x) to[x] = curve(floatAt(samples, x));
}

void bytesOfParts(const unsigned char* samples, unsigned char* to, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) to[x] = nearestByte(255.0 * double{floatAt(samples, x)});
}

// A sample from 0 to 1.
double partAt(const unsigned char* samples, std::size_t x, int depth) {
    switch (depth) {
        case 8: return samples[x] / 255.0;
        case 16: return dib::readBe16(samples + 2 * x) / 65535.0;
        default: return double{floatAt(samples, x)};
    }
}

// 255 / alpha; 1 where there is no colour to be found.
constexpr auto kInverses = [] {
    std::array<float, 256> inverses{};
    for (std::size_t alpha = 0; alpha < 256; ++alpha)
        inverses[alpha] = alpha == 0 ? 1.0F : 255.0F / static_cast<float>(alpha);
    return inverses;
}();

// A colour is 255 - (255 - mixed) x 255 / alpha.
DIB_ALWAYS_INLINE void removeWhite(const unsigned char* __restrict mixed, const float* __restrict inverses,
                                   unsigned char* __restrict to, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const float raised = static_cast<float>(255 - mixed[x]) * inverses[x] + 0.5F;  // to be cut
        const int ink = static_cast<int>(raised);
        to[x] = static_cast<unsigned char>(ink < 255 ? 255 - ink : 0);
    }
}

// Whether alpha is neither 0 nor 255 anywhere.
DIB_ALWAYS_INLINE bool hasHalf(const unsigned char* alpha, std::size_t count) {
    unsigned char found = 0;
    for (std::size_t x = 0; x < count; ++x)
        found = static_cast<unsigned char>(found | (static_cast<unsigned char>(alpha[x] + 1) & 0xFE));
    return found != 0;
}

struct Lab {
    double lightness;  // 0 to 100
    double a;          // -128 to 127
    double b;
};

// Lab of the white point D50, as light of that white; then red, green and blue of sRGB, whose white is D65,
// by a matrix that contains the adaptation after Bradford.
void labToRgb(const Lab& lab, const dib::LightCurve& curve, unsigned char* red, unsigned char* green,
              unsigned char* blue) {
    const auto light = [](double f) {
        constexpr double kBend = 6.0 / 29;
        return f > kBend ? f * f * f : 3 * kBend * kBend * (f - 4.0 / 29);
    };
    const double middle = (lab.lightness + 16) / 116;
    const double x = 0.96422 * light(middle + lab.a / 500);
    const double y = light(middle);
    const double z = 0.82521 * light(middle - lab.b / 200);
    const auto byteOf = [&curve](double part) { return curve(static_cast<float>(part)); };
    *red = byteOf(3.1338561 * x - 1.6168667 * y - 0.4906146 * z);
    *green = byteOf(-0.9787684 * x + 1.9161415 * y + 0.0334540 * z);
    *blue = byteOf(0.0719453 * x - 0.2289914 * y + 1.4052427 * z);
}

// White stands for planes that are missing. `alpha` is that of a colour mixed with white, else 1.
Lab labAt(std::span<const unsigned char* const> samples, std::size_t x, int depth, double alpha) {
    const auto part = [&](std::size_t plane, double missing) {
        return samples[plane] != nullptr ? partAt(samples[plane], x, depth) : missing;
    };
    // The middle of a and b is 128 of 255, or 32768 of 65535.
    const double middle = depth == 8 ? 128 / 255.0 : 32768 / 65535.0;
    const double span = depth == 8 ? 255 : 65535 / 256.0;
    return {100 + 100 * (part(0, 1) - 1) / alpha, span * (part(1, middle) - middle) / alpha,
            span * (part(2, middle) - middle) / alpha};
}

}  // namespace

bool RowColors::prepare(std::size_t width) {
    width_ = width;
    bytes_ = dib::allocateArray<unsigned char>(kBuffers * width);
    if (bytes_ == nullptr) return false;
    std::memset(white(), 0xFF, width);
    return true;
}

void RowColors::convert(const unsigned char* samples, bool isLight, unsigned char* to) const {
    switch (kind_.depth) {
        case 1: dib::runKernel<bytesOfBits>(samples, to, width_); break;
        case 16: dib::runKernel<bytesOfRoundedWords>(samples, to, width_); break;
        case 32: isLight ? bytesOfLight(samples, to, width_) : bytesOfParts(samples, to, width_); break;
        default: std::memcpy(to, samples, width_); break;
    }
}

const unsigned char* RowColors::bytesOf(std::size_t plane, const unsigned char* samples, bool isLight) {
    if (samples == nullptr) return white();
    if (kind_.depth == 8) return samples;
    convert(samples, isLight, own(plane));
    return own(plane);
}

// In parts, because few pixels of most pictures are half-transparent.
void RowColors::removeMatte(std::span<const unsigned char* const> samples, Planes& planes) {
    constexpr std::size_t kPart = 64;
    const auto colors = static_cast<std::size_t>(kind_.colors);
    const unsigned char* alpha = planes[colors];
    if (samples[colors] == nullptr || !dib::runKernel<hasHalf>(alpha, width_)) return;
    Planes mixed = planes;
    for (std::size_t color = 0; color < colors; ++color) planes[color] = own(color);
    for (std::size_t x = 0; x < width_; x += kPart) {
        const std::size_t count = std::min(kPart, width_ - x);
        const bool isHalf = dib::runKernel<hasHalf>(alpha + x, count);
        float inverses[kPart];
        for (std::size_t i = 0; isHalf && i < count; ++i) inverses[i] = kInverses[alpha[x + i]];
        for (std::size_t color = 0; color < colors; ++color) {
            unsigned char* to = own(color) + x;
            if (isHalf && kind_.depth == 8) {
                dib::runKernel<removeWhite>(mixed[color] + x, inverses, to, count);
                continue;
            }
            if (to != mixed[color] + x) std::memcpy(to, mixed[color] + x, count);
            if (isHalf && samples[color] != nullptr) removeDeepMatte(samples, color, x, count);
        }
    }
}

// From the samples, before they lost bits.
void RowColors::removeDeepMatte(std::span<const unsigned char* const> samples, std::size_t color,
                                std::size_t first, std::size_t count) {
    unsigned char* to = own(color);
    for (std::size_t x = first; x < first + count; ++x) {
        const double alpha = partAt(samples[static_cast<std::size_t>(kind_.colors)], x, kind_.depth);
        if (!(alpha > 0 && alpha < 1)) continue;
        const double value = (partAt(samples[color], x, kind_.depth) - (1 - alpha)) / alpha;
        to[x] = kind_.depth == 16 ? nearestByte(255 * value) : dib::srgbCurve()(static_cast<float>(value));
    }
}

void RowColors::darken(Planes& planes) {
    for (std::size_t color = 0; color < 3; ++color) {
        unsigned char* to = own(kMostPlanes + color);
        dib::runKernel<darkenBytes>(planes[color], planes[3], to, width_);
        planes[color] = to;
    }
}

void RowColors::convertLab(std::span<const unsigned char* const> samples, Planes& planes) {
    const dib::LightCurve& curve = dib::srgbCurve();
    const bool isMixed = kind_.hasAlpha && kind_.isMatted && samples[3] != nullptr;
    for (std::size_t x = 0; x < width_; ++x) {
        const double alpha = isMixed ? partAt(samples[3], x, kind_.depth) : 1;
        const Lab lab = labAt(samples, x, kind_.depth, alpha > 0 ? alpha : 1);
        labToRgb(lab, curve, own(0) + x, own(1) + x, own(2) + x);
    }
    for (std::size_t color = 0; color < 3; ++color) planes[color] = own(color);
}

void RowColors::make(std::span<const unsigned char* const> samples, unsigned char* pixels) {
    const auto colors = static_cast<std::size_t>(kind_.colors);
    if (kind_.bitCount == 8) {
        if (samples[0] != nullptr) return convert(samples[0], kind_.isLight, pixels);
        std::memset(pixels, 0xFF, width_);
        return;
    }
    Planes planes = {};
    const unsigned char* alpha = kind_.hasAlpha ? bytesOf(colors, samples[colors], false) : white();
    planes[colors] = alpha;
    if (kind_.mode == kLab) {
        convertLab(samples, planes);
    } else {
        for (std::size_t color = 0; color < colors; ++color)
            planes[color] = bytesOf(color, samples[color], true);
        if (kind_.hasAlpha && kind_.isMatted) removeMatte(samples, planes);
    }
    if (colors == 1) planes[1] = planes[2] = planes[0];
    if (colors == 4) darken(planes);
    planes[3] = alpha;
    joinColors({planes.data(), static_cast<std::size_t>(kind_.bitCount / 8)}, pixels, width_);
}

}  // namespace formats::psd
