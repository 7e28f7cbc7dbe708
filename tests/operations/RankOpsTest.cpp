// The brightest and darkest pixels of squares.
#include <algorithm>

#include "dib/ColorTable.h"
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::headerBytes;
using testing_support::pixelValue;
using testing_support::Random;
using testing_support::setPixelValue;

constexpr int kWidth = 41;
constexpr int kHeight = 31;

// Greys in an order of their own, so that the brightest index is not the largest.
constexpr int kGreys[16] = {90, 10, 250, 60, 200, 0, 130, 30, 255, 170, 20, 110, 220, 50, 150, 80};

DibPtr shuffled(int height) {
    DibPtr image = blankImage(kWidth, height, 4);
    for (int i = 0; i < 16; ++i) {
        const auto level = static_cast<std::uint8_t>(kGreys[i]);
        dib::colorTable(image->Header)[i] = {level, level, level, 0};
    }
    Random random(7);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            setPixelValue(*image, x, y, static_cast<std::uint32_t>(random.below(16)));
    }
    return image;
}

int positionAt(int position, int size, bool wraps) {
    return wraps ? (position + size) % size : std::clamp(position, 0, size - 1);
}

std::uint32_t extremeOf(DibStream& image, int x, int y, int radius, bool wraps, bool isBrightest) {
    std::uint32_t found = pixelValue(image, x, y);
    for (int v = y - radius; v <= y + radius; ++v) {
        for (int u = x - radius; u <= x + radius; ++u) {
            const std::uint32_t value =
                pixelValue(image, positionAt(u, kWidth, wraps), positionAt(v, kHeight, wraps));
            const bool isBrighter = kGreys[value] > kGreys[found];
            if (value != found && isBrighter == isBrightest) found = value;
        }
    }
    return found;
}

TEST(RankOps, TakeTheExtremeOfTheSquareAtFourBits) {
    for (const int height : {kHeight, -kHeight}) {
        for (const int radius : {1, 3}) {
            for (const bool wraps : {false, true}) {
                for (const bool isBrightest : {false, true}) {
                    const std::string chain = std::string(isBrightest ? "max:" : "min:") +
                                              std::to_string(radius) + (wraps ? ",wrap=xy" : "");
                    SCOPED_TRACE(chain);
                    const DibPtr before = shuffled(height);
                    const DibPtr image = shuffled(height);
                    std::vector<std::uint32_t> expected;
                    for (int y = 0; y < kHeight; ++y) {
                        for (int x = 0; x < kWidth; ++x)
                            expected.push_back(extremeOf(*before, x, y, radius, wraps, isBrightest));
                    }
                    EXPECT_EQ(after(*image, chain), expected);
                    EXPECT_EQ(headerBytes(*image), headerBytes(*before));
                    // The classic function exchanges the pixels of a byte.
                    EXPECT_NE(after(*shuffled(height), chain + ",classic"), expected);
                }
            }
        }
    }
}

}  // namespace

}  // namespace operations_test
