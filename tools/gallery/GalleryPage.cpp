#include "tools/gallery/GalleryPage.h"

#include "tools/gallery/Html.h"
#include "tools/gallery/WebAssets.h"

namespace tool {

namespace {

std::string pixelsText(const ShownPicture& picture) {
    return std::to_string(picture.width) + " × " + std::to_string(picture.height) + ", " +
           std::to_string(picture.bitCount) + (picture.bitCount == 1 ? " bit" : " bits");
}

// `attributes` begins with a space.
std::string imageElement(const ShownPicture& picture, const std::string& alternative,
                         const std::string& attributes = {}) {
    return "<img" + attributes + " alt=\"" + htmlText(alternative) + "\" width=\"" +
           std::to_string(picture.width) + "\" height=\"" + std::to_string(picture.height) +
           "\" decoding=\"async\" src=\"" + dataAddress("image/png", picture.png) + "\">";
}

// Told where the browser may break the line.
std::string synopsisText(const Operation& operation) {
    std::string html;
    for (const char c : synopsis(operation)) {
        if (c == '[' || c == '|') html += "<wbr>";
        html += htmlText(std::string_view(&c, 1));
    }
    return html;
}

std::string commandLine(std::string_view chain) {
    return "dib run in.bmp <b>" + htmlText(chain) + "</b> out.bmp";
}

std::string sourceFigure(const ShownPicture& picture, const std::string& file, const std::string& what,
                         const std::string& attributes) {
    return "<figure>" + imageElement(picture, what, attributes) + "<figcaption><code>" + file + "</code> " +
           pixelsText(picture) + "</figcaption></figure>\n";
}

std::string masthead(const Gallery& gallery) {
    const std::size_t count = gallery.operations.size();
    const std::size_t samples = count * std::tuple_size_v<decltype(Operation::samples)>;
    return "<header class=\"masthead\">\n<div>\n<p class=\"kicker\">DibStream " DIB_TOOL_VERSION
           "</p>\n<h1>Gallery</h1>\n<p class=\"lead\">" +
           std::to_string(count) + " operations in " + std::to_string(samples) +
           " settings: what each does to one picture, the command that does it and the C++ call.</p>\n"
           "<p class=\"hint\">Open a picture to compare it with the original: the arrow keys move the "
           "divider, "
           "Escape closes. The commands give these pictures when they are run in the folder of this page; in "
           "C++, <code>image</code> is a <code>DibStream</code> that holds <code>in.bmp</code>.</p>\n</div>\n"
           "<div class=\"sources\">\n" +
           sourceFigure(gallery.original, "in.bmp", "The original picture", " id=\"original\"") +
           sourceFigure(gallery.other, "other.bmp", "The second picture: rings in two colours", "") +
           "</div>\n</header>\n";
}

std::string contents() {
    std::string html = "<nav class=\"contents\" aria-label=\"Operations\">\n<dl>\n";
    for (const Area& area : areas()) {
        html += "<div><dt>" + htmlText(area.title) + "</dt>";
        for (const Operation& operation : area.operations) {
            const std::string name = htmlText(operation.name);
            html += "<dd><a href=\"#" + name + "\">" + name + "</a></dd>";
        }
        html += "</div>\n";
    }
    return html + "</dl>\n</nav>\n";
}

std::string sampleFigure(const ShownOperation& shown, const ShownSample& sample) {
    const std::string chain = htmlText(sample.chain);
    const std::string alternative = "After " + sample.chain + ": " + std::string(shown.operation->help);
    return "<figure class=\"sample\" data-chain=\"" + chain +
           "\">\n<button type=\"button\" aria-haspopup=\"dialog\" aria-label=\"Compare " + chain +
           " with the original\">" + imageElement(sample.result, alternative) +
           "</button>\n<figcaption>\n<code class=\"command\">" + commandLine(sample.chain) +
           "</code>\n<code class=\"call\">" + htmlText(sample.call) + "</code>\n<span class=\"pixels\">" +
           pixelsText(sample.result) + "</span>\n</figcaption>\n</figure>\n";
}

std::string operationArticle(const ShownOperation& shown) {
    const Operation& operation = *shown.operation;
    const std::string name = htmlText(operation.name);
    std::string html = "<article id=\"" + name + "\" aria-labelledby=\"" + name +
                       "-title\">\n<div class=\"about\"><h3 id=\"" + name + "-title\">" + name +
                       "</h3>\n<p>" + htmlText(operation.help) + "</p>\n<p><code class=\"synopsis\">" +
                       synopsisText(operation) + "</code></p></div>\n<div class=\"samples\">\n";
    for (const ShownSample& sample : shown.samples) html += sampleFigure(shown, sample);
    return html + "</div>\n</article>\n";
}

constexpr std::string_view kViewer = R"(<dialog id="viewer" aria-labelledby="viewer-title">
<form method="dialog"><h2 id="viewer-title"></h2><p id="viewer-place"></p><button aria-label="Close">Close</button></form>
<div id="stage">
<img id="stage-before" alt="">
<img id="stage-after" alt="">
<input id="divider" type="range" min="0" max="100" value="50" autofocus aria-label="Divider: the original is to the left of it, the result to the right">
<span id="handle" aria-hidden="true"></span>
<span class="tag left" aria-hidden="true">before</span><span class="tag right" aria-hidden="true">after</span>
</div>
<p class="text"><code class="command" id="viewer-command"></code><code class="call" id="viewer-call"></code></p>
<p class="turn"><button type="button" id="previous">← Previous</button><button type="button" id="next">Next →</button></p>
</dialog>
)";

}  // namespace

std::string galleryPage(const Gallery& gallery) {
    std::string body = "<a class=\"skip\" href=\"#operations\">Skip to the pictures</a>\n" +
                       masthead(gallery) + contents() + "<main id=\"operations\">\n";
    auto shown = gallery.operations.begin();
    for (const Area& area : areas()) {
        body += "<section>\n<h2>" + htmlText(area.title) + "</h2>\n";
        for (std::size_t i = 0; i < area.operations.size(); ++i) body += operationArticle(*shown++);
        body += "</section>\n";
    }
    body.append("</main>\n").append(kViewer);
    const std::string style = std::string(kBaseStyle) + std::string(kGalleryStyle);
    return htmlDocument({"DibStream gallery", style, kGalleryScript, std::move(body)});
}

}  // namespace tool
