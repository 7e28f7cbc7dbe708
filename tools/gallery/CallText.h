/// How an operation of the table is called in C++.
#ifndef TOOLS_GALLERY_CALL_TEXT_H
#define TOOLS_GALLERY_CALL_TEXT_H

#include <string>

#include "tools/operations/Operations.h"

namespace tool {

/// The row's `call` with its values: `{name}` becomes the value of that parameter as C++ writes it. A position is
/// asked for as `{name:width}` or `{name:height}`, after the side of the picture that it is counted along, and the
/// two numbers of a size in the same way.
/// @param image The picture as it is before the step; percentages are of it.
std::string callText(const Step& step, const DibStream& image);

}  // namespace tool

#endif
