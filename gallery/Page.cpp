#include "gallery/Page.h"

#include <algorithm>
#include <cstdint>

#include "gallery/Assets.h"
#include "texts/Tables.h"

namespace gallery {

namespace {

std::string pixelsText(const ShownPicture& picture) {
    return std::to_string(picture.width) + " × " + std::to_string(picture.height) + ", " +
           texts::countText(picture.bitCount, "bit");
}

// `attributes` begins with a space.
std::string imageElement(const ShownPicture& picture, const std::string& alternative,
                         const std::string& attributes = {}) {
    return "<img" + attributes + " alt=\"" + htmlText(alternative) + "\" width=\"" +
           std::to_string(picture.width) + "\" height=\"" + std::to_string(picture.height) +
           "\" decoding=\"async\" src=\"" + dataAddress("image/png", picture.png) + "\">";
}

// With <wbr> where the browser may break the line.
std::string synopsisText(const DibOperation& operation) {
    std::string html;
    for (const char c : texts::description(operation, DIB_DESCRIBE_SYNOPSIS)) {
        if (c == '[' || c == '|') html += "<wbr>";
        html += htmlText(std::string_view(&c, 1));
    }
    return html;
}

std::string sourceFigure(const ShownPicture& picture, const std::string& file, const std::string& what,
                         const std::string& attributes) {
    return "<figure>" + imageElement(picture, what, attributes) + "<figcaption><code>" + file + "</code> " +
           pixelsText(picture) + "</figcaption></figure>\n";
}

std::string contents() {
    std::string html;
    std::string_view area;
    for (const DibOperation* operation : texts::operations()) {
        if (operation->area != area) {
            html += (area.empty() ? "" : "</div>\n") + ("<div><dt>" + htmlText(operation->area)) + "</dt>";
            area = operation->area;
        }
        const std::string name = htmlText(operation->name);
        html += "<dd><a href=\"#" + name + "\">" + name + "</a></dd>";
    }
    return html + "</div>\n";
}

std::string sampleFigure(const DibOperation& operation, const ShownSample& sample) {
    const std::string chain = htmlText(sample.chain);
    const std::string alternative = "After " + sample.chain + ": " + std::string(operation.help);
    return "<figure class=\"sample\" data-chain=\"" + chain +
           "\">\n<button type=\"button\" aria-haspopup=\"dialog\" aria-label=\"Compare " + chain +
           " with the original\">" + imageElement(sample.result, alternative) +
           "</button>\n<figcaption>\n<code class=\"command\">" + "dib run in.bmp <b>" + chain +
           "</b> out.bmp" + "</code>\n<code class=\"call\">" + htmlText(sample.call) +
           "</code>\n<span class=\"pixels\">" + pixelsText(sample.result) +
           "</span>\n</figcaption>\n</figure>\n";
}

std::string operationArticle(const DibOperation& operation, const std::vector<ShownSample>& samples) {
    const std::string name = htmlText(operation.name);
    std::string html = "<article id=\"" + name + "\" aria-labelledby=\"" + name +
                       "-title\">\n<div class=\"about\"><h3 id=\"" + name + "-title\">" + name +
                       "</h3>\n<p>" + htmlText(operation.help) + "</p>\n<p><code class=\"synopsis\">" +
                       synopsisText(operation) + "</code></p></div>\n<div class=\"samples\">\n";
    for (const ShownSample& sample : samples) html += sampleFigure(operation, sample);
    return html + "</div>\n</article>\n";
}

}  // namespace

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
        // Three bytes make four digits; '=' pads the last group.
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

Page::Page(const ShownPicture& original, const ShownPicture& other)
    : original_(sourceFigure(original, "in.bmp", "The original picture", " id=\"original\"")),
      other_(sourceFigure(other, "other.bmp", "The second picture: rings in two colours", "")) {}

void Page::add(const DibOperation& operation, const std::vector<ShownSample>& samples) {
    if (operation.area != area_) {
        sections_ += (area_.empty() ? "" : "</section>\n") + ("<section>\n<h2>" + htmlText(operation.area)) +
                     "</h2>\n";
        area_ = operation.area;
    }
    sections_ += operationArticle(operation, samples);
}

std::string Page::text(const std::string& version) const {
    const std::size_t count = texts::operations().size();
    const std::pair<std::string_view, std::string> kParts[] = {
        {"style", std::string(kBaseStyle) + std::string(kStyle)},
        {"version", version},
        {"operations", std::to_string(count)},
        {"samples", std::to_string(count * std::size(DibOperation{}.samples))},
        {"original", original_},
        {"other", other_},
        {"contents", contents()},
        {"sections", sections_ + "</section>\n"},
        {"script", std::string(kScript)},
    };
    // Filled in the order of the page: text of a part that looks like a placeholder stays.
    std::string page;
    std::string_view rest = kPage;
    for (const auto& [name, part] : kParts) {
        const std::string placeholder = "{{" + std::string(name) + "}}";
        const std::size_t place = rest.find(placeholder);
        page.append(rest.substr(0, place)).append(part);
        rest.remove_prefix(place + placeholder.size());
    }
    return page.append(rest);
}

}  // namespace gallery
