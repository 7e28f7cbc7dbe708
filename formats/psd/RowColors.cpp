#include "formats/psd/RowColors.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/FloatBits.h"
#include "dib/Kernels.h"
#include "dib/LightCurve.h"
#include "dib/Numbers.h"
#include "formats/BitPlanes.h"
#include "formats/psd/ChannelBytes.h"
#include "formats/psd/Outline.h"

namespace formats::psd {

namespace {

// Few pixels of most pictures are half-transparent, so rows are handled in parts.
constexpr std::size_t kPart = 256;

float floatAt(const unsigned char* samples, std::size_t x) {
    return dib::floatOfBits(dib::readBe32(samples + 4 * x));
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

// Missing planes count as white. `alpha` is that of a colour mixed with white, else 1.
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

void RowColors::convert(const unsigned char* samples, bool isLight, unsigned char* to,
                        std::size_t count) const {
    switch (kind_.depth) {
        case 1: dib::runKernel<bytesOfBits>(samples, to, count); break;
        case 16: dib::runKernel<bytesOfRoundedWords>(samples, to, count); break;
        case 32: isLight ? bytesOfLight(samples, to, count) : bytesOfParts(samples, to, count); break;
        default: std::memcpy(to, samples, count); break;
    }
}

const unsigned char* RowColors::bytesOf(std::size_t plane, const unsigned char* samples) {
    if (samples == nullptr) return white();
    if (kind_.depth == 8) return samples;
    const bool isLight = plane < dib::asSize(kind_.colors);
    convert(samples, isLight, own(plane), width_);
    return own(plane);
}

// From samples of more than 8 bits white is taken away before they lose bits.
const unsigned char* RowColors::bytesOfMixed(std::size_t plane, const unsigned char* samples,
                                             const unsigned char* alphaSamples, const unsigned char* alpha) {
    if (samples == nullptr || kind_.depth <= 8) return bytesOf(plane, samples);
    const auto sampleBytes = dib::asSize(kind_.depth / 8);
    const auto withoutWhite = kind_.depth == 16 ? wordsWithoutWhite : floatsWithoutWhite;
    for (std::size_t first = 0; first < width_; first += kPart) {
        const std::size_t count = std::min(kPart, width_ - first);
        const std::size_t at = sampleBytes * first;
        if (hasHalfTransparent(alpha + first, count)) {
            if (kind_.depth == 16) census_.add(samples + at, sampleBytes, alpha + first, count);
            withoutWhite(samples + at, alphaSamples + at, own(plane) + first, count);
        } else {
            convert(samples + at, true, own(plane) + first, count);
        }
    }
    return own(plane);
}

// Red, green, blue, black where there are four colours, and alpha become pixels. From bytes white is taken
// away here.
void RowColors::join(const Planes& planes, bool isMixed, unsigned char* pixels) {
    const bool hasBlack = kind_.colors == 4;
    const std::size_t alpha = hasBlack ? 4 : 3;
    const auto pixelBytes = dib::asSize(kind_.bitCount / 8);
    const std::size_t most = isMixed ? kPart : width_;
    for (std::size_t first = 0; first < width_; first += most) {
        const std::size_t count = std::min(most, width_ - first);
        unsigned char* to = pixels + pixelBytes * first;
        Planes part = planes;
        for (std::size_t plane = 0; plane <= alpha; ++plane) part[plane] += first;
        if (isMixed && hasHalfTransparent(part[alpha], count)) {
            for (std::size_t plane = 0; plane < alpha; ++plane)
                census_.add(part[plane], 1, part[alpha], count);
            joinWithoutWhite({part.data(), alpha + 1}, to, count);
            continue;
        }
        if (hasBlack) darken(part, count);
        joinColors({part.data(), pixelBytes}, to, count);
    }
}

// Afterwards alpha is the fourth plane.
void RowColors::darken(Planes& planes, std::size_t count) {
    for (std::size_t color = 0; color < 3; ++color) {
        unsigned char* to = own(kMostPlanes + color);
        dib::runKernel<darkenBytes>(planes[color], planes[3], to, count);
        planes[color] = to;
    }
    planes[3] = planes[4];
}

void RowColors::convertLab(std::span<const unsigned char* const> samples, bool isMixed, Planes& planes) {
    const dib::LightCurve& curve = dib::srgbCurve();
    for (std::size_t x = 0; x < width_; ++x) {
        const double alpha = isMixed ? partAt(samples[3], x, kind_.depth) : 1;
        const Lab lab = labAt(samples, x, kind_.depth, alpha > 0 ? alpha : 1);
        labToRgb(lab, curve, own(0) + x, own(1) + x, own(2) + x);
    }
    for (std::size_t color = 0; color < 3; ++color) planes[color] = own(color);
}

void RowColors::make(std::span<const unsigned char* const> samples, unsigned char* pixels) {
    const auto colors = dib::asSize(kind_.colors);
    if (kind_.bitCount == 8) {
        if (samples[0] != nullptr) return convert(samples[0], kind_.isLight, pixels, width_);
        std::memset(pixels, 0xFF, width_);
        return;
    }
    Planes planes = {};
    const unsigned char* alpha = kind_.hasAlpha ? bytesOf(colors, samples[colors]) : white();
    const bool isMixed = kind_.hasAlpha && kind_.isMatted && samples[colors] != nullptr;
    planes[colors == 4 ? 4 : 3] = alpha;
    if (kind_.mode == kLab) {
        convertLab(samples, isMixed, planes);
    } else {
        for (std::size_t color = 0; color < colors; ++color) {
            planes[color] = isMixed ? bytesOfMixed(color, samples[color], samples[colors], alpha)
                                    : bytesOf(color, samples[color]);
        }
        if (colors == 1) planes[1] = planes[2] = planes[0];
    }
    join(planes, isMixed && kind_.depth == 8 && kind_.mode != kLab, pixels);
}

}  // namespace formats::psd
