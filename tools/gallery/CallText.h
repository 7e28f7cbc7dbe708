// How an operation of the table is called in C++.
#ifndef TOOLS_GALLERY_CALL_TEXT_H
#define TOOLS_GALLERY_CALL_TEXT_H

#include <string>

#include "tools/operations/Operations.h"

namespace tool {

// The row's `call` with its values: `{name}` becomes the value of that parameter in C++. Positions and the
// two numbers of a size are written `{name:width}` or `{name:height}`, which names the side of the picture
// that they are measured along. `image` is the picture before the step, to which percentages refer.
std::string callText(const Step& step, const DibStream& image);

}  // namespace tool

#endif
