// Keys of indexed pixels: bytes that number the different brightnesses of a colour table from dark to bright.
// Where only one index of a brightness was seen, its key identifies the pixel.
#ifndef EFFECTS_RANK_TABLE_KEYS_H
#define EFFECTS_RANK_TABLE_KEYS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "effects/rank/MedianInput.h"

namespace dib {

class TableKeys {
public:
    // Numbers the brightnesses. At 1 bit the indices themselves are ranked.
    void number(const MedianInput& input) {
        const int indices = 1 << input.bitCount();
        const auto rankedBy = [&](int index) {
            return input.bitCount() == 1 ? index : input.reader().tableBrightness(index);
        };
        std::int32_t levels[256] = {};
        for (int index = 0; index < indices; ++index) levels[index] = rankedBy(index);
        std::sort(levels, levels + indices);
        std::int32_t* const end = std::unique(levels, levels + indices);
        count_ = static_cast<int>(end - levels);
        for (int index = 0; index < indices; ++index) {
            keyOfIndex_[index] =
                static_cast<std::uint8_t>(std::lower_bound(levels, end, rankedBy(index)) - levels);
        }
    }
    int count() const { return count_; }

    // The key of an index that occurs.
    std::uint8_t see(std::uint32_t index) {
        seen_[index] = true;
        return keyOfIndex_[index];
    }
    // Updates what follows, for the indices seen so far.
    void update() {
        bool found[256] = {};
        bool any = false;
        for (std::ptrdiff_t index = 0; index < 256; ++index) {
            if (!seen_[index]) continue;
            const std::ptrdiff_t key = keyOfIndex_[index];
            severalIndices_[key] = found[key];
            any |= found[key];
            found[key] = true;
            indexOfKey_[key] = static_cast<std::uint8_t>(index);
        }
        anySeveral_ = any;
    }
    // An index of the key, and whether there are others: then the key does not determine the pixel.
    std::uint8_t indexOf(std::ptrdiff_t key) const { return indexOfKey_[key]; }
    bool several(std::ptrdiff_t key) const { return severalIndices_[key]; }
    bool anySeveral() const { return anySeveral_; }

private:
    int count_ = 0;
    std::uint8_t keyOfIndex_[256] = {};
    bool seen_[256] = {};  // by index
    bool anySeveral_ = false;
    std::uint8_t indexOfKey_[256] = {};
    bool severalIndices_[256] = {};
};

}  // namespace dib

#endif
