// Images reduced to palettes of their own.
#include <DibMedian.h>
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "dib/ColorTable.h"
#include "dib/MedianLookup.h"
#include "tests/dib/MedianSupport.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/TestImages.h"

namespace {

using dibmedian::mediancut;
using median_support::darkPairAndManyReds;
using median_support::Pixels;
using median_support::walk;
using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::Random;
using testing_support::setPixelValue;

TEST(MedianCutImage, OneColorBecomesEntryZero) {
    const DibPtr image = blankImage(6, 4, 24);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x) setPixelValue(*image, x, y, 0x332211);
    }
    ASSERT_TRUE(image->ChangeTo8Bit(2));
    const DibBGRA* table = dib::colorTable(image->Header);
    EXPECT_EQ(table[0].blue, 0x11);
    EXPECT_EQ(table[0].green, 0x22);
    EXPECT_EQ(table[0].red, 0x33);
    EXPECT_EQ(table[0].alpha, 0);
    for (int i = 1; i < 256; ++i) {
        EXPECT_EQ(table[i].blue + table[i].green + table[i].red + table[i].alpha, 0);
    }
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x) EXPECT_EQ(pixelValue(*image, x, y), 0U);
    }
}

// The table of an image, as numbers of blue, green << 8, red << 16, reserved << 24.
std::vector<std::uint32_t> tableOf(const DibStream& image) {
    std::vector<std::uint32_t> table(std::size_t{1} << image.Header->biBitCount);
    std::memcpy(table.data(), dib::colorTable(image.Header), 4 * table.size());
    return table;
}

TEST(MedianCutImage, TwoRedsAreTwoExactEntries) {
    const DibPtr source = blankImage(3, 1, 24);
    setPixelValue(*source, 0, 0, 0x290605);
    setPixelValue(*source, 1, 0, 0x280605);
    setPixelValue(*source, 2, 0, 0x290605);
    for (const int bits : {8, 4}) {
        const DibPtr image(source->Clone());
        ASSERT_TRUE(image->ChangeBpp(bits, 2));
        std::vector<std::uint32_t> expected(std::size_t{1} << bits);
        expected[0] = 0x280605;
        expected[1] = 0x290605;
        EXPECT_EQ(tableOf(*image), expected);
        EXPECT_EQ(pixelValue(*image, 0, 0), 1U);
        EXPECT_EQ(pixelValue(*image, 1, 0), 0U);
        EXPECT_EQ(pixelValue(*image, 2, 0), 1U);
    }
}

TEST(MedianCutImage, EntriesAreTheCentresOfTheirBoxes) {
    const Pixels pixels = darkPairAndManyReds();
    const DibPtr image = blankImage(1002, 1, 24);
    for (int x = 0; x < 1002; ++x) {
        std::memcpy(image->Pixel(x, 0), &pixels[static_cast<std::size_t>(x)], 3);
    }
    ASSERT_TRUE(image->ChangeTo8Bit(2));
    std::vector<std::uint32_t> expected(256);
    expected[0] = 0x010000;  // 0 + 2 / 2
    expected[1] = 0xC80000;
    EXPECT_EQ(tableOf(*image), expected);
    EXPECT_EQ(pixelValue(*image, 0, 0), 0U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 1U);
}

// Bits 16 to 23 are not shifted down: 0x00100002 asks for 0x100000 colours, which is as many as there can be.
TEST(MedianCutImage, TheLimitIsTakenUnshifted) {
    const DibPtr source = testing_support::randomImage(64, 48, 24, 4);
    const DibPtr limited(source->Clone());
    const DibPtr plain(source->Clone());
    ASSERT_TRUE(limited->ChangeTo8Bit(0x00100002));
    ASSERT_TRUE(plain->ChangeTo8Bit(2));
    const DibBGRA* table = dib::colorTable(limited->Header);
    // 16 colours would leave entries 16 to 255 zero.
    int used = 0;
    for (int i = 16; i < 256; ++i) used += table[i].blue + table[i].green + table[i].red != 0 ? 1 : 0;
    EXPECT_EQ(used, 240);
    // The quantizer went past 256 boxes, so its palette is another one.
    EXPECT_FALSE(testing_support::sameImage(*limited, *plain));

    const DibPtr four(source->Clone());
    const DibPtr fourLimited(source->Clone());
    ASSERT_TRUE(four->ChangeTo4Bit(2));
    ASSERT_TRUE(fourLimited->ChangeTo4Bit(0x00080002));
    EXPECT_TRUE(testing_support::sameImage(*four, *fourLimited));
}

// The boxes from 256 on have no entry; their pixels get the nearest one.
TEST(MedianCutImage, BoxesWithoutEntryTakeTheNearest) {
    const DibPtr image = blankImage(260, 1, 24);
    // Reds 0, 2, ... 254 on two blues, and four more colours: 260 boxes of a single colour each.
    for (int x = 0; x < 256; ++x) {
        setPixelValue(*image, x, 0, static_cast<std::uint32_t>(x / 2 * 2) << 16 | (x % 2 == 0 ? 0U : 90U));
    }
    for (int x = 256; x < 260; ++x)
        setPixelValue(*image, x, 0, 0x00010000U * static_cast<std::uint32_t>(x - 200));
    setPixelValue(*image, 256, 0, 0x395A00);
    setPixelValue(*image, 257, 0, 0x5B5A00);
    setPixelValue(*image, 258, 0, 0x795A00);
    setPixelValue(*image, 259, 0, 0x9B5A00);
    const DibPtr source(image->Clone());
    ASSERT_TRUE(image->ChangeTo8Bit(0x00010002));
    const DibBGRA* table = dib::colorTable(image->Header);
    int approximate = 0;
    for (int x = 0; x < 260; ++x) {
        const std::uint32_t color = pixelValue(*source, x, 0);
        const auto distance = [&](const DibBGRA& e) {
            const int b = e.blue - static_cast<int>(color & 255);
            const int g = e.green - static_cast<int>(color >> 8 & 255);
            const int r = e.red - static_cast<int>(color >> 16);
            return b * b + g * g + r * r;
        };
        int nearest = 0;
        for (int i = 1; i < 256; ++i) nearest = distance(table[i]) < distance(table[nearest]) ? i : nearest;
        EXPECT_EQ(pixelValue(*image, x, 0), static_cast<std::uint32_t>(nearest));
        approximate += distance(table[nearest]) != 0 ? 1 : 0;
    }
    EXPECT_EQ(approximate, 4);
}

// Boxes of several colours without an entry: what counts is the pixel's own colour and not the centre of its
// box, and of two entries equally near the first.
TEST(MedianCutImage, PixelsOfBoxesWithoutEntryTakeTheirOwnNearest) {
    constexpr int kWidth = 400, kHeight = 60;
    const DibPtr image = testing_support::randomImage(kWidth, kHeight, 24, 21);
    // Colours close together: then two entries are often equally near.
    for (int i = 0; i < image->GetImageSize(); ++i) image->Buffer[i] %= 40;
    Pixels pixels;
    for (int y = kHeight; y-- > 0;) {
        for (int x = 0; x < kWidth; ++x) {
            DibBGR pixel;
            std::memcpy(&pixel, image->Pixel(x, y), 3);
            pixels.push_back(pixel);
        }
    }
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), kWidth, kHeight, 0x10000));
    ASSERT_EQ(cut.boxCount, 260);
    ASSERT_TRUE(image->ChangeTo8Bit(0x00010002));
    const DibBGRA* table = dib::colorTable(image->Header);
    const auto distance = [&](int entry, DibBGR color) {
        const int b = table[entry].blue - color.blue;
        const int g = table[entry].green - color.green;
        const int r = table[entry].red - color.red;
        return b * b + g * g + r * r;
    };
    const auto nearest = [&](DibBGR color) {
        int best = 0;
        for (int i = 1; i < 256; ++i) best = distance(i, color) < distance(best, color) ? i : best;
        return best;
    };
    int otherThanTheCentre = 0;
    int ties = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const int box = walk(cut, pixels[i]);
        const int expected = box < 256 ? box : nearest(pixels[i]);
        ASSERT_EQ(image->Buffer[i], expected) << "pixel " << i << " of box " << box;
        if (box < 256) continue;
        const DibBGRA centre = dib::boxCentre(cut.boxes[box].info);
        otherThanTheCentre += nearest({centre.blue, centre.green, centre.red}) != expected ? 1 : 0;
        for (int k = expected + 1; k < 256; ++k) {
            ties += distance(k, pixels[i]) == distance(expected, pixels[i]) ? 1 : 0;
        }
    }
    EXPECT_GT(otherThanTheCentre, 0);
    EXPECT_GT(ties, 0);
}

TEST(MedianCutImage, MethodsTakeTheirFlagsDirectly) {
    const DibPtr image = testing_support::randomImage(31, -9, 16, 4);
    const DibPtr source(image->Clone());
    DibStream expected;
    ASSERT_TRUE(reference::changeBpp(*source, 4, 2, expected));
    ASSERT_TRUE(image->MedianCut4(0));
    EXPECT_TRUE(testing_support::sameImage(expected, *image));
    const DibPtr again(source->Clone());
    ASSERT_TRUE(reference::changeBpp(*source, 8, 2, expected));
    ASSERT_TRUE(again->MedianCut8(1));
    EXPECT_TRUE(testing_support::sameImage(expected, *again));
}

// Many pixels of many colours: cells with few and with many pixels, boxes that divide cells.
TEST(MedianCutImage, LargePicturesMatchTheReference) {
    const DibPtr image = blankImage(160, 100, 24);
    Random random(77);
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 160; ++x) {
            const auto blue = static_cast<std::uint32_t>(x / 2 + random.below(9));
            const auto green = static_cast<std::uint32_t>(y + random.below(20));
            const auto red = static_cast<std::uint32_t>(random.below(3) * (x + y) / 4);
            setPixelValue(*image, x, y, blue | green << 8 | red << 16);
        }
    }
    for (const unsigned int flags : {0x2U, 0x10002U}) {
        const DibPtr ours(image->Clone());
        DibStream expected;
        ASSERT_TRUE(reference::changeBpp(*image, 8, flags, expected));
        ASSERT_TRUE(ours->ChangeBpp(8, flags));
        EXPECT_TRUE(testing_support::sameImage(expected, *ours));
    }
}

}  // namespace
