#ifndef PLUGINS_DDS_READER_H
#define PLUGINS_DDS_READER_H

#include <DibStream.h>

#include <cstdio>

#include "plugins/Job.h"

namespace plugins::dds {

// For `LoadDDS`. False when the file is not DDS, is too short or too large, when memory runs out, and when
// the progress function cancels. It may be null and is called after each row of blocks or texels.
bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user);

// The same from a file by its name; see `DibPluginLoadDDS`.
bool read(const wchar_t* path, Picture& picture, DibProgressCallback progress, void* user);

// The description that the library reads.
const DibPluginDescription& description();

}  // namespace plugins::dds

#endif
