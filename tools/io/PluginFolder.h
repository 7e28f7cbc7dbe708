// Where the library looks for the plug-ins of EXR, DDS, WebP and GIF files.
#ifndef TOOLS_IO_PLUGIN_FOLDER_H
#define TOOLS_IO_PLUGIN_FOLDER_H

#include <DibFile.h>

#include <string>

namespace tool {

// Sets the folder; an empty text is the folder installed with the program, which has the same place in a
// build.
void usePluginFolder(const std::string& folder);

// Where the library looks for the plug-in of a format that has one.
std::string pluginPath(const DibFormat& format);

}  // namespace tool

#endif
