#include "operations/Places.h"

#include <algorithm>
#include <climits>

#include "dib/Numbers.h"

namespace operations {

namespace {

std::int64_t bounded(std::int64_t number) { return std::clamp<std::int64_t>(number, INT_MIN, INT_MAX); }

// `anchor` is 0, 1 or 2: the near edge, the middle, the far edge.
int placed(std::int64_t free, std::uint32_t anchor, int offset) {
    const std::int64_t at = anchor == 0 ? offset : anchor == 1 ? free / 2 + offset : free - offset;
    return dib::asInt(bounded(at));
}

}  // namespace

Place placeOf(const Job& job, std::int64_t width, std::int64_t height) {
    const Arguments& given = job.arguments;
    const std::int64_t freeX = bounded(operations::width(job.image) - width);
    const std::int64_t freeY = bounded(operations::height(job.image) - height);
    const std::uint32_t place = given.word("place");
    return {placed(freeX, place & 3, given.pixels("x", dib::asInt(freeX))),
            placed(freeY, place >> 2, given.pixels("y", dib::asInt(freeY)))};
}

Part partInside(const dib::Raster& picture, Place corner, std::int64_t width, std::int64_t height) {
    const auto end = [](int start, std::int64_t length, int full) {
        return dib::asInt(std::clamp<std::int64_t>(start + length, 0, full));
    };
    return {std::max(corner.x, 0), std::max(corner.y, 0), end(corner.x, width, picture.width),
            end(corner.y, height, picture.height)};
}

}  // namespace operations
