// Reads a part of an EXR file.
#ifndef PLUGINS_EXR_READER_H
#define PLUGINS_EXR_READER_H

#include <DibStream.h>

#include <cstdio>

#include "plugins/Job.h"

namespace plugins::exr {

// For `LoadEXR`, the first part. False when the file is not EXR, is too short, broken or too large, or holds
// no picture that the function reads, when memory runs out, and when the progress function cancels. It may be
// null and is called after each line.
bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user);

// The same from a file by its name in UTF-8.
bool read(const char* path, Picture& picture, DibProgressCallback progress, void* user);

// The description that the library reads.
const DibPluginDescription& description();

}  // namespace plugins::exr

#endif
