// The median at radius 8 to 1792, tile by tile: the pixels of a tile are ranked once, and the rank of the
// median is found by bins. The work per pixel grows slowly with the radius. MedianHugeRadius computes squares
// that lie mostly beyond the edges of a small picture, where tiles would repeat too many pixels.
#ifndef EFFECTS_RANK_MEDIAN_LARGE_RADIUS_H
#define EFFECTS_RANK_MEDIAN_LARGE_RADIUS_H

#include <cstdint>

#include "effects/rank/BinWindow.h"
#include "effects/rank/MedianInput.h"
#include "effects/rank/RankedTile.h"
#include "effects/rank/TableKeys.h"
#include "effects/rank/TileShape.h"

namespace dib {

// A filter of dib::filterImage. It works a band of tiles ahead of the row in work. `Cell` holds the columns
// and rows of a tile: std::uint8_t or std::uint16_t.
template <class Cell>
class MedianLargeRadius {
public:
    MedianLargeRadius(int radius, unsigned int flags) : radius_(radius), flags_(flags) {}

    // Whether tiles of this size can be ranked.
    static bool holds(const TileShape& shape) {
        // In 64 bits: pointers of 32 bits do not count the sides of the largest squares.
        const std::int64_t longestSide = std::max(shape.width, shape.height) + 2 * std::int64_t{shape.radius};
        return longestSide <= RankedTile<Cell>::kLongestSide;
    }

    bool prepare(const FullCopy& source, const Raster& image);

    // Chooses the pixels of row y, with those of its band when it is the first of it, and stores them.
    void row(unsigned char* out, int y);

private:
    void loadBand(int y);
    void loadKeys(int row, std::uint16_t* keys);
    // Whether every key determines the pixel.
    bool keysAreBins() const { return byTable_ && !table_.anySeveral(); }
    void chooseTile(int x, int y);
    void takeRow(int x, int y, std::ptrdiff_t row, std::ptrdiff_t width);

    int radius_;
    unsigned int flags_;
    std::uint32_t rank_ = 0;
    EdgeAxis axisX_;
    EdgeAxis axisY_;
    TileShape shape_{};
    MedianInput input_;
    RankedTile<Cell> ranked_;
    BinWindow<Cell> window_;
    std::ptrdiff_t bins_ = 0;

    // The keys of the rows that a band reads, with their edges. A low key is a high brightness.
    std::ptrdiff_t lineLength_ = 0;
    MallocPtr<std::uint16_t> lines_;
    // Up to 8 bits per pixel the keys of the table, from bright to dark.
    bool byTable_ = false;
    TableKeys table_;
    // The pixels chosen in a band.
    MallocPtr<std::uint32_t> band_;
    // By column of a tile.
    MallocPtr<BinRank> found_;
    MallocPtr<typename RankedTile<Cell>::Position> positions_;
    MallocPtr<BrightnessReader::Spot> spots_;
};

extern template class MedianLargeRadius<std::uint8_t>;
extern template class MedianLargeRadius<std::uint16_t>;

}  // namespace dib

#endif
