// Files of gallery/page/ that the build puts into the program (tools/CMakeLists.txt).
#ifndef GALLERY_ASSETS_H
#define GALLERY_ASSETS_H

#include <string_view>

namespace gallery {

extern const std::string_view kPage;  // with {{name}} where parts go
extern const std::string_view kBaseStyle;
extern const std::string_view kStyle;
extern const std::string_view kScript;

}  // namespace gallery

#endif
