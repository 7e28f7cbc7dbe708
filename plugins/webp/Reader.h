#ifndef PLUGINS_WEBP_READER_H
#define PLUGINS_WEBP_READER_H

#include <DibPlugin.h>

namespace plugins::webp {

// What the library calls.
const DibPluginDescription& description();

}  // namespace plugins::webp

#endif
