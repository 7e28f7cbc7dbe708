// The page. It shows pictures that lie beside it, and loads nothing from elsewhere.
#ifndef GALLERY_PAGE_H
#define GALLERY_PAGE_H

#include <DibOperation.h>

#include <string>
#include <string_view>
#include <vector>

namespace gallery {

// A picture of the page.
struct ShownPicture {
    std::string file;  // from the page's folder
    int width = 0;
    int height = 0;
    int bitCount = 0;  // before it was saved
};

struct ShownSample {
    std::string chain;  // words of the command line, with spaces between them
    std::string call;   // C++, a line for each statement
    ShownPicture result;
    std::string before;  // file of the picture that the operation changed; empty: the original
};

// How large a picture is on the page, in pixels of its layout.
struct ShownSize {
    int width = 0;
    int height = 0;
    bool isWhole = true;  // each pixel became a square of whole pixels
};

// The size that all samples have room for: that of the original, or a whole part of it.
ShownSize cellSize(int width, int height);
// The largest size in a cell at which every pixel is a whole square; where there is none, the largest one.
ShownSize sizeInCell(int width, int height, const ShownSize& cell);

class Page {
public:
    Page(const ShownPicture& original, const ShownPicture& other);
    // Adds the next operation of the table.
    void add(const DibOperation& operation, const std::vector<ShownSample>& samples);
    // In HTML.
    std::string text(const std::string& version) const;

private:
    ShownSize cell_;
    std::string original_;
    std::string other_;
    std::string sections_;
    std::string_view area_;
};

// Text inside an element, or inside an attribute in double quotes.
std::string htmlText(std::string_view text);

}  // namespace gallery

#endif
