#include "tools/io/Formats.h"

#include <strings.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <vector>

#include "texts/Tables.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Suggestion.h"

namespace tool {

const char* formatNamed(const std::string& typed) {
    std::vector<std::string> words;
    for (const DibFormat* format : texts::formats()) {
        std::vector<const char*> names = {format->name};
        for (const char* extension : DibList(format->extensions)) names.push_back(extension);
        for (const char* name : names) {
            if (strcasecmp(name, typed.c_str()) == 0) return name;
            words.emplace_back(name);
        }
    }
    throw usageFailure("no format '" + typed + "'" +
                       suggestion(CLI::detail::to_lower(typed), words, "; `dib formats` lists them"));
}

const char* extensionFor(const char* spelling) {
    const DibFormat& format = *DibFindFormat(spelling);
    return std::strcmp(spelling, format.name) == 0 ? format.extensions[0] : spelling;
}

namespace {

// The end of a message about an unknown extension of a file.
std::string extensionSuggestion(const std::string& fileName) {
    std::vector<std::string> extensions;
    for (const DibFormat* format : texts::formats()) {
        if (format->writeDepths == 0) continue;
        for (const char* extension : DibList(format->extensions))
            extensions.push_back("." + std::string(extension));
    }
    return suggestion(CLI::detail::to_lower(extensionOf(fileName)), extensions, "; use --to");
}

}  // namespace

const DibFormat* formatForOutput(const std::string& fileName, const char* chosen) {
    const DibFormat* format = chosen != nullptr ? DibFindFormat(chosen) : formatOfExtension(fileName);
    if (format == nullptr)
        throw usageFailure(fileName + ": no format has this extension" + extensionSuggestion(fileName));
    if (format->writeDepths == 0)
        throw usageFailure(fileName + ": cannot write " + std::string(format->name) + " files");
    return format;
}

}  // namespace tool
