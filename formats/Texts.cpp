#include "formats/Texts.h"

#include <VexLibs.h>

#include <algorithm>

#include "formats/Exif.h"

namespace formats {

namespace {

std::string_view untilNul(std::string_view text) { return text.substr(0, text.find('\0')); }

// Bytes that are no UTF-8 are characters of this block.
bool isStrayByte(wchar_t character) { return character >= 0xDC80 && character <= 0xDCFF; }

VexString wideOf(std::string_view text) { return VexString::fromUtf8String(std::string(text).c_str()); }

bool takePart(std::string_view& rest, std::string_view& part) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos) return false;
    part = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return true;
}

}  // namespace

bool TextList::next(Text& text) { return takePart(rest_, text.keyword) && takePart(rest_, text.text); }

bool areTexts(const DibBytes& texts) {
    if (texts.size == 0) return true;
    const auto ends = std::count(texts.data, texts.data + texts.size, static_cast<unsigned char>(0));
    const std::string_view all(reinterpret_cast<const char*>(texts.data), texts.size);
    if (all.back() != '\0' || ends % 2 != 0) return false;
    TextList list(texts);
    for (Text text; list.next(text);) {
        if (!isUtf8(text.keyword) || !isUtf8(text.text)) return false;
    }
    return true;
}

bool isUtf8(std::string_view text) {
    const VexString wide = wideOf(text);
    return std::none_of(wide.c_str(), wide.c_str() + wide.size(), isStrayByte);
}

std::string utf8OfLatin1(std::string_view text) {
    std::string utf8;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x80) utf8.push_back(byte < 0xC0 ? '\xC2' : '\xC3');
        utf8.push_back(static_cast<char>(byte < 0xC0 ? byte : byte - 0x40));
    }
    return utf8;
}

std::string utf8OfUnknown(std::string_view text) {
    return isUtf8(untilNul(text)) ? std::string(text) : utf8OfLatin1(text);
}

std::optional<std::string> latin1OfUtf8(std::string_view text) {
    const VexString wide = wideOf(text);
    std::string latin1;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const wchar_t character = wide.c_str()[i];
        if (character > 0xFF) return std::nullopt;
        latin1.push_back(static_cast<char>(character));
    }
    return latin1;
}

bool appendText(std::string& block, std::string_view keyword, std::string_view text) {
    keyword = untilNul(keyword);
    text = untilNul(text);
    if (block.size() + keyword.size() + text.size() + 2 > kMostMetadataBytes) return false;
    block.append(keyword).push_back('\0');
    block.append(text).push_back('\0');
    return true;
}

}  // namespace formats
