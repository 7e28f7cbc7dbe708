#include "effects/rank/BrightSort.h"

#include <utility>

namespace dib {

bmidinfo* bright_sort(bmidinfo* entries, int count, int k) {
    for (int pass = 0; pass <= k; ++pass) {
        // The brightest of the rest rises to position `pass`. Only strictly brighter entries move up, so
        // equal ones keep their order.
        for (int j = count - 1; j > pass; --j) {
            if (entries[j].brightness > entries[j - 1].brightness) std::swap(entries[j], entries[j - 1]);
        }
    }
    return entries + k;
}

}  // namespace dib
