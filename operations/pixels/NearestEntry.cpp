#include "operations/pixels/NearestEntry.h"

#include <algorithm>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace operations {

namespace {

// The squared distances of a value to the nearest and to the furthest colour of a cell, channel by channel.
struct Reach {
    std::int32_t least[256];
    std::int32_t most[256];
};

DIB_ALWAYS_INLINE void addReach(const std::int32_t* entries, int count, std::int32_t low, std::int32_t high,
                                Reach* reach) {
    for (int k = 0; k < count; ++k) {
        const std::int32_t below = entries[k] - low;
        const std::int32_t above = high - entries[k];
        const std::int32_t least = std::max(std::max(-below, -above), 0);
        const std::int32_t most = std::max(below, above);
        reach->least[k] += least * least;
        reach->most[k] += most * most;
    }
}

}  // namespace

NearestEntry::NearestEntry(std::span<const DibBGRA> palette, int hidden)
    : count_(dib::asInt(palette.size())), cells_(kCells), lists_(1) {
    for (std::size_t k = 0; k < palette.size(); ++k) {
        entries_[0][k] = palette[k].blue;
        entries_[1][k] = palette[k].green;
        entries_[2][k] = palette[k].red;
    }
    constexpr std::int32_t kFarAway = 10000;
    for (auto& channel : entries_) {
        if (hidden >= 0) channel[hidden] = kFarAway;
    }
}

// An entry whose nearest distance is larger than another's furthest is nearest to no colour of the cell.
void NearestEntry::findCandidates(std::size_t cell) {
    Reach reach{};
    for (int channel = 0; channel < 3; ++channel) {
        const auto low = static_cast<std::int32_t>((cell >> (12 - 6 * channel) & 63) << 2);
        const std::int32_t* const entries = entries_[channel];
        dib::runKernel<addReach>(entries, count_, low, low + 3, &reach);
    }
    const std::int32_t limit = *std::min_element(reach.most, reach.most + count_);
    const std::size_t start = lists_.size();
    lists_.push_back(0);
    for (int k = 0; k < count_; ++k) {
        if (reach.least[k] <= limit) lists_.push_back(dib::byteOf(k));
    }
    lists_[start] = dib::byteOf(lists_.size() - start - 2);
    cells_[cell] = dib::dwordOf(start);
}

std::uint8_t NearestEntry::nearestOf(const std::uint8_t* list, std::uint32_t blue, std::uint32_t green,
                                     std::uint32_t red) const {
    const int candidates = list[0] + 1;
    std::int32_t best = INT32_MAX;
    std::uint8_t nearest = 0;
    for (int i = 1; i <= candidates; ++i) {
        const std::uint8_t k = list[i];
        const std::int32_t b = entries_[0][k] - static_cast<std::int32_t>(blue);
        const std::int32_t g = entries_[1][k] - static_cast<std::int32_t>(green);
        const std::int32_t r = entries_[2][k] - static_cast<std::int32_t>(red);
        const std::int32_t distance = b * b + g * g + r * r;
        if (distance >= best) continue;
        best = distance;
        nearest = k;
    }
    return nearest;
}

}  // namespace operations
