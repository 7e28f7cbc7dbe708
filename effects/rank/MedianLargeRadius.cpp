#include "effects/rank/MedianLargeRadius.h"

#include <algorithm>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace dib {

template <class Cell>
bool MedianLargeRadius<Cell>::prepare(const FullCopy& source, const Raster& image) {
    rank_ = medianRank(radius_, image.bitCount);
    axisX_ = axisX(image, flags_);
    axisY_ = axisY(image, flags_);
    shape_ = tileShape(image, radius_);
    lineLength_ = image.width + 2 * std::ptrdiff_t{radius_};
    lines_ = allocateArray<std::uint16_t>(shape_.rows() * lineLength_);
    band_ = allocateArray<std::uint32_t>(std::ptrdiff_t{shape_.height} * image.width);
    found_ = allocateArray<BinRank>(shape_.width);
    positions_ = allocateArray<typename RankedTile<Cell>::Position>(shape_.width);
    spots_ = allocateArray<BrightnessReader::Spot>(shape_.width);
    if (!lines_ || !band_ || !found_ || !positions_ || !spots_) return false;
    if (!input_.prepare(source, image) || !ranked_.prepare(shape_.columns(), shape_.rows())) return false;
    byTable_ = image.bitCount <= 8;
    if (byTable_) table_.number(input_);
    bins_ = std::max<std::ptrdiff_t>(ranked_.mostBins(), table_.count());
    return window_.prepare(bins_, shape_.columns(), shape_.side());
}

template <class Cell>
void MedianLargeRadius<Cell>::row(unsigned char* out, int y) {
    const int inBand = y % shape_.height;
    if (inBand == 0) {
        loadBand(y);
        for (int x = 0; x < input_.width(); x += shape_.width) chooseTile(x, y);
    }
    input_.reader().writeRow(out, band_.get() + inBand * input_.width());
}

// Reads what the tiles from row y on rank.
template <class Cell>
void MedianLargeRadius<Cell>::loadBand(int y) {
    const std::int64_t bottom = std::min<std::int64_t>(std::int64_t{y} + shape_.height, axisY_.size);
    std::uint16_t* line = lines_.get();
    for (std::int64_t t = std::int64_t{y} - radius_; t < bottom + radius_; ++t, line += lineLength_) {
        std::uint16_t* const keys = line + radius_;
        loadKeys(axisY_.at(t), keys);
        axisX_.pad(keys, radius_, radius_);
    }
    table_.update();
}

template <class Cell>
void MedianLargeRadius<Cell>::loadKeys(int row, std::uint16_t* keys) {
    if (byTable_) {
        const std::uint32_t* indices = input_.readValues(row);
        const int darkest = table_.count() - 1;
        for (std::ptrdiff_t x = 0; x < input_.width(); ++x)
            keys[x] = wordOf(darkest - table_.see(indices[x]));
    } else {
        const std::int32_t* brightness = input_.readBrightness(row);
        for (std::ptrdiff_t x = 0; x < input_.width(); ++x)
            keys[x] = wordOf(kWhiteBrightness - brightness[x]);
    }
}

// Chooses the pixels of the tile whose first one is (x, y).
template <class Cell>
void MedianLargeRadius<Cell>::chooseTile(int x, int y) {
    const std::ptrdiff_t width = std::min<std::ptrdiff_t>(shape_.width, input_.width() - x);
    const std::ptrdiff_t height = std::min(shape_.height, axisY_.size - y);
    const std::ptrdiff_t side = shape_.side();
    const std::uint16_t* keys = lines_.get() + x;
    const bool byKeys = keysAreBins();
    if (!byKeys) ranked_.rank(keys, lineLength_, width + side - 1, height + side - 1);
    const auto binRow = [&](std::ptrdiff_t row) {
        return byKeys ? keys + row * lineLength_ : ranked_.binRow(row);
    };
    window_.clear(bins_, width + side - 1);
    for (std::ptrdiff_t row = 0; row < side; ++row) window_.add(binRow(row));
    for (std::ptrdiff_t row = 0; row < height; ++row) {
        if (row > 0) window_.replace(binRow(row - 1), binRow(row - 1 + side));
        window_.find(rank_, width, row % 2 == 0, found_.get());
        takeRow(x, y, row, width);
    }
}

// The pixels found for a row of the tile at (x, y).
template <class Cell>
void MedianLargeRadius<Cell>::takeRow(int x, int y, std::ptrdiff_t row, std::ptrdiff_t width) {
    std::uint32_t* const chosen = band_.get() + row * input_.width() + x;
    if (keysAreBins()) {
        const std::ptrdiff_t darkest = table_.count() - 1;
        for (std::ptrdiff_t i = 0; i < width; ++i)
            chosen[i] = table_.indexOf(darkest - dib::asOffset(found_[i].bin));
        return;
    }
    ranked_.select(found_.get(), width, row, shape_.side(), positions_.get());
    for (std::ptrdiff_t i = 0; i < width; ++i) {
        const auto position = positions_[i];
        spots_[i] = {input_.row(axisY_.at(std::int64_t{y} - radius_ + position.y)),
                     axisX_.at(std::int64_t{x} - radius_ + position.x)};
    }
    input_.reader().readSpots(spots_.get(), chosen, width);
}

template class MedianLargeRadius<std::uint8_t>;
template class MedianLargeRadius<std::uint16_t>;

}  // namespace dib
