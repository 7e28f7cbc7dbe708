// Counts of a sliding window by bins, and the search for a rank in them. Bins number ranges of a ranking;
// pixels of lower bins come first.
//
// Every column of a tile has its own counts, of the rows in the window. A window is a run of columns. While
// it slides, the count of each column before the bin found last is at hand, so that a step costs one column
// that enters and one that leaves; only a step to another bin has work for every column.
#ifndef EFFECTS_RANK_BIN_WINDOW_H
#define EFFECTS_RANK_BIN_WINDOW_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"

namespace dib {

struct BinRank {
    std::uint32_t bin;
    std::uint32_t rank;  // within the bin
};

// `Cell` holds a count of up to `side`: std::uint8_t or std::uint16_t.
template <class Cell>
class BinWindow {
public:
    // For windows of `side` columns, 16 to 32767, in tiles of up to this size. False when memory is short.
    bool prepare(std::ptrdiff_t mostBins, std::ptrdiff_t mostColumns, std::ptrdiff_t side);
    // Starts a tile without rows, of sizes that were prepared for.
    void clear(std::ptrdiff_t bins, std::ptrdiff_t columns);

    // A row by its bins: one for each column.
    void add(const std::uint16_t* entering);
    void replace(const std::uint16_t* leaving, const std::uint16_t* entering);

    // found[x] = where the pixel with `rank` others before it is in the window from column x on, for `count`
    // windows. The windows must have more than `rank` pixels. `rightwards` gives the order of the work; it is
    // least when rows alternate.
    void find(std::uint32_t rank, std::ptrdiff_t count, bool rightwards, BinRank* found);

    // What `find` works on. Bins are in groups, so that empty ones are passed quickly.
    struct State {
        Cell* counts;  // by bin and column
        Cell* groups;  // by group and column
        Cell* before;  // by column: the pixels of all bins before `bin`
        std::ptrdiff_t stride;
        std::ptrdiff_t side;
        std::ptrdiff_t bin;
    };

private:
    MallocPtr<Cell> memory_;
    State state_{};
    std::ptrdiff_t columns_ = 0;
};

extern template class BinWindow<std::uint8_t>;
extern template class BinWindow<std::uint16_t>;

}  // namespace dib

#endif
