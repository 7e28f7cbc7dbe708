#include "operations/pixels/ColorCells.h"

namespace operations {

void ColorCells::count(const unsigned char* bgr, std::size_t pixels) {
    // Three times as many low bits fit in 32 bits. Further pixels of such a cell would change nothing.
    constexpr std::uint32_t kMostPixels = 1U << 30;
    for (const unsigned char* end = bgr + 3 * pixels; bgr != end; bgr += 3) {
        Sums& sums = cells_[cellOf(bgr[0], bgr[1], bgr[2])];
        if (sums.pixels == kMostPixels) continue;
        ++sums.pixels;
        for (std::size_t channel = 0; channel < 3; ++channel) sums.low[channel] += bgr[channel] & 3U;
    }
}

std::vector<CountedCell> ColorCells::counted() const {
    std::vector<CountedCell> result;
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        const Sums& sums = cells_[cell];
        if (sums.pixels == 0) continue;
        CountedCell counted{{}, sums.pixels};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::uint64_t high = (cell >> (12 - 6 * channel) & 63) << 2;
            const std::uint64_t sum = high * sums.pixels + sums.low[channel];
            counted.mean[channel] =
                static_cast<std::int32_t>((kMeanScale * sum + sums.pixels / 2) / sums.pixels);
        }
        result.push_back(counted);
    }
    return result;
}

}  // namespace operations
