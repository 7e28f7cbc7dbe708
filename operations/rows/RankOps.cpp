#include <DibEffect.h>

#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Rank filters";

constexpr DibParameter radius(double largest) {
    return integer("radius", "half the side of the square looked at", {0, largest}, {}, "px");
}

constexpr Parameters kExtreme({radius(kAnyInteger.max), wrap(), classic()});
// A step cannot stop before the first tile of squares is ranked: 0.2 s at this radius.
constexpr Parameters kMedian({radius(500), wrap(), classic()});

using Rank = Effect<int, unsigned int>;

// Each takes pixels as they are, so indices stay.
constexpr Treatment picks(Run run) {
    return {.classicDepths = kAllDepths, .alpha = Alpha::kKept, .palette = run};
}

constexpr Run kMedianRun = replacing(Rank::run<DibEffectBrightMiddle>);

constexpr Operation kOperations[] = {
    {{"max",
      kArea,
      "Takes the brightest pixel around each pixel. Transparent pixels count like others.",
      "max:2",
      {"max:1", "max:3", "max:8,wrap=xy"},
      kExtreme,
      kAllDepths},
     "DibEffectBrightMax(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMax>,
     nullptr,
     picks(Rank::run<DibEffectBrightMax>)},
    {{"min",
      kArea,
      "Takes the darkest pixel around each pixel. Transparent pixels count like others.",
      "min:2",
      {"min:1", "min:3", "min:8,wrap=xy"},
      kExtreme,
      kAllDepths},
     "DibEffectBrightMin(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMin>,
     nullptr,
     picks(Rank::run<DibEffectBrightMin>)},
    {{"median",
      kArea,
      "Takes a pixel of middle brightness around each pixel, which removes specks. Transparent pixels "
      "count like others.",
      "median:1",
      {"median:1", "median:4", "median:10,wrap=xy"},
      kMedian,
      kAllDepths},
     "DibEffectBrightMiddle(nullptr, nullptr, &image, {radius}, {wrap})",
     kMedianRun,
     nullptr,
     picks(kMedianRun)},
};

}  // namespace

Area rankOps() { return kOperations; }

}  // namespace operations
