#include "tools/gallery/ContactSheet.h"

#include <DibEffect.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <new>
#include <string>

#include "tools/gallery/Font.h"
#include "tools/io/Images.h"

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

DibBGR* row(DibStream& image, int y) { return reinterpret_cast<DibBGR*>(image.ScanLine(y)); }

void fill(DibStream& image, DibBGR color) {
    for (int y = 0; y < height(image); ++y) std::fill_n(row(image, y), width(image), color);
}

// Smooth lettering in white on black. The letters are grids of few cells: they are painted large, blurred
// to round their corners, sharpened and scaled down.
ImagePtr lettering(const std::string& text) {
    constexpr int kCell = 10;
    constexpr int kMargin = kCell;
    ImagePtr label(new DibStream);
    const int fullWidth = textColumns(text) * kCell + 2 * kMargin;
    const int fullHeight = kTextRows * kCell + 2 * kMargin;
    need(label->Create(fullWidth, fullHeight, 24));
    for (int y = 0; y < fullHeight; ++y) {
        for (int x = 0; x < fullWidth; ++x) {
            const bool isWhite =
                x >= kMargin && y >= kMargin && isInked(text, (x - kMargin) / kCell, (y - kMargin) / kCell);
            row(*label, y)[x] = isWhite ? DibBGR{255, 255, 255} : DibBGR{0, 0, 0};
        }
    }
    need(DibEffectGaussianBlur(nullptr, nullptr, label.get(), 0.9F * kCell, 0U));
    need(DibEffectContrast(nullptr, nullptr, label.get(), 0.1F, 6.0F));
    need(label->ResizeIntegral(fullWidth * 24 / (10 * kCell), fullHeight * 24 / (10 * kCell)));
    return label;
}

unsigned char blended(unsigned char under, unsigned char over, unsigned char share) {
    return static_cast<unsigned char>((under * (255 - share) + over * share + 127) / 255);
}

}  // namespace

ContactSheet::ContactSheet(int pictureCount) {
    const int rows = (pictureCount + kColumns - 1) / kColumns;
    need(sheet_.Create(kColumns * kStepX + kGap, rows * kStepY + kGap, 24));
    fill(sheet_, kPaper);
}

void ContactSheet::add(DibStream& picture, std::string_view name) {
    const int placeX = kGap + count_ % kColumns * kStepX;
    const int placeY = kGap + count_ / kColumns * kStepY;
    ++count_;

    const double scale = std::min({1.0, static_cast<double>(kPlaceWidth) / width(picture),
                                   static_cast<double>(kPlaceHeight) / height(picture)});
    const ImagePtr small(picture.Clone());
    need(small != nullptr && small->Buffer != nullptr);
    if (scale < 1) {
        need(small->ResizeIntegral(std::max(1, static_cast<int>(std::lround(width(picture) * scale))),
                                   std::max(1, static_cast<int>(std::lround(height(picture) * scale)))));
    }
    const int left = placeX + (kPlaceWidth - width(*small)) / 2;
    const int top = placeY + (kPlaceHeight - height(*small)) / 2;
    for (int y = 0; y < height(*small); ++y) {
        std::copy_n(row(*small, y), width(*small), row(sheet_, top + y) + left);
    }

    std::string capitals(name);
    std::ranges::transform(capitals, capitals.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const ImagePtr label = lettering(capitals);
    const int labelLeft = placeX + std::max(0, (kPlaceWidth - width(*label)) / 2);
    const int labelTop = placeY + kPlaceHeight + 3;
    const int visible = std::min(width(*label), width(sheet_) - labelLeft);
    for (int y = 0; y < std::min(height(*label), height(sheet_) - labelTop); ++y) {
        for (int x = 0; x < visible; ++x) {
            const unsigned char share = row(*label, y)[x].green;
            DibBGR& pixel = row(sheet_, labelTop + y)[labelLeft + x];
            pixel = {blended(pixel.blue, kInk.blue, share), blended(pixel.green, kInk.green, share),
                     blended(pixel.red, kInk.red, share)};
        }
    }
}

}  // namespace tool
