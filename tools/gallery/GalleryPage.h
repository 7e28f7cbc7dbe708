/// The page of `dib gallery`.
#ifndef TOOLS_GALLERY_GALLERY_PAGE_H
#define TOOLS_GALLERY_GALLERY_PAGE_H

#include <array>
#include <string>
#include <vector>

#include "tools/operations/Operations.h"

namespace tool {

/// A picture of the page.
struct ShownPicture {
    std::string png;  ///< The bytes of the file.
    int width = 0;
    int height = 0;
    int bitCount = 0;  ///< Before it was saved.
};

struct ShownSample {
    std::string chain;  ///< Words of the command line, spaces between them.
    std::string call;   ///< C++, a line for each statement.
    ShownPicture result;
};

struct ShownOperation {
    const Operation* operation = nullptr;
    std::array<ShownSample, 3> samples;
};

struct Gallery {
    ShownPicture original;
    ShownPicture other;
    std::vector<ShownOperation> operations;  ///< In the order of the table.
};

std::string galleryPage(const Gallery& gallery);

}  // namespace tool

#endif
