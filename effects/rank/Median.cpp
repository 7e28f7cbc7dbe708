// The pixel one step darker than the median of a square: of n positions the one with (n + 1) / 2 brighter
// ones before it, where the first visited of equally bright pixels counts as brighter. Callers rely on
// this choice.

#include "effects/EffectFrame.h"
#include "effects/rank/MedianHugeRadius.h"
#include "effects/rank/MedianLargeRadius.h"
#include "effects/rank/MedianSmallRadius.h"

namespace {

using ByteTiles = dib::MedianLargeRadius<std::uint8_t>;
using WordTiles = dib::MedianLargeRadius<std::uint16_t>;

}  // namespace

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, int radius,
                           unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    const auto filter = [&](auto median) {
        return dib::filterImage<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24,
                                dib::Depth32>({callback, user}, image, std::move(median));
    };
    if (radius <= dib::MedianSmallRadius::kLargest) return filter(dib::MedianSmallRadius(radius, flags));
    dib::Raster raster;
    if (dib::admitImage(image, raster)) {
        const dib::TileShape shape = dib::tileShape(raster, radius);
        if (WordTiles::holds(shape) && shape.isLessWorkThanRows(raster)) {
            if (ByteTiles::holds(shape)) return filter(ByteTiles(radius, flags));
            return filter(WordTiles(radius, flags));
        }
    }
    return filter(dib::MedianHugeRadius(radius, flags));
}

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, DEBrightInfo* info) {
    return DibEffectBrightMiddle(callback, user, image, info->radius, info->flags);
}
