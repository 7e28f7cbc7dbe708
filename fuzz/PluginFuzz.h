// What the fuzz targets of the plug-ins share.
#ifndef FUZZ_PLUGIN_FUZZ_H
#define FUZZ_PLUGIN_FUZZ_H

#include "fuzz/FuzzSupport.h"
#include "plugins/Picture.h"

namespace fuzz {

using PluginReader = bool (*)(std::FILE*, plugins::Picture&, DibProgressCallback, void*);

// Reads the bytes as a plug-in does, and adopts what it returns as the library does.
inline void readByPlugin(PluginReader reader, const std::uint8_t* data, std::size_t size) {
    withFile(data, size, [reader](std::FILE* file) {
        plugins::Picture picture;
        if (!reader(file, picture, nullptr, nullptr)) return;
        BITMAPINFOHEADER* header = nullptr;
        unsigned char* buffer = nullptr;
        picture.release(&header, &buffer);
        DibStream image;
        require(image.SetDib(header, 6, buffer, 6), "a picture can be adopted");
        checkImage(image);
    });
}

}  // namespace fuzz

#endif
