// Ranking by brightness with stable ties.
#ifndef EFFECTS_BRIGHT_SORT_H
#define EFFECTS_BRIGHT_SORT_H

#include <cstdint>

namespace dib {

struct bmidinfo {
    std::uint32_t value;  // the pixel as stored
    std::int32_t brightness;
};

// Brings entries into descending order of brightness, so that positions 0 to k are final and entries of equal
// brightness keep their order, and returns entry k. With k < 0 nothing moves; k must be below count
// otherwise.
bmidinfo* bright_sort(bmidinfo* entries, int count, int k);

}  // namespace dib

#endif
