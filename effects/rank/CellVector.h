// Small numbers side by side: the compiler's own vectors of 32 bytes, one source for every width of the
// machine's registers.
#ifndef EFFECTS_RANK_CELL_VECTOR_H
#define EFFECTS_RANK_CELL_VECTOR_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace dib {

constexpr std::ptrdiff_t kCellVectorBytes = 32;
using ByteCells = std::uint8_t __attribute__((vector_size(kCellVectorBytes)));
using WordCells = std::uint16_t __attribute__((vector_size(kCellVectorBytes)));

// `Cell` is std::uint8_t or std::uint16_t.
template <class Cell>
using CellVector = std::conditional_t<sizeof(Cell) == 1, ByteCells, WordCells>;
template <class Cell>
constexpr std::ptrdiff_t kCellLanes = kCellVectorBytes / static_cast<std::ptrdiff_t>(sizeof(Cell));

}  // namespace dib

#endif
