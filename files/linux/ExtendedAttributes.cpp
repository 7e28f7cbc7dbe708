#include "files/ExtendedAttributes.h"

#include <sys/xattr.h>

#include <cstring>
#include <string>

namespace files {

namespace {

// Privileges of a program file. The system takes them away when the file is written, so a new content must
// not have them.
constexpr char kCapability[] = "security.capability";

void copyAttribute(int from, int to, const char* name) {
    const ssize_t bytes = fgetxattr(from, name, nullptr, 0);
    if (bytes < 0) return;
    std::string value(static_cast<std::size_t>(bytes), '\0');
    if (fgetxattr(from, name, value.data(), value.size()) != bytes) return;
    fsetxattr(to, name, value.data(), value.size(), 0);
}

}  // namespace

void copyExtendedAttributes(int from, int to) {
    const ssize_t bytes = flistxattr(from, nullptr, 0);
    if (bytes <= 0) return;
    std::string names(static_cast<std::size_t>(bytes), '\0');
    if (flistxattr(from, names.data(), names.size()) != bytes) return;
    for (const char* name = names.c_str(); *name != '\0'; name += std::strlen(name) + 1) {
        if (std::strcmp(name, kCapability) != 0) copyAttribute(from, to, name);
    }
}

}  // namespace files
