// Letters from the files of fonts, by FreeType where the library was built with it.
#ifndef OPERATIONS_FONTS_FONT_H
#define OPERATIONS_FONTS_FONT_H

#include <memory>
#include <string>
#include <string_view>

#include "operations/pixels/Lettering.h"

namespace operations {

// An open font, which keeps the letters of the size that was asked for last. Not for several threads at once.
class Font {
public:
    Font() = default;
    virtual ~Font() = default;
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

    // Lines of UTF-8 in letters of `size` pixels, aligned as in TextStyle. Other bytes, and characters that
    // the font lacks, show its sign for those. The font must outlive them. Throws Refusal for sizes that
    // fonts cannot have, letters that cannot be drawn, and text that no picture can hold.
    virtual std::unique_ptr<Lettering> write(std::string_view text, int size, int align) = 0;
};

// Throws Refusal when the file is no font with outlines, or the library was built without FreeType.
std::unique_ptr<Font> openFont(const std::string& file);

}  // namespace operations

#endif
