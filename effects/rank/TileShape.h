// How the median divides a picture into tiles.
#ifndef EFFECTS_RANK_TILE_SHAPE_H
#define EFFECTS_RANK_TILE_SHAPE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "dib/Raster.h"
#include "effects/rank/BrightnessReader.h"

namespace dib {

// A tile chooses width x height pixels and reads `radius` more on each side.
struct TileShape {
    int width;
    int height;
    int radius;

    std::ptrdiff_t side() const { return 2 * std::ptrdiff_t{radius} + 1; }
    std::ptrdiff_t columns() const { return width + 2 * std::ptrdiff_t{radius}; }
    std::ptrdiff_t rows() const { return height + 2 * std::ptrdiff_t{radius}; }

    // For tiles that can be ranked: whether ranking all that they read is less work than counting each row of
    // every square. Tiles also read the repeated pixels beyond the edges, which are many when the picture is
    // small; a few squares cost less than a histogram of all levels.
    bool isLessWorkThanRows(const Raster& image) const {
        constexpr std::int64_t kRowsPerPosition = 5;  // measured
        if (width == 0 || height == 0) return false;
        const auto tiles = [](int size, int tile) { return std::int64_t{(size - 1) / tile + 1}; };
        const std::int64_t positions =
            tiles(image.width, width) * tiles(image.height, height) * columns() * rows();
        const std::int64_t squareRows = std::min<std::int64_t>(side(), image.height);
        return kRowsPerPosition * positions <= squareRows * image.width * image.height + kWhiteBrightness;
    }
};

// The largest of tiles of about the same size. Large tiles read few pixels more than they choose; small ones
// stay in the cache, and up to radius 64 bytes number their columns. Low tiles report progress early.
inline TileShape tileShape(const Raster& image, int radius) {
    const auto divide = [](int size, int side) {
        const int tiles = std::max((size - 1) / side + 1, 1);
        return (size - 1) / tiles + 1;
    };
    const int width = radius <= 24 ? 64 : std::clamp(radius, 128, 512);
    return {divide(image.width, width), divide(image.height, std::min(width, 256)), radius};
}

}  // namespace dib

#endif
