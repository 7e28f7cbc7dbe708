#include <DibEffect.h>

#include "tools/Operations.h"

namespace tool {

namespace {

constexpr Parameter kGamma[] = {number("gamma", "exponent; above 1 brightens"),
                                integer("low", "lower limit", kAnyInteger, "0"),
                                integer("high", "upper limit", kAnyInteger, "255")};

bool runGamma(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectGammaCorrect(callback, user, &image, arguments.integer("low"), arguments.integer("high"),
                                 arguments.number("gamma"));
}

constexpr Parameter kContrast[] = {
    number("contrast", "slope about middle grey; 1 changes nothing"),
    number("brightness", "added, in parts of the full range", kAnyNumber, "0")};

bool runContrast(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectContrast(callback, user, &image, arguments.number("brightness"),
                             arguments.number("contrast"));
}

constexpr Operation kOperations[] = {
    {"gamma", "Bends the tone curve of the colours, or of the colour table.", "gamma:2.2", kGamma, runGamma},
    {"contrast", "Stretches the colours, or the colour table, about middle grey.",
     "contrast:1.3,brightness=0.05", kContrast, runContrast},
};

}  // namespace

std::span<const Operation> toneOps() { return kOperations; }

}  // namespace tool
