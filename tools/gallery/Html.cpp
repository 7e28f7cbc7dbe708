#include "tools/gallery/Html.h"

#include <algorithm>
#include <cstdint>

namespace tool {

std::string htmlText(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            case '"': escaped += "&quot;"; break;
            default: escaped += c;
        }
    }
    return escaped;
}

std::string dataAddress(std::string_view mediaType, std::string_view bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string address = "data:" + std::string(mediaType) + ";base64,";
    address.reserve(address.size() + (bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        // Three bytes make four digits; what is missing at the end is written as '='.
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            address += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return address;
}

std::string htmlDocument(const HtmlPage& page) {
    std::string html =
        "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
        "style-src 'unsafe-inline'; script-src 'unsafe-inline'\">\n"
        "<link rel=\"icon\" href=\"data:,\">\n<title>";
    html += htmlText(page.title);
    html.append("</title>\n<style>\n").append(page.style).append("</style>\n</head>\n<body>\n");
    html += page.body;
    if (!page.script.empty()) html.append("<script>\n").append(page.script).append("</script>\n");
    return html + "</body>\n</html>\n";
}

}  // namespace tool
