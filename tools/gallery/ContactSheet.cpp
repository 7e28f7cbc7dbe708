#include "tools/gallery/ContactSheet.h"

#include <DibEffect.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <new>
#include <string>

#include "tools/gallery/Font.h"

namespace tool {

namespace {

constexpr int kColumns = 8;
constexpr int kPlaceWidth = 184;
constexpr int kPlaceHeight = 138;
constexpr int kGap = 14;
constexpr int kLabelHeight = 40;
constexpr int kStepX = kPlaceWidth + kGap;
constexpr int kStepY = kPlaceHeight + kLabelHeight;
constexpr DibBGR kPaper{28, 23, 21};
constexpr DibBGR kInk{218, 226, 232};

void need(bool done) {
    if (!done) throw std::bad_alloc();
}

DibBGR* row(DibHandle& image, int y) { return reinterpret_cast<DibBGR*>(image->ScanLine(y)); }

// Smooth lettering in white on black. The letters are grids of few cells: they are enlarged, blurred to round
// their corners, sharpened and scaled down.
DibHandle lettering(const std::string& text) {
    constexpr int kCell = 10;
    const int columns = textColumns(text) + 2;  // with a margin of a cell
    const int rows = kTextRows + 2;
    DibHandle label = DibHandle::make();
    need(label && label->Create(columns, rows, 24));
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x)
            row(label, y)[x] = isInked(text, x - 1, y - 1) ? DibBGR{255, 255, 255} : DibBGR{0, 0, 0};
    }
    need(label->ResizeIntegral(columns * kCell, rows * kCell));
    need(DibEffectGaussianBlur(nullptr, nullptr, label.get(), 0.9F * kCell, 0U));
    need(DibEffectContrast(nullptr, nullptr, label.get(), 0.1F, 6.0F));
    need(label->ResizeIntegral(columns * 24 / 10, rows * 24 / 10));
    return label;
}

unsigned char blended(unsigned char under, unsigned char over, unsigned char share) {
    return static_cast<unsigned char>((under * (255 - share) + over * share + 127) / 255);
}

}  // namespace

ContactSheet::ContactSheet(int pictureCount) {
    const int rows = (pictureCount + kColumns - 1) / kColumns;
    need(sheet_ && sheet_->Create(kColumns * kStepX + kGap, rows * kStepY + kGap, 24));
    for (int y = 0; y < sheet_.height(); ++y) std::fill_n(row(sheet_, y), sheet_.width(), kPaper);
}

void ContactSheet::add(DibStream& picture, std::string_view name) {
    const int placeX = kGap + count_ % kColumns * kStepX;
    const int placeY = kGap + count_ / kColumns * kStepY;
    ++count_;

    DibHandle small(picture.Clone());
    need(small.hasPixels());
    const double scale = std::min({1.0, static_cast<double>(kPlaceWidth) / small.width(),
                                   static_cast<double>(kPlaceHeight) / small.height()});
    const auto scaled = [scale](int side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    if (scale < 1) need(small->ResizeIntegral(scaled(small.width()), scaled(small.height())));
    const int left = placeX + (kPlaceWidth - small.width()) / 2;
    const int top = placeY + (kPlaceHeight - small.height()) / 2;
    for (int y = 0; y < small.height(); ++y)
        std::copy_n(row(small, y), small.width(), row(sheet_, top + y) + left);

    std::string capitals(name);
    std::ranges::transform(capitals, capitals.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    DibHandle label = lettering(capitals);
    const int labelLeft = placeX + std::max(0, (kPlaceWidth - label.width()) / 2);
    const int labelTop = placeY + kPlaceHeight + 3;
    const int visible = std::min(label.width(), sheet_.width() - labelLeft);
    for (int y = 0; y < label.height(); ++y) {
        for (int x = 0; x < visible; ++x) {
            const unsigned char share = row(label, y)[x].green;
            DibBGR& pixel = row(sheet_, labelTop + y)[labelLeft + x];
            pixel = {blended(pixel.blue, kInk.blue, share), blended(pixel.green, kInk.green, share),
                     blended(pixel.red, kInk.red, share)};
        }
    }
}

}  // namespace tool
