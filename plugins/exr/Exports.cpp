// The exports of vexlibexr.bundle.
#include <DibExport.h>
#include <DibPlugin.h>

#include "plugins/exr/Reader.h"

extern "C" DIB_EXPORT bool LoadEXR(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                   DibProgressCallback progress, void* user) {
    plugins::Picture picture;
    if (!plugins::exr::read(path, picture, progress, user)) return false;
    picture.release(header, buffer);
    return true;
}

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() { return &plugins::exr::description(); }
