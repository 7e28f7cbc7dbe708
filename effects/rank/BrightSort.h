// A partial sort by brightness that keeps the order of equals.
#ifndef EFFECTS_RANK_BRIGHT_SORT_H
#define EFFECTS_RANK_BRIGHT_SORT_H

#include <cstdint>

namespace dib {

struct bmidinfo {
    std::uint32_t value;  // the pixel as stored
    std::int32_t brightness;
};

// Sorts entries from bright to dark until positions 0 to k are final, and returns entry k. Entries of equal
// brightness keep their order. With k < 0 nothing moves; otherwise k must be below count.
bmidinfo* bright_sort(bmidinfo* entries, int count, int k);

}  // namespace dib

#endif
