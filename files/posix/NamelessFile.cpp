#include "files/NamelessFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace files {

Descriptor makeNamelessFile() {
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/dib-XXXXXX";
    Descriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (file.isOpen()) unlink(path.c_str());
    return file;
}

std::string pathOf(const Descriptor& descriptor) { return "/dev/fd/" + std::to_string(descriptor.number()); }

}  // namespace files
