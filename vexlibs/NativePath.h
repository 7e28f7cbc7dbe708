// UTF-8 paths as the C++ library and the system take them.
#ifndef VEXLIBS_NATIVE_PATH_H
#define VEXLIBS_NATIVE_PATH_H

#include <filesystem>
#include <string>

#include "vexlibs/Utf8.h"

namespace vexlibs {

// The C++ library refuses to convert stray bytes and unpaired surrogates.
inline std::filesystem::path pathOf(const std::string& utf8) {
#if defined(_WIN32)
    return wideOf<wchar_t>(utf8);
#else
    return utf8;
#endif
}
inline std::string textOf(const std::filesystem::path& path) {
#if defined(_WIN32)
    return utf8Of(path.c_str());
#else
    return path.native();
#endif
}

}  // namespace vexlibs

#endif
