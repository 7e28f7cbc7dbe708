// Reads the first part of an EXR file.
#ifndef PLUGINS_EXR_READER_H
#define PLUGINS_EXR_READER_H

#include <DibStream.h>

#include <cstdio>

#include "plugins/Picture.h"

namespace plugins::exr {

// False for what is no EXR file, is short or broken, is too large, or holds no picture that the plug-in knows; when
// memory runs out; and when the progress function, which may be null and is called after each line, says so.
bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user);

// The same from a file by its name in UTF-8.
bool read(const char* path, Picture& picture, DibProgressCallback progress, void* user);

}  // namespace plugins::exr

#endif
