// The pixel in the middle of a square neighbourhood's order of brightness.
//
// Of n positions the one with (n + 1) / 2 brighter ones before it is taken, one step darker than the true
// median; among equally bright pixels the one visited earlier counts as brighter. Callers know the filter so.

#include <DibEffect.h>

#include <new>
#include <optional>

#include "effects/EffectFrame.h"
#include "effects/SlidingMiddle.h"
#include "effects/SmallMiddle.h"

namespace {

// Side of the largest square whose positions an int can count; a list of so many could hardly be held anyway.
constexpr std::int64_t kLongestSide = 46340;

template <class Filter, class... Arguments>
bool runMiddle(const dib::Progress& progress, DibStream& image, const dib::Raster& raster,
               Arguments... arguments) {
    const dib::FullCopy copy(image);
    if (!copy.ready()) return false;
    std::optional<Filter> filter;
    try {
        filter.emplace(image, copy, raster, arguments...);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return dib::forEachRow(progress, raster.height, [&](int y) { filter->writeRow(y); });
}

}  // namespace

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, int radius,
                           unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    dib::Raster raster;
    if (!dib::admitImage(image, raster) || !dib::isDepth(raster.bitCount)) return false;
    const dib::Progress progress{callback, user};
    if (!raster.hasPixels()) return dib::forEachRow(progress, raster.height, [](int) {});
    if (2 * std::int64_t{radius} + 1 > kLongestSide) return false;
    if (radius <= dib::SmallMiddle::kLargestRadius)
        return runMiddle<dib::SmallMiddle>(progress, *image, raster, radius, flags);
    return runMiddle<dib::SlidingMiddle>(progress, *image, raster, radius, flags);
}

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, DEBrightInfo* info) {
    return DibEffectBrightMiddle(callback, user, image, info->radius, info->flags);
}
