#include "operations/pixels/Text.h"

#include <vector>

#include "dib/Numbers.h"
#include "operations/pixels/Overlay.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

std::unique_ptr<Lettering> write(std::string_view text, const TextStyle& style) {
    return style.font != nullptr ? style.font->write(text, style.size, style.align)
                                 : writeInCells(text, style.size, style.align);
}

}  // namespace

TextBlock::TextBlock(std::string_view text, const TextStyle& style)
    : style_(style), lettering_(write(text, style)), margin_(style.box ? style.size / 5 : 0) {}

bool TextBlock::isGrey() const {
    return operations::isGrey(style_.color) && (!style_.box || operations::isGrey(*style_.box));
}

bool TextBlock::draw(const dib::Raster& rows, Place corner, const std::function<bool(int, int)>& report) {
    const Part part = partInside(rows, corner, width(), height());
    const std::size_t count = part.columns();
    std::vector<std::uint8_t> shares(count);
    std::vector<DibBGRA> line(count);
    const std::vector<DibBGRA> box(count, style_.box.value_or(DibBGRA{}));
    const auto bytesOf = [](const std::vector<DibBGRA>& pixels) {
        return reinterpret_cast<const unsigned char*>(pixels.data());
    };
    for (int y = part.top; y < part.bottom; ++y) {
        lettering_->cover(std::int64_t{part.left} - corner.x - margin_, std::int64_t{y} - corner.y - margin_,
                          count, shares.data());
        for (std::size_t k = 0; k < count; ++k) {
            line[k] = style_.color;
            line[k].alpha = mixed(style_.color.alpha, 0, shares[k]);
        }
        unsigned char* const row = rows.row(y) + dib::asSize(part.left) * rows.bytesPerPixel();
        if (style_.box) coverRow(bytesOf(box), count, row, rows.bytesPerPixel());
        coverRow(bytesOf(line), count, row, rows.bytesPerPixel());
        if (!report(y + 1 - part.top, part.bottom - part.top)) return false;
    }
    return true;
}

bool drawText(const Job& job, TextBlock& block, Place corner) {
    const Treatment treatment = {.depths = block.isGrey() ? depths({8, 24, 32}) : depths({24, 32}),
                                 .addsColors = !block.isGrey()};
    return runWidened(job, treatment, [&](const Job& widened) {
        const dib::Raster rows = rowsOf(widened.image);
        if (partInside(rows, corner, block.width(), block.height()).isEmpty()) {
            addNote(job.result, DIB_NOTE_WARNING, "text: it lies outside the picture, or there is none");
            return report(job, 1, 1);
        }
        return block.draw(rows, corner, [&](int done, int total) { return report(job, done, total); });
    });
}

}  // namespace operations
