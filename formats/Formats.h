// The table of file formats. Each format is one row, defined in the source of its codec; Formats.cpp lists
// the rows.
#ifndef FORMATS_FORMATS_H
#define FORMATS_FORMATS_H

#include <DibFile.h>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

#include "dib/Bytes.h"
#include "formats/CodecFrame.h"
#include "formats/diagnosis/Diagnosis.h"
#include "formats/door/Request.h"

namespace formats {

// The first bytes of a file, fewer when the file is shorter.
using FirstBytes = std::span<const unsigned char>;
constexpr std::size_t kFirstBytes = 64;

constexpr bool startsWith(FirstBytes bytes, std::string_view text) {
    if (bytes.size() < text.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (bytes[i] != dib::byteOf(text[i])) return false;
    }
    return true;
}

// The bits of depths: depths({8, 24}).
constexpr unsigned int depths(std::initializer_list<int> bitCounts) {
    unsigned int bits = 0;
    for (const int bitCount : bitCounts) {
        bits |= bitCount == 1    ? DibStream::DIB_ACCEPT_1
                : bitCount == 4  ? DibStream::DIB_ACCEPT_4
                : bitCount == 8  ? DibStream::DIB_ACCEPT_8
                : bitCount == 16 ? DibStream::DIB_ACCEPT_16
                : bitCount == 24 ? DibStream::DIB_ACCEPT_24
                                 : DibStream::DIB_ACCEPT_32;
    }
    return bits;
}

struct FileFormat {
    // Works on a file. Paths are UTF-8.
    using PathCodec = bool (*)(const char* path, DibStream* image, DibProgressCallback callback, void* user);

    DibFormat info;                                  // what applications see
    const char* const* composeExtensions = nullptr;  // of files that DibEffectCompose loads, ended by null

    // Whether a file begins like this format; null for a format without a signature.
    bool (*recognizes)(FirstBytes bytes) = nullptr;
    // The same where the format has no signature, by the fields of its header; tried last, and only on data
    // without a name.
    bool (*resembles)(FirstBytes bytes) = nullptr;

    // The classic codec. The saver returns true only when the whole file was written, and stores
    // DIB_ERROR_WRITE when it was not; null: nothing can be saved.
    PathCodec load = nullptr;  // null: the door alone reads the format
    PathCodec save = nullptr;

    // What the functions of DibFile.h need (formats/door/Request.h).
    bool (*probe)(ProbeRequest& request) = nullptr;
    bool (*listLayers)(LayersRequest& request) = nullptr;
    bool (*findPage)(PageRequest& request) = nullptr;  // null: pages have no names
    bool (*read)(ReadRequest& request) = nullptr;
    bool (*losses)(LossRequest& request) = nullptr;
    bool (*write)(WriteRequest& request) = nullptr;
    Diagnosis diagnose = nullptr;  // why a decoder without reasons of its own refused a file
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
extern const FileFormat kWebpFormat;
extern const FileFormat kGifFormat;

// Every format of the table, in the order in which lists show them. Those that plug-ins add are not among
// them; the searches below find them where the table has none.
std::span<const FileFormat* const> allFormats();

// The row of the table with a name or an extension in upper or lower case; null when there is none.
const FileFormat* tableFormatOfName(std::string_view name);

// The format of a name or an extension in upper or lower case; null when there is none. These three may throw
// std::bad_alloc.
const FileFormat* formatOfName(std::string_view name);
const FileFormat* formatOfExtension(std::string_view extension);
// The row's own spelling of its name or of one of its extensions; its name for everything else.
const char* spellingOf(const FileFormat& format, std::string_view nameOrExtension);
// What follows the last dot of the last component of a path; empty when there is none.
const char* extensionOf(const char* path);
// Whether a text in any case is the lower-case name `small`. Only A to Z have a lower case here: file names
// do not depend on the application's locale.
bool isNamed(std::string_view small, std::string_view any);
// The format whose files begin like this; null when there is none.
const FileFormat* formatOfContent(FirstBytes bytes);
// The format without a signature that a file may have; null when there is none.
const FileFormat* formatOfResemblance(FirstBytes bytes);
// The row of a public record.
const FileFormat* formatOf(const DibFormat* format);
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
