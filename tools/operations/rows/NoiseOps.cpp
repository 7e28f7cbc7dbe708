#include <DibEffect.h>

#include <cstdlib>

#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Parameter kSeed =
    integer("seed", "start of the random numbers; -1 leaves them as they are", {-1, kAnyInteger.max}, "-1");

// The library draws from rand() and never seeds it; neither does the program unless it is asked to.
template <bool (*run)(DibStream&, const Arguments&, DibProgressCallback, void*)>
bool runSeeded(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    const int seed = arguments.integer("seed");
    if (seed >= 0) std::srand(static_cast<unsigned int>(seed));
    return run(image, arguments, callback, user);
}

constexpr Parameter kNoise[] = {integer("amount", "largest offset of a channel", {0, kAnyInteger.max}),
                                kSeed};

constexpr Parameter kColorNoise[] = {color("color", "towards which pixels are pulled"),
                                     fraction("strength", "the furthest that a pixel is pulled"), kSeed};

constexpr Parameter kDiffuse[] = {
    integer("radius", "how far away a pixel may be taken from", {0, kAnyInteger.max}, {}, "px"), wrap(),
    kSeed};

constexpr Operation kOperations[] = {
    {"noise",
     "Makes each pixel lighter or darker by chance.",
     "noise:20,seed=1",
     {"noise:20,seed=1", "noise:60,seed=1", "noise:160,seed=2"},
     kNoise,
     "std::srand({seed});\nDibEffectNoise(nullptr, nullptr, &image, {amount})",
     runSeeded<Effect<int>::run<DibEffectNoise>>},
    {"color-noise",
     "Pulls each pixel towards a colour by chance.",
     "color-noise:#ff8000,0.5,seed=1",
     {"color-noise:#ff8000,0.5,seed=1", "color-noise:#2050c0,90%,seed=1", "color-noise:#ffffff,0.7,seed=2"},
     kColorNoise,
     "std::srand({seed});\nDibEffectColorNoise(nullptr, nullptr, &image, {color}, {strength})",
     runSeeded<Effect<DibBGRA, float>::run<DibEffectColorNoise>>},
    {"diffuse",
     "Takes each pixel from a random place around it.",
     "diffuse:3,seed=1",
     {"diffuse:2,seed=1", "diffuse:6,seed=1", "diffuse:20,wrap=xy,seed=2"},
     kDiffuse,
     "std::srand({seed});\nDibEffectDiffuse(nullptr, nullptr, &image, {radius}, {wrap})",
     runSeeded<Effect<int, unsigned int>::run<DibEffectDiffuse>>},
};

}  // namespace

std::span<const Operation> noiseOps() { return kOperations; }

}  // namespace tool
