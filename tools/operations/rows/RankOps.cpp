#include <DibEffect.h>

#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Parameter kRank[] = {
    integer("radius", "half the side of the square looked at", {0, kAnyInteger.max}, {}, "px"), wrap()};

using Rank = Effect<int, unsigned int>;

constexpr Operation kOperations[] = {
    {"max",
     "Takes the brightest pixel around each pixel.",
     "max:2",
     {"max:1", "max:3", "max:8,wrap=xy"},
     kRank,
     "DibEffectBrightMax(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMax>},
    {"min",
     "Takes the darkest pixel around each pixel.",
     "min:2",
     {"min:1", "min:3", "min:8,wrap=xy"},
     kRank,
     "DibEffectBrightMin(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMin>},
    {"median",
     "Takes a pixel of middle brightness around each pixel, which removes specks.",
     "median:1",
     {"median:1", "median:4", "median:10,wrap=xy"},
     kRank,
     "DibEffectBrightMiddle(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMiddle>},
};

}  // namespace

std::span<const Operation> rankOps() { return kOperations; }

}  // namespace tool
