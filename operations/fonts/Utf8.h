// Characters of UTF-8.
#ifndef OPERATIONS_FONTS_UTF8_H
#define OPERATIONS_FONTS_UTF8_H

#include <cstddef>
#include <string_view>

#include "dib/Bytes.h"

namespace operations {

// Stands for a byte that is no UTF-8.
inline constexpr char32_t kNoCharacter = 0xFFFD;

// Removes the first character of a text that is not empty, and returns it.
inline char32_t takeCharacter(std::string_view& text) {
    const auto byteAt = [&](std::size_t i) { return char32_t{dib::byteOf(text[i])}; };
    const char32_t first = byteAt(0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    char32_t character = length <= 1 ? first : first & (0x7FU >> length);
    bool isWhole = length > 0 && length <= text.size();
    for (std::size_t i = 1; isWhole && i < length; ++i) {
        isWhole = (byteAt(i) & 0xC0) == 0x80;
        character = character << 6 | (byteAt(i) & 0x3F);
    }
    // The longer forms of shorter ones, halves of pairs, and what lies beyond the last character.
    const bool isLong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool isHalf = character >= 0xD800 && character < 0xE000;
    isWhole = isWhole && !isLong && !isHalf && character < 0x110000;
    text.remove_prefix(isWhole ? length : 1);
    return isWhole ? character : kNoCharacter;
}

}  // namespace operations

#endif
