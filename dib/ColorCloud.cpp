#include "dib/ColorCloud.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "dib/Numbers.h"
#include "dib/PixelKernels.h"
#include "dib/PixelReader.h"

namespace dib {

namespace {

// The 24-bit colour of a cell and its low bits, both with blue lowest.
constexpr std::uint32_t colorOf(std::uint32_t cell, std::uint32_t low) {
    const std::uint32_t blue = (cell & 31) << 3 | (low & 7);
    const std::uint32_t green = (cell >> 5 & 31) << 3 | (low >> 3 & 7);
    const std::uint32_t red = (cell >> 10) << 3 | low >> 6;
    return blue | green << 8 | red << 16;
}

// Calls `visit(first, count)` for strips of pixels and reports after many of them. False when the caller
// cancels.
template <class Visit>
bool forEachReportedStrip(std::size_t pixels, const PartProgress& progress, const Visit& visit) {
    constexpr std::size_t kReported = 64 * kStripPixels;
    for (std::size_t first = 0; first < pixels; first += kReported) {
        const std::size_t some = std::min(pixels - first, kReported);
        forEachStrip(some, [&](std::size_t start, std::size_t count) { visit(first + start, count); });
        if (!progress.report(asOffset(first + some), asOffset(pixels))) return false;
    }
    return true;
}

}  // namespace

bool ColorCloud::collect(const std::uint8_t* bgr, std::size_t pixels, std::size_t maxRanges,
                         const PartProgress& progress) {
    ranges_ = allocateArray<ColorRange>(maxRanges);
    colors_ = allocateArray<CountedColor>(std::min(pixels, kColorCells * kColorsPerCell) + 1);
    if (ranges_ == nullptr || colors_ == nullptr || !sortIntoCells(bgr, pixels, progress)) return false;

    ranges_[0].begin = 0;
    ranges_[0].end = colorCount_;
    fillHistogram(ranges_[0]);
    rangeCount_ = 1;
    return true;
}

bool ColorCloud::sortIntoCells(const std::uint8_t* bgr, std::size_t pixels, const PartProgress& progress) {
    // Where each cell starts: the counts of the cells before it.
    auto next = allocateZeroed<std::uint32_t>(kColorCells + 1);
    auto sorted = allocateArray<std::uint16_t>(pixels + 1);
    if (next == nullptr || sorted == nullptr) return false;

    std::uint16_t cells[kStripPixels];
    std::uint16_t lows[kStripPixels];
    const auto countCells = [&](std::size_t start, std::size_t count) {
        runKernel<bgrToWords>(bgr + 3 * start, cells, count);
        for (std::size_t i = 0; i < count; ++i) ++next[cells[i] + 1U];
    };
    if (!forEachReportedStrip(pixels, progress.part(0, 3), countCells)) return false;
    for (std::size_t cell = 0; cell < kColorCells; ++cell) next[cell + 1] += next[cell];
    const auto sortLowBits = [&](std::size_t start, std::size_t count) {
        runKernel<bgrToWords>(bgr + 3 * start, cells, count);
        runKernel<bgrToLowBits>(bgr + 3 * start, lows, count);
        for (std::size_t i = 0; i < count; ++i) sorted[next[cells[i]]++] = lows[i];
    };
    if (!forEachReportedStrip(pixels, progress.part(1, 3), sortLowBits)) return false;

    // Now each entry of `next` is the end of its cell.
    constexpr std::uint32_t kReportedCells = kColorCells / 64;
    const PartProgress rest = progress.part(2, 3);
    std::uint32_t begin = 0;
    for (std::uint32_t cell = 0; cell < kColorCells; ++cell) {
        if (cell % kReportedCells == 0 && !rest.report(cell, kColorCells)) return false;
        const std::uint32_t end = next[cell];
        if (end > begin) countCell(cell, sorted.get() + begin, end - begin);
        begin = end;
    }
    return true;
}

void ColorCloud::countCell(std::uint32_t cell, const std::uint16_t* lowBits, std::size_t pixels) {
    // A bit per colour that occurs, so that only the counts in use are set and read.
    std::uint64_t occurs[kColorsPerCell / 64] = {};
    std::uint32_t counts[kColorsPerCell];
    if (pixels > kColorsPerCell / 8) {
        std::memset(counts, 0, sizeof counts);
        for (std::size_t i = 0; i < pixels; ++i) {
            occurs[lowBits[i] >> 6] |= std::uint64_t{1} << (lowBits[i] & 63);
            ++counts[lowBits[i]];
        }
    } else {
        for (std::size_t i = 0; i < pixels; ++i) {
            occurs[lowBits[i] >> 6] |= std::uint64_t{1} << (lowBits[i] & 63);
            counts[lowBits[i]] = 0;
        }
        for (std::size_t i = 0; i < pixels; ++i) ++counts[lowBits[i]];
    }
    for (std::uint32_t word = 0; word < std::size(occurs); ++word) {
        for (std::uint64_t bits = occurs[word]; bits != 0; bits &= bits - 1) {
            const std::uint32_t low = 64 * word + static_cast<std::uint32_t>(std::countr_zero(bits));
            colors_[colorCount_++] = {colorOf(cell, low), counts[low]};
        }
    }
}

void ColorCloud::fillHistogram(ColorRange& range) const {
    std::memset(range.pixels, 0, sizeof range.pixels);
    for (std::uint32_t i = range.begin; i < range.end; ++i) {
        const CountedColor entry = colors_[i];
        for (int axis = 0; axis < 3; ++axis) range.pixels[axis][component(entry.color, axis)] += entry.pixels;
    }
}

int ColorCloud::split(int number, int axis, int cut) {
    ColorRange& low = ranges_[number];
    ColorRange& high = ranges_[rangeCount_];

    // Swaps colours of the lower half to the front, without a branch: at a median cut it would be
    // unpredictable.
    CountedColor* const colors = colors_.get();
    std::uint32_t middle = low.begin;
    for (std::uint32_t i = low.begin; i < low.end; ++i) {
        const CountedColor entry = colors[i];
        colors[i] = colors[middle];
        colors[middle] = entry;
        middle += component(entry.color, axis) < cut ? 1U : 0U;
    }
    high.begin = middle;
    high.end = low.end;
    low.end = middle;

    // Counting the smaller half is enough: the other is what remains of the whole.
    const bool countLow = low.end - low.begin < high.end - high.begin;
    ColorRange whole = low;
    fillHistogram(countLow ? low : high);
    const ColorRange& counted = countLow ? low : high;
    ColorRange& other = countLow ? high : low;
    for (int a = 0; a < 3; ++a) {
        for (int i = 0; i < 256; ++i) other.pixels[a][i] = whole.pixels[a][i] - counted.pixels[a][i];
    }
    return rangeCount_++;
}

}  // namespace dib
