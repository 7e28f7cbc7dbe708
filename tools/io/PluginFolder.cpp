#include "tools/io/PluginFolder.h"

#include <DibStream.h>

#include <filesystem>

#include "files/Program.h"

namespace tool {

namespace fs = std::filesystem;

void usePluginFolder(const std::string& folder) {
    std::string path = folder;
    if (path.empty()) {
        const fs::path installed = files::programPath().parent_path() / DIB_TOOL_PLUGIN_FOLDER;
        path = installed.lexically_normal().string();
    }
    DibStream::SetDllFilePath(path.c_str());
}

std::string pluginPath(const DibFormat& format) {
    char folder[4096];
    DibStream::GetDllFilePath(folder);
    return (fs::path(folder) / format.plugin).string();
}

}  // namespace tool
