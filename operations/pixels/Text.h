// Text on pictures.
#ifndef OPERATIONS_PIXELS_TEXT_H
#define OPERATIONS_PIXELS_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "operations/Operations.h"

namespace operations {

// How text looks.
struct TextStyle {
    int size;                    // pixels from line to line, less a fifth: those of the font's square
    DibBGRA color;               // its alpha counts
    std::optional<DibBGRA> box;  // behind the text, with a margin of a fifth of the size
    int align;                   // of lines: 0 their beginnings, 1 their middles, 2 their ends
};

// Lines of text in the letters of Letters.h, and how much of each pixel they cover.
class TextBlock {
public:
    // Bytes of UTF-8 that are no ASCII give one box for each character. Throws Refusal for text that no
    // picture can hold.
    TextBlock(std::string_view text, const TextStyle& style);

    // In pixels, with the margin of a box.
    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }
    // The covered shares, 0 to 255, of `count` pixels of a row from `x` on.
    void cover(std::int64_t x, std::int64_t y, std::size_t count, std::uint8_t* shares) const;

private:
    bool isInkedAt(std::int64_t column, std::int64_t row) const;
    double inkAround(double column, double row) const;
    bool isCovered(double column, double row) const;

    std::vector<std::string> lines_;
    std::vector<int> indents_;  // in cells
    double cell_;               // pixels of a cell
    int margin_;                // in pixels
    std::int64_t width_;
    std::int64_t height_;
};

// Draws text with the upper left corner of its block at x and y, which may lie outside. Pictures of up to 16
// bits are widened to 24. False when the caller cancels.
bool drawText(const Job& job, const TextBlock& block, const TextStyle& style, std::int64_t x, std::int64_t y);

}  // namespace operations

#endif
