// Middle pixels of squares of any size: a histogram that slides over the rows in serpentines finds the
// brightness. Where pixels of that brightness differ, the visits to them are counted off row by row.
#ifndef EFFECTS_SLIDING_MIDDLE_H
#define EFFECTS_SLIDING_MIDDLE_H

#include <cstdint>
#include <vector>

#include "effects/MiddleRows.h"
#include "effects/RankAxis.h"
#include "effects/RankHistogram.h"

namespace dib {

// The pixels seen with each brightness, as far as they do not differ. Where they do, it takes their places to
// tell which of them is meant.
class LevelValues {
public:
    explicit LevelValues(std::size_t levels) : values_(levels), kinds_(levels, Kind::kUnseen) {}

    void note(std::size_t level, std::uint32_t value) {
        Kind& kind = kinds_[level];
        if (kind == Kind::kUnseen) {
            kind = Kind::kOneValue;
            values_[level] = value;
        } else if (values_[level] != value) {
            kind = Kind::kSeveral;
        }
    }
    bool several(std::size_t level) const { return kinds_[level] == Kind::kSeveral; }
    std::uint32_t value(std::size_t level) const { return values_[level]; }

private:
    enum class Kind : std::uint8_t { kUnseen, kOneValue, kSeveral };
    std::vector<std::uint32_t> values_;
    std::vector<Kind> kinds_;
};

class SlidingMiddle {
public:
    // Throws std::bad_alloc.
    SlidingMiddle(const DibStream& image, const FullCopy& copy, const Raster& raster, int radius,
                  unsigned int flags);

    void writeRow(int y);

private:
    using Slot = std::vector<std::uint16_t>;
    using Spot = RankPixels::Spot;

    void enterRow(int y, int x);
    const Slot& load(std::int64_t t);
    void count(int x, const Slot& slot, std::int32_t times);
    std::uint32_t choose(int x);
    Spot rankShortList(int x, const RankHistogram::Place& place) const;
    Spot nthVisit(int x, std::uint16_t brightness, std::uint32_t rank) const;
    Spot nthVisitInRow(int x, const RankRowRun& row, std::uint16_t brightness, std::uint32_t rank) const;
    Spot spotAt(int x, const RankRowRun& row, std::int64_t i) const {
        return {row.pixels, axisX_.at(axisX_.first(x) + i)};
    }

    static constexpr std::uint32_t kShortList = 16;

    MiddleRows rows_;
    std::int64_t radius_;
    RankAxis axisX_;
    RankAxis axisY_;
    bool wrapX_;
    bool wrapY_;
    std::vector<Slot> slots_;
    std::vector<std::int64_t> loaded_;  // the row in each slot
    std::uint32_t rank_;
    std::vector<RankRowRun> runs_;
    RankHistogram histogram_;
    LevelValues values_{kWhiteBrightness + 1};
};

}  // namespace dib

#endif
