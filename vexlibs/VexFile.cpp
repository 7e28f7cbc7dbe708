#include <VexLibs.h>

#include <cstring>
#include <string_view>

#include "PathText.h"

void GetFileExtension(char* out, const char* path) {
    if (out == nullptr) return;
    const char* name = vexlibs::nameIn(path != nullptr ? path : "").data();
    const char* dot = std::strrchr(name, '.');
    const char* extension = dot != nullptr && dot != name ? dot + 1 : "";
    // `out` may be the path itself.
    std::memmove(out, extension, std::strlen(extension) + 1);
}
