/// Where the plug-ins for EXR and DDS files are looked for.
#pragma once

#include <string>

namespace tool {

/// Names the folder to the library; when it is empty, the folder that is installed with the program, which is also
/// where a build puts them.
void usePluginFolder(const std::string& folder);

/// @param bundle File name of the plug-in.
/// @param files  Its kind of files, for the message.
/// @throws Failure (bad input) when it is not in the folder.
void requirePlugin(const std::string& bundle, const std::string& files);

}  // namespace tool
