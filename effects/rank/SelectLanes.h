// Selection by rank in many squares side by side, one per lane of a vector.
#ifndef EFFECTS_RANK_SELECT_LANES_H
#define EFFECTS_RANK_SELECT_LANES_H

#include <cstddef>
#include <cstdint>

namespace dib {

// Squares handled at once. Rows must be readable for so many columns more than there are results.
constexpr std::ptrdiff_t kSelectLanes = 32;
// The largest square has fewer than 256 positions, so that bytes can count them.
constexpr int kLongestSelectSide = 15;

// A row of brightness as two planes of bytes, which puts twice as many lanes into a vector as 16-bit numbers
// would. Vector comparisons are signed, so the top bit of each byte is flipped.
struct BrightnessPlanes {
    std::int8_t* high;
    std::int8_t* low;

    static std::int8_t flipped(int byte) { return static_cast<std::int8_t>(byte - 128); }
    void put(std::ptrdiff_t x, std::int32_t brightness) const {
        high[x] = flipped(brightness >> 8);
        low[x] = flipped(brightness & 255);
    }
};

// Square x of side `side` has its first row in rows[0] from column x on. Its positions are numbered row by
// row. `rank` pixels of the square come before the one selected, bright to dark, equal ones in the order of
// their positions.

// positions[x] = the position selected in square x.
void selectByBrightness(const BrightnessPlanes* rows, int side, int rank, std::uint16_t* positions,
                        std::ptrdiff_t count);

// The same where bytes of `bits` bits, called keys and flipped like those above, rank the pixels, in two
// steps: the key alone often determines the pixel. keys[x] = the key selected in square x.
void selectKeys(const std::int8_t* const* rows, int side, int rank, int bits, std::int8_t* keys,
                std::ptrdiff_t count);
// positions[x] = the position of that key, for the squares from `first` to before `end`.
void positionsOfKeys(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                     std::uint16_t* positions, std::ptrdiff_t first, std::ptrdiff_t end);

}  // namespace dib

#endif
