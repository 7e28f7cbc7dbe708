#include "tests/reference/OperationReference.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace reference {

namespace {

double lanczos(double x) {
    if (x == 0) return 1;
    const double angle = std::numbers::pi * x;
    return 3 * std::sin(angle) * std::sin(angle / 3) / (angle * angle);
}

double keys(double x) {
    if (x < 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
    return -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
}

// How much pixel `from` of `oldCount` weighs in pixel `to` of `newCount`; `from` may lie outside.
double weight(const std::string& filter, int from, int to, int oldCount, int newCount) {
    const double ratio = static_cast<double>(oldCount) / newCount;
    if (filter == "area") {
        const double start = std::max<double>(from, to * ratio);
        const double end = std::min(from + 1.0, (to + 1) * ratio);
        return std::max(0.0, end - start);
    }
    const double x = std::fabs(from + 0.5 - (to + 0.5) * ratio) / std::max(1.0, ratio);
    if (filter == "bicubic") return x < 2 ? keys(x) : 0;
    return x < 3 ? lanczos(x) : 0;
}

// The weights of the pixels of an axis in pixel `to`, which total 1. Those outside are the edge's.
std::vector<double> weights(const std::string& filter, int to, int oldCount, int newCount) {
    std::vector<double> all(static_cast<std::size_t>(oldCount), 0.0);
    const int reach = 3 * (oldCount / newCount + 1) + 3;
    double total = 0;
    for (int from = -reach; from < oldCount + reach; ++from) {
        const double each = weight(filter, from, to, oldCount, newCount);
        all[static_cast<std::size_t>(std::clamp(from, 0, oldCount - 1))] += each;
        total += each;
    }
    for (double& each : all) each /= total;
    return all;
}

using Channel = double (*)(double b, double s);  // of a backdrop and a source, from 0 to 1

double multiply(double b, double s) { return b * s; }
double screen(double b, double s) { return 1 - (1 - b) * (1 - s); }
double hardLight(double b, double s) { return s <= 0.5 ? multiply(b, 2 * s) : screen(b, 2 * s - 1); }
double burn(double b, double s) { return b == 1 ? 1 : s == 0 ? 0 : std::max(0.0, 1 - (1 - b) / s); }
double dodge(double b, double s) { return b == 0 ? 0 : s == 1 ? 1 : std::min(1.0, b / (1 - s)); }
double softLight(double b, double s) {
    const double root = b <= 0.25 ? 16 * b * b * b - 12 * b * b + 4 * b : std::sqrt(b);
    return s <= 0.5 ? b - (1 - 2 * s) * b * (1 - b) : b + (2 * s - 1) * (root - b);
}
double vivid(double b, double s) { return s <= 0.5 ? burn(b, 2 * s) : dodge(b, 2 * s - 1); }
double pin(double b, double s) { return s <= 0.5 ? std::min(b, 2 * s) : std::max(b, 2 * s - 1); }

const std::map<std::string, Channel> kChannels = {
    {"normal", [](double, double s) { return s; }},
    {"darken", [](double b, double s) { return std::min(b, s); }},
    {"multiply", multiply},
    {"color-burn", burn},
    {"lighten", [](double b, double s) { return std::max(b, s); }},
    {"screen", screen},
    {"color-dodge", dodge},
    {"add", [](double b, double s) { return std::min(1.0, b + s); }},
    {"overlay", [](double b, double s) { return hardLight(s, b); }},
    {"soft-light", softLight},
    {"hard-light", hardLight},
    {"vivid-light", vivid},
    {"linear-light", [](double b, double s) { return std::clamp(b + 2 * s - 1, 0.0, 1.0); }},
    {"pin-light", pin},
    {"hard-mix", [](double b, double s) { return b + s >= 1 ? 1.0 : 0.0; }},
    {"difference", [](double b, double s) { return std::fabs(b - s); }},
    {"exclusion", [](double b, double s) { return b * (1 - s) + s * (1 - b); }},
};

double brightness(const Pixel& c) { return 0.3 * c[2] + 0.59 * c[1] + 0.11 * c[0]; }
double least(const Pixel& c) { return std::min({c[0], c[1], c[2]}); }
double most(const Pixel& c) { return std::max({c[0], c[1], c[2]}); }

Pixel withBrightness(const Pixel& c, double wanted) {
    Pixel moved = c;
    for (std::size_t i = 0; i < 3; ++i) moved[i] = c[i] - brightness(c) + wanted;
    const double low = least(moved);
    const double high = most(moved);
    // The largest part of the way from the grey that stays within 0 to 1.
    double part = 1;
    if (low < 0) part = std::min(part, wanted / (wanted - low));
    if (high > 1) part = std::min(part, (1 - wanted) / (high - wanted));
    for (std::size_t i = 0; i < 3; ++i) moved[i] = wanted + part * (moved[i] - wanted);
    return moved;
}

Pixel withRange(const Pixel& c, double wanted) {
    Pixel stretched{};
    for (std::size_t i = 0; i < 3; ++i)
        stretched[i] = most(c) == least(c) ? 0 : (c[i] - least(c)) / (most(c) - least(c)) * wanted;
    return stretched;
}

Pixel blended(const Pixel& b, const Pixel& s, const std::string& mode) {
    const double range = most(b) - least(b);
    if (mode == "hue") return withBrightness(withRange(s, range), brightness(b));
    if (mode == "saturation") return withBrightness(withRange(b, most(s) - least(s)), brightness(b));
    if (mode == "color") return withBrightness(s, brightness(b));
    if (mode == "luminosity") return withBrightness(b, brightness(s));
    if (mode == "darker-color") return brightness(s) < brightness(b) ? s : b;
    if (mode == "lighter-color") return brightness(s) > brightness(b) ? s : b;
    Pixel result{};
    for (std::size_t i = 0; i < 3; ++i) result[i] = kChannels.at(mode)(b[i], s[i]);
    return result;
}

double rounded(double value) { return std::floor(value + 0.5); }

}  // namespace

Picture resized(const Picture& picture, int width, int height, const std::string& filter) {
    Picture result{width, height, {}};
    for (int y = 0; y < height; ++y) {
        const std::vector<double> down = weights(filter, y, picture.height, height);
        for (int x = 0; x < width; ++x) {
            const std::vector<double> across = weights(filter, x, picture.width, width);
            Pixel sums{};
            for (int j = 0; j < picture.height; ++j) {
                for (int i = 0; i < picture.width; ++i) {
                    const Pixel& from = picture.at(i, j);
                    const double share =
                        down[static_cast<std::size_t>(j)] * across[static_cast<std::size_t>(i)];
                    for (std::size_t c = 0; c < 3; ++c) sums[c] += share * from[c] * from[3];
                    sums[3] += share * from[3];
                }
            }
            for (std::size_t c = 0; c < 3; ++c) sums[c] = sums[3] == 0 ? 0 : sums[c] / sums[3];
            result.pixels.push_back(sums);
        }
    }
    return result;
}

Pixel overlaid(const Pixel& under, const Pixel& over, const std::string& mode, int opacity) {
    const double alpha = rounded(over[3] * opacity / 255);
    if (alpha == 0) return under;
    Pixel b{};
    Pixel s{};
    for (std::size_t i = 0; i < 3; ++i) {
        b[i] = under[i] / 255;
        s[i] = over[i] / 255;
    }
    const Pixel full = blended(b, s, mode);
    const double together = alpha + under[3] - alpha * under[3] / 255;
    Pixel result{};
    for (std::size_t i = 0; i < 3; ++i) {
        // Over a backdrop that is transparent the source shows unblended.
        const double seen = rounded((rounded(full[i] * 255) * under[3] + over[i] * (255 - under[3])) / 255);
        result[i] = rounded((seen * alpha + under[i] * (together - alpha)) / together);
    }
    result[3] = rounded(together);
    return result;
}

}  // namespace reference
