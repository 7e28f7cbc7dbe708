// The table of file formats. Each format is one row, defined in the source of its codec; Formats.cpp lists
// the rows.
#ifndef FORMATS_FORMATS_H
#define FORMATS_FORMATS_H

#include <DibStream.h>

#include <cstddef>
#include <span>
#include <string_view>

#include "formats/CodecFrame.h"

namespace formats {

// The first bytes of a file, fewer when the file is shorter.
using FirstBytes = std::span<const unsigned char>;
constexpr std::size_t kFirstBytes = 64;

constexpr bool startsWith(FirstBytes bytes, std::string_view text) {
    if (bytes.size() < text.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (bytes[i] != static_cast<unsigned char>(text[i])) return false;
    }
    return true;
}

struct Extension {
    std::string_view name;   // lower case, without the dot
    bool inCompose = false;  // DibEffectCompose loads files of this extension
};

struct FileFormat {
    // Works on a file. Paths are UTF-8.
    using PathCodec = bool (*)(const char* path, DibStream* image, DibProgressCallback callback, void* user);

    std::string_view name;  // a short word
    std::string_view title;
    std::span<const Extension> extensions;  // the first is the usual one
    std::span<const std::string_view> mimeTypes;
    std::string_view readsDepths;   // what a loaded image can be
    std::string_view writesDepths;  // what can be saved, and what becomes of other depths; empty: nothing
    PathCodec load;
    // True only when the whole file was written, with DIB_ERROR_WRITE when it was not; null: nothing can be
    // saved.
    PathCodec save = nullptr;
    // Whether a file begins like this format; null when nothing tells.
    bool (*recognizes)(FirstBytes bytes) = nullptr;
    // The name of the packing inside the file; null when there is only one way.
    std::string_view (*compression)(FirstBytes bytes) = nullptr;
    const char* plugin = nullptr;  // the bundle file that decodes it
    bool hasLayers = false;        // DibPSDLoader reads more than the picture
};

extern const FileFormat kBmpFormat;
extern const FileFormat kTgaFormat;
extern const FileFormat kPpmFormat;
extern const FileFormat kTimFormat;
extern const FileFormat kIlbmFormat;
extern const FileFormat kHdrFormat;
extern const FileFormat kPsdFormat;
extern const FileFormat kPngFormat;
extern const FileFormat kJpegFormat;
extern const FileFormat kTiffFormat;
extern const FileFormat kExrFormat;
extern const FileFormat kDdsFormat;

// Every format, in the order in which lists show them.
std::span<const FileFormat* const> allFormats();

// The format of an extension in upper or lower case; null when there is none.
const FileFormat* formatOfExtension(std::string_view extension);
// The format whose files begin like this; null when there is none.
const FileFormat* formatOfContent(FirstBytes bytes);
// The format that DibEffectCompose loads by an extension; null when it loads none.
const FileFormat* composeFormatOfExtension(std::string_view extension);

// The saver of a row: stores DIB_ERROR_WRITE when not all was written.
template <Writer write>
bool saveWhole(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    const SaveEnd end = saveFile(path, write, image, callback, user);
    return end == SaveEnd::kShort ? fail(image, DIB_ERROR_WRITE) : end == SaveEnd::kWhole;
}

}  // namespace formats

#endif
