#include "files/NamelessFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace files {

NamelessFile::NamelessFile() {
    const char* folder = std::getenv("TMPDIR");
    std::string name = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/dib-XXXXXX";
    file_ = Descriptor(mkostemp(name.data(), O_CLOEXEC));
    if (!file_.isOpen()) return;
    unlink(name.c_str());
    path_ = "/dev/fd/" + std::to_string(file_.number());
}

NamelessFile::~NamelessFile() = default;

}  // namespace files
