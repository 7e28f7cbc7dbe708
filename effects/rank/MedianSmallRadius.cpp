#include "effects/rank/MedianSmallRadius.h"

#include <algorithm>

#include "dib/Numbers.h"

namespace dib {

bool MedianSmallRadius::prepare(const FullCopy& source, const Raster& image) {
    const auto width = image.width;
    rank_ = asInt(medianRank(radius_, image.bitCount));
    axisX_ = axisX(image, flags_);
    axisY_ = axisY(image, flags_);
    byKeys_ = image.bitCount <= 8;
    // A row with its edges, and the lanes that are read past its end.
    lineLength_ = width + std::ptrdiff_t{side_} + kSelectLanes;
    lines_ = allocateZeroed<std::int8_t>(2 * std::ptrdiff_t{side_} * lineLength_);
    positions_ = allocateArray<std::uint16_t>(width + 1);
    spots_ = allocateArray<BrightnessReader::Spot>(width + 1);
    keys_ = allocateArray<std::int8_t>(width + 1);
    if (!lines_ || !positions_ || !spots_ || !keys_) return false;
    if (!input_.prepare(source, image)) return false;
    if (byKeys_) {
        table_.number(input_);
        while ((1 << keyBits_) < table_.count()) ++keyBits_;
    }
    return true;
}

void MedianSmallRadius::row(unsigned char* out, int y) {
    if (input_.width() == 0) return;
    for (int t = y == 0 ? -radius_ : y + radius_; t <= y + radius_; ++t) {
        if (byKeys_) {
            loadKeys(t);
        } else {
            loadBrightness(t);
        }
    }
    for (int j = 0; j < side_; ++j) {
        const int t = y - radius_ + j;
        square_[j] = lineAt(t);
        keySquare_[j] = square_[j].high;
        sources_[j] = input_.row(axisY_.at(t));
    }
    if (byKeys_) {
        chooseByKeys();
    } else {
        selectByBrightness(square_, side_, rank_, positions_.get(), input_.width());
        takePositions(0, input_.width());
    }
    input_.writeChosen(out);
}

void MedianSmallRadius::chooseByKeys() {
    const std::ptrdiff_t width = input_.width();
    selectKeys(keySquare_, side_, rank_, keyBits_, keys_.get(), width);
    const auto keyOf = [&](std::ptrdiff_t x) { return keys_[x] + 128; };
    for (std::ptrdiff_t start = 0; start < width; start += kSelectLanes) {
        const std::ptrdiff_t end = std::min(start + kSelectLanes, width);
        bool ambiguous = false;
        for (std::ptrdiff_t x = start; x < end; ++x) {
            input_.chosen()[x] = table_.indexOf(keyOf(x));
            ambiguous |= table_.several(keyOf(x));
        }
        if (!ambiguous) continue;
        positionsOfKeys(keySquare_, side_, rank_, keys_.get(), positions_.get(), start, end);
        takePositions(start, end);
    }
}

// Chooses the pixels at `positions_` of the squares around columns `start` to before `end`.
void MedianSmallRadius::takePositions(std::ptrdiff_t start, std::ptrdiff_t end) {
    for (std::ptrdiff_t x = start; x < end; ++x) {
        const std::ptrdiff_t column = x - radius_ + positions_[x] % side_;
        spots_[x] = {sources_[positions_[x] / side_], axisX_.at(column)};
    }
    input_.reader().readSpots(spots_.get() + start, input_.chosen() + start, end - start);
}

// Position t of the y axis, with the edges of its row.
void MedianSmallRadius::loadBrightness(int t) {
    const std::int32_t* brightness = input_.readBrightness(axisY_.at(t));
    const BrightnessPlanes line = lineAt(t);
    const auto width = input_.width();
    for (std::ptrdiff_t x = 0; x < width; ++x) line.put(radius_ + x, brightness[x]);
    axisX_.pad(line.high + radius_, radius_, radius_);
    axisX_.pad(line.low + radius_, radius_, radius_);
}

void MedianSmallRadius::loadKeys(int t) {
    const std::uint32_t* values = input_.readValues(axisY_.at(t));
    std::int8_t* const line = lineAt(t).high + radius_;
    for (std::ptrdiff_t x = 0; x < input_.width(); ++x) {
        line[x] = BrightnessPlanes::flipped(table_.see(values[x]));
    }
    axisX_.pad(line, radius_, radius_);
    table_.update();
}

}  // namespace dib
