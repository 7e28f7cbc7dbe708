/// The files of tools/web, which the build turns into text of the program.
#ifndef TOOLS_GALLERY_WEB_ASSETS_H
#define TOOLS_GALLERY_WEB_ASSETS_H

#include <string_view>

namespace tool {

extern const std::string_view kBaseStyle;
extern const std::string_view kGalleryStyle;
extern const std::string_view kGalleryScript;

}  // namespace tool

#endif
