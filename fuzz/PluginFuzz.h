// What the fuzz targets of the plug-ins share.
#ifndef FUZZ_PLUGIN_FUZZ_H
#define FUZZ_PLUGIN_FUZZ_H

#include <DibPlugin.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "fuzz/FuzzSupport.h"
#include "plugins/Picture.h"

namespace fuzz {

using PluginReader = bool (*)(std::FILE*, plugins::Picture&, DibProgressCallback, void*);

inline void adoptAndCheck(BITMAPINFOHEADER* header, unsigned char* buffer) {
    DibStream image;
    require(image.SetDib(header, 6, buffer, 6), "a picture can be adopted");
    checkImage(image);
}

// Reads the bytes as a plug-in does, and adopts what it returns as the library does.
inline void readByPlugin(PluginReader reader, const std::uint8_t* data, std::size_t size) {
    withFile(data, size, [reader](std::FILE* file) {
        plugins::Picture picture;
        if (!reader(file, picture, nullptr, nullptr)) return;
        BITMAPINFOHEADER* header = nullptr;
        unsigned char* buffer = nullptr;
        picture.release(&header, &buffer);
        adoptAndCheck(header, buffer);
    });
}

// A call of the library, on bytes in memory.
struct PluginCall {
    const std::uint8_t* data;
    std::size_t size;
    int reportsLeft;
    double last = 0;

    static std::size_t readFile(void* library, std::uint64_t position, void* out, std::size_t bytes) {
        const auto& call = *static_cast<PluginCall*>(library);
        if (position >= call.size) return 0;
        const std::size_t got = std::min(bytes, call.size - static_cast<std::size_t>(position));
        std::memcpy(out, call.data + position, got);
        return got;
    }
    static bool report(void* library, double fraction) {
        auto& call = *static_cast<PluginCall*>(library);
        require(fraction >= call.last && fraction <= 1, "progress never goes back");
        call.last = fraction;
        return --call.reportsLeft != 0;
    }
};

// The same by the functions of a description. The last byte chooses page, layer, level and when to cancel, so
// that plain files are seeds.
inline void readByDescription(const DibPluginDescription& description, const std::uint8_t* data,
                              std::size_t size) {
    const unsigned choice = size > 0 ? data[size - 1] : 0;
    PluginCall state{data, size, (choice & 0x80U) != 0 ? 2 : 0};
    DibPluginCall call = {};
    call.size = sizeof call;
    call.library = &state;
    call.fileBytes = size;
    call.readFile = PluginCall::readFile;
    call.page = static_cast<int>(choice & 3U);
    call.level = static_cast<int>(choice >> 2 & 3U);
    call.layer = static_cast<int>(choice >> 4 & 3U) - 1;
    call.report = PluginCall::report;
    call.note = [](void*, int, const char*) {};
    call.refuse = [](void*, int, const char* reason) { require(reason[0] != '\0', "reasons have words"); };
    description.recognizes(data, size);
    if (description.listLayers != nullptr)
        description.listLayers(&call, nullptr, [](void*, const DibPluginLayer*) { return true; });
    if (description.findPage != nullptr) description.findPage(&call, "left");
    state.last = 0;
    DibPluginInfo info = {};
    info.size = sizeof info;
    const bool isProbed = description.probe(&call, &info);
    std::free(info.exif);
    require(!isProbed || (info.width > 0 && info.height > 0), "a probe gives a size");
    // The library asks first.
    if (isProbed && std::int64_t{info.width} * info.height > std::int64_t{1} << 22) return;
    DibPluginPicture picture = {};
    picture.size = sizeof picture;
    const bool isRead = description.load(&call, &picture);
    std::free(picture.colorProfile);
    std::free(picture.exif);
    require((picture.header == nullptr) == (picture.pixels == nullptr), "both blocks or none");
    require(!isRead || picture.header != nullptr, "a load gives a picture");
    if (picture.header == nullptr) return;
    const bool isSame = info.width == picture.header->biWidth && info.bitCount == picture.header->biBitCount;
    require(!isProbed || !isRead || isSame, "a probe gives the size that a load gives");
    adoptAndCheck(picture.header, picture.pixels);
}

}  // namespace fuzz

#endif
