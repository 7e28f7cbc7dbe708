#include "tools/cli/Printable.h"

#include <cstdint>
#include <cstdio>

namespace tool {

namespace {

struct Character {
    std::uint32_t code;
    std::size_t bytes;
};

// The first character of a UTF-8 text; an invalid byte counts as one character.
Character firstOf(std::string_view text) {
    const auto byte = [text](std::size_t i) -> std::uint32_t {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const std::uint32_t lead = byte(0);
    const std::size_t bytes = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    if (bytes == 1) return {lead, 1};
    std::uint32_t code = lead & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {lead, 1};
        code = code << 6 | (byte(i) & 0x3F);
    }
    return {code, bytes};
}

struct CodeRange {
    std::uint32_t first;
    std::uint32_t last;
};
constexpr CodeRange kControls[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
    {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF},
};

bool isControl(std::uint32_t code) {
    for (const CodeRange& range : kControls) {
        if (code >= range.first && code <= range.last) return true;
    }
    return false;
}

template <class Replace>
std::string replaced(std::string_view text, Replace replacementOf) {
    std::string safe;
    while (!text.empty()) {
        const Character character = firstOf(text);
        if (isControl(character.code)) {
            safe += replacementOf(character.code);
        } else {
            safe += text.substr(0, character.bytes);
        }
        text.remove_prefix(character.bytes);
    }
    return safe;
}

}  // namespace

std::string printable(std::string_view text) {
    return replaced(text, [](std::uint32_t) { return "?"; });
}

std::string printableJson(std::string_view json) {
    return replaced(json, [](std::uint32_t code) {
        if (code == '\n') return std::string("\n");
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", code & 0xFFFF);
        return std::string(escape);
    });
}

}  // namespace tool
