#ifndef PLUGINS_GIF_READER_H
#define PLUGINS_GIF_READER_H

#include <DibPlugin.h>

namespace plugins::gif {

// The description that the library reads.
const DibPluginDescription& description();

}  // namespace plugins::gif

#endif
