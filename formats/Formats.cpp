#include "formats/Formats.h"

#include <algorithm>

namespace formats {

namespace {

constexpr const FileFormat* kFormats[] = {
    &kBmpFormat, &kTgaFormat, &kPpmFormat,  &kTimFormat,  &kIlbmFormat, &kHdrFormat,
    &kPsdFormat, &kPngFormat, &kJpegFormat, &kTiffFormat, &kExrFormat,  &kDdsFormat,
};

// Only A to Z have a lower case here: file names do not depend on the application's locale.
bool isNamed(std::string_view small, std::string_view any) {
    const auto same = [](char a, char b) {
        return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b);
    };
    return std::equal(small.begin(), small.end(), any.begin(), any.end(), same);
}

template <class Accept>
const FileFormat* findExtension(std::string_view name, Accept accept) {
    for (const FileFormat* format : kFormats) {
        for (const Extension& extension : format->extensions) {
            if (isNamed(extension.name, name) && accept(extension)) return format;
        }
    }
    return nullptr;
}

}  // namespace

std::span<const FileFormat* const> allFormats() { return kFormats; }

const FileFormat* formatOfExtension(std::string_view extension) {
    return findExtension(extension, [](const Extension&) { return true; });
}

const FileFormat* composeFormatOfExtension(std::string_view extension) {
    return findExtension(extension, [](const Extension& found) { return found.inCompose; });
}

const FileFormat* formatOfContent(FirstBytes bytes) {
    for (const FileFormat* format : kFormats) {
        if (format->recognizes != nullptr && format->recognizes(bytes)) return format;
    }
    return nullptr;
}

}  // namespace formats
