#include "tools/io/PluginFolder.h"

#include <DibStream.h>

#include <filesystem>

#include "files/Program.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace fs = std::filesystem;

void usePluginFolder(const std::string& folder) {
    std::string path = folder;
    if (path.empty()) {
        const fs::path installed = files::programPath().parent_path() / DIB_TOOL_PLUGIN_FOLDER;
        path = vexlibs::textOf(installed.lexically_normal());
    }
    DibStream::SetDllFilePath(path.c_str());
}

std::string pluginPath(const DibFormat& format) {
    char folder[4096];
    DibStream::GetDllFilePath(folder);
    return vexlibs::textOf(vexlibs::pathOf(folder) / vexlibs::pathOf(format.plugin));
}

}  // namespace tool
