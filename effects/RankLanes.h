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

    void putHigh(std::ptrdiff_t x, std::int32_t byte) const {
        high[x] = static_cast<std::int8_t>(byte - 128);
    }
    void put(std::ptrdiff_t x, std::int32_t brightness) const {
        putHigh(x, brightness >> 8);
        low[x] = static_cast<std::int8_t>((brightness & 255) - 128);
    }
};

// which[x] = the position, counted in scan order, of the pixel with `rank` brighter ones before it in the
// square of side `side` whose first row starts at column x of rows[0]; of equally bright ones the earlier
// counts as brighter.
void rankSquares(const RankPlanes* rows, int side, int rank, std::uint16_t* which, std::size_t count);

// The same for images of at most 256 brightnesses, with keys in place of brightness: bytes in the same order,
// with the top bit flipped. In two steps, as the key alone often tells the pixel: keys[x] = the key of that
// pixel, of `bits` bits; which[x] = its position, for `count` columns from `first` on.
void rankKeys(const std::int8_t* const* rows, int side, int rank, int bits, std::int8_t* keys,
              std::size_t count);
void placesOfKeys(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                  std::uint16_t* which, std::size_t first, std::size_t count);

}  // namespace dib

#endif
