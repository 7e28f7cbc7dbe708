// Ranking many neighbourhoods side by side, one per lane of a vector.
#ifndef EFFECTS_RANK_LANES_H
#define EFFECTS_RANK_LANES_H

#include <cstddef>
#include <cstdint>

namespace dib {

// Lanes handled at once; rows must be readable for so many columns more than there are results.
constexpr std::size_t kRankLanes = 32;
// Side of the largest square: its positions are counted in bytes.
constexpr int kLongestRankSide = 15;

// A row of brightness in two planes of bytes, twice as many lanes to a vector as there would be of whole
// numbers. Machines compare signed bytes, so the top bit of each is flipped.
struct RankPlanes {
    std::int8_t* high;
    std::int8_t* low;

    void put(std::ptrdiff_t x, std::int32_t brightness) const {
        high[x] = static_cast<std::int8_t>((brightness >> 8) - 128);
        low[x] = static_cast<std::int8_t>((brightness & 255) - 128);
    }
};

// which[x] = the position, counted in scan order, of the pixel with `rank` brighter ones before it in the
// square of side `side` whose first row starts at column x of rows[0]; of equally bright ones the earlier
// counts as brighter.
void rankSquares(const RankPlanes* rows, int side, int rank, std::uint16_t* which, std::size_t count);

}  // namespace dib

#endif
