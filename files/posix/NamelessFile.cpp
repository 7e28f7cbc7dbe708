#include "files/NamelessFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace files {

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

NamelessFile::NamelessFile() {
    std::string name = temporaryFolder() + "/dib-XXXXXX";
    file_ = Descriptor(mkostemp(name.data(), O_CLOEXEC));
    if (!file_.isOpen()) return;
    unlink(name.c_str());
    path_ = "/dev/fd/" + std::to_string(file_.number());
}

NamelessFile::~NamelessFile() = default;

}  // namespace files
