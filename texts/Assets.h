// Files of texts/shell/ that the build puts into the program (tools/CMakeLists.txt).
#ifndef TEXTS_ASSETS_H
#define TEXTS_ASSETS_H

#include <string_view>

namespace texts {

extern const std::string_view kBashScript;
extern const std::string_view kZshScript;
extern const std::string_view kFishScript;

}  // namespace texts

#endif
