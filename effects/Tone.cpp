// Tone curves: a table of 256 values, applied to the image. The classic functions report nothing and cannot
// be cancelled.
#include "effects/Tone.h"

#include <algorithm>
#include <cmath>

#include "dib/Numbers.h"
#include "dib/ToneLookup.h"
#include "effects/EffectFrame.h"

namespace dib {

namespace {

// Whether the curves apply to an image. Callers rely on the colour table being mapped whatever the width is:
// rows of a negative width, which other effects refuse, are rows without pixels here.
bool admitToned(DibStream* image, Raster& raster) {
    bool admitted = false;
    if (image != nullptr && image->Header != nullptr && image->Header->biWidth <= 0) {
        raster.bitCount = image->Header->biBitCount;
        admitted = image->Buffer != nullptr || image->Header->biHeight == 0;
    } else {
        admitted = admitImage(image, raster);
    }
    return admitted && isOneOf<Depth1, Depth4, Depth8, Depth24, Depth32>(raster.bitCount);
}

}  // namespace

bool changeBright(DibStream* image, const unsigned char* table, const Progress& progress) {
    Raster raster;
    if (!admitToned(image, raster)) return false;
    const auto width = asSize(raster.width);
    const ToneLookup lookup(table);
    if (raster.bitCount == 32) {
        return forEachRow(progress, raster.height, [&](int y) { lookup.mapColors(raster.row(y), width); });
    }
    if (raster.bitCount == 24) {
        return forEachRow(progress, raster.height, [&](int y) { lookup.mapBytes(raster.row(y), 3 * width); });
    }
    lookup.mapColorTable(image->Header);
    return true;
}

namespace {

// Truncation that ends at the limits of an int; NaN gives 0.
int truncated(float value) {
    if (!(value > -2147483648.0F)) return std::isnan(value) ? 0 : INT32_MIN;
    return value < 2147483648.0F ? static_cast<int>(value) : INT32_MAX;
}

// In 32 bits, so that every pair of limits has a curve.
int wrappedDifference(int a, int b) { return asInt(std::int64_t{a} - b); }

ToneTable gammaTable(int low, int high, float gamma) {
    const int levels = wrappedDifference(high, wrappedDifference(low, 1));
    const double range = levels;
    const double exponent = 1.0 / gamma;
    return toneTable([=](int value) {
        // The limits are compared with the value less `low` once more: black is at 2 low, white at high +
        // low. Curves have been stored with limits that count on it.
        const int d = wrappedDifference(value, low);
        if (d >= high) return 255;
        if (d <= low) return 0;
        const auto power = static_cast<float>(std::pow(d / range, exponent));
        return truncated(power * static_cast<float>(levels) + 0.5F);
    });
}

ToneTable contrastTable(float brightness, float contrast) {
    return toneTable([=](int value) {
        const float share = static_cast<float>(value) / 255.0F;
        const float f = (share * contrast + ((1.0F - contrast) * 0.5F + brightness)) * 255.0F + 0.5F;
        return std::clamp(truncated(f), 0, 255);
    });
}

}  // namespace

bool correctGamma(DibProgressCallback callback, void* user, DibStream* image, int low, int high,
                  float gamma) {
    return changeBright(image, gammaTable(low, high, gamma).data(), {callback, user});
}

bool changeContrast(DibProgressCallback callback, void* user, DibStream* image, float brightness,
                    float contrast) {
    return changeBright(image, contrastTable(brightness, contrast).data(), {callback, user});
}

}  // namespace dib

bool DibEffectGammaCorrect(DibProgressCallback, void*, DibStream* image, int low, int high, float gamma) {
    return dib::correctGamma(nullptr, nullptr, image, low, high, gamma);
}

bool DibEffectContrast(DibProgressCallback, void*, DibStream* image, float brightness, float contrast) {
    return dib::changeContrast(nullptr, nullptr, image, brightness, contrast);
}
