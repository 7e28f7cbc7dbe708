#include "effects/SmallMiddle.h"

#include <algorithm>
#include <bit>

#include "dib/Kernels.h"

namespace dib {

SmallMiddle::SmallMiddle(const DibStream& image, const FullCopy& copy, const Raster& raster, int radius,
                         unsigned int flags)
    : rows_(image, copy, raster),
      radius_(radius),
      side_(2 * radius + 1),
      rank_(static_cast<int>(middleRank(radius, raster.bitCount))),
      axisX_(radius, raster.width, (flags & DIB_WRAP_X) != 0),
      axisY_(radius, raster.height, (flags & DIB_WRAP_Y) != 0),
      slots_(static_cast<std::size_t>(side_)),
      square_(slots_.size()),
      sources_(slots_.size()),
      which_(rows_.chosen.size()),
      spots_(rows_.chosen.size()),
      byKeys_(raster.bitCount <= 8),
      keys_(rows_.chosen.size()),
      keySquare_(slots_.size()) {
    for (auto& slot : slots_) slot.resize(2 * slotLength());
    if (byKeys_) listKeys();
}

// At 1 bit the indices themselves are ranked.
void SmallMiddle::listKeys() {
    const std::uint32_t indices = 1U << rows_.raster.bitCount;
    const auto rankedBy = [&](std::uint32_t index) {
        return rows_.raster.bitCount == 1 ? static_cast<std::int32_t>(index)
                                          : rows_.pixels.tableBrightness(index);
    };
    std::vector<std::int32_t> levels;
    for (std::uint32_t index = 0; index < indices; ++index) levels.push_back(rankedBy(index));
    std::sort(levels.begin(), levels.end());
    levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
    for (std::uint32_t index = 0; index < indices; ++index) {
        const auto place = std::lower_bound(levels.begin(), levels.end(), rankedBy(index));
        keyOfIndex_[index] = static_cast<std::uint8_t>(place - levels.begin());
    }
    keyBits_ = static_cast<int>(std::bit_width(levels.size() - 1));
}

void SmallMiddle::writeRow(int y) {
    for (int t = y == 0 ? -radius_ : y + radius_; t <= y + radius_; ++t) {
        if (byKeys_) {
            loadKeys(t);
        } else {
            loadRow(t);
        }
    }
    for (int j = 0; j < side_; ++j) {
        const auto at = static_cast<std::size_t>(j);
        const int t = y - radius_ + j;
        square_[at] = planesOf(t);
        keySquare_[at] = square_[at].high;
        sources_[at] = rows_.source(axisY_.at(t));
    }
    if (byKeys_) {
        chooseByKeys();
    } else {
        rankSquares(square_.data(), side_, rank_, which_.data(), which_.size());
        takePlaces(0, which_.size());
    }
    rows_.store(y);
}

void SmallMiddle::chooseByKeys() {
    rankKeys(keySquare_.data(), side_, rank_, keyBits_, keys_.data(), keys_.size());
    const auto keyOf = [&](std::size_t x) { return static_cast<std::size_t>(keys_[x] + 128); };
    for (std::size_t start = 0; start < keys_.size(); start += kRankLanes) {
        const std::size_t end = std::min(start + kRankLanes, keys_.size());
        bool needsPlaces = false;
        for (std::size_t x = start; x < end; ++x) {
            rows_.chosen[x] = indexOfKey_[keyOf(x)];
            needsPlaces |= severalIndices_[keyOf(x)];
        }
        if (!needsPlaces) continue;
        placesOfKeys(keySquare_.data(), side_, rank_, keys_.data(), which_.data(), start, end - start);
        takePlaces(start, end);
    }
}

// The pixels at the places which_ of the squares around columns `start` to `end`.
void SmallMiddle::takePlaces(std::size_t start, std::size_t end) {
    for (std::size_t x = start; x < end; ++x) {
        const int column = static_cast<int>(x) - radius_ + which_[x] % side_;
        const bool inside = column >= 0 && column < rows_.raster.width;
        spots_[x] = {sources_[static_cast<std::size_t>(which_[x] / side_)],
                     inside ? column : axisX_.at(column)};
    }
    rows_.pixels.readSpots(spots_.data() + start, rows_.chosen.data() + start, end - start);
}

namespace {

// Calls put(column, source) for the columns of a row with its edges.
template <class Put>
DIB_ALWAYS_INLINE void eachColumn(const RankAxis& axis, int radius, int width, const Put& put) {
    for (int x = -radius; x < 0; ++x) put(x + radius, static_cast<std::size_t>(axis.at(x)));
    for (int x = 0; x < width; ++x) put(x + radius, static_cast<std::size_t>(x));
    for (int x = width; x < width + radius; ++x) put(x + radius, static_cast<std::size_t>(axis.at(x)));
}

}  // namespace

// Position t of the vertical axis, with its edges resolved.
void SmallMiddle::loadRow(int t) {
    const std::vector<std::int32_t>& brightness = rows_.read(axisY_.at(t));
    const RankPlanes planes = planesOf(t);
    eachColumn(axisX_, radius_, rows_.raster.width,
               [&](int column, std::size_t from) { planes.put(column, brightness[from]); });
}

// The same by keys.
void SmallMiddle::loadKeys(int t) {
    const std::vector<std::uint32_t>& values = rows_.readValues(axisY_.at(t));
    const RankPlanes planes = planesOf(t);
    for (const std::uint32_t index : values) seen_[index] = true;
    eachColumn(axisX_, radius_, rows_.raster.width,
               [&](int column, std::size_t from) { planes.putHigh(column, keyOfIndex_[values[from]]); });
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
