// The letters that text is drawn with: grids of few cells, for the printable characters of ASCII.
#ifndef OPERATIONS_PIXELS_LETTERS_H
#define OPERATIONS_PIXELS_LETTERS_H

#include <string_view>

namespace operations {

inline constexpr int kLetterCells = 5;  // across
inline constexpr int kLetterStep = 6;   // from one letter to the next
inline constexpr int kLetterRows = 9;   // of which two are below the line

// Whether a cell of a line of text is inked. Other characters are empty boxes, one for each byte.
bool isInked(std::string_view line, int column, int row);

constexpr int letterColumns(std::string_view line) {
    return line.empty() ? 0 : static_cast<int>(line.size()) * kLetterStep - 1;
}

}  // namespace operations

#endif
