#ifndef PLUGINS_GIF_READER_H
#define PLUGINS_GIF_READER_H

#include <DibPlugin.h>

namespace plugins::gif {

// What the library calls.
const DibPluginDescription& description();

}  // namespace plugins::gif

#endif
