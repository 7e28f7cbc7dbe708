// The page of `dib gallery`: one file that loads nothing from elsewhere.
#ifndef TOOLS_GALLERY_GALLERY_PAGE_H
#define TOOLS_GALLERY_GALLERY_PAGE_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tools/io/Operations.h"

namespace tool {

// A picture of the page.
struct ShownPicture {
    std::string png;  // the bytes of the file
    int width = 0;
    int height = 0;
    int bitCount = 0;  // before it was saved
};

struct ShownSample {
    std::string chain;  // words of the command line, with spaces between them
    std::string call;   // C++, a line for each statement
    ShownPicture result;
};

struct ShownOperation {
    const DibOperation* operation = nullptr;
    std::array<ShownSample, 3> samples;
};

struct Gallery {
    ShownPicture original;
    ShownPicture other;
    std::vector<ShownOperation> operations;  // in the order of the table
};

std::string galleryPage(const Gallery& gallery);

// Text inside an element, or inside an attribute in double quotes.
std::string htmlText(std::string_view text);
// An address that holds the bytes of a file of that type.
std::string dataAddress(std::string_view mediaType, std::string_view bytes);

}  // namespace tool

#endif
