#include "effects/rank/MedianHugeRadius.h"

#include <algorithm>
#include <array>
#include <bit>

#include "dib/Kernels.h"
#include "effects/rank/BrightSort.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

// Side of the largest square whose positions an int can count; a list of them would hardly fit into memory.
constexpr std::int64_t kLongestSide = 46340;

// Pixels that matchClass compares at a time.
constexpr int kMatchLanes = 16;

// Bit i is set when brightness[i] is of the class, for i = 0 to kMatchLanes - 1. All of these must be
// readable.
std::uint32_t matchClass(const std::uint16_t* brightness, std::uint32_t brightnessClass) {
    constexpr int kShift = BrightnessHistogram::kClassShift;
#if defined(__SSE2__)
    // Compilers do not turn the loop below into compare and move-mask, and the filter spends its time here.
    const __m128i wanted = _mm_set1_epi16(static_cast<short>(brightnessClass));
    const auto* at = reinterpret_cast<const __m128i*>(brightness);
    const __m128i low = _mm_srli_epi16(_mm_loadu_si128(at), kShift);
    const __m128i high = _mm_srli_epi16(_mm_loadu_si128(at + 1), kShift);
    const __m128i equal = _mm_packs_epi16(_mm_cmpeq_epi16(low, wanted), _mm_cmpeq_epi16(high, wanted));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(equal));
#else
    std::uint32_t matches = 0;
    for (int i = 0; i < kMatchLanes; ++i) {
        matches |= std::uint32_t{(brightness[i] >> kShift) == brightnessClass} << i;
    }
    return matches;
#endif
}

}  // namespace

bool MedianHugeRadius::prepare(const FullCopy& source, const Raster& image) {
    if (image.width == 0) return true;
    across_ = EdgeWindow(axisX(image, flags_), radius_);
    down_ = EdgeWindow(axisY(image, flags_), radius_);
    if (down_.side() > kLongestSide) return false;
    rank_ = medianRank(radius_, image.bitCount);
    lineCount_ = static_cast<std::ptrdiff_t>(std::min<std::int64_t>(down_.side(), image.height));
    const std::int64_t lineLength = std::int64_t{image.width} * (across_.axis().wrap ? 2 : 1) + kMatchLanes;
    lineLength_ = static_cast<std::ptrdiff_t>(lineLength);
    lines_ = allocateZeroed<std::uint16_t>(lineCount_ * lineLength);
    loaded_ = allocateArray<int>(lineCount_);
    window_ = allocateArray<WindowRow>(lineCount_);
    if (!lines_ || !loaded_ || !window_) return false;
    std::fill_n(loaded_.get(), lineCount_, -1);
    return input_.prepare(source, image) && histogram_.prepare() && values_.prepare(kWhiteBrightness + 1);
}

void MedianHugeRadius::row(unsigned char* out, int y) {
    const EdgeAxis axis = across_.axis();
    if (axis.size == 0) return;
    const int last = axis.size - 1;
    const bool rightwards = y % 2 == 0;
    const int start = rightwards ? 0 : last;
    enterRow(y, start);
    for (int x = start;; x += rightwards ? 1 : -1) {
        input_.chosen()[x] = choose(x);
        if (x == last - start) break;
        const std::int64_t left = std::int64_t{x} - radius_;
        const std::int64_t right = std::int64_t{x} + radius_;
        const int leaving = axis.at(rightwards ? left : right);
        const int entering = axis.at(rightwards ? right + 1 : left - 1);
        histogram_.slide(window_.get(), windowRows_, leaving, entering);
    }
    input_.writeChosen(out);
}

// Moves the window down to row y, at column x.
void MedianHugeRadius::enterRow(int y, int x) {
    const std::int64_t top = std::int64_t{y} - radius_;
    const auto rowsAround = down_.count(y);
    const auto position = [&](std::ptrdiff_t i) { return (down_.axis().wrap ? top : down_.first(y)) + i; };
    if (y == 0) {
        for (std::ptrdiff_t i = 0; i < rowsAround; ++i) {
            count(x, load(position(i)), down_.visits(0, i));
        }
    } else {
        count(x, load(top - 1), ~0U);
        count(x, load(std::int64_t{y} + radius_), 1);
    }
    windowRows_ = rowsAround;
    for (std::ptrdiff_t i = 0; i < rowsAround; ++i) {
        const std::int64_t t = position(i);
        window_[i] = {load(t), input_.row(down_.axis().at(t)), down_.visits(y, i)};
    }
}

// The line of the row that position t of the y axis reads. The rows of one window never share a line: they
// follow each other, and there are as many lines.
const std::uint16_t* MedianHugeRadius::load(std::int64_t t) {
    const int row = down_.axis().at(t);
    const EdgeAxis ring{static_cast<int>(lineCount_), true};
    const auto at = ring.at(down_.axis().wrap ? t : row);
    std::uint16_t* const line = lines_.get() + at * lineLength_;
    if (loaded_[at] == row) return line;
    const std::int32_t* brightness = input_.readBrightness(row);
    const std::uint32_t* values = input_.values();
    for (std::ptrdiff_t x = 0; x < input_.width(); ++x) {
        line[x] = static_cast<std::uint16_t>(brightness[x]);
        values_.note(line[x], values[x]);
    }
    if (across_.axis().wrap) across_.axis().pad(line, 0, across_.axis().size);
    loaded_[at] = row;
    return line;
}

// Adds the part of a row that is around column x, `times` over; ~0 times removes it once.
void MedianHugeRadius::count(int x, const std::uint16_t* line, std::uint32_t times) {
    const std::uint16_t* first = line + across_.first(x);
    for (std::int64_t i = 0; i < across_.count(x); ++i) {
        histogram_.add(first[i], across_.visits(x, i) * times);
    }
}

// The pixel for column x.
std::uint32_t MedianHugeRadius::choose(int x) {
    const BrightnessHistogram::ClassRank found = histogram_.find(rank_);
    const bool noneTwice = across_.visitsOnce(x) && windowRows_ == down_.side();
    Spot spot{};
    if (noneTwice && found.inClass <= kShortList) {
        spot = rankShortList(x, found);
    } else {
        const BrightnessHistogram::LevelRank level = histogram_.findLevel(found);
        if (!values_.several(level.brightness)) return values_.value(level.brightness);
        spot = nthVisit(x, level);
    }
    std::uint32_t value = 0;
    input_.reader().readSpots(&spot, &value, 1);
    return value;
}

// Sorts a class of few pixels, each of which is visited once.
MedianHugeRadius::Spot MedianHugeRadius::rankShortList(int x,
                                                       const BrightnessHistogram::ClassRank& found) const {
    std::array<bmidinfo, kShortList> entries;
    std::array<Spot, kShortList> spots;
    std::uint32_t count = 0;
    const std::int64_t first = across_.first(x);
    const std::int64_t length = across_.count(x);
    for (const WindowRow* row = window_.get(); row != window_.get() + windowRows_; ++row) {
        for (std::int64_t at = 0; at < length; at += kMatchLanes) {
            const std::int64_t lanes = std::min<std::int64_t>(length - at, kMatchLanes);
            std::uint32_t matches = matchClass(row->brightness + first + at, found.brightnessClass) &
                                    ((std::uint32_t{1} << lanes) - 1);
            for (; matches != 0; matches &= matches - 1) {
                const std::int64_t i = at + std::countr_zero(matches);
                entries[count] = {count, row->brightness[first + i]};
                spots[count++] = spotAt(x, *row, i);
            }
        }
    }
    return spots[bright_sort(entries.data(), static_cast<int>(count), static_cast<int>(found.rank))->value];
}

namespace {

// How the pixels of a row of the window are visited.
struct RowVisits {
    std::ptrdiff_t length;      // pixels
    std::ptrdiff_t remainder;   // the first of them, visited once more than the others
    std::uint32_t turns;        // visits of the others
    std::uint32_t moreOfFirst;  // further visits at clamped edges
    std::uint32_t moreOfLast;
};

RowVisits visitsAround(const EdgeWindow& window, int x) {
    const std::ptrdiff_t length = window.count(x);
    if (window.axis().wrap)
        return {length, static_cast<std::ptrdiff_t>(window.remainder()), window.turns(), 0, 0};
    const std::uint32_t moreOfLast = length > 1 ? window.visits(x, length - 1) - 1 : 0;
    return {length, 0, 1, window.visits(x, 0) - 1, moreOfLast};
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
    std::ptrdiff_t row;
    std::uint32_t rank;   // of the visit, counted from the first in this row
    std::uint32_t inRow;  // visits each time the row is visited
};

// The row of visit number `level.rank` to the pixels of a brightness. With `rounds`, the window visits all
// its rows in turns, and this counts one turn.
DIB_ALWAYS_INLINE RowOfVisit findRow(const WindowRow* rows, std::ptrdiff_t count, std::ptrdiff_t first,
                                     RowVisits visits, BrightnessHistogram::LevelRank level, bool rounds) {
    std::uint32_t rank = level.rank;
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const std::uint16_t* row = rows[j].brightness + first;
        std::uint32_t inRow = countEqual(row, visits.remainder, level.brightness);
        if (visits.turns != 0) inRow += visits.turns * countEqual(row, visits.length, level.brightness);
        if (row[0] == level.brightness) inRow += visits.moreOfFirst;
        if (row[visits.length - 1] == level.brightness) inRow += visits.moreOfLast;
        const std::uint32_t inRows = inRow * (rounds ? 1 : rows[j].visits);
        if (rank < inRows) return {j, rank, inRow};
        rank -= inRows;
    }
    return {count, rank, 0};
}

}  // namespace

// The pixel of visit number `level.rank` to pixels of that brightness.
MedianHugeRadius::Spot MedianHugeRadius::nthVisit(int x, BrightnessHistogram::LevelRank level) const {
    const auto find = [&](std::uint32_t rank) {
        return runKernel<findRow>(window_.get(), windowRows_, std::ptrdiff_t{across_.first(x)},
                                  visitsAround(across_, x),
                                  BrightnessHistogram::LevelRank{level.brightness, rank}, down_.repeats());
    };
    RowOfVisit found = find(level.rank);
    if (found.row == windowRows_) {
        // The visit is in a later turn, and turns repeat.
        const std::uint32_t visitsPerTurn = level.rank - found.rank;
        found = find(level.rank % std::max(visitsPerTurn, 1U));
    }
    return nthVisitInRow(x, window_[found.row], {level.brightness, found.rank % found.inRow});
}

MedianHugeRadius::Spot MedianHugeRadius::nthVisitInRow(int x, const WindowRow& row,
                                                       BrightnessHistogram::LevelRank level) const {
    const std::uint16_t* first = row.brightness + across_.first(x);
    const bool turns = across_.repeats();
    std::uint32_t rank = level.rank;
    if (turns)
        rank %= static_cast<std::uint32_t>(std::count(first, first + across_.count(x), level.brightness));
    std::int64_t i = 0;
    for (;; ++i) {
        if (first[i] != level.brightness) continue;
        const std::uint32_t visits = turns ? 1 : across_.visits(x, i);
        if (rank < visits) break;
        rank -= visits;
    }
    return spotAt(x, row, i);
}

}  // namespace dib
