// Paths as text: what separates their parts.
#ifndef VEXLIBS_PATH_TEXT_H
#define VEXLIBS_PATH_TEXT_H

#include <string_view>

namespace vexlibs {

#if defined(_WIN32)
inline constexpr std::string_view kSeparators = "/\\";
#else
inline constexpr std::string_view kSeparators = "/";
#endif

inline bool isSeparator(char character) { return kSeparators.find(character) != std::string_view::npos; }

// The last part of a path.
inline std::string_view nameIn(std::string_view path) {
    return path.substr(path.find_last_of(kSeparators) + 1);
}

}  // namespace vexlibs

#endif
