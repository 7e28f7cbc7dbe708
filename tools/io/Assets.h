// Texts of files in the source tree that the build puts into the program (CMakeLists.txt).
#ifndef TOOLS_IO_ASSETS_H
#define TOOLS_IO_ASSETS_H

#include <string_view>

namespace tool {

extern const std::string_view kGalleryPage;  // with {{name}} where parts go
extern const std::string_view kBaseStyle;
extern const std::string_view kGalleryStyle;
extern const std::string_view kGalleryScript;
extern const std::string_view kBashScript;
extern const std::string_view kZshScript;
extern const std::string_view kFishScript;

}  // namespace tool

#endif
