// The median above radius 1792, and of squares that lie mostly beyond the edges of a small picture. Smaller
// squares are faster by MedianSmallRadius and MedianLargeRadius, but it works from radius 1 on.
//
// A histogram that slides over the rows, alternately to the right and to the left, gives the brightness. If
// pixels of that brightness differ, the visits to them are counted row by row.
#ifndef EFFECTS_RANK_MEDIAN_HUGE_RADIUS_H
#define EFFECTS_RANK_MEDIAN_HUGE_RADIUS_H

#include <cstdint>

#include "effects/rank/BrightnessHistogram.h"
#include "effects/rank/MedianInput.h"

namespace dib {

// The pixel value seen with each brightness, as long as there is only one.
class LevelValues {
public:
    // Clears all values. False when memory is short.
    bool prepare(std::ptrdiff_t levels) {
        values_ = allocateZeroed<std::uint32_t>(levels);
        kinds_ = allocateZeroed<Kind>(levels);
        return values_ != nullptr && kinds_ != nullptr;
    }
    void note(std::ptrdiff_t level, std::uint32_t value) {
        Kind& kind = kinds_[level];
        if (kind == Kind::kUnseen) {
            kind = Kind::kOneValue;
            values_[level] = value;
        } else if (values_[level] != value) {
            kind = Kind::kSeveral;
        }
    }
    bool several(std::ptrdiff_t level) const { return kinds_[level] == Kind::kSeveral; }
    // The first one.
    std::uint32_t value(std::ptrdiff_t level) const { return values_[level]; }

private:
    enum class Kind : std::uint8_t { kUnseen, kOneValue, kSeveral };
    MallocPtr<std::uint32_t> values_;
    MallocPtr<Kind> kinds_;
};

// A filter of dib::filterImage, for radii up to 23169.
class MedianHugeRadius {
public:
    MedianHugeRadius(int radius, unsigned int flags) : radius_(radius), flags_(flags) {}

    // False also for squares of 2^31 positions and more.
    bool prepare(const FullCopy& source, const Raster& image);

    // Chooses the pixels of row y and stores them.
    void row(unsigned char* out, int y);

private:
    using Spot = BrightnessReader::Spot;

    void enterRow(int y, int x);
    const std::uint16_t* load(std::int64_t t);
    void count(int x, const std::uint16_t* line, std::uint32_t times);
    std::uint32_t choose(int x);
    Spot rankShortList(int x, const BrightnessHistogram::ClassRank& found) const;
    Spot nthVisit(int x, BrightnessHistogram::LevelRank level) const;
    Spot nthVisitInRow(int x, const WindowRow& row, BrightnessHistogram::LevelRank level) const;
    Spot spotAt(int x, const WindowRow& row, std::int64_t i) const {
        return {row.pixels, across_.axis().at(across_.first(x) + i)};
    }

    // Classes of up to so many pixels are sorted.
    static constexpr std::uint32_t kShortList = 16;

    int radius_;
    unsigned int flags_;
    std::uint32_t rank_ = 0;
    MedianInput input_;
    EdgeWindow across_;
    EdgeWindow down_;
    // Lines hold the brightness of a row; a wrapped row twice, so that every window is one run of it.
    std::ptrdiff_t lineCount_ = 0;
    std::ptrdiff_t lineLength_ = 0;
    MallocPtr<std::uint16_t> lines_;
    MallocPtr<int> loaded_;  // the row in each line, or -1
    MallocPtr<WindowRow> window_;
    std::ptrdiff_t windowRows_ = 0;
    BrightnessHistogram histogram_;
    LevelValues values_;
};

}  // namespace dib

#endif
