// The median at radius 1 to 7, in squares of up to 15 x 15 pixels: every position of many squares is compared
// at once. MedianLargeRadius and MedianHugeRadius compute the larger ones.
#ifndef EFFECTS_RANK_MEDIAN_SMALL_RADIUS_H
#define EFFECTS_RANK_MEDIAN_SMALL_RADIUS_H

#include <cstdint>

#include "effects/rank/MedianInput.h"
#include "effects/rank/SelectLanes.h"
#include "effects/rank/TableKeys.h"

namespace dib {

// A filter of dib::filterImage.
class MedianSmallRadius {
public:
    // Beyond this radius tiles are faster, and bytes no longer count the positions.
    static constexpr int kLargest = (kLongestSelectSide - 1) / 2;

    MedianSmallRadius(int radius, unsigned int flags)
        : radius_(radius), side_(2 * radius + 1), flags_(flags) {}

    bool prepare(const FullCopy& source, const Raster& image);

    // Chooses the pixels of row y and stores them.
    void row(unsigned char* out, int y);

private:
    // The line of position t of the y axis. Lines hold a row with its edges, as keys or as brightness.
    BrightnessPlanes lineAt(int t) const {
        const auto line = (t + side_) % side_;
        return {lines_.get() + 2 * line * lineLength_, lines_.get() + (2 * line + 1) * lineLength_};
    }

    void loadBrightness(int t);
    void loadKeys(int t);
    void chooseByKeys();
    void takePositions(std::ptrdiff_t start, std::ptrdiff_t end);

    int radius_;
    int side_;
    unsigned int flags_;
    int rank_ = 0;
    MedianInput input_;
    EdgeAxis axisX_;
    EdgeAxis axisY_;
    std::ptrdiff_t lineLength_ = 0;
    MallocPtr<std::int8_t> lines_;
    // By row of the square.
    BrightnessPlanes square_[kLongestSelectSide] = {};
    const std::int8_t* keySquare_[kLongestSelectSide] = {};
    const unsigned char* sources_[kLongestSelectSide] = {};
    // By column.
    MallocPtr<std::uint16_t> positions_;
    MallocPtr<BrightnessReader::Spot> spots_;
    MallocPtr<std::int8_t> keys_;

    // Up to 8 bits per pixel keys are ranked.
    bool byKeys_ = false;
    int keyBits_ = 0;
    TableKeys table_;
};

}  // namespace dib

#endif
