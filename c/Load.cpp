#include <DibHandle.h>
#include <DibPalette.h>

#include "c/Call.h"

using c_interface::call;
using c_interface::handleOf;
using c_interface::refuse;

static_assert(int{DIB_C_DAMAGE_REFUSE} == DIB_DAMAGE_REFUSE && int{DIB_C_DAMAGE_KEEP} == DIB_DAMAGE_KEEP);
static_assert(int{DIB_C_ALPHA_GUESS} == DIB_ALPHA_GUESS && int{DIB_C_ALPHA_STORED} == DIB_ALPHA_STORED);
static_assert(int{DIB_C_LAYER_PIXELS} == DIB_LAYER_PIXELS && int{DIB_C_LAYER_MASK} == DIB_LAYER_MASK &&
              int{DIB_C_LAYER_SECOND_MASK} == DIB_LAYER_SECOND_MASK);

namespace {

// Runs a call that reads a file and copies its metadata to the program, also when the call fails.
template <class Work>
dib_code readFile(dib_result* result, const Work& work) {
    return call<DibFileResult>(result, [&](DibFileResult& out) {
        const bool isRead = work(out);
        c_interface::fillMetadata(result, out.metadata);
        return isRead;
    });
}

template <class Load>
dib_code load(dib_image** image, const dib_load_options* given, dib_result* result, const Load& loadInto) {
    if (image != nullptr) *image = nullptr;
    return readFile(result, [&](DibFileResult& out) {
        DibLoadOptions options;
        if (image == nullptr) return refuse(out, DIB_ERROR_INVALID, "there is no pointer for the image");
        if (!c_interface::readLoadOptions(given, options, out)) return false;
        DibHandle made = DibHandle::make();
        if (!made) return c_interface::refuseWithoutMemory(out);
        if (!loadInto(made.get(), options, out)) return false;
        *image = handleOf(made.release());
        return true;
    });
}

template <class Probe>
dib_code probe(dib_file_info* to, const dib_load_options* given, dib_result* result, const Probe& probeInto) {
    return readFile(result, [&](DibFileResult& out) {
        DibLoadOptions options;
        if (to == nullptr || !c_interface::isSized(*to))
            return refuse(out, DIB_ERROR_INVALID, "there is no structure of the right size to fill");
        if (!c_interface::readLoadOptions(given, options, out)) return false;
        DibFileInfo from;
        if (!probeInto(&from, options, out)) return false;
        dib_file_info info = DIB_C_FILE_INFO_INIT;
        info.format = from.format->name;
        static_assert(sizeof info.compression == sizeof from.compression);
        std::memcpy(info.compression, from.compression, sizeof info.compression);
        info.width = from.width;
        info.height = from.height;
        info.bit_count = from.bitCount;
        info.stored_bits = from.storedBits;
        info.pages = from.pages;
        info.layers = from.layers;
        info.levels = from.levels;
        info.palette_size = from.paletteSize;
        info.has_alpha = from.hasAlpha ? 1 : 0;
        info.row_order = from.isTopDown ? DIB_C_TOP_DOWN : DIB_C_BOTTOM_UP;
        static_assert(sizeof info.colors == sizeof from.colors);
        std::memcpy(info.colors, from.colors, sizeof info.colors);
        info.channels = from.channels;
        info.channel_bits = from.channelBits;
        static_assert(sizeof info.page_name == sizeof from.pageName);
        std::memcpy(info.page_name, from.pageName, sizeof info.page_name);
        info.video_x = from.videoX;
        info.video_y = from.videoY;
        info.palette_x = from.paletteX;
        info.palette_y = from.paletteY;
        c_interface::fill(*to, info);
        return true;
    });
}

}  // namespace

dib_code dib_load_file(const char* path, dib_image** image, const dib_load_options* options,
                       dib_result* result, dib_progress progress, void* user) {
    return load(image, options, result, [&](DibStream* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibLoadFile(path, to, &how, &out, progress, user);
    });
}

dib_code dib_load_memory(const void* bytes, size_t size, dib_image** image, const dib_load_options* options,
                         dib_result* result, dib_progress progress, void* user) {
    return load(image, options, result, [&](DibStream* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibLoadMemory(bytes, size, to, &how, &out, progress, user);
    });
}

dib_code dib_load_stream(FILE* file, dib_image** image, const dib_load_options* options, dib_result* result,
                         dib_progress progress, void* user) {
    return load(image, options, result, [&](DibStream* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibLoadStream(file, to, &how, &out, progress, user);
    });
}

dib_code dib_load_function(dib_read_function read, void* context, dib_image** image,
                           const dib_load_options* options, dib_result* result, dib_progress progress,
                           void* user) {
    return load(image, options, result, [&](DibStream* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibLoadStream(DibReader{read, context}, to, &how, &out, progress, user);
    });
}

dib_code dib_probe_file(const char* path, dib_file_info* info, const dib_load_options* options,
                        dib_result* result) {
    return probe(info, options, result, [&](DibFileInfo* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibProbeFile(path, to, &how, &out);
    });
}

dib_code dib_probe_memory(const void* bytes, size_t size, dib_file_info* info,
                          const dib_load_options* options, dib_result* result) {
    return probe(info, options, result, [&](DibFileInfo* to, const DibLoadOptions& how, DibFileResult& out) {
        return DibProbeMemory(bytes, size, to, &how, &out);
    });
}

dib_code dib_load_palette(const char* path, dib_image** image, dib_result* result) {
    return load(image, nullptr, result, [&](DibStream* to, const DibLoadOptions&, DibFileResult& out) {
        return DibLoadPalette(path, to, &out);
    });
}

dib_code dib_load_palette_memory(const void* bytes, size_t size, dib_image** image, dib_result* result) {
    return load(image, nullptr, result, [&](DibStream* to, const DibLoadOptions&, DibFileResult& out) {
        return DibLoadPaletteMemory(bytes, size, to, &out);
    });
}
