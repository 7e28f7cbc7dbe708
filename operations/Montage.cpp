// Sheets of pictures.
#include <DibPictures.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "operations/Borrowing.h"
#include "operations/Operations.h"
#include "operations/pixels/Overlay.h"
#include "operations/pixels/Pixels.h"
#include "operations/pixels/Text.h"

namespace operations {

namespace {

struct ApplyFrame {
    DibProgressCallback callback;
    void* user;
    std::int64_t done;  // pictures
    std::int64_t count;

    // The callback of a picture's steps, for which `user` is the address of this object.
    static bool report(float share, void* user) {
        const auto* frame = static_cast<const ApplyFrame*>(user);
        const double done = static_cast<double>(frame->done) + static_cast<double>(share);
        return frame->callback == nullptr ||
               frame->callback(static_cast<float>(done / static_cast<double>(frame->count)), frame->user);
    }
};

// Shrinks a picture.
void resize(ApplyFrame& frame, DibStream& image, const PixelSize& size) {
    const std::string step = "resize:" + std::to_string(size.width) + "x" + std::to_string(size.height);
    const DibApplyOptions options = {.inPlace = true};
    DibOperationResult result;
    if (DibApply(&image, step.c_str(), &options, &result, &ApplyFrame::report, &frame)) return;
    throw Refusal{static_cast<DibErrorCode>(result.code), result.reason};
}

// Black or white, on a colour.
DibBGRA contrasting(const DibBGRA& color) {
    const int brightness = 299 * color.red + 587 * color.green + 114 * color.blue;
    const auto level = dib::byteOf(color.alpha >= 128 && brightness < 128000 ? 255 : 0);
    return {level, level, level, 255};
}

constexpr std::size_t kLongestLabel = 1000;  // bytes

class Sheet {
public:
    Sheet(const DibStream* const* pictures, int count, const DibMontageOptions& options)
        : pictures_(pictures), count_(count), options_(options) {
        const int root = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
        columns_ = std::min(options.columns != 0 ? options.columns : root, count);
        rows_ = (count - 1) / columns_ + 1;
        if (options.labels != nullptr && options.labelFont != nullptr) font_ = openFont(options.labelFont);
        labelStyle_ = {options.labelSize,
                       options.labelColor.alpha != 0 ? options.labelColor : contrasting(options.background),
                       std::nullopt, 1, font_.get()};
        if (options.labels != nullptr)
            labelHeight_ = TextBlock("", labelStyle_).height() + options.labelSize / 2;
    }

    void make(ApplyFrame& frame, DibStream& sheet) {
        for (int i = 0; i < count_; ++i) {
            const PixelSize size = sizeOf(*pictures_[i]);
            cellWidth_ = std::max<std::int64_t>(cellWidth_, size.width);
            cellHeight_ = std::max<std::int64_t>(cellHeight_, size.height);
        }
        fillBackground(sheet);
        for (int i = 0; i < count_; ++i) {
            frame.done = i;
            addPicture(frame, i, sheet);
            if (options_.labels != nullptr && options_.labels[i] != nullptr) addLabel(i, sheet);
            if (!ApplyFrame::report(1, &frame)) throw Refusal{DIB_ERROR_INTERRUPTED, "cancelled"};
        }
        if (isAllGrey() && !sheet.ChangeBpp(8, 0)) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    }

private:
    bool isAllGrey() const {
        const bool isOpaque = options_.background.alpha == 255;
        return isOpaque && isGrey(options_.background) &&
               (options_.labels == nullptr || isGrey(labelStyle_.color)) &&
               std::all_of(pictures_, pictures_ + count_,
                           [](const DibStream* picture) { return isGrey(*picture); });
    }

    // The size of a picture that is shrunk as `fit` does it.
    PixelSize sizeOf(const DibStream& picture) const {
        const PixelSize full = {width(picture), height(picture)};
        const double across =
            options_.mostWidth != 0 ? static_cast<double>(options_.mostWidth) / full.width : 1;
        const double down =
            options_.mostHeight != 0 ? static_cast<double>(options_.mostHeight) / full.height : 1;
        const double factor = std::min({across, down, 1.0});
        const auto scaled = [factor](int side) {
            return std::max(1, static_cast<int>(std::round(side * factor)));
        };
        return {scaled(full.width), scaled(full.height)};
    }

    std::int64_t stepX() const { return cellWidth_ + options_.gap; }
    std::int64_t stepY() const { return cellHeight_ + labelHeight_ + options_.gap; }
    std::int64_t cellX(int i) const { return options_.gap + i % columns_ * stepX(); }
    std::int64_t cellY(int i) const { return options_.gap + i / columns_ * stepY(); }

    void fillBackground(DibStream& sheet) const {
        const std::int64_t wide = columns_ * stepX() + options_.gap;
        const std::int64_t high = rows_ * stepY() + options_.gap;
        if (std::max(wide, high) > std::numeric_limits<int>::max())
            throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
        createImage(sheet, dib::asInt(wide), dib::asInt(high), 32);
        const dib::Raster to = rowsOf(sheet);
        const std::vector<DibBGRA> row(to.columns(), options_.background);
        for (int y = 0; y < to.height; ++y) std::memcpy(to.row(y), row.data(), 4 * row.size());
    }

    void addPicture(ApplyFrame& frame, int i, DibStream& sheet) const {
        const PixelSize size = sizeOf(*pictures_[i]);
        // Borrowed, and replaced by what is made of it.
        const ImagePtr tile = borrow(const_cast<DibStream&>(*pictures_[i]));
        if (size.width != width(*tile) || size.height != height(*tile)) resize(frame, *tile, size);
        const bool isOpaque = tile->Header->biBitCount != 32;
        widenQuietly(*tile, 32);
        const dib::Raster from = rowsOf(*tile);
        const dib::Raster to = rowsOf(sheet);
        const std::ptrdiff_t x = dib::asOffset(cellX(i) + (cellWidth_ - size.width) / 2);
        const std::ptrdiff_t y = dib::asOffset(cellY(i) + (cellHeight_ - size.height) / 2);
        for (int k = 0; k < from.height; ++k) {
            unsigned char* const row = to.row(y + k) + 4 * x;
            if (isOpaque) {
                std::memcpy(row, from.row(k), 4 * from.columns());
            } else {
                coverRow(from.row(k), from.columns(), row, 4);
            }
        }
    }

    void addLabel(int i, const DibStream& sheet) const {
        TextBlock block(shortened(options_.labels[i]), labelStyle_);
        const std::int64_t x = cellX(i) + (cellWidth_ - block.width()) / 2;
        const std::int64_t y = cellY(i) + cellHeight_ + options_.labelSize / 4;
        block.draw(rowsOf(sheet), {dib::asInt(x), dib::asInt(y)}, [](int, int) { return true; });
    }

    // A line that fits into a cell; dots stand for what is left out.
    std::string shortened(std::string label) const {
        const auto isTooWide = [this](const std::string& text) {
            return TextBlock(text, labelStyle_).width() > cellWidth_;
        };
        label = label.substr(0, std::min(label.find('\n'), kLongestLabel));
        if (!isTooWide(label)) return label;
        while (!label.empty() && isTooWide(label + "..")) {
            // All bytes of a character.
            while (label.size() > 1 && (static_cast<unsigned char>(label.back()) & 0xC0) == 0x80)
                label.pop_back();
            label.pop_back();
        }
        return label.empty() ? label : label + "..";
    }

    const DibStream* const* pictures_;
    int count_;
    const DibMontageOptions& options_;
    int columns_;
    int rows_;
    std::unique_ptr<Font> font_;
    TextStyle labelStyle_;
    std::int64_t labelHeight_ = 0;
    std::int64_t cellWidth_ = 0;
    std::int64_t cellHeight_ = 0;
};

void check(const DibMontageOptions& options) {
    const auto least = [](const char* name, int value, int bound) {
        if (value < bound)
            throw Refusal{DIB_ERROR_INVALID,
                          std::string(name) + ": must be at least " + std::to_string(bound)};
    };
    least("columns", options.columns, 0);
    least("gap", options.gap, 0);
    least("largest width", options.mostWidth, 0);
    least("largest height", options.mostHeight, 0);
    least("label size", options.labelSize, 1);
}

}  // namespace

}  // namespace operations

bool DibMontage(const DibStream* const* pictures, int count, DibStream* sheet,
                const DibMontageOptions* options, DibOperationResult* result, DibProgressCallback callback,
                void* user) {
    return operations::runCall(result, [&](DibOperationResult&) {
        if (pictures == nullptr || sheet == nullptr || count < 1)
            throw operations::Refusal{DIB_ERROR_INVALID, "there are no pictures, or no image for the sheet"};
        for (int i = 0; i < count; ++i) operations::requirePixels(pictures[i]);
        DibMontageOptions complete;
        if (options != nullptr) std::memcpy(&complete, options, std::min(options->size, sizeof complete));
        operations::check(complete);
        operations::ApplyFrame frame = {callback, user, 0, count};
        DibStream made;
        operations::Sheet(pictures, count, complete).make(frame, made);
        dib::moveBlocks(made, *sheet);
        return true;
    });
}
