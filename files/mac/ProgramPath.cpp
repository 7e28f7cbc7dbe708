#include <mach-o/dyld.h>

#include <cstdint>
#include <system_error>

#include "files/Program.h"

namespace files {

namespace fs = std::filesystem;

fs::path programPath() {
    std::error_code error;
    char path[4096];
    std::uint32_t size = sizeof path;
    return _NSGetExecutablePath(path, &size) == 0 ? fs::canonical(path, error) : fs::path();
}

}  // namespace files
