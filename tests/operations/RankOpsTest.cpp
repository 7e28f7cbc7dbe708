// The brightest and darkest pixels of squares.
#include <algorithm>
#include <functional>

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
using Values = std::vector<std::uint32_t>;

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

// Blue is the brighter one where red has 37 and blue 73.
constexpr DibBGRA kColors[4] = {{0, 0, 200, 0}, {255, 0, 0, 0}, {100, 20, 90, 0}, {10, 60, 10, 0}};

// Colours like these at 16 bits, one with the highest bit.
constexpr std::uint32_t kWords[4] = {20U << 10, 25, 0x8000U | 9U << 10 | 2U << 5 | 10,
                                     1U << 10 | 6U << 5 | 1};

int brightnessOf(int bitCount, std::uint32_t value) {
    if (bitCount <= 8) return 73 * kColors[value].red + 146 * kColors[value].green + 37 * kColors[value].blue;
    const std::uint32_t sum = 73 * (value >> 10 & 31) + 146 * (value >> 5 & 31) + 37 * (value & 31);
    return static_cast<int>(sum);
}

DibPtr ofFour(int width, int height, int bitCount) {
    DibPtr image = blankImage(width, height, bitCount);
    if (bitCount <= 8) std::ranges::copy(kColors, dib::colorTable(image->Header));
    Random random(11);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto index = static_cast<std::uint32_t>(random.below(4));
            setPixelValue(*image, x, y, bitCount <= 8 ? index : kWords[index]);
        }
    }
    return image;
}

// All pixels of a square that wraps, from bright to dark.
std::vector<std::uint32_t> ranked(DibStream& image, int x, int y, int radius) {
    std::vector<std::uint32_t> values;
    for (int v = y - radius; v <= y + radius; ++v) {
        for (int u = x - radius; u <= x + radius; ++u)
            values.push_back(pixelValue(image, positionAt(u, kWidth, true), positionAt(v, kHeight, true)));
    }
    std::ranges::sort(values, std::ranges::greater(),
                      [&](std::uint32_t value) { return brightnessOf(image.Header->biBitCount, value); });
    return values;
}

TEST(RankOps, RankByRedAtEveryDepth) {
    for (const int bitCount : {4, 8, 16}) {
        for (const int radius : {1, 2, 9}) {
            const DibPtr before = ofFour(kWidth, kHeight, bitCount);
            std::vector<std::uint32_t> expected[3];
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    const auto values = ranked(*before, x, y, radius);
                    expected[0].push_back(values.front());
                    expected[1].push_back(values[(values.size() + 1) / 2]);
                    expected[2].push_back(values.back());
                }
            }
            for (const auto& [name, values] :
                 {std::pair("max:", expected[0]), std::pair("median:", expected[1]),
                  std::pair("min:", expected[2])}) {
                const std::string chain = name + std::to_string(radius) + ",wrap=xy";
                SCOPED_TRACE(chain + " of " + std::to_string(bitCount));
                const DibPtr image = ofFour(kWidth, kHeight, bitCount);
                EXPECT_EQ(after(*image, chain), values);
                EXPECT_EQ(headerBytes(*image), headerBytes(*before));
            }
        }
    }
}

TEST(RankOps, RedIsTwiceAsBrightAsBlue) {
    const std::uint32_t red = 20U << 10;
    const std::uint32_t blue = 25;
    EXPECT_EQ(after(*picture(2, 16, {red, blue}), "max:1"), (Values{red, red}));
    EXPECT_EQ(after(*picture(2, 16, {red, blue}), "min:1"), (Values{blue, blue}));
    EXPECT_EQ(after(*picture(2, 16, {red, blue}), "max:1,classic"), (Values{blue, blue}));
    EXPECT_EQ(after(*picture(2, 16, {red, blue}), "min:1,classic"), (Values{red, red}));
    for (const int bitCount : {4, 8}) {
        const auto colored = [&] {
            DibPtr image = picture(4, bitCount, {0, 1, 1, 2, 0, 0, 1, 2, 2, 1, 2, 0});
            std::copy_n(kColors, 4, dib::colorTable(image->Header));
            return image;
        };
        EXPECT_EQ(after(*colored(), "median:1"), (Values{0, 1, 1, 2, 2, 1, 1, 2, 2, 2, 2, 2}));
        EXPECT_EQ(after(*colored(), "median:1,classic"), (Values{0, 0, 2, 2, 0, 2, 2, 2, 2, 2, 2, 0}));
    }
}

// What a cancelled step leaves of a picture that it works on in place has its own colours.
TEST(RankOps, CancelledStepsLeaveTheColours) {
    for (const int bitCount : {8, 16}) {
        const DibPtr before = ofFour(kWidth, kHeight, bitCount);
        const DibPtr image = ofFour(kWidth, kHeight, bitCount);
        DibApplyOptions options;
        options.inPlace = true;
        DibOperationResult result;
        const DibProgressCallback cancel = [](float done, void*) { return done <= 0; };
        EXPECT_FALSE(DibApply(image.get(), "median:2", &options, &result, cancel, nullptr));
        EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED);
        EXPECT_EQ(headerBytes(*image), headerBytes(*before));
        for (const std::uint32_t value : valuesOf(*image))
            EXPECT_TRUE(bitCount == 8 || std::ranges::find(kWords, value) != std::end(kWords)) << value;
    }
}

}  // namespace

}  // namespace operations_test
