// EXR and DDS files by way of their plug-ins, on any loader.
#ifndef FORMATS_PLUGIN_H
#define FORMATS_PLUGIN_H

#include <DibCodec.h>

#include "formats/PluginLoader.h"

// What a DDS plug-in is given as its progress function. `context` is a formats::DdsContext.
DIB_LOCAL bool DdsCallback(float progress, void* context);

namespace formats {

// The bundles of the classic loaders.
struct Plugin {
    const char* bundle;
    const char* name;  // of the export
};
inline constexpr Plugin kExrPlugin = {"vexlibexr.bundle", "LoadEXR"};
inline constexpr Plugin kDdsPlugin = {"vexlibdds.bundle", "LoadDDS"};

struct DdsContext {
    DibProgressCallback callback;
    void* user;
};

bool loadExr(PluginLoader& loader, const char* path, DibStream* image, DibProgressCallback callback = nullptr,
             void* user = nullptr);
bool loadDds(PluginLoader& loader, const wchar_t* path, DibStream* image, DibProgressCallback callback,
             void* user);

// Gives a plug-in's blocks to an image. Frees them and returns false when one is missing or no image can have
// such a header.
bool adopt(DibStream* image, BITMAPINFOHEADER* header, unsigned char* buffer);

}  // namespace formats

#endif
