// Pictures of one colour and of one row, and the pixels and table entries of images as numbers.
#ifndef TESTS_DIB_CONVERT_SUPPORT_H
#define TESTS_DIB_CONVERT_SUPPORT_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "dib/ColorTable.h"
#include "tests/support/TestImages.h"

namespace convert_support {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::kDepths;
using testing_support::pixelValue;
using testing_support::randomImage;
using testing_support::setPixelValue;

inline DibPtr oneColor(int width, int height, std::uint32_t color) {
    DibPtr image = blankImage(width, height, 24);
    for (int y = 0; y < std::abs(height); ++y) {
        for (int x = 0; x < width; ++x) setPixelValue(*image, x, y, color);
    }
    return image;
}

using Values = std::vector<std::uint32_t>;

// A picture of one row.
inline DibPtr oneRow(int bitCount, const Values& values) {
    DibPtr image = blankImage(static_cast<int>(values.size()), 1, bitCount);
    for (std::size_t x = 0; x < values.size(); ++x) setPixelValue(*image, static_cast<int>(x), 0, values[x]);
    return image;
}

// The pixels of all rows, the upper ones first.
inline Values valuesOf(DibStream& image) {
    Values values;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) values.push_back(pixelValue(image, x, y));
    }
    return values;
}

inline DibBGRA entry(const DibStream& image, int index) { return dib::colorTable(image.Header)[index]; }

inline std::uint32_t entryValue(const DibStream& image, int index) {
    const DibBGRA e = entry(image, index);
    return std::uint32_t{e.blue} | std::uint32_t{e.green} << 8 | std::uint32_t{e.red} << 16 |
           std::uint32_t{e.alpha} << 24;
}

}  // namespace convert_support

#endif
