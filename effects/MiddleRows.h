// What both ways of finding middle pixels share: rows of brightness, and the pixels chosen.
#ifndef EFFECTS_MIDDLE_ROWS_H
#define EFFECTS_MIDDLE_ROWS_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "effects/EffectFrame.h"
#include "effects/RankPixels.h"

namespace dib {

class MiddleRows {
public:
    // Throws std::bad_alloc.
    MiddleRows(const DibStream& image, const FullCopy& copy, const Raster& rows)
        : raster(rows),
          // The weights of blue and red in a colour table are exchanged here; this filter has always ranked
          // so.
          pixels(image, rows, {73, 37}, RankPixels::Nibbles::kHighFirst),
          chosen(static_cast<std::size_t>(rows.width)),
          copy_(copy),
          values_(chosen.size()),
          brightness_(chosen.size()) {}

    const unsigned char* source(std::int64_t y) const { return copy_.row(static_cast<std::ptrdiff_t>(y)); }

    // What row y is ranked by. At 1 bit that is the index itself: the filter is a vote there.
    const std::vector<std::int32_t>& read(std::int64_t y) {
        pixels.readRow(source(y), values_.data(), brightness_.data());
        if (raster.bitCount == 1) std::copy(values_.begin(), values_.end(), brightness_.begin());
        return brightness_;
    }
    // The pixels of row y alone.
    const std::vector<std::uint32_t>& readValues(std::int64_t y) {
        pixels.readValues(source(y), values_.data());
        return values_;
    }
    // The pixels of the row that was read last.
    const std::vector<std::uint32_t>& values() const { return values_; }

    // Stores `chosen` as row y of the image.
    void store(int y) { pixels.writeRow(raster.row(y), chosen.data()); }

    const Raster& raster;
    RankPixels pixels;
    std::vector<std::uint32_t> chosen;

private:
    const FullCopy& copy_;
    std::vector<std::uint32_t> values_;
    std::vector<std::int32_t> brightness_;
};

// Brighter pixels before the one taken. A vote at 1 bit is won by half of all positions, rounded up.
inline std::uint32_t middleRank(int radius, int bitCount) {
    const std::int64_t side = 2 * std::int64_t{radius} + 1;
    return static_cast<std::uint32_t>((side * side + 1) / 2 - (bitCount == 1 ? 1 : 0));
}

}  // namespace dib

#endif
