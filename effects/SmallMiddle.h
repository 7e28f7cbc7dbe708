// Middle pixels of small squares: every position of many neighbourhoods at once.
#ifndef EFFECTS_SMALL_MIDDLE_H
#define EFFECTS_SMALL_MIDDLE_H

#include <array>
#include <cstdint>
#include <vector>

#include "effects/MiddleRows.h"
#include "effects/RankAxis.h"
#include "effects/RankLanes.h"

namespace dib {

class SmallMiddle {
public:
    // Beyond this radius the sliding histogram is faster.
    static constexpr int kLargestRadius = (kLongestRankSide - 1) / 2;

    // Throws std::bad_alloc.
    SmallMiddle(const DibStream& image, const FullCopy& copy, const Raster& raster, int radius,
                unsigned int flags);

    void writeRow(int y);

private:
    // Rows of bytes of brightness, or of keys in the high ones.
    RankPlanes planesOf(int t) {
        std::vector<std::int8_t>& slot = slots_[static_cast<std::size_t>((t + side_) % side_)];
        return {slot.data(), slot.data() + slotLength()};
    }
    // Columns of a row with its edges, and the lanes that are read past its end.
    std::size_t slotLength() const { return rows_.chosen.size() + slots_.size() + kRankLanes; }

    void listKeys();
    void loadRow(int t);
    void loadKeys(int t);
    void chooseByKeys();
    void takePlaces(std::size_t start, std::size_t end);

    MiddleRows rows_;
    int radius_;
    int side_;
    int rank_;
    RankAxis axisX_;
    RankAxis axisY_;
    std::vector<std::vector<std::int8_t>> slots_;
    std::vector<RankPlanes> square_;
    std::vector<const unsigned char*> sources_;
    std::vector<std::uint16_t> which_;
    std::vector<RankPixels::Spot> spots_;
    // Up to 8 bits per pixel the brightnesses are few enough for a byte to number them, from the darkest up.
    bool byKeys_;
    int keyBits_ = 0;
    std::array<std::uint8_t, 256> keyOfIndex_{};
    std::array<bool, 256> seen_{};  // indices
    std::array<std::uint8_t, 256> indexOfKey_{};
    std::array<bool, 256> severalIndices_{};  // by key; then it takes places to tell which is meant
    std::vector<std::int8_t> keys_;
    std::vector<const std::int8_t*> keySquare_;
};

}  // namespace dib

#endif
