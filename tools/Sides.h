/// The sides of a picture, whichever way its rows are stored.
#pragma once

#include <DibStream.h>

#include <cstdlib>

namespace tool {

inline int width(const DibStream& image) { return image.Header->biWidth; }
inline int height(const DibStream& image) { return std::abs(image.Header->biHeight); }

}  // namespace tool
