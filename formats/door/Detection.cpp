#include "formats/door/Detection.h"

namespace formats {

namespace {

const FileFormat* formatOfPath(const char* path) {
    return path != nullptr ? formatOfExtension(extensionOf(path)) : nullptr;
}

}  // namespace

const FileFormat* detectFormat(FirstBytes bytes, const char* path, const DibLoadOptions& options) {
    if (options.format != nullptr) return formatOfName(options.format);
    if (const FileFormat* format = formatOfContent(bytes)) return format;
    if (const FileFormat* format = formatOfPath(options.name)) return format;
    if (const FileFormat* format = formatOfPath(path)) return format;
    return formatOfResemblance(bytes);
}

bool accepts(const DibLoadOptions& options, const FileFormat& format) {
    if (options.formats == nullptr) return true;
    for (const char* const* name = options.formats; *name != nullptr; ++name) {
        if (formatOfName(*name) == &format) return true;
    }
    return false;
}

}  // namespace formats
