// Writes WebP files.
#ifndef PLUGINS_WEBP_WRITER_H
#define PLUGINS_WEBP_WRITER_H

#include <DibPlugin.h>

namespace plugins::webp {

// What the library calls.
bool save(const DibPluginSave* call);

}  // namespace plugins::webp

#endif
