// Counts of brightness in a sliding window, and the search for a rank in them.
#ifndef EFFECTS_RANK_BRIGHTNESS_HISTOGRAM_H
#define EFFECTS_RANK_BRIGHTNESS_HISTOGRAM_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "effects/rank/BrightnessReader.h"

namespace dib {

// A row of a window: the brightness of its pixels, the pixels, and how often the window visits the row.
struct WindowRow {
    const std::uint16_t* brightness;
    const unsigned char* pixels;
    std::uint32_t visits;
};

// Two levels: classes of 64 find the range, single levels the value. The larger a class, the
// nearer the one searched is to the last one found; the smaller, the fewer pixels of a window it holds.
class BrightnessHistogram {
public:
    static constexpr int kClassShift = 6;
    static constexpr std::uint32_t kClasses = (kWhiteBrightness >> kClassShift) + 1;

    // Clears all counts. False when memory is short.
    bool prepare() {
        levels_ = allocateZeroed<std::uint32_t>(std::ptrdiff_t{kClasses} << kClassShift);
        return levels_ != nullptr;
    }

    // Counts `count` pixels; a negative number modulo 2^32 removes them.
    void add(std::uint16_t brightness, std::uint32_t count) {
        const std::uint32_t at = brightness >> kClassShift;
        levels_[brightness] += count;
        counts_[at] += count;
        if (at > current_) brighter_ += count;
    }

    // Moves the window sideways: column `out` of each row leaves it and column `in` enters.
    void slide(const WindowRow* rows, std::ptrdiff_t rowCount, std::ptrdiff_t out, std::ptrdiff_t in) {
        // In locals, which stores to the counts cannot change.
        std::uint32_t brighter = brighter_;
        const std::uint32_t current = current_;
        std::uint32_t* const levels = levels_.get();
        for (const WindowRow* row = rows; row != rows + rowCount; ++row) {
            const std::uint32_t visits = row->visits;
            if (row->brightness[out] == row->brightness[in]) continue;
            levels[row->brightness[out]] -= visits;
            levels[row->brightness[in]] += visits;
            const std::uint32_t leaving = row->brightness[out] >> kClassShift;
            const std::uint32_t entering = row->brightness[in] >> kClassShift;
            if (leaving == entering) continue;
            counts_[leaving] -= visits;
            counts_[entering] += visits;
            brighter += (entering > current ? visits : 0) - (leaving > current ? visits : 0);
        }
        brighter_ = brighter;
    }

    struct ClassRank {
        std::uint32_t brightnessClass;
        std::uint32_t rank;     // within the class, bright to dark
        std::uint32_t inClass;  // pixels of the class
    };
    // The class of the pixel with `rank` others before it, bright to dark; at least rank + 1 must be counted.
    ClassRank find(std::uint32_t rank) {
        while (brighter_ > rank) brighter_ -= counts_[++current_];
        while (brighter_ + counts_[current_] <= rank) brighter_ += counts_[current_--];
        return {current_, rank - brighter_, counts_[current_]};
    }

    struct LevelRank {
        std::uint16_t brightness;
        std::uint32_t rank;  // among the pixels of exactly that brightness
    };
    // The brightness of that pixel.
    LevelRank findLevel(const ClassRank& found) const {
        std::uint32_t level = (found.brightnessClass + 1) << kClassShift;
        std::uint32_t rank = found.rank;
        while (levels_[--level] <= rank) rank -= levels_[level];
        return {static_cast<std::uint16_t>(level), rank};
    }

private:
    MallocPtr<std::uint32_t> levels_;
    std::array<std::uint32_t, kClasses> counts_{};
    std::uint32_t current_ = 0;   // the class found last
    std::uint32_t brighter_ = 0;  // pixels of brighter classes
};

}  // namespace dib

#endif
