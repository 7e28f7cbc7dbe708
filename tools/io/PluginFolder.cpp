#include "tools/io/PluginFolder.h"

#include <DibStream.h>

#include <filesystem>
#include <system_error>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#else
#include <sys/auxv.h>
#endif

namespace tool {

namespace {

namespace fs = std::filesystem;

// The path of this program; empty when the system does not know it.
fs::path ownPath() {
    std::error_code error;
#ifdef __APPLE__
    char path[4096];
    std::uint32_t size = sizeof path;
    return _NSGetExecutablePath(path, &size) == 0 ? fs::canonical(path, error) : fs::path();
#else
    const fs::path path = fs::read_symlink("/proc/self/exe", error);
    // Without /proc: what the system was asked to start.
    const auto* asked = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    return !error || asked == nullptr ? path : fs::canonical(asked, error);
#endif
}

}  // namespace

void usePluginFolder(const std::string& folder) {
    std::string path = folder;
    if (path.empty()) path = (ownPath().parent_path() / DIB_TOOL_PLUGIN_FOLDER).lexically_normal();
    DibStream::SetDllFilePath(path.c_str());
}

std::string pluginPath(const DibFormat& format) {
    char folder[4096];
    DibStream::GetDllFilePath(folder);
    return fs::path(folder) / format.plugin;
}

}  // namespace tool
