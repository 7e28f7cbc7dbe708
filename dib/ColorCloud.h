// The distinct colours of a picture with their pixel counts, divided into boxes. The quantizer works on it:
// every box owns a contiguous range of colours and a histogram per channel, so cutting a box touches only its
// own colours, and shrinking it none.
#ifndef DIB_COLOR_CLOUD_H
#define DIB_COLOR_CLOUD_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "dib/Progress.h"

namespace dib {

struct CountedColor {
    std::uint32_t color;  // blue, green << 8, red << 16
    std::uint32_t pixels;
};

// The component of a colour on an axis of the quantizer: 0 blue, 1 green, 2 red.
constexpr int component(std::uint32_t color, int axis) { return color >> (8 * axis) & 255U; }

// The colours of one box.
struct ColorRange {
    std::uint32_t begin;
    std::uint32_t end;
    std::uint32_t pixels[3][256];  // pixels per axis and component
};

class ColorCloud {
public:
    // Counts the pixels of a picture into one range, number 0, and makes room for `maxRanges` of them.
    // Returns false when memory is short or the caller cancels.
    bool collect(const std::uint8_t* bgr, std::size_t pixels, std::size_t maxRanges,
                 const PartProgress& progress = {});

    const ColorRange& range(int number) const { return ranges_[number]; }

    // Splits a range: it keeps the colours whose component is below `cut`, the others move to a new range.
    // Returns its number.
    int split(int number, int axis, int cut);

private:
    bool sortIntoCells(const std::uint8_t* bgr, std::size_t pixels, const PartProgress& progress);
    void countCell(std::uint32_t cell, const std::uint16_t* lowBits, std::size_t pixels);
    void fillHistogram(ColorRange& range) const;

    MallocPtr<CountedColor> colors_;
    std::uint32_t colorCount_ = 0;
    MallocPtr<ColorRange> ranges_;
    int rangeCount_ = 0;
};

}  // namespace dib

#endif
