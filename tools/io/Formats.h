/// The table of file formats; a format is one row of one file in tools/formats/.
#ifndef TOOLS_IO_FORMATS_H
#define TOOLS_IO_FORMATS_H

#include <DibStream.h>

#include <span>
#include <string>
#include <string_view>

#include "formats/diagnosis/Diagnosis.h"

namespace tool {

/// The first bytes of a file, fewer when the file is shorter.
using FirstBytes = std::span<const unsigned char>;
inline constexpr std::size_t kFirstBytes = 64;

struct Format {
    std::string_view name;  ///< As after --from and --to.
    std::string_view help;
    std::span<const std::string_view>
        extensions;                 ///< Lower case, without the dot; the first is the usual one.
    std::string_view readsDepths;   ///< What the picture can be after loading, in words; empty: is not read.
    std::string_view writesDepths;  ///< The depths that can be saved, in words; empty: is not written.
    bool (*load)(const char* path, DibStream& image, DibProgressCallback callback, void* user);
    bool (*save)(const char* path, DibStream& image, DibProgressCallback callback, void* user);
    formats::Diagnosis diagnose;  ///< What is wrong with a file that could not be loaded.
    /// Whether a file begins like this format; null when only its name tells.
    bool (*recognizes)(FirstBytes bytes) = nullptr;
    /// The name of the compression inside the file; null when the format has but one way.
    std::string_view (*compression)(FirstBytes bytes) = nullptr;
    /// Whether files are documents with layers, which `dib info` and `dib layers` read with `DibPSDLoader`.
    bool hasLayers = false;
};

/// Every format, in the order in which help lists them.
std::span<const Format> formats();

/// The format of that name. @throws Failure (usage) when there is none.
const Format& formatNamed(const std::string& name);
/// The format that goes by the extension of a file name, or null.
const Format* formatOfExtension(const std::string& fileName);
/// The format whose files begin like this, or null.
const Format* formatOfContent(FirstBytes bytes);

/// "8, 24 bits", or "no" for an empty list.
std::string depthsText(std::string_view depths);

/// The extension of the last component of a file name, without its dot; may be empty.
std::string extensionOf(const std::string& fileName);
/// The same in lower case, as formats have theirs.
std::string loweredExtensionOf(const std::string& fileName);

}  // namespace tool

#endif
