#include <DibEffect.h>

#include "tools/operations/Operations.h"

namespace tool {

namespace {

constexpr Parameter kRank[] = {
    integer("radius", "half the side of the square looked at", {0, kAnyInteger.max}, {}, "px"), wrap()};

using RankEffect = bool (*)(DibProgressCallback, void*, DibStream*, int, unsigned int);

template <RankEffect Effect>
bool runRank(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return Effect(callback, user, &image, arguments.integer("radius"), arguments.word("wrap"));
}

constexpr Operation kOperations[] = {
    {"max",
     "Takes the brightest pixel around each pixel.",
     "max:2",
     {"max:1", "max:3", "max:8,wrap=xy"},
     kRank,
     "DibEffectBrightMax(nullptr, nullptr, &image, {radius}, {wrap})",
     runRank<DibEffectBrightMax>},
    {"min",
     "Takes the darkest pixel around each pixel.",
     "min:2",
     {"min:1", "min:3", "min:8,wrap=xy"},
     kRank,
     "DibEffectBrightMin(nullptr, nullptr, &image, {radius}, {wrap})",
     runRank<DibEffectBrightMin>},
    {"median",
     "Takes a pixel of middle brightness around each pixel, which removes specks.",
     "median:1",
     {"median:1", "median:4", "median:10,wrap=xy"},
     kRank,
     "DibEffectBrightMiddle(nullptr, nullptr, &image, {radius}, {wrap})",
     runRank<DibEffectBrightMiddle>},
};

}  // namespace

std::span<const Operation> rankOps() { return kOperations; }

}  // namespace tool
