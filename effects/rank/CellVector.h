// Small numbers side by side: the compiler's own vectors, one source for every width of the machine's
// registers.
#ifndef EFFECTS_RANK_CELL_VECTOR_H
#define EFFECTS_RANK_CELL_VECTOR_H

#include <cstddef>
#include <cstdint>

namespace dib {

// Bytes of the vectors, where their rows are a multiple, and on processors without wide ones.
constexpr std::ptrdiff_t kCellVectorBytes = 32;
constexpr std::ptrdiff_t kNarrowCellVectorBytes = 16;

// `Cell` is std::uint8_t or std::uint16_t.
template <class Cell, std::ptrdiff_t Width>
struct CellVectorOf {
    using Type __attribute__((vector_size(Width))) = Cell;
};
template <class Cell, std::ptrdiff_t Width = kCellVectorBytes>
using CellVector = typename CellVectorOf<Cell, Width>::Type;
template <class Cell, std::ptrdiff_t Width = kCellVectorBytes>
constexpr std::ptrdiff_t kCellLanes = Width / static_cast<std::ptrdiff_t>(sizeof(Cell));

}  // namespace dib

#endif
