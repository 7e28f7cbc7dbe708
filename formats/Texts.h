// Texts that files have beside their picture: title, author, comment ... In DibMetadata::texts they are pairs
// of a keyword and a text, UTF-8, each ended by NUL.
#ifndef FORMATS_TEXTS_H
#define FORMATS_TEXTS_H

#include <DibFile.h>

#include <optional>
#include <string>
#include <string_view>

namespace formats {

// Keyword of texts that are comments and nothing else.
constexpr std::string_view kCommentKeyword = "Comment";

struct Text {
    std::string_view keyword;
    std::string_view text;
};

// The pairs of a block, from its start.
class TextList {
public:
    explicit TextList(const DibBytes& texts)
        : rest_(reinterpret_cast<const char*>(texts.data), texts.data != nullptr ? texts.size : 0) {}
    // False at the end.
    bool next(Text& text);

private:
    std::string_view rest_;
};

// Whether a block is made of pairs.
bool areTexts(const DibBytes& texts);

// May throw std::bad_alloc.
bool isUtf8(std::string_view text);
std::string utf8OfLatin1(std::string_view text);
// Text whose encoding the file does not declare: UTF-8 where that is possible, else Latin-1.
std::string utf8OfUnknown(std::string_view text);
// Null when a character has no byte there.
std::optional<std::string> latin1OfUtf8(std::string_view text);
// Appends a pair to a block of them, up to its first NUL; false when that is too long now.
bool appendText(std::string& block, std::string_view keyword, std::string_view text);

}  // namespace formats

#endif
