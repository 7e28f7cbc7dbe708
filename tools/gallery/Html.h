/// Pieces of web pages that need nothing from outside themselves.
#ifndef TOOLS_GALLERY_HTML_H
#define TOOLS_GALLERY_HTML_H

#include <string>
#include <string_view>

namespace tool {

/// Text as it stands in an element or in an attribute between double quotes.
std::string htmlText(std::string_view text);
/// An address that holds the bytes of a file of that type.
std::string dataAddress(std::string_view mediaType, std::string_view bytes);

/// A whole page. Its policy keeps a browser from loading anything from elsewhere.
struct HtmlPage {
    std::string_view title;
    std::string_view style;   ///< CSS.
    std::string_view script;  ///< JavaScript, run when the page is there; may be empty.
    std::string body;
};
std::string htmlDocument(const HtmlPage& page);

}  // namespace tool

#endif
