#include "effects/rank/MedianSmallRadius.h"

#include <algorithm>
#include <bit>

namespace dib {

bool MedianSmallRadius::prepare(const FullCopy& source, const Raster& image) {
    const auto width = static_cast<std::size_t>(image.width);
    rank_ = static_cast<int>(medianRank(radius_, image.bitCount));
    axisX_ = axisX(image, flags_);
    axisY_ = axisY(image, flags_);
    byKeys_ = image.bitCount <= 8;
    // A row with its edges, and the lanes that are read past its end.
    lineLength_ = width + static_cast<std::size_t>(side_) + kSelectLanes;
    lines_ = allocateZeroed<std::int8_t>(2 * static_cast<std::size_t>(side_) * lineLength_);
    positions_ = allocateArray<std::uint16_t>(width + 1);
    spots_ = allocateArray<BrightnessReader::Spot>(width + 1);
    keys_ = allocateArray<std::int8_t>(width + 1);
    if (!lines_ || !positions_ || !spots_ || !keys_) return false;
    if (!input_.prepare(source, image)) return false;
    if (byKeys_) numberKeys();
    return true;
}

// At 1 bit the indices themselves are ranked.
void MedianSmallRadius::numberKeys() {
    const std::uint32_t indices = 1U << input_.bitCount();
    const auto rankedBy = [&](std::uint32_t index) {
        return input_.bitCount() == 1 ? static_cast<std::int32_t>(index)
                                      : input_.reader().tableBrightness(index);
    };
    std::array<std::int32_t, 256> levels{};
    for (std::uint32_t index = 0; index < indices; ++index) levels[index] = rankedBy(index);
    std::sort(levels.begin(), levels.begin() + indices);
    const auto end = std::unique(levels.begin(), levels.begin() + indices);
    for (std::uint32_t index = 0; index < indices; ++index) {
        const auto level = std::lower_bound(levels.begin(), end, rankedBy(index));
        keyOfIndex_[index] = static_cast<std::uint8_t>(level - levels.begin());
    }
    keyBits_ = static_cast<int>(std::bit_width(static_cast<std::size_t>(end - levels.begin()) - 1));
}

void MedianSmallRadius::writeRow(unsigned char* out, int y) {
    if (input_.width() == 0) return;
    for (int t = y == 0 ? -radius_ : y + radius_; t <= y + radius_; ++t) {
        if (byKeys_) {
            loadKeys(t);
        } else {
            loadBrightness(t);
        }
    }
    for (int j = 0; j < side_; ++j) {
        const auto at = static_cast<std::size_t>(j);
        const int t = y - radius_ + j;
        square_[at] = lineAt(t);
        keySquare_[at] = square_[at].high;
        sources_[at] = input_.row(axisY_.at(t));
    }
    if (byKeys_) {
        chooseByKeys();
    } else {
        selectByBrightness(square_.data(), side_, rank_, positions_.get(), input_.width());
        takePositions(0, input_.width());
    }
    input_.writeChosen(out);
}

void MedianSmallRadius::chooseByKeys() {
    const std::size_t width = input_.width();
    selectKeys(keySquare_.data(), side_, rank_, keyBits_, keys_.get(), width);
    const auto keyOf = [&](std::size_t x) { return static_cast<std::size_t>(keys_[x] + 128); };
    for (std::size_t start = 0; start < width; start += kSelectLanes) {
        const std::size_t end = std::min(start + kSelectLanes, width);
        bool ambiguous = false;
        for (std::size_t x = start; x < end; ++x) {
            input_.chosen()[x] = indexOfKey_[keyOf(x)];
            ambiguous |= severalIndices_[keyOf(x)];
        }
        if (!ambiguous) continue;
        positionsOfKeys(keySquare_.data(), side_, rank_, keys_.get(), positions_.get(), start, end);
        takePositions(start, end);
    }
}

// Chooses the pixels at `positions_` of the squares around columns `start` to before `end`.
void MedianSmallRadius::takePositions(std::size_t start, std::size_t end) {
    for (std::size_t x = start; x < end; ++x) {
        const std::int64_t column = static_cast<std::int64_t>(x) - radius_ + positions_[x] % side_;
        spots_[x] = {sources_[static_cast<std::size_t>(positions_[x] / side_)], axisX_.at(column)};
    }
    input_.reader().readSpots(spots_.get() + start, input_.chosen() + start, end - start);
}

// Position t of the y axis, with the edges of its row.
void MedianSmallRadius::loadBrightness(int t) {
    const std::int32_t* brightness = input_.readBrightness(axisY_.at(t));
    const BrightnessPlanes line = lineAt(t);
    const auto width = static_cast<std::ptrdiff_t>(input_.width());
    for (std::ptrdiff_t x = 0; x < width; ++x) line.put(radius_ + x, brightness[x]);
    axisX_.pad(line.high + radius_, radius_, radius_);
    axisX_.pad(line.low + radius_, radius_, radius_);
}

void MedianSmallRadius::loadKeys(int t) {
    const std::uint32_t* values = input_.readValues(axisY_.at(t));
    std::int8_t* const line = lineAt(t).high + radius_;
    for (std::size_t x = 0; x < input_.width(); ++x) {
        seen_[values[x]] = true;
        line[x] = BrightnessPlanes::flipped(keyOfIndex_[values[x]]);
    }
    axisX_.pad(line, radius_, radius_);

    std::array<bool, 256> found{};
    for (std::size_t index = 0; index < seen_.size(); ++index) {
        if (!seen_[index]) continue;
        const std::size_t key = keyOfIndex_[index];
        severalIndices_[key] = found[key];
        found[key] = true;
        indexOfKey_[key] = static_cast<std::uint8_t>(index);
    }
}

}  // namespace dib
