/// Where the plug-ins for EXR and DDS files are looked for.
#ifndef TOOLS_IO_PLUGIN_FOLDER_H
#define TOOLS_IO_PLUGIN_FOLDER_H

#include <string>

namespace tool {

/// Names the folder to the library; when it is empty, the folder that is installed with the program, which is also
/// where a build puts them.
void usePluginFolder(const std::string& folder);

}  // namespace tool

#endif
