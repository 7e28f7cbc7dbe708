#include <VexLibs.h>

#include <cstdint>
#include <string_view>

#include "Utf8.h"

namespace {

struct Decoded {
    std::uint32_t character;
    std::size_t length;
};

// One character of UTF-8 in its shortest form; anything else is a single byte to be escaped.
Decoded decode(const unsigned char* text, std::size_t left) {
    const unsigned char lead = text[0];
    const Decoded escaped{vexlibs::kByteEscape + lead, 1};
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > left) return escaped;

    std::uint32_t character = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) return escaped;
        character = (character << 6) | (text[i] & 0x3FU);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < kSmallest[length] || character > 0x10FFFF || surrogate) return escaped;
    return {character, length};
}

}  // namespace

VexAnsiString::VexAnsiString() = default;
VexAnsiString::VexAnsiString(const char* text) : text_(text != nullptr ? text : "") {}
const char* VexAnsiString::c_str() const { return text_.c_str(); }
std::size_t VexAnsiString::size() const { return text_.size(); }
bool VexAnsiString::empty() const { return text_.empty(); }

VexString::VexString() = default;
VexString::VexString(const wchar_t* text) : text_(text != nullptr ? text : L"") {}
const wchar_t* VexString::c_str() const { return text_.c_str(); }
std::size_t VexString::size() const { return text_.size(); }
bool VexString::empty() const { return text_.empty(); }

VexString VexString::fromUtf8String(const char* text) {
    VexString result;
    if (text == nullptr) return result;
    const std::string_view bytes(text);
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    for (std::size_t i = 0; i < bytes.size();) {
        const Decoded next = decode(data + i, bytes.size() - i);
        result.text_.push_back(static_cast<wchar_t>(next.character));
        i += next.length;
    }
    return result;
}

VexString VexString::fromAnsiString(const char* text) { return fromUtf8String(text); }

bool VexString::isValid() const { return vexlibs::hasUtf8Form(text_); }

VexAnsiString VexString::toUtf8String() const { return VexAnsiString(vexlibs::utf8Of(text_).c_str()); }
