// The exports of vexlibdds.bundle.
#include <DibExport.h>
#include <DibPlugin.h>

#include "plugins/dds/Reader.h"

extern "C" DIB_EXPORT bool LoadDDS(const wchar_t* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                   DibProgressCallback progress, void* user) {
    plugins::Picture picture;
    if (!plugins::dds::read(path, picture, progress, user)) return false;
    picture.release(header, buffer);
    return true;
}

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() { return &plugins::dds::description(); }
