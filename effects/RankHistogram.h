// Counts of brightness in a sliding neighbourhood, and where a rank lies in them.
#ifndef EFFECTS_RANK_HISTOGRAM_H
#define EFFECTS_RANK_HISTOGRAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace dib {

// A row of a neighbourhood: the brightness of its pixels and how often the neighbourhood visits the row.
struct RankRowRun {
    const std::uint16_t* brightness;
    const unsigned char* pixels;
    std::uint32_t visits;
};

// Brightness is counted by levels and by classes of 64 levels: wide enough for the wanted class to be near the
// last one, narrow enough for few pixels of a neighbourhood to share it.
class RankHistogram {
public:
    // Throws std::bad_alloc.
    RankHistogram() : levels_(std::size_t{kClasses} << kClassShift) {}

    static constexpr int kClassShift = 6;
    static constexpr std::uint32_t kClasses = (65280 >> kClassShift) + 1;

    void add(std::uint16_t brightness, std::uint32_t count) {
        const std::uint32_t at = brightness >> kClassShift;
        levels_[brightness] += count;
        counts_[at] += count;
        if (at > current_) above_ += count;
    }

    // Moves the neighbourhood sideways: column `out` of each row leaves and column `in` enters.
    void slide(const RankRowRun* rows, std::size_t rowCount, std::ptrdiff_t out, std::ptrdiff_t in) {
        // In locals, which stores to the counts cannot change.
        std::uint32_t above = above_;
        const std::uint32_t current = current_;
        for (const RankRowRun* row = rows; row != rows + rowCount; ++row) {
            const std::uint32_t visits = row->visits;
            if (row->brightness[out] == row->brightness[in]) continue;
            levels_[row->brightness[out]] -= visits;
            levels_[row->brightness[in]] += visits;
            const std::uint32_t leaving = row->brightness[out] >> kClassShift;
            const std::uint32_t entering = row->brightness[in] >> kClassShift;
            if (leaving == entering) continue;
            counts_[leaving] -= visits;
            counts_[entering] += visits;
            above += (entering > current ? visits : 0) - (leaving > current ? visits : 0);
        }
        above_ = above;
    }

    struct Place {
        std::uint32_t brightnessClass;
        std::uint32_t rank;     // within the class, the brightest is 0
        std::uint32_t inClass;  // pixels of the class
    };
    // Where the pixel of that rank (the brightest of all is 0) lies; at least rank + 1 pixels must be
    // counted.
    Place find(std::uint32_t rank) {
        while (above_ > rank) above_ -= counts_[++current_];
        while (above_ + counts_[current_] <= rank) above_ += counts_[current_--];
        return {current_, rank - above_, counts_[current_]};
    }

    struct Level {
        std::uint16_t brightness;
        std::uint32_t rank;  // among the pixels of just that brightness
    };
    // The level in the class.
    Level findLevel(const Place& place) const {
        std::uint32_t level = (place.brightnessClass + 1) << kClassShift;
        std::uint32_t rank = place.rank;
        while (levels_[--level] <= rank) rank -= levels_[level];
        return {static_cast<std::uint16_t>(level), rank};
    }

private:
    std::vector<std::uint32_t> levels_;
    std::array<std::uint32_t, kClasses> counts_{};
    std::uint32_t current_ = 0;  // the class found last
    std::uint32_t above_ = 0;    // pixels of brighter classes
};

}  // namespace dib

#endif
