#include "tools/io/Formats.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <vector>

#include "tools/cli/ExitCode.h"

namespace tool {

// One line for each file in formats/, here and in formats().
std::span<const Format> bmpFormats();
std::span<const Format> simpleFormats();
std::span<const Format> psdFormats();
std::span<const Format> platformFormats();
std::span<const Format> pluginFormats();

std::span<const Format> formats() {
    static const std::vector<Format> all = [] {
        std::vector<Format> rows;
        for (const auto& area : {
                 bmpFormats(),
                 simpleFormats(),
                 psdFormats(),
                 platformFormats(),
                 pluginFormats(),
             }) {
            rows.insert(rows.end(), area.begin(), area.end());
        }
        return rows;
    }();
    return all;
}

const Format& formatNamed(const std::string& name) {
    const auto found = std::ranges::find(formats(), name, &Format::name);
    if (found == formats().end()) throw usageFailure("no format '" + name + "'; `dib formats` lists them");
    return *found;
}

const Format* formatOfExtension(const std::string& fileName) {
    const std::string extension = loweredExtensionOf(fileName);
    for (const Format& format : formats()) {
        if (std::ranges::find(format.extensions, extension) != format.extensions.end()) return &format;
    }
    return nullptr;
}

const Format* formatOfContent(FirstBytes bytes) {
    for (const Format& format : formats()) {
        if (format.recognizes != nullptr && format.recognizes(bytes)) return &format;
    }
    return nullptr;
}

std::string depthsText(std::string_view depths) {
    return depths.empty() ? "no" : std::string(depths) + " bits";
}

std::string extensionOf(const std::string& fileName) {
    const std::string extension = std::filesystem::path(fileName).extension().string();
    return extension.empty() ? extension : extension.substr(1);
}

std::string loweredExtensionOf(const std::string& fileName) {
    std::string extension = extensionOf(fileName);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

}  // namespace tool
