#include <DibFile.h>
#include <VexLibs.h>

#include <iterator>
#include <new>

#include "c/Call.h"

using c_interface::codeOf;
using c_interface::fill;
using c_interface::isSized;

namespace {

static_assert(int{DIB_C_DEPTH_1} == DibStream::DIB_ACCEPT_1 &&
              int{DIB_C_DEPTH_4} == DibStream::DIB_ACCEPT_4 &&
              int{DIB_C_DEPTH_8} == DibStream::DIB_ACCEPT_8 &&
              int{DIB_C_DEPTH_16} == DibStream::DIB_ACCEPT_16 &&
              int{DIB_C_DEPTH_24} == DibStream::DIB_ACCEPT_24 &&
              int{DIB_C_DEPTH_32} == DibStream::DIB_ACCEPT_32);

dib_code describe(const DibFormat& from, dib_format& to) {
    dib_format format = DIB_C_FORMAT_INIT;
    format.name = from.name;
    format.title = from.title;
    format.extensions = from.extensions;
    format.mime_types = from.mimeTypes;
    format.plugin = from.plugin;
    format.read_depths = from.readDepths;
    format.write_depths = from.writeDepths;
    format.has_layers = from.hasLayers ? 1 : 0;
    format.has_pages = from.hasPages ? 1 : 0;
    format.has_palette_alpha = from.hasPaletteAlpha ? 1 : 0;
    fill(to, format);
    return DIB_C_OK;
}

}  // namespace

int dib_format_count(void) {
    std::size_t count = 0;
    DibGetFormats(&count);
    return static_cast<int>(count);
}

dib_code dib_format_at(int index, dib_format* format) {
    if (format == nullptr || !isSized(*format) || index < 0 || index >= dib_format_count())
        return DIB_C_ERROR_INVALID;
    return describe(*DibGetFormats()[index], *format);
}

dib_code dib_find_format(const char* name_or_extension, dib_format* format) {
    if (name_or_extension == nullptr || format == nullptr || !isSized(*format)) return DIB_C_ERROR_INVALID;
    const DibFormat* found = DibFindFormat(name_or_extension);
    return found != nullptr ? describe(*found, *format) : DIB_C_ERROR_UNSUPPORTED;
}

bool dib_is_format_available(const char* name_or_extension) {
    const DibFormat* found = name_or_extension != nullptr ? DibFindFormat(name_or_extension) : nullptr;
    return found != nullptr && DibIsFormatAvailable(found);
}

const char* dib_format_library(const char* name_or_extension) {
    return name_or_extension != nullptr ? DibGetFormatLibrary(DibFindFormat(name_or_extension)) : nullptr;
}

dib_code dib_set_plugin_folder(const char* path) {
    try {
        const VexString folder = VexString::fromUtf8String(path);
        if (folder.size() >= std::size(DibStream::DllPath)) return DIB_C_ERROR_MISMATCH;
        DibStream::SetDllFilePath(folder.c_str());
        return DIB_C_OK;
    } catch (const std::bad_alloc&) {
        return DIB_C_ERROR_MEMORY;
    }
}
