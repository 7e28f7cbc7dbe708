// What the medians share: the rows that they rank, and the pixels that they choose.
#ifndef EFFECTS_RANK_MEDIAN_INPUT_H
#define EFFECTS_RANK_MEDIAN_INPUT_H

#include <algorithm>
#include <cstdint>

#include "effects/EffectFrame.h"
#include "effects/rank/BrightnessReader.h"

namespace dib {

class MedianInput {
public:
    // False when memory is short.
    bool prepare(const FullCopy& source, const Raster& image) {
        source_ = &source;
        width_ = image.width;
        bitCount_ = image.bitCount;
        // The maximum and minimum give blue and red of a colour table each other's weights; callers rely on
        // both.
        reader_ = {source.image(), image, {73, 37}, BrightnessReader::Nibbles::kHighFirst};
        values_ = allocateArray<std::uint32_t>(width_ + 1);
        brightness_ = allocateArray<std::int32_t>(width_ + 1);
        chosen_ = allocateArray<std::uint32_t>(width_ + 1);
        return values_ != nullptr && brightness_ != nullptr && chosen_ != nullptr;
    }

    std::ptrdiff_t width() const { return width_; }
    int bitCount() const { return bitCount_; }
    const BrightnessReader& reader() const { return reader_; }
    const unsigned char* row(int y) const { return source_->row(y); }

    // What row y is ranked by, until the next call. At 1 bit that is the index: the median is a vote there.
    const std::int32_t* readBrightness(int y) {
        reader_.readRow(row(y), values_.get(), brightness_.get());
        if (bitCount_ == 1) std::copy_n(values_.get(), width_, brightness_.get());
        return brightness_.get();
    }
    // The pixels of row y, until the next call.
    const std::uint32_t* readValues(int y) {
        reader_.readValues(row(y), values_.get());
        return values_.get();
    }
    // The pixels of the row that was read last.
    const std::uint32_t* values() const { return values_.get(); }

    // The pixels chosen for the row in work.
    std::uint32_t* chosen() const { return chosen_.get(); }
    void writeChosen(unsigned char* out) const { reader_.writeRow(out, chosen_.get()); }

private:
    const FullCopy* source_ = nullptr;
    std::ptrdiff_t width_ = 0;
    int bitCount_ = 0;
    BrightnessReader reader_;
    MallocPtr<std::uint32_t> values_;
    MallocPtr<std::int32_t> brightness_;
    MallocPtr<std::uint32_t> chosen_;
};

// Pixels that rank before the one taken, bright to dark. At 1 bit half of all positions, rounded up, win the
// vote.
inline std::uint32_t medianRank(int radius, int bitCount) {
    const std::int64_t side = 2 * std::int64_t{radius} + 1;
    return static_cast<std::uint32_t>((side * side + 1) / 2 - (bitCount == 1 ? 1 : 0));
}

}  // namespace dib

#endif
