#include <DibEffect.h>

#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Parameter kGamma[] = {number("gamma", "exponent; above 1 brightens"),
                                integer("low", "lower limit", kAnyInteger, "0"),
                                integer("high", "upper limit", kAnyInteger, "255")};

constexpr Parameter kContrast[] = {
    number("contrast", "slope about middle grey; 1 changes nothing"),
    number("brightness", "added, in parts of the full range", kAnyNumber, "0")};

constexpr Operation kOperations[] = {
    {"gamma",
     "Bends the tone curve of the colours, or of the colour table.",
     "gamma:2.2",
     {"gamma:2.2", "gamma:0.5", "gamma:1,low=20,high=200"},
     kGamma,
     "DibEffectGammaCorrect(nullptr, nullptr, &image, {low}, {high}, {gamma})",
     Effect<int, int, float>::run<DibEffectGammaCorrect>},
    {"contrast",
     "Stretches the colours, or the colour table, about middle grey.",
     "contrast:1.3,brightness=0.05",
     {"contrast:1.3", "contrast:2.5", "contrast:0.5,brightness=0.2"},
     kContrast,
     "DibEffectContrast(nullptr, nullptr, &image, {brightness}, {contrast})",
     Effect<float, float>::run<DibEffectContrast>},
};

}  // namespace

std::span<const Operation> toneOps() { return kOperations; }

}  // namespace tool
