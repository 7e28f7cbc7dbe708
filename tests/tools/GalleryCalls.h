/// The C++ calls that the gallery shows, compiled.
#ifndef TESTS_TOOLS_GALLERY_CALLS_H
#define TESTS_TOOLS_GALLERY_CALLS_H

#include <DibStream.h>

#include <span>
#include <string>

namespace tool_test {

inline constexpr int kCalledWidth = 320;
inline constexpr int kCalledHeight = 240;

struct GalleryCall {
    std::string chain;               ///< The sample, as on the command line.
    void (*make)(DibStream& image);  ///< What the gallery says that does the same to a picture of that size.
};

/// Every sample of every operation, in the order of the table.
std::span<const GalleryCall> galleryCalls();

}  // namespace tool_test

#endif
