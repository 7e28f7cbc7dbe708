// Text on pictures.
#ifndef OPERATIONS_PIXELS_TEXT_H
#define OPERATIONS_PIXELS_TEXT_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "dib/Raster.h"
#include "operations/Operations.h"
#include "operations/Places.h"
#include "operations/fonts/Font.h"
#include "operations/pixels/Lettering.h"

namespace operations {

// How text looks.
struct TextStyle {
    int size;                    // pixels of the font's square
    DibBGRA color;               // its alpha counts
    std::optional<DibBGRA> box;  // behind the text, with a margin of a fifth of the size
    int align;                   // of lines: 0 their beginnings, 1 their middles, 2 their ends
    Font* font = nullptr;        // null: the built-in letters
};

// Text in a style, on its box.
class TextBlock {
public:
    // Throws Refusal for text that no picture can hold, and where the font cannot write it.
    TextBlock(std::string_view text, const TextStyle& style);

    // Whether all of its colours are grey.
    bool isGrey() const;
    // In pixels, with the margin of a box.
    std::int64_t width() const { return lettering_->width() + 2 * margin_; }
    std::int64_t height() const { return lettering_->height() + 2 * margin_; }

    // Draws what lies inside, on rows of 8 bits of grey, 24 or 32 bits. `report(done, total)` is called after
    // each row. False when that returns false.
    bool draw(const dib::Raster& rows, Place corner, const std::function<bool(int, int)>& report);

private:
    TextStyle style_;
    std::unique_ptr<Lettering> lettering_;
    std::int64_t margin_;
};

// Draws a block on the picture of a job. A grey picture has 8 bits then and stays grey, if the block is; of
// others those of up to 16 bits are widened to 24. False when the caller cancels.
bool drawText(const Job& job, TextBlock& block, Place corner);

}  // namespace operations

#endif
