// Wide text as UTF-8, where U+DC80 to U+DCFF are bytes that are not UTF-8 (see VexLibs.h).
#ifndef VEXLIBS_UTF8_H
#define VEXLIBS_UTF8_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vexlibs {

constexpr std::uint32_t kByteEscape = 0xDC00;

inline bool isEscapedByte(std::uint32_t character) { return character >= 0xDC80 && character <= 0xDCFF; }

inline bool hasUtf8Form(std::uint32_t character) {
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return isEscapedByte(character) || (character <= 0x10FFFF && !surrogate);
}

inline void appendUtf8(std::string& out, std::uint32_t character) {
    const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (isEscapedByte(character)) {
        put(character - kByteEscape);
    } else if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | (character >> 6));
        put(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    } else {
        put(0xF0 | (character >> 18));
        put(0x80 | ((character >> 12) & 0x3F));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}

inline bool hasUtf8Form(std::wstring_view text) {
    for (const wchar_t character : text) {
        if (!hasUtf8Form(static_cast<std::uint32_t>(character))) return false;
    }
    return true;
}

// Empty when a character has no form in UTF-8.
inline std::string utf8Of(std::wstring_view text) {
    std::string bytes;
    if (!hasUtf8Form(text)) return bytes;
    for (const wchar_t character : text) appendUtf8(bytes, static_cast<std::uint32_t>(character));
    return bytes;
}

}  // namespace vexlibs

#endif
