#include "tools/io/PluginFolder.h"

#include <DibStream.h>

#include <filesystem>
#include <system_error>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

#include "formats/OpenBundle.h"
#include "tools/cli/ExitCode.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// The file that this program is; empty when the system does not tell.
fs::path ownPath() {
    std::error_code error;
#ifdef __APPLE__
    char path[4096];
    std::uint32_t size = sizeof path;
    return _NSGetExecutablePath(path, &size) == 0 ? fs::canonical(path, error) : fs::path();
#else
    return fs::read_symlink("/proc/self/exe", error);
#endif
}

// Of the plug-ins that were looked for last, for messages.
fs::path& currentFolder() {
    static fs::path folder;
    return folder;
}

}  // namespace

void usePluginFolder(const std::string& folder) {
    fs::path& current = currentFolder();
    current = folder;
    if (folder.empty()) current = (ownPath().parent_path() / DIB_TOOL_PLUGIN_FOLDER).lexically_normal();
    DibStream::SetDllFilePath(current.c_str());
}

void requirePlugin(const Plugin& plugin) {
    const std::string path = (currentFolder() / plugin.bundle).string();
    const std::string problem =
        formats::bundleProblem(formats::platformPluginLoader(), path, plugin.function);
    if (problem.empty()) return;
    throw Failure(kExitBadInput, std::string("cannot use the plug-in for ") + plugin.files +
                                     " files: " + path + " " + problem + " (set its folder with --plugins)");
}

}  // namespace tool
