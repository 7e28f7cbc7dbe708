// The export of vexlibwebp.bundle.
#include <DibExport.h>
#include <DibPlugin.h>

#include "plugins/webp/Reader.h"

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() {
    return &plugins::webp::description();
}
