#include "effects/Tone.h"
#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Tone curves";

constexpr Parameters kGamma({number("gamma", "above 0; above 1 brightens"),
                             integer("low", "lower limit", kAnyInteger, "0"),
                             integer("high", "upper limit", kAnyInteger, "255"), classic()});

std::string checkGamma(const Arguments& arguments) {
    return arguments.number("gamma") > 0 ? "" : "gamma: must be above 0";
}

constexpr Parameters kContrast({number("contrast", "slope about middle grey; 1 changes nothing"),
                                number("brightness", "added, in parts of the full range", kAnyNumber, "0"),
                                classic()});

// The colours of a palette change, and its indices stay.
constexpr Treatment bends(Run run) { return {.classicDepths = depths({1, 4, 8, 24, 32}), .palette = run}; }

constexpr Operation kOperations[] = {
    {{"gamma",
      kArea,
      "Bends the tone curve of the colours, or of the colour table.",
      "gamma:2.2",
      {"gamma:2.2", "gamma:0.5", "gamma:1,low=20,high=200"},
      kGamma,
      kAllDepths},
     "DibEffectGammaCorrect(nullptr, nullptr, &image, {low}, {high}, {gamma})",
     Effect<int, int, float>::run<dib::correctGamma>,
     checkGamma,
     bends(Effect<int, int, float>::run<dib::correctGamma>)},
    {{"contrast",
      kArea,
      "Stretches the colours, or the colour table, about middle grey.",
      "contrast:1.3,brightness=0.05",
      {"contrast:1.3", "contrast:2.5", "contrast:0.5,brightness=0.2"},
      kContrast,
      kAllDepths},
     "DibEffectContrast(nullptr, nullptr, &image, {brightness}, {contrast})",
     Effect<float, float>::run<dib::changeContrast>,
     nullptr,
     bends(Effect<float, float>::run<dib::changeContrast>)},
};

}  // namespace

Area toneOps() { return kOperations; }

}  // namespace operations
