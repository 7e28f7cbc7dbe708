// Wide text as UTF-8 and back, where U+DC80 to U+DCFF are bytes that are not UTF-8 (see VexLibs.h).
//
// Characters of 32 bits hold a code point each. Characters of 16 bits are UTF-16: a pair of surrogates is one
// code point, and names of files may hold unpaired ones, which get the three bytes that their number would
// have.
#ifndef VEXLIBS_UTF8_H
#define VEXLIBS_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vexlibs {

constexpr std::uint32_t kByteEscape = 0xDC00;

template <class Wide>
inline constexpr bool kHasPairs = sizeof(Wide) == 2;

inline bool isEscapedByte(std::uint32_t character) { return character >= 0xDC80 && character <= 0xDCFF; }
inline bool isSurrogate(std::uint32_t character) { return character >= 0xD800 && character <= 0xDFFF; }
inline bool isFirstOfPair(std::uint32_t character) { return character >= 0xD800 && character <= 0xDBFF; }
inline bool isSecondOfPair(std::uint32_t character) { return character >= 0xDC00 && character <= 0xDFFF; }

struct Decoded {
    std::uint32_t character;
    std::size_t length;
};

// The code point that starts at the front of wide text.
template <class Wide>
Decoded frontOf(std::basic_string_view<Wide> text) {
    const auto first = static_cast<std::uint32_t>(text[0]);
    if (!kHasPairs<Wide> || !isFirstOfPair(first) || text.size() < 2) return {first, 1};
    const auto second = static_cast<std::uint32_t>(text[1]);
    if (!isSecondOfPair(second)) return {first, 1};
    return {0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF), 2};
}

template <class Wide>
bool hasUtf8Form(std::basic_string_view<Wide> text) {
    if (kHasPairs<Wide>) return true;
    for (const Wide unit : text) {
        const auto character = static_cast<std::uint32_t>(unit);
        if (character > 0x10FFFF || (isSurrogate(character) && !isEscapedByte(character))) return false;
    }
    return true;
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

// Empty when a character has no form in UTF-8.
template <class Wide>
std::string utf8Of(std::basic_string_view<Wide> text) {
    std::string bytes;
    if (!hasUtf8Form(text)) return bytes;
    while (!text.empty()) {
        const Decoded next = frontOf(text);
        appendUtf8(bytes, next.character);
        text.remove_prefix(next.length);
    }
    return bytes;
}
inline std::string utf8Of(const wchar_t* text) { return utf8Of(std::wstring_view(text)); }

// The number of the shortest form at the front of UTF-8, surrogates included; anything else is a single byte
// to be escaped.
inline Decoded numberAt(std::string_view text) {
    const auto byteAt = [text](std::size_t i) { return static_cast<std::uint32_t>(text[i]) & 0xFFU; };
    const std::uint32_t lead = byteAt(0);
    const Decoded escaped{kByteEscape + lead, 1};
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > text.size()) return escaped;

    std::uint32_t character = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return escaped;
        character = (character << 6) | (byteAt(i) & 0x3FU);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return character < kSmallest[length] || character > 0x10FFFF ? escaped : Decoded{character, length};
}

// Where the forms of first halves of pairs end that start here.
inline std::size_t endOfFirsts(std::string_view text, std::size_t at) {
    while (at < text.size()) {
        const Decoded next = numberAt(text.substr(at));
        if (next.length != 3 || !isFirstOfPair(next.character)) break;
        at += next.length;
    }
    return at;
}

// Units of 16 bits also have a form for an unpaired surrogate, unless it would be taken for the escape of a
// byte, or form a pair with what follows: then its bytes are escaped, which makes a second half of what was a
// first one, so all first halves in front of it are escaped, too.
template <class Wide>
std::basic_string<Wide> wideOf(std::string_view text) {
    std::basic_string<Wide> wide;
    std::size_t firstsEnd = 0;
    bool makesPair = false;
    for (std::size_t at = 0; at < text.size();) {
        Decoded next = numberAt(text.substr(at));
        if (next.length == 3 && isSurrogate(next.character)) {
            if (isFirstOfPair(next.character) && at >= firstsEnd) {
                firstsEnd = endOfFirsts(text, at);
                makesPair =
                    firstsEnd < text.size() && isSecondOfPair(numberAt(text.substr(firstsEnd)).character);
            }
            const bool isKept = kHasPairs<Wide> && !isEscapedByte(next.character) &&
                                !(isFirstOfPair(next.character) && makesPair);
            if (!isKept) next = {kByteEscape + (static_cast<std::uint32_t>(text[at]) & 0xFFU), 1};
        }
        if (kHasPairs<Wide> && next.character > 0xFFFF) {
            wide.push_back(static_cast<Wide>(0xD800 + ((next.character - 0x10000) >> 10)));
            wide.push_back(static_cast<Wide>(0xDC00 + (next.character & 0x3FF)));
        } else {
            wide.push_back(static_cast<Wide>(next.character));
        }
        at += next.length;
    }
    return wide;
}

}  // namespace vexlibs

#endif
