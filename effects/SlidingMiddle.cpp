#include "effects/SlidingMiddle.h"

#include <algorithm>
#include <array>
#include <bit>

#include "dib/Kernels.h"
#include "effects/BrightSort.h"
#include "effects/RankMatch.h"

namespace dib {

SlidingMiddle::SlidingMiddle(const DibStream& image, const FullCopy& copy, const Raster& raster, int radius,
                             unsigned int flags)
    : rows_(image, copy, raster),
      radius_(radius),
      axisX_(radius, raster.width, (flags & DIB_WRAP_X) != 0),
      axisY_(radius, raster.height, (flags & DIB_WRAP_Y) != 0),
      wrapX_((flags & DIB_WRAP_X) != 0),
      wrapY_((flags & DIB_WRAP_Y) != 0),
      slots_(static_cast<std::size_t>(std::min<std::int64_t>(2 * std::int64_t{radius} + 1, raster.height))),
      loaded_(slots_.size(), -1),
      rank_(middleRank(radius, raster.bitCount)) {
    // A wrapped row is laid out twice, so that every neighbourhood is one run of it.
    const std::size_t length = rows_.chosen.size() * (wrapX_ ? 2 : 1) + kMatchReach;
    for (auto& slot : slots_) slot.assign(length, 0);
    runs_.reserve(slots_.size());
}

void SlidingMiddle::writeRow(int y) {
    const int last = rows_.raster.width - 1;
    const bool rightwards = y % 2 == 0;
    const int start = rightwards ? 0 : last;
    enterRow(y, start);
    for (int x = start;; x += rightwards ? 1 : -1) {
        rows_.chosen[static_cast<std::size_t>(x)] = choose(x);
        if (x == last - start) break;
        const std::int64_t out = rightwards ? x - radius_ : x + radius_;
        const std::int64_t in = rightwards ? x + 1 + radius_ : x - 1 - radius_;
        histogram_.slide(runs_.data(), runs_.size(), axisX_.at(out), axisX_.at(in));
    }
    rows_.store(y);
}

// Moves the neighbourhood down to row y, at column x.
void SlidingMiddle::enterRow(int y, int x) {
    if (y == 0) {
        for (std::int64_t i = 0; i < axisY_.count(0); ++i) {
            const std::int64_t t = wrapY_ ? i - radius_ : i;
            count(x, load(t), static_cast<std::int32_t>(axisY_.visits(0, i)));
        }
    } else {
        count(x, load(y - 1 - radius_), -1);
        count(x, load(y + radius_), 1);
    }
    runs_.clear();
    for (std::int64_t i = 0; i < axisY_.count(y); ++i) {
        const std::int64_t t = wrapY_ ? y - radius_ + i : axisY_.first(y) + i;
        runs_.push_back({load(t).data(), rows_.source(axisY_.at(t)), axisY_.visits(y, i)});
    }
}

// The row that position t of the vertical axis comes to. Rows that are in the neighbourhood together
// never share a slot: they follow each other, and there are as many slots.
const SlidingMiddle::Slot& SlidingMiddle::load(std::int64_t t) {
    const std::int64_t slots = static_cast<std::int64_t>(slots_.size());
    const std::int64_t row = axisY_.at(t);
    const std::int64_t place = wrapY_ ? t : row;
    const auto at = static_cast<std::size_t>((place % slots + slots) % slots);
    if (loaded_[at] == row) return slots_[at];
    Slot& slot = slots_[at];
    const std::vector<std::int32_t>& brightness = rows_.read(row);
    const std::vector<std::uint32_t>& values = rows_.values();
    for (std::size_t x = 0; x < brightness.size(); ++x) {
        slot[x] = static_cast<std::uint16_t>(brightness[x]);
        values_.note(slot[x], values[x]);
    }
    if (wrapX_)
        std::copy_n(slot.begin(), values.size(), slot.begin() + static_cast<std::ptrdiff_t>(values.size()));
    loaded_[at] = row;
    return slot;
}

// Adds the part of one row that is around column x, `times` over.
void SlidingMiddle::count(int x, const Slot& slot, std::int32_t times) {
    const std::uint16_t* first = slot.data() + axisX_.first(x);
    for (std::int64_t i = 0; i < axisX_.count(x); ++i) {
        histogram_.add(first[i], axisX_.visits(x, i) * static_cast<std::uint32_t>(times));
    }
}

// The pixel for column x.
std::uint32_t SlidingMiddle::choose(int x) {
    const RankHistogram::Place place = histogram_.find(rank_);
    const bool plain = axisX_.visitsOnce(x) && runs_.size() == static_cast<std::size_t>(2 * radius_ + 1);
    Spot spot{};
    if (plain && place.inClass <= kShortList) {
        spot = rankShortList(x, place);
    } else {
        const RankHistogram::Level level = histogram_.findLevel(place);
        if (!values_.several(level.brightness)) return values_.value(level.brightness);
        spot = nthVisit(x, level.brightness, level.rank);
    }
    std::uint32_t value = 0;
    rows_.pixels.readSpots(&spot, &value, 1);
    return value;
}

// A class with few pixels, each visited once.
SlidingMiddle::Spot SlidingMiddle::rankShortList(int x, const RankHistogram::Place& place) const {
    std::array<bmidinfo, kShortList> entries;
    std::array<Spot, kShortList> spots;
    std::uint32_t found = 0;
    const std::int64_t first = axisX_.first(x);
    const std::int64_t length = axisX_.count(x);
    for (const RankRowRun& row : runs_) {
        for (std::int64_t at = 0; at < length; at += kMatchReach) {
            const std::int64_t reach = std::min<std::int64_t>(length - at, kMatchReach);
            std::uint32_t matches = matchClass(row.brightness + first + at, place.brightnessClass) &
                                    ((std::uint32_t{1} << reach) - 1);
            for (; matches != 0; matches &= matches - 1) {
                const std::int64_t i = at + std::countr_zero(matches);
                entries[found] = {found, row.brightness[first + i]};
                spots[found++] = spotAt(x, row, i);
            }
        }
    }
    return spots[bright_sort(entries.data(), static_cast<int>(found), static_cast<int>(place.rank))->value];
}

namespace {

// How the visits to one brightness in a row are counted.
struct RowVisits {
    std::ptrdiff_t length;     // pixels visited
    std::ptrdiff_t remainder;  // of them, how many once more than the others
    std::uint32_t times;
    std::uint32_t moreOfFirst;  // further visits at clamped ends
    std::uint32_t moreOfLast;
};

RowVisits visitsAround(const RankAxis& axis, int x) {
    const std::ptrdiff_t length = axis.count(x);
    if (axis.wraps()) return {length, axis.remainder(), axis.rounds(), 0, 0};
    const std::uint32_t moreOfLast = length > 1 ? axis.visits(x, length - 1) - 1 : 0;
    return {length, 0, 1, axis.visits(x, 0) - 1, moreOfLast};
}

DIB_ALWAYS_INLINE std::uint32_t countEqual(const std::uint16_t* from, std::ptrdiff_t count,
                                           std::uint16_t brightness) {
    constexpr std::ptrdiff_t kBlock = 16384;
    std::uint32_t total = 0;
    for (std::ptrdiff_t start = 0; start < count; start += kBlock) {
        const std::ptrdiff_t end = count - start < kBlock ? count : start + kBlock;
        std::uint16_t equal = 0;
        for (std::ptrdiff_t i = start; i < end; ++i)
            equal = static_cast<std::uint16_t>(equal + (from[i] == brightness));
        total += equal;
    }
    return total;
}

struct RowOfVisit {
    std::size_t row;
    std::uint32_t rank;   // of the visits from this row on
    std::uint32_t inRow;  // visits each time the row is visited
};

// The row of visit number `rank` to a brightness. Rows that come round count once here.
DIB_ALWAYS_INLINE RowOfVisit findRow(const RankRowRun* runs, std::size_t count, std::ptrdiff_t first,
                                     RowVisits visits, std::uint16_t brightness, std::uint32_t rank,
                                     bool rounds) {
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint16_t* row = runs[j].brightness + first;
        std::uint32_t inRow = countEqual(row, visits.remainder, brightness);
        if (visits.times != 0) inRow += visits.times * countEqual(row, visits.length, brightness);
        if (row[0] == brightness) inRow += visits.moreOfFirst;
        if (row[visits.length - 1] == brightness) inRow += visits.moreOfLast;
        const std::uint32_t inRows = inRow * (rounds ? 1 : runs[j].visits);
        if (rank < inRows) return {j, rank, inRow};
        rank -= inRows;
    }
    return {count, rank, 0};
}

}  // namespace

// The pixel of visit number `rank` among the visits to pixels of that brightness.
SlidingMiddle::Spot SlidingMiddle::nthVisit(int x, std::uint16_t brightness, std::uint32_t rank) const {
    const auto find = [&](std::uint32_t visit) {
        return runKernel<findRow>(runs_.data(), runs_.size(), static_cast<std::ptrdiff_t>(axisX_.first(x)),
                                  visitsAround(axisX_, x), brightness, visit, axisY_.comesRound());
    };
    RowOfVisit found = find(rank);
    if (found.row == runs_.size()) {
        // What is left over after all rows of a round, the next rounds repeat.
        const std::uint32_t visitsPerRound = rank - found.rank;
        found = find(rank % std::max(visitsPerRound, 1U));
    }
    const RankRowRun& row = runs_[found.row];
    return nthVisitInRow(x, row, brightness, found.rank % found.inRow);
}

SlidingMiddle::Spot SlidingMiddle::nthVisitInRow(int x, const RankRowRun& row, std::uint16_t brightness,
                                                 std::uint32_t rank) const {
    const std::uint16_t* first = row.brightness + axisX_.first(x);
    const std::int64_t length = axisX_.count(x);
    const bool rounds = axisX_.comesRound();
    if (rounds) rank %= static_cast<std::uint32_t>(std::count(first, first + length, brightness));
    std::int64_t i = 0;
    for (;; ++i) {
        if (first[i] != brightness) continue;
        const std::uint32_t visits = rounds ? 1 : axisX_.visits(x, i);
        if (rank < visits) break;
        rank -= visits;
    }
    return spotAt(x, row, i);
}

}  // namespace dib
