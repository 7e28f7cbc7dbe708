#include <dibstream.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "web/Web.h"

namespace {

template <class Member>
constexpr const char* kindOf() {
    if constexpr (std::is_array_v<Member>) {
        return "array";
    } else if constexpr (std::is_same_v<Member, int>) {
        return "int";
    } else if constexpr (std::is_same_v<Member, double>) {
        return "double";
    } else if constexpr (std::is_integral_v<Member> && sizeof(Member) == sizeof(std::uint64_t)) {
        return "long";
    } else if constexpr (std::is_same_v<Member, const char*>) {
        return "text";
    } else {
        return "word";  // sizes, sets of bits and pointers
    }
}

template <class Member>
std::string member(const char* name, std::size_t offset) {
    return std::string(",\"") + name + "\":{\"offset\":" + std::to_string(offset) + ",\"kind\":\"" +
           kindOf<Member>() + "\",\"bytes\":" + std::to_string(sizeof(Member)) + "}";
}

// The structures live as long as the program.
template <class Structure>
std::string structure(const char* name, const Structure& defaults, const std::string& members) {
    return std::string(",\"") + name + "\":{\"bytes\":" + std::to_string(sizeof defaults) +
           ",\"defaults\":" + std::to_string(reinterpret_cast<std::uintptr_t>(&defaults)) + members + "}";
}

#define DIB_WEB_MEMBER(name) member<decltype(Structure::name)>(#name, offsetof(Structure, name))

std::string result() {
    using Structure = dib_result;
    static const Structure defaults = DIB_C_RESULT_INIT;
    return structure("result", defaults,
                     DIB_WEB_MEMBER(format) + DIB_WEB_MEMBER(metadata) + DIB_WEB_MEMBER(operation) +
                         DIB_WEB_MEMBER(parameter) + DIB_WEB_MEMBER(suggestion) + DIB_WEB_MEMBER(step) +
                         DIB_WEB_MEMBER(code) + DIB_WEB_MEMBER(note_count) + DIB_WEB_MEMBER(reason) +
                         DIB_WEB_MEMBER(note_kinds) + DIB_WEB_MEMBER(notes) + DIB_WEB_MEMBER(exchanges_axes) +
                         DIB_WEB_MEMBER(palette_alpha_size) + DIB_WEB_MEMBER(palette_alpha));
}

std::string metadata() {
    using Structure = dib_metadata;
    static const Structure defaults = DIB_C_METADATA_INIT;
    return structure("metadata", defaults,
                     DIB_WEB_MEMBER(x_resolution) + DIB_WEB_MEMBER(y_resolution) +
                         DIB_WEB_MEMBER(palette_alpha) + DIB_WEB_MEMBER(palette_alpha_size) +
                         DIB_WEB_MEMBER(texts) + DIB_WEB_MEMBER(texts_size));
}

std::string format() {
    using Structure = dib_format;
    static const Structure defaults = DIB_C_FORMAT_INIT;
    return structure("format", defaults,
                     DIB_WEB_MEMBER(name) + DIB_WEB_MEMBER(title) + DIB_WEB_MEMBER(extensions) +
                         DIB_WEB_MEMBER(mime_types) + DIB_WEB_MEMBER(plugin) + DIB_WEB_MEMBER(read_depths) +
                         DIB_WEB_MEMBER(write_depths) + DIB_WEB_MEMBER(has_layers) +
                         DIB_WEB_MEMBER(has_pages) + DIB_WEB_MEMBER(has_palette_alpha));
}

std::string loadOptions() {
    using Structure = dib_load_options;
    static const Structure defaults = DIB_C_LOAD_OPTIONS_INIT;
    return structure("load_options", defaults,
                     DIB_WEB_MEMBER(name) + DIB_WEB_MEMBER(format) + DIB_WEB_MEMBER(most_pixels) +
                         DIB_WEB_MEMBER(most_bytes) + DIB_WEB_MEMBER(damage) + DIB_WEB_MEMBER(alpha) +
                         DIB_WEB_MEMBER(page) + DIB_WEB_MEMBER(layer) + DIB_WEB_MEMBER(level) +
                         DIB_WEB_MEMBER(applies_orientation) + DIB_WEB_MEMBER(keeps_palette) +
                         DIB_WEB_MEMBER(at_least_width) + DIB_WEB_MEMBER(at_least_height));
}

std::string fileInfo() {
    using Structure = dib_file_info;
    static const Structure defaults = DIB_C_FILE_INFO_INIT;
    return structure("file_info", defaults,
                     DIB_WEB_MEMBER(format) + DIB_WEB_MEMBER(compression) + DIB_WEB_MEMBER(width) +
                         DIB_WEB_MEMBER(height) + DIB_WEB_MEMBER(bit_count) + DIB_WEB_MEMBER(stored_bits) +
                         DIB_WEB_MEMBER(pages) + DIB_WEB_MEMBER(layers) + DIB_WEB_MEMBER(levels) +
                         DIB_WEB_MEMBER(palette_size) + DIB_WEB_MEMBER(has_alpha) + DIB_WEB_MEMBER(colors));
}

std::string saveOptions() {
    using Structure = dib_save_options;
    static const Structure defaults = DIB_C_SAVE_OPTIONS_INIT;
    return structure("save_options", defaults,
                     DIB_WEB_MEMBER(format) + DIB_WEB_MEMBER(metadata) + DIB_WEB_MEMBER(refuses_losses) +
                         DIB_WEB_MEMBER(quality) + DIB_WEB_MEMBER(compression_level) +
                         DIB_WEB_MEMBER(run_lengths) + DIB_WEB_MEMBER(tiff_compression) +
                         DIB_WEB_MEMBER(is_lossy));
}

std::string applyOptions() {
    using Structure = dib_apply_options;
    static const Structure defaults = DIB_C_APPLY_OPTIONS_INIT;
    return structure(
        "apply_options", defaults,
        DIB_WEB_MEMBER(load) + DIB_WEB_MEMBER(open) + DIB_WEB_MEMBER(in_place) + DIB_WEB_MEMBER(classic));
}

}  // namespace

const char* dib_web_layout() {
    static const std::string layout = "{\"version\":\"" + std::string(dib_version_text()) + "\"" + result() +
                                      metadata() + format() + loadOptions() + fileInfo() + saveOptions() +
                                      applyOptions() + "}";
    return layout.c_str();
}
