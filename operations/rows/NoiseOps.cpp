#include <DibEffect.h>

#include <cstdlib>

#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Noise";

constexpr DibParameter kSeed =
    integer("seed", "start of the random numbers; -1 leaves them as they are", {-1, kAnyInteger.max}, "-1");

// The library draws from rand() and never seeds it; the table does only where a step has a seed.
template <bool (*run)(const Job&)>
bool runSeeded(const Job& job) {
    const int seed = job.arguments.integer("seed");
    if (seed >= 0) std::srand(static_cast<unsigned int>(seed));
    return run(job);
}

// Products of larger amounts leave 31 bits. From some thousands on every channel is 0 or 255.
constexpr double kLargestAmount = 65535;

constexpr Parameters kNoise({integer("amount", "largest offset of a channel", {0, kLargestAmount}), kSeed,
                             classic()});

constexpr Parameters kColorNoise({color("color", "towards which pixels are pulled; its alpha does not count"),
                                  fraction("strength", "the furthest that a pixel is pulled"), kSeed,
                                  classic()});

constexpr Treatment kNoiseTreatment = {.classicDepths = depths({8, 24, 32})};
constexpr Treatment kColorTreatment = {
    .classicDepths = depths({8, 24, 32}), .depths = depths({24, 32}), .addsColors = true};

constexpr Parameters kDiffuse({integer("radius", "how far away a pixel may be taken from",
                                       {0, kAnyInteger.max}, {}, "px"),
                               wrap(), kSeed});

constexpr Operation kOperations[] = {
    {{"noise",
      kArea,
      "Makes each pixel lighter or darker by chance; alpha stays.",
      "noise:20,seed=1",
      {"noise:20,seed=1", "noise:60,seed=1", "noise:160,seed=2"},
      kNoise,
      kAllDepths},
     "std::srand({seed});\nDibEffectNoise(nullptr, nullptr, &image, {amount})",
     runSeeded<Effect<int>::run<DibEffectNoise>>,
     nullptr,
     kNoiseTreatment},
    {{"color-noise",
      kArea,
      "Pulls each pixel towards a colour by chance; alpha stays.",
      "color-noise:#ff8000,0.5,seed=1",
      {"color-noise:#ff8000,0.5,seed=1", "color-noise:#2050c0,90%,seed=1", "color-noise:#ffffff,0.7,seed=2"},
      kColorNoise,
      kAllDepths},
     "std::srand({seed});\nDibEffectColorNoise(nullptr, nullptr, &image, {color}, {strength})",
     runSeeded<Effect<DibBGRA, float>::run<DibEffectColorNoise>>,
     nullptr,
     kColorTreatment},
    {{"diffuse",
      kArea,
      "Takes each pixel, with its alpha, from a random place around it.",
      "diffuse:3,seed=1",
      {"diffuse:2,seed=1", "diffuse:6,seed=1", "diffuse:20,wrap=xy,seed=2"},
      kDiffuse,
      depths({8, 16, 24, 32}),
      kMovesPixels},
     "std::srand({seed});\nDibEffectDiffuse(nullptr, nullptr, &image, {radius}, {wrap})",
     replacing(runSeeded<Effect<int, unsigned int>::run<DibEffectDiffuse>>)},
};

}  // namespace

Area noiseOps() { return kOperations; }

}  // namespace operations
