#include "tools/io/Formats.h"

#include <cstring>
#include <vector>

#include "tools/cli/Suggestion.h"

namespace tool {

namespace {

std::string lowerCase(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

}  // namespace

const char* formatSpelling(const std::string& typed) {
    const DibFormat* format = DibFindFormat(typed.c_str());
    if (format == nullptr) return nullptr;
    const std::string word = lowerCase(typed);
    for (const char* const* extension = format->extensions; *extension != nullptr; ++extension) {
        if (word == *extension) return *extension;
    }
    return format->name;
}

const char* extensionFor(const char* spelling) {
    const DibFormat& format = *DibFindFormat(spelling);
    return std::strcmp(spelling, format.name) == 0 ? format.extensions[0] : spelling;
}

std::string formatSuggestion(const std::string& typed, std::string_view otherwise) {
    std::vector<std::string> words;
    for (const DibFormat* format : formats()) {
        words.emplace_back(format->name);
        for (const char* const* extension = format->extensions; *extension != nullptr; ++extension)
            words.emplace_back(*extension);
    }
    return suggestion(lowerCase(typed), words, otherwise);
}

std::string extensionSuggestion(const std::string& fileName, std::string_view otherwise) {
    std::vector<std::string> extensions;
    for (const DibFormat* format : formats()) {
        if (format->writeDepths == 0) continue;
        for (const char* const* extension = format->extensions; *extension != nullptr; ++extension)
            extensions.push_back("." + std::string(*extension));
    }
    return suggestion(lowerCase(std::filesystem::path(fileName).extension()), extensions, otherwise);
}

}  // namespace tool
