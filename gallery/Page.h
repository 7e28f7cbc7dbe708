// The page: one file that loads nothing from elsewhere.
#ifndef GALLERY_PAGE_H
#define GALLERY_PAGE_H

#include <DibOperation.h>

#include <string>
#include <string_view>
#include <vector>

namespace gallery {

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

class Page {
public:
    Page(const ShownPicture& original, const ShownPicture& other);
    // Adds the next operation of the table.
    void add(const DibOperation& operation, const std::vector<ShownSample>& samples);
    // In HTML.
    std::string text(const std::string& version) const;

private:
    std::string original_;
    std::string other_;
    std::string sections_;
    std::string_view area_;
};

// Text inside an element, or inside an attribute in double quotes.
std::string htmlText(std::string_view text);
// An address that holds the bytes of a file of that type.
std::string dataAddress(std::string_view mediaType, std::string_view bytes);

}  // namespace gallery

#endif
