// What a probe says of files of greys.
#ifndef FORMATS_GREY_INFO_H
#define FORMATS_GREY_INFO_H

#include <DibFile.h>

#include <cstring>

namespace formats {

// Of a file that has greys and no palette, although a load gives a table of them.
inline void markGrey(DibFileInfo& info) { std::strcpy(info.colors, "grey"); }

}  // namespace formats

#endif
