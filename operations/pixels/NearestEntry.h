// The entry of a palette that is nearest to a colour.
#ifndef OPERATIONS_PIXELS_NEAREST_ENTRY_H
#define OPERATIONS_PIXELS_NEAREST_ENTRY_H

#include <DibStream.h>

#include <cstdint>
#include <span>
#include <vector>

#include "operations/pixels/ColorCells.h"

namespace operations {

// By the sum of squared channel differences, the first among equals. The entries that are nearest to some
// colour of a cell are found when the first colour of that cell is asked for; mostly that is one.
class NearestEntry {
public:
    // 1 to 256 entries, of which one may not be chosen; -1: all may.
    explicit NearestEntry(std::span<const DibBGRA> palette, int hidden = -1);

    std::uint8_t operator()(std::uint32_t blue, std::uint32_t green, std::uint32_t red) {
        const std::size_t cell = cellOf(blue, green, red);
        if (cells_[cell] == 0) findCandidates(cell);
        const std::uint8_t* list = &lists_[cells_[cell]];
        // A list starts with its length less 1.
        return list[0] == 0 ? list[1] : nearestOf(list, blue, green, red);
    }

private:
    void findCandidates(std::size_t cell);
    std::uint8_t nearestOf(const std::uint8_t* list, std::uint32_t blue, std::uint32_t green,
                           std::uint32_t red) const;

    int count_;
    std::int32_t entries_[3][256] = {};
    std::vector<std::uint32_t> cells_;  // where the list of a cell starts; 0 while unknown
    std::vector<std::uint8_t> lists_;
};

}  // namespace operations

#endif
