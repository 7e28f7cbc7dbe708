// The pixel in the middle of a square neighbourhood's order of brightness.
//
// Of n positions the one with (n + 1) / 2 brighter ones before it is taken, one step darker than the true
// median; among equally bright pixels the one visited earlier counts as brighter. Callers know the filter so.

#include <DibEffect.h>

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <optional>
#include <vector>

#include "effects/BrightSort.h"
#include "effects/EffectFrame.h"
#include "effects/RankAxis.h"
#include "effects/RankHistogram.h"
#include "effects/RankLanes.h"
#include "effects/RankMatch.h"
#include "effects/RankPixels.h"

namespace {

using Spot = dib::RankPixels::Spot;

// Side of the largest square whose positions an int can count; a list of so many could hardly be held anyway.
constexpr std::int64_t kLongestSide = 46340;

// What both ways of ranking share: the image, and rows of brightness.
class BrightnessRows {
public:
    BrightnessRows(const DibStream& image, const dib::WorkingCopy& copy, const dib::Raster& rows)
        : raster(rows),
          // The weights of blue and red in a colour table are exchanged here; this filter has always ranked
          // so.
          pixels(image, rows, {73, 37}, dib::RankPixels::Nibbles::kHighFirst),
          spots(static_cast<std::size_t>(rows.width)),
          copy_(copy),
          values_(spots.size()),
          brightness_(spots.size()) {}

    const unsigned char* source(std::int64_t y) const { return copy_.row(y); }

    // What row y is ranked by. At 1 bit that is the index itself: the filter is a vote there.
    const std::vector<std::int32_t>& read(std::int64_t y) {
        pixels.readRow(source(y), values_.data(), brightness_.data());
        if (raster.bitCount == 1) std::copy(values_.begin(), values_.end(), brightness_.begin());
        return brightness_;
    }

    // Stores the pixels chosen in `spots` as row y of the image.
    void store(int y) {
        pixels.readSpots(spots.data(), values_.data());
        pixels.writeRow(raster.row(y), values_.data());
    }

    const dib::Raster& raster;
    dib::RankPixels pixels;
    std::vector<Spot> spots;

private:
    const dib::WorkingCopy& copy_;
    std::vector<std::uint32_t> values_;
    std::vector<std::int32_t> brightness_;
};

// Brighter pixels before the one taken. A vote at 1 bit is won by half of all positions, rounded up.
std::uint32_t rankOf(int radius, int bitCount) {
    const std::int64_t side = 2 * std::int64_t{radius} + 1;
    return static_cast<std::uint32_t>((side * side + 1) / 2 - (bitCount == 1 ? 1 : 0));
}

// Small squares: every position of many neighbourhoods at once.
class SmallMiddle {
public:
    // Beyond this radius the sliding histogram is faster.
    static constexpr int kLargestRadius = (dib::kLongestRankSide - 1) / 2;

    SmallMiddle(const DibStream& image, const dib::WorkingCopy& copy, const dib::Raster& raster, int radius,
                unsigned int flags)
        : rows_(image, copy, raster),
          radius_(radius),
          side_(2 * radius + 1),
          rank_(static_cast<int>(rankOf(radius, raster.bitCount))),
          axisX_(radius, raster.width, (flags & DIB_WRAP_X) != 0),
          axisY_(radius, raster.height, (flags & DIB_WRAP_Y) != 0),
          slots_(static_cast<std::size_t>(side_)),
          square_(slots_.size()),
          sources_(slots_.size()),
          which_(rows_.spots.size()) {
        for (auto& slot : slots_) slot.resize(2 * slotLength());
    }

    void writeRow(int y) {
        for (int t = y == 0 ? -radius_ : y + radius_; t <= y + radius_; ++t) loadRow(t);
        for (int j = 0; j < side_; ++j) {
            const int t = y - radius_ + j;
            square_[static_cast<std::size_t>(j)] = planesOf(t);
            sources_[static_cast<std::size_t>(j)] = rows_.source(axisY_.at(t));
        }
        dib::rankSquares(square_.data(), side_, rank_, which_.data(), which_.size());
        for (std::size_t x = 0; x < which_.size(); ++x) {
            const int column = static_cast<int>(x) - radius_ + which_[x] % side_;
            const bool inside = column >= 0 && column < rows_.raster.width;
            rows_.spots[x] = {sources_[static_cast<std::size_t>(which_[x] / side_)],
                              inside ? column : axisX_.at(column)};
        }
        rows_.store(y);
    }

private:
    // Columns of a row with its edges, and the lanes that are read past its end.
    std::size_t slotLength() const { return rows_.spots.size() + slots_.size() + dib::kRankLanes; }
    dib::RankPlanes planesOf(int t) {
        std::vector<std::int8_t>& slot = slots_[static_cast<std::size_t>((t + side_) % side_)];
        return {slot.data(), slot.data() + slotLength()};
    }

    // Position t of the vertical axis, with its edges resolved.
    void loadRow(int t) {
        const std::vector<std::int32_t>& brightness = rows_.read(axisY_.at(t));
        const int width = rows_.raster.width;
        const dib::RankPlanes planes = planesOf(t);
        const auto put = [&](int x) {
            planes.put(x + radius_, brightness[static_cast<std::size_t>(axisX_.at(x))]);
        };
        for (int x = -radius_; x < 0; ++x) put(x);
        for (int x = 0; x < width; ++x) planes.put(x + radius_, brightness[static_cast<std::size_t>(x)]);
        for (int x = width; x < width + radius_; ++x) put(x);
    }

    BrightnessRows rows_;
    int radius_;
    int side_;
    int rank_;
    dib::RankAxis axisX_;
    dib::RankAxis axisY_;
    std::vector<std::vector<std::int8_t>> slots_;
    std::vector<dib::RankPlanes> square_;
    std::vector<const unsigned char*> sources_;
    std::vector<std::uint16_t> which_;
};

// Any radius: a histogram that slides over the rows in serpentines finds the class of brightness; the few
// pixels of that class are then ranked among themselves.
class SlidingMiddle {
public:
    SlidingMiddle(const DibStream& image, const dib::WorkingCopy& copy, const dib::Raster& raster, int radius,
                  unsigned int flags)
        : rows_(image, copy, raster),
          radius_(radius),
          axisX_(radius, raster.width, (flags & DIB_WRAP_X) != 0),
          axisY_(radius, raster.height, (flags & DIB_WRAP_Y) != 0),
          wrapX_((flags & DIB_WRAP_X) != 0),
          wrapY_((flags & DIB_WRAP_Y) != 0),
          slots_(
              static_cast<std::size_t>(std::min<std::int64_t>(2 * std::int64_t{radius} + 1, raster.height))),
          loaded_(slots_.size(), -1),
          rank_(rankOf(radius, raster.bitCount)) {
        // A wrapped row is laid out twice, so that every neighbourhood is one run of it.
        const std::size_t length = rows_.spots.size() * (wrapX_ ? 2 : 1) + dib::kMatchReach;
        for (auto& slot : slots_) slot.assign(length, 0);
        runs_.reserve(slots_.size());
    }

    void writeRow(int y) {
        const int last = rows_.raster.width - 1;
        const bool rightwards = y % 2 == 0;
        const int start = rightwards ? 0 : last;
        enterRow(y, start);
        for (int x = start;; x += rightwards ? 1 : -1) {
            choose(x);
            if (x == last - start) break;
            const std::int64_t out = rightwards ? x - radius_ : x + radius_;
            const std::int64_t in = rightwards ? x + 1 + radius_ : x - 1 - radius_;
            histogram_.slide(runs_.data(), runs_.size(), axisX_.at(out), axisX_.at(in));
        }
        rows_.store(y);
    }

private:
    using Slot = std::vector<std::uint16_t>;

    // Moves the neighbourhood down to row y, at column x.
    void enterRow(int y, int x) {
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
    const Slot& load(std::int64_t t) {
        const std::int64_t slots = static_cast<std::int64_t>(slots_.size());
        const std::int64_t row = axisY_.at(t);
        const std::int64_t place = wrapY_ ? t : row;
        const auto at = static_cast<std::size_t>((place % slots + slots) % slots);
        if (loaded_[at] != row) {
            const std::size_t width = rows_.spots.size();
            const std::vector<std::int32_t>& brightness = rows_.read(row);
            std::transform(brightness.begin(), brightness.end(), slots_[at].begin(),
                           [](std::int32_t b) { return static_cast<std::uint16_t>(b); });
            if (wrapX_)
                std::copy_n(slots_[at].begin(), width,
                            slots_[at].begin() + static_cast<std::ptrdiff_t>(width));
            loaded_[at] = row;
        }
        return slots_[at];
    }

    // Adds the part of one row that is around column x, `times` over.
    void count(int x, const Slot& slot, std::int32_t times) {
        const std::uint16_t* first = slot.data() + axisX_.first(x);
        for (std::int64_t i = 0; i < axisX_.count(x); ++i) {
            histogram_.add(first[i], axisX_.visits(x, i) * static_cast<std::uint32_t>(times));
        }
    }

    // Finds the pixel for column x.
    void choose(int x) {
        const dib::RankHistogram::Place place = histogram_.find(rank_);
        const bool plain =
            axisX_.visitsOnce(x) && runs_.size() == static_cast<std::size_t>(2 * std::int64_t{radius_} + 1);
        rows_.spots[static_cast<std::size_t>(x)] =
            plain && place.inClass <= kShortList ? rankShortList(x, place) : rankLevels(x, place, plain);
    }

    // Calls visit(row, i) for the pixels of a class around column x, in order, until it returns false.
    template <class Visit>
    void eachOfClass(int x, std::uint32_t brightnessClass, const Visit& visit) const {
        const std::int64_t first = axisX_.first(x);
        const std::int64_t length = axisX_.count(x);
        for (const dib::RankRowRun& row : runs_) {
            for (std::int64_t at = 0; at < length; at += dib::kMatchReach) {
                const std::int64_t reach = std::min<std::int64_t>(length - at, dib::kMatchReach);
                std::uint32_t matches = dib::matchClass(row.brightness + first + at, brightnessClass) &
                                        ((std::uint32_t{1} << reach) - 1);
                for (; matches != 0; matches &= matches - 1) {
                    if (!visit(row, at + std::countr_zero(matches))) return;
                }
            }
        }
    }

    Spot spotAt(int x, const dib::RankRowRun& row, std::int64_t i) const {
        return {row.pixels, axisX_.at(axisX_.first(x) + i)};
    }

    // A class with few pixels, each visited once.
    Spot rankShortList(int x, const dib::RankHistogram::Place& place) const {
        std::array<dib::bmidinfo, kShortList> entries;
        std::array<Spot, kShortList> spots;
        std::uint32_t found = 0;
        eachOfClass(x, place.brightnessClass, [&](const dib::RankRowRun& row, std::int64_t i) {
            entries[found] = {found, row.brightness[axisX_.first(x) + i]};
            spots[found++] = spotAt(x, row, i);
            return true;
        });
        return spots[dib::bright_sort(entries.data(), static_cast<int>(found), static_cast<int>(place.rank))
                         ->value];
    }

    // A class with many pixels or repeated visits: first the level, then its visit by number.
    Spot rankLevels(int x, const dib::RankHistogram::Place& place, bool plain) const {
        constexpr std::uint32_t kLevels = 1U << dib::RankHistogram::kClassShift;
        std::array<std::uint32_t, kLevels> visits{};
        eachOfClass(x, place.brightnessClass, [&](const dib::RankRowRun& row, std::int64_t i) {
            visits[row.brightness[axisX_.first(x) + i] % kLevels] += axisX_.visits(x, i) * row.visits;
            return true;
        });
        std::uint32_t level = kLevels - 1;
        std::uint32_t rank = place.rank;
        for (; visits[level] <= rank; --level) rank -= visits[level];
        const auto brightness = static_cast<std::uint16_t>(place.brightnessClass * kLevels + level);
        if (!plain) return nthVisit(x, brightness, rank);
        Spot spot{};
        eachOfClass(x, place.brightnessClass, [&](const dib::RankRowRun& row, std::int64_t i) {
            if (row.brightness[axisX_.first(x) + i] != brightness || rank-- > 0) return true;
            spot = spotAt(x, row, i);
            return false;
        });
        return spot;
    }

    // The pixel of visit number `rank` among the visits to pixels of that brightness.
    Spot nthVisit(int x, std::uint16_t brightness, std::uint32_t rank) const {
        const auto visitsInRow = [&](const dib::RankRowRun& row) {
            std::uint32_t visits = 0;
            for (std::int64_t i = 0; i < axisX_.count(x); ++i) {
                if (row.brightness[axisX_.first(x) + i] == brightness) visits += axisX_.visits(x, i);
            }
            return visits;
        };
        const bool rounds = axisY_.comesRound();
        if (rounds) {
            std::uint32_t visitsPerRound = 0;
            for (const dib::RankRowRun& row : runs_) visitsPerRound += visitsInRow(row);
            rank %= visitsPerRound;
        }
        for (const dib::RankRowRun& row : runs_) {
            const std::uint32_t inRow = visitsInRow(row);
            const std::uint32_t visits = inRow * (rounds ? 1 : row.visits);
            if (rank < visits) return nthVisitInRow(x, row, brightness, rank % inRow);
            rank -= visits;
        }
        return spotAt(x, runs_.back(), 0);
    }

    Spot nthVisitInRow(int x, const dib::RankRowRun& row, std::uint16_t brightness,
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

    static constexpr std::uint32_t kShortList = 16;

    BrightnessRows rows_;
    std::int64_t radius_;
    dib::RankAxis axisX_;
    dib::RankAxis axisY_;
    bool wrapX_;
    bool wrapY_;
    std::vector<Slot> slots_;
    std::vector<std::int64_t> loaded_;  // the row in each slot
    std::uint32_t rank_;
    std::vector<dib::RankRowRun> runs_;
    dib::RankHistogram histogram_;
};

template <class Filter, class... Arguments>
bool runMiddle(const dib::Progress& progress, DibStream& image, const dib::Raster& raster,
               Arguments... arguments) {
    const dib::WorkingCopy copy(image);
    if (!copy.ready()) return false;
    std::optional<Filter> filter;
    try {
        filter.emplace(image, copy, raster, arguments...);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return dib::forEachRow(progress, raster.height, [&](int y) { filter->writeRow(y); });
}

}  // namespace

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, int radius,
                           unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    dib::Raster raster;
    if (!dib::admitImage<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
            image, raster)) {
        return false;
    }
    const dib::Progress progress{callback, user};
    if (raster.height < 1 || raster.width < 1) return dib::forEachRow(progress, raster.height, [](int) {});
    if (2 * std::int64_t{radius} + 1 > kLongestSide) return false;
    if (radius <= SmallMiddle::kLargestRadius)
        return runMiddle<SmallMiddle>(progress, *image, raster, radius, flags);
    return runMiddle<SlidingMiddle>(progress, *image, raster, radius, flags);
}

bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, DEBrightInfo* info) {
    return DibEffectBrightMiddle(callback, user, image, info->radius, info->flags);
}
