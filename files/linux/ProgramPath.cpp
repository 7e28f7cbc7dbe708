#include <sys/auxv.h>

#include <system_error>

#include "files/Program.h"

namespace files {

namespace fs = std::filesystem;

fs::path programPath() {
    std::error_code error;
    const fs::path path = fs::read_symlink("/proc/self/exe", error);
    // Without /proc: what the system was asked to start.
    const auto* asked = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    return !error || asked == nullptr ? path : fs::canonical(asked, error);
}

}  // namespace files
