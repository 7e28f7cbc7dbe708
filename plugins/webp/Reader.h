#ifndef PLUGINS_WEBP_READER_H
#define PLUGINS_WEBP_READER_H

#include <DibPlugin.h>

namespace plugins::webp {

// The description that the library reads.
const DibPluginDescription& description();

}  // namespace plugins::webp

#endif
