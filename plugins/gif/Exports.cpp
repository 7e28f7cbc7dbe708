// The export of vexlibgif.bundle.
#include <DibExport.h>
#include <DibPlugin.h>

#include "plugins/gif/Reader.h"

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() { return &plugins::gif::description(); }
