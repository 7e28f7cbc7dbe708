// The pixels of a tile in the order of the median: each has a rank of its own, for equally bright ones follow
// each other in visiting order. So a rank identifies a pixel, whose position need not be searched for.
#ifndef EFFECTS_RANK_RANKED_TILE_H
#define EFFECTS_RANK_RANKED_TILE_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "effects/rank/BinWindow.h"

namespace dib {

// `Cell` holds a column or row: std::uint8_t or std::uint16_t.
template <class Cell>
class RankedTile {
public:
    // The longest side of a tile.
    static constexpr std::ptrdiff_t kLongestSide = sizeof(Cell) == 1 ? 256 : 4096;

    // For tiles of up to this size. False when memory is short.
    bool prepare(std::ptrdiff_t mostColumns, std::ptrdiff_t mostRows);
    // Bins are equally many ranks each. No tile has more bins than this.
    std::ptrdiff_t mostBins() const { return mostBins_; }

    // Ranks the pixels of a tile by their keys, lowest first. Row y is at keys + y * pitch.
    void rank(const std::uint16_t* keys, std::ptrdiff_t pitch, std::ptrdiff_t columns, std::ptrdiff_t rows);

    // The bins of the pixels of row y.
    const std::uint16_t* binRow(std::ptrdiff_t y) const { return bins_.get() + y * columns_; }

    struct Position {
        Cell x;
        Cell y;
    };
    // positions[x] = the pixel of bin found[x].bin that has found[x].rank others of this bin before it in the
    // square of side `side` from (x, top) on. There must be one.
    void select(const BinRank* found, std::ptrdiff_t count, std::ptrdiff_t top, std::ptrdiff_t side,
                Position* positions) const;

private:
    std::ptrdiff_t columns_ = 0;
    std::ptrdiff_t mostBins_ = 0;
    int binShift_ = 0;
    MallocPtr<std::uint32_t> entries_;
    MallocPtr<Cell> xs_;  // by rank
    MallocPtr<Cell> ys_;
    MallocPtr<std::uint16_t> bins_;  // by position
};

extern template class RankedTile<std::uint8_t>;
extern template class RankedTile<std::uint16_t>;

}  // namespace dib

#endif
