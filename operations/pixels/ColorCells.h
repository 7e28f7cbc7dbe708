// The colours of a picture in cells of 4 x 4 x 4: how many pixels each cell has, and their mean.
#ifndef OPERATIONS_PIXELS_COLOR_CELLS_H
#define OPERATIONS_PIXELS_COLOR_CELLS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace operations {

constexpr std::size_t kCells = std::size_t{1} << 18;

// The cell of a colour: six bits of each channel.
constexpr std::size_t cellOf(std::uint32_t blue, std::uint32_t green, std::uint32_t red) {
    return (blue >> 2) << 12 | (green >> 2) << 6 | red >> 2;
}

// A cell that has pixels. The mean counts in eighths, blue first.
struct CountedCell {
    std::array<std::int32_t, 3> mean;
    std::uint32_t pixels;
};
constexpr int kMeanScale = 8;

class ColorCells {
public:
    ColorCells() : cells_(kCells) {}

    // Counts pixels of blue, green, red.
    void count(const unsigned char* bgr, std::size_t pixels);
    // Those of cells with pixels, in the order of the cells.
    std::vector<CountedCell> counted() const;

private:
    // Of the low two bits of each channel, which suffice.
    struct Sums {
        std::uint32_t pixels = 0;
        std::array<std::uint32_t, 3> low{};
    };
    std::vector<Sums> cells_;
};

}  // namespace operations

#endif
