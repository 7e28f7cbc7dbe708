// Resizing and laying pictures over each other as plain sums in double precision, from the definitions.
#ifndef TESTS_REFERENCE_OPERATION_REFERENCE_H
#define TESTS_REFERENCE_OPERATION_REFERENCE_H

#include <array>
#include <string>
#include <vector>

namespace reference {

// Blue, green, red and alpha, from 0 to 255. Alpha is 255 where there is none.
using Pixel = std::array<double, 4>;

struct Picture {
    int width;
    int height;
    std::vector<Pixel> pixels;  // row by row, top first

    const Pixel& at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

// By "area", "bicubic" or "lanczos". Colours count by alpha. Values are not rounded and may leave
// 0 to 255; where alpha is 0 the colours are those of the sum, 0.
Picture resized(const Picture& picture, int width, int height, const std::string& filter);

// A pixel over another one by a blend mode of `overlay`, with every step rounded as bytes are. `opacity` is
// from 0 to 255.
Pixel overlaid(const Pixel& under, const Pixel& over, const std::string& mode, int opacity);

}  // namespace reference

#endif
