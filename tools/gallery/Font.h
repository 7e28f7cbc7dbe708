// Letters of few cells, for the contact sheet and the sample picture.
#ifndef TOOLS_GALLERY_FONT_H
#define TOOLS_GALLERY_FONT_H

#include <string_view>

namespace tool {

// Whether a cell of a line of text is inked. Letters are 5 cells wide and 7 high, and stand 6 cells apart.
bool isInked(std::string_view text, int column, int row);

constexpr int textColumns(std::string_view text) { return static_cast<int>(text.size()) * 6 - 1; }
inline constexpr int kTextRows = 7;

}  // namespace tool

#endif
