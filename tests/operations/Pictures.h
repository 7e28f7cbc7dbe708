/// Small pictures whose pixels are given and compared one by one.
#ifndef TESTS_OPERATIONS_PICTURES_H
#define TESTS_OPERATIONS_PICTURES_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/operations/Operations.h"
#include "tests/support/TestImages.h"

namespace operations_test {

/// A picture of that many columns whose pixel values are given row by row, top first.
inline testing_support::DibPtr picture(int width, int bitCount, const std::vector<std::uint32_t>& values) {
    const int height = static_cast<int>(values.size()) / width;
    testing_support::DibPtr image = testing_support::blankImage(width, height, bitCount);
    for (int i = 0; i < width * height; ++i)
        testing_support::setPixelValue(*image, i % width, i / width, values[static_cast<std::size_t>(i)]);
    return image;
}

/// The pixel values, row by row, top first.
inline std::vector<std::uint32_t> valuesOf(DibStream& image) {
    std::vector<std::uint32_t> values;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x)
            values.push_back(testing_support::pixelValue(image, x, y));
    }
    return values;
}

/// The entries of a colour table, as words with blue lowest.
inline std::vector<std::uint32_t> entriesOf(const DibStream& image) {
    const std::vector<unsigned char> header = testing_support::headerBytes(image);
    std::vector<std::uint32_t> entries;
    for (std::size_t at = 40; at + 4 <= header.size(); at += 4) {
        entries.push_back(header[at] | std::uint32_t{header[at + 1]} << 8 |
                          std::uint32_t{header[at + 2]} << 16 | std::uint32_t{header[at + 3]} << 24);
    }
    return entries;
}

/// The pixel values after a chain, which must succeed.
inline std::vector<std::uint32_t> after(DibStream& image, const std::string& chain) {
    DibOperationResult result;
    EXPECT_TRUE(DibApply(&image, chain.c_str(), nullptr, &result)) << result.reason;
    return valuesOf(image);
}

}  // namespace operations_test

#endif
