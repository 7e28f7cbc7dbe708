// EXR and DDS files by way of their plug-ins, on any loader.
#ifndef FORMATS_PLUGIN_H
#define FORMATS_PLUGIN_H

#include <DibCodec.h>

#include "formats/PluginLoader.h"

// What a DDS plug-in is given as its progress function. `context` is a formats::DdsContext.
DIB_LOCAL bool DdsCallback(float progress, void* context);

namespace formats {

struct DdsContext {
    DibProgressCallback callback;
    void* user;
};

bool loadExr(PluginLoader& loader, const char* path, DibStream* image, DibProgressCallback callback = nullptr,
             void* user = nullptr);
bool loadDds(PluginLoader& loader, const wchar_t* path, DibStream* image, DibProgressCallback callback,
             void* user);

}  // namespace formats

#endif
