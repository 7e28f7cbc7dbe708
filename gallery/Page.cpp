#include "gallery/Page.h"

#include <algorithm>
#include <cmath>

#include "gallery/Assets.h"
#include "texts/Tables.h"

namespace gallery {

namespace {

std::string pixelsText(const ShownPicture& picture) {
    return std::to_string(picture.width) + " × " + std::to_string(picture.height) + ", " +
           texts::countText(picture.bitCount, "bit");
}

// With the scale at which the picture is shown.
std::string pixelsText(const ShownPicture& picture, const ShownSize& shown) {
    if (shown.width == picture.width) return pixelsText(picture);
    const auto percent = std::lround(100.0 * shown.width / picture.width);
    return pixelsText(picture) + ", shown at " + std::to_string(percent) + " %";
}

// `attributes` begins with a space.
std::string imageElement(const ShownPicture& picture, const ShownSize& shown, const std::string& alternative,
                         const std::string& attributes) {
    return "<img" + attributes + (shown.isWhole ? "" : " class=\"shrunk\"") + " alt=\"" +
           htmlText(alternative) + "\" width=\"" + std::to_string(shown.width) + "\" height=\"" +
           std::to_string(shown.height) + "\" src=\"" + htmlText(picture.file) + "\">";
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

std::string sourceFigure(const ShownPicture& picture, const ShownSize& cell, const std::string& what,
                         const std::string& attributes) {
    const ShownSize shown = std::max(picture.width, picture.height) <= std::max(cell.width, cell.height)
                                ? ShownSize{picture.width, picture.height}
                                : sizeInCell(picture.width, picture.height, cell);
    return "<figure>" + imageElement(picture, shown, what, attributes) + "<figcaption><code>" + picture.file +
           "</code> " + pixelsText(picture, shown) + "</figcaption></figure>\n";
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

std::string sampleFigure(const DibOperation& operation, const ShownSample& sample, const ShownSize& cell) {
    const std::string chain = htmlText(sample.chain);
    const std::string alternative = "After " + sample.chain + ": " + std::string(operation.help);
    const ShownSize shown = sizeInCell(sample.result.width, sample.result.height, cell);
    const std::string before =
        sample.before.empty() ? "" : " data-before=\"" + htmlText(sample.before) + "\"";
    return "<figure class=\"sample\" data-chain=\"" + chain + "\"" + before +
           ">\n<button type=\"button\" class=\"compare\" aria-haspopup=\"dialog\" aria-label=\"Compare " +
           chain + " with the picture before\">" +
           imageElement(sample.result, shown, alternative, " loading=\"lazy\" decoding=\"async\"") +
           "</button>\n<figcaption>\n<code class=\"command\">dib run in.bmp <b>" + chain +
           "</b> out.bmp</code>\n<code class=\"call\">" + htmlText(sample.call) +
           "</code>\n<span class=\"pixels\">" + pixelsText(sample.result, shown) +
           "</span>\n</figcaption>\n</figure>\n";
}

std::string operationArticle(const DibOperation& operation, const std::vector<ShownSample>& samples,
                             const ShownSize& cell) {
    const std::string name = htmlText(operation.name);
    std::string html = "<article id=\"" + name + "\" aria-labelledby=\"" + name +
                       "-title\">\n<div class=\"about\"><h3 id=\"" + name + "-title\">" + name +
                       "</h3>\n<p>" + htmlText(operation.help) + "</p>\n<p><code class=\"synopsis\">" +
                       synopsisText(operation) + "</code></p></div>\n<div class=\"samples\">\n";
    for (const ShownSample& sample : samples) html += sampleFigure(operation, sample, cell);
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

ShownSize cellSize(int width, int height) {
    constexpr int kLongestSide = 400;
    const int divisor = (std::max(width, height) + kLongestSide - 1) / kLongestSide;
    return {std::max(1, width / divisor), std::max(1, height / divisor)};
}

ShownSize sizeInCell(int width, int height, const ShownSize& cell) {
    const int times = std::min(cell.width / width, cell.height / height);
    if (times >= 1) return {times * width, times * height};
    const double scale =
        std::min(static_cast<double>(cell.width) / width, static_cast<double>(cell.height) / height);
    const auto scaled = [scale](int side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    return {scaled(width), scaled(height), false};
}

Page::Page(const ShownPicture& original, const ShownPicture& other)
    : cell_(cellSize(original.width, original.height)),
      original_(sourceFigure(original, cell_, "The original picture", " id=\"original\"")),
      other_(sourceFigure(other, cell_, "The second picture: rings in two colours", "")) {}

void Page::add(const DibOperation& operation, const std::vector<ShownSample>& samples) {
    if (operation.area != area_) {
        sections_ += (area_.empty() ? "" : "</section>\n") + ("<section>\n<h2>" + htmlText(operation.area)) +
                     "</h2>\n";
        area_ = operation.area;
    }
    sections_ += operationArticle(operation, samples, cell_);
}

std::string Page::text(const std::string& version) const {
    const std::size_t count = texts::operations().size();
    const std::string width = std::to_string(cell_.width) + "px";
    // Narrower windows shrink the pictures, which must be smooth then. 2rem are the margins of the page.
    const std::string sizes = ":root { --width: " + width + "; --height: " + std::to_string(cell_.height) +
                              "px; }\n@media (max-width: calc(" + width +
                              " + 2rem)) { .sample img { image-rendering: auto; } }\n";
    const std::pair<std::string_view, std::string> kParts[] = {
        {"style", std::string(kBaseStyle) + std::string(kStyle) + sizes},
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
