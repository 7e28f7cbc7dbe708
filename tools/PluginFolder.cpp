#include "tools/PluginFolder.h"

#include <DibStream.h>

#include <filesystem>
#include <system_error>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

#include "tools/Failure.h"

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

void requirePlugin(const std::string& bundle, const std::string& files) {
    std::error_code error;
    const fs::path path = currentFolder() / bundle;
    if (fs::exists(path, error)) return;
    throw Failure(kExitBadInput, "there is no plug-in for " + files + " files: " + path.string() +
                                     " is missing (--plugins names another folder)");
}

}  // namespace tool
