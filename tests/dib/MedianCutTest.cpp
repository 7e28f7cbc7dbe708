#include <DibMedian.h>
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "dib/MedianLookup.h"
#include "tests/reference/ConvertReference.h"
#include "tests/reference/MedianReference.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dibmedian::mediancut;
using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::Random;
using testing_support::setPixelValue;

using Pixels = std::vector<DibBGR>;

int walk(const mediancut& cut, DibBGR pixel) {
    const int components[] = {pixel.blue, pixel.green, pixel.red};
    const dibmedian::coltree* node = cut.root;
    while (node->axis >= 0) node = components[node->axis] < node->cut ? node->left : node->right;
    return node->index;
}

// Boxes, tree and every way to find an index agree with the plain form.
void expectLikeReference(Pixels pixels, int maxColours) {
    const reference::MedianCut expected(pixels, maxColours);
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), static_cast<int>(pixels.size()), 1, maxColours));
    ASSERT_EQ(cut.boxCount, static_cast<int>(expected.boxes().size()));
    for (int i = 0; i < cut.boxCount; ++i) {
        const auto& box = expected.boxes()[static_cast<std::size_t>(i)];
        ASSERT_EQ(std::memcmp(&cut.boxes[i].info, &box, sizeof box), 0)
            << "box " << i << " of " << cut.boxCount;
        ASSERT_EQ(cut.boxes[i].leaf->index, i);
    }
    dib::MedianLookup lookup(cut, pixels.size());
    ASSERT_TRUE(lookup.ready());
    std::vector<std::uint8_t> indices(pixels.size());
    lookup.map(reinterpret_cast<const std::uint8_t*>(pixels.data()), indices.data(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const int index = expected.indexOf(pixels[i]);
        ASSERT_EQ(walk(cut, pixels[i]), index);
        if (index < 256) {
            ASSERT_EQ(indices[i], index);
        }
    }
}

enum class Kind { kUniform, kClustered, kFewColors, kGrey, kOneAxis };

Pixels randomPixels(std::size_t count, Kind kind, std::uint64_t seed) {
    Random random(seed);
    const int center[3] = {random.below(200), random.below(200), random.below(200)};
    Pixels pixels;
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = [&](int low, int span) {
            return static_cast<std::uint8_t>(low + random.below(span));
        };
        const std::uint8_t level = byte(0, 256);
        switch (kind) {
            case Kind::kUniform: pixels.push_back({level, byte(0, 256), byte(0, 256)}); break;
            case Kind::kClustered:
                pixels.push_back({byte(center[0], 20), byte(center[1], 9), byte(center[2], 40)});
                break;
            case Kind::kFewColors: pixels.push_back({byte(0, 4), byte(7, 2), byte(100, 5)}); break;
            case Kind::kGrey: pixels.push_back({level, level, level}); break;
            case Kind::kOneAxis: pixels.push_back({200, level, 3}); break;
        }
    }
    return pixels;
}

TEST(MedianCut, BoxesTreeAndIndicesMatchTheReference) {
    for (const auto level : {dib::KernelLevel::kBaseline, dib::KernelLevel::kAvx2}) {
        dib::limitKernelLevel(level);
        for (const Kind kind :
             {Kind::kUniform, Kind::kClustered, Kind::kFewColors, Kind::kGrey, Kind::kOneAxis}) {
            for (const std::size_t count : {1U, 2U, 3U, 17U, 300U, 5000U}) {
                for (const int maxColours : {1, 2, 3, 16, 255, 256, 259, 260, 261, 0xFF0000}) {
                    expectLikeReference(randomPixels(count, kind, count), maxColours);
                    ASSERT_FALSE(HasFatalFailure()) << count << " pixels, " << maxColours << " colours";
                }
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(MedianCut, OneColorIsOneBox) {
    Pixels pixels(20, DibBGR{10, 20, 30});
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), 5, 4, 256));
    ASSERT_EQ(cut.boxCount, 1);
    const dibmedian::colinfo& box = cut.boxes[0].info;
    EXPECT_EQ(box.blueLow, 10);
    EXPECT_EQ(box.greenLow, 20);
    EXPECT_EQ(box.redLow, 30);
    EXPECT_EQ(box.blueExtent, 1);
    EXPECT_EQ(box.greenExtent, 1);
    EXPECT_EQ(box.redExtent, 1);
    EXPECT_EQ(box.count, 20);
    EXPECT_EQ(cut.root, cut.boxes[0].leaf);
    EXPECT_EQ(cut.root->axis, -1);
}

TEST(MedianCut, TwoRedsAreTwoExactBoxes) {
    Pixels pixels = {{5, 6, 40}, {5, 6, 41}, {5, 6, 41}};
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), 3, 1, 256));
    ASSERT_EQ(cut.boxCount, 2);
    EXPECT_EQ(cut.root->axis, 2);
    EXPECT_EQ(cut.root->cut, 41);
    EXPECT_EQ(cut.boxes[0].info.redLow, 40);
    EXPECT_EQ(cut.boxes[0].info.count, 1);
    EXPECT_EQ(cut.boxes[1].info.redLow, 41);
    EXPECT_EQ(cut.boxes[1].info.count, 2);
    EXPECT_EQ(walk(cut, {5, 6, 40}), 0);
    EXPECT_EQ(walk(cut, {5, 6, 41}), 1);
}

TEST(MedianCut, TiesAreCutOnRedThenGreenThenBlue) {
    const auto axisOf = [](Pixels pixels) {
        mediancut cut;
        EXPECT_TRUE(cut.execute(pixels.data(), static_cast<int>(pixels.size()), 1, 2));
        return cut.root->axis;
    };
    EXPECT_EQ(axisOf({{0, 0, 0}, {9, 9, 9}}), 2);
    EXPECT_EQ(axisOf({{0, 0, 0}, {8, 9, 9}}), 2);
    EXPECT_EQ(axisOf({{0, 0, 0}, {9, 9, 8}}), 1);
    EXPECT_EQ(axisOf({{0, 0, 0}, {9, 8, 8}}), 0);
    EXPECT_EQ(axisOf({{0, 0, 0}, {9, 8, 9}}), 2);
}

TEST(MedianCut, TheCutIsTheFirstValueOfTheUpperHalf) {
    // Reds 0, 1, 2, 3 with 1, 1, 1 and 7 pixels: the cut stops at the last value however uneven the halves
    // are.
    Pixels pixels = {{0, 0, 0}, {0, 0, 1}, {0, 0, 2}};
    pixels.insert(pixels.end(), 7, DibBGR{0, 0, 3});
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), 10, 1, 2));
    EXPECT_EQ(cut.root->cut, 3);
    EXPECT_EQ(cut.boxes[0].info.count, 3);
    EXPECT_EQ(cut.boxes[1].info.count, 7);
    EXPECT_EQ(cut.boxes[1].info.redExtent, 1);
}

// The dark box scores 2 bits x 2 reds, the bright one 10 bits x 1: the greater score is a single colour, and that ends
// it, although the other box could still be cut.
Pixels darkPairAndManyReds() {
    Pixels pixels(1002, DibBGR{0, 0, 200});
    pixels[0] = {0, 0, 0};
    pixels[1] = {0, 0, 1};
    return pixels;
}

TEST(MedianCut, StopsWhenTheGreatestScoreIsASingleColor) {
    Pixels pixels = darkPairAndManyReds();
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), 1002, 1, 256));
    ASSERT_EQ(cut.boxCount, 2);
    EXPECT_EQ(cut.root->cut, 200);
    EXPECT_EQ(cut.boxes[0].info.redExtent, 2);
    EXPECT_EQ(cut.boxes[0].info.count, 2);
    EXPECT_EQ(cut.boxes[1].info.redExtent, 1);
    EXPECT_EQ(cut.boxes[1].info.count, 1000);
}

TEST(MedianCut, EmptyPicturesStopWithOneBox) {
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
        mediancut cut;
        ASSERT_TRUE(cut.execute(nullptr, width, height, 256));
        EXPECT_EQ(cut.boxCount, 1);
        EXPECT_EQ(cut.boxes[0].info.count, 0);
        EXPECT_EQ(cut.get_index(), -1);
    }
}

TEST(MedianCut, BoxesNeverExceedTheTable) {
    Pixels pixels = randomPixels(5000, Kind::kUniform, 1);
    mediancut cut;
    ASSERT_TRUE(cut.execute(pixels.data(), 5000, 1, 0x100000));
    EXPECT_EQ(cut.boxCount, 260);
}

TEST(MedianCut, ScorePrefersEarlierBoxesAndIgnoresEmptyOnes) {
    mediancut cut;
    EXPECT_EQ(cut.get_index(), -1);
    cut.add({0, 0, 0, 1, 1, 9, 0});   // no pixels: 0
    cut.add({0, 0, 0, 3, 1, 1, 4});   // 3 bits x 3 = 9
    cut.add({0, 0, 0, 1, 9, 1, 1});   // 1 bit x 9 = 9
    cut.add({0, 0, 0, 0, 0, -1, 9});  // nothing left of it
    EXPECT_EQ(cut.get_index(), 1);
    EXPECT_EQ(cut.root, cut.boxes[0].leaf);
    // Only the root is owned by the tree here.
    for (int i = 1; i < 4; ++i) delete cut.boxes[i].leaf;
}

TEST(MedianCut, SliceMovesTheLastBoxIntoTheFreedRow) {
    mediancut cut;
    int low = -1;
    int high = -1;
    cut.add({10, 20, 30, 4, 5, 6, 100});
    ASSERT_TRUE(cut.slice(0, 0, 32, low, high));
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 1);
    ASSERT_TRUE(cut.slice(0, 2, 12, low, high));
    EXPECT_EQ(low, 1);
    EXPECT_EQ(high, 2);
    const dibmedian::colinfo moved = cut.boxes[0].info;
    EXPECT_EQ(moved.blueLow, 32);
    EXPECT_EQ(moved.blueExtent, 4);
    EXPECT_EQ(moved.count, 0);
    EXPECT_EQ(cut.boxes[1].info.redLow, 10);
    EXPECT_EQ(cut.boxes[1].info.redExtent, 2);
    EXPECT_EQ(cut.boxes[1].info.blueExtent, 2);
    EXPECT_EQ(cut.boxes[2].info.redLow, 12);
    EXPECT_EQ(cut.boxes[2].info.redExtent, 2);
    EXPECT_EQ(cut.root->axis, 0);
    EXPECT_EQ(cut.root->cut, 32);
    EXPECT_EQ(cut.root->left->axis, 2);
    EXPECT_EQ(cut.root->left->cut, 12);
    EXPECT_EQ(cut.root->right, cut.boxes[0].leaf);
}

TEST(MedianCut, SurvivesEveryFailingAllocation) {
    std::unique_ptr<mediancut> cut;
    Pixels pixels = randomPixels(40, Kind::kUniform, 1);
    bool result = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { cut = std::make_unique<mediancut>(); }, [&] { result = cut->execute(pixels.data(), 8, 5, 4); },
        [&](bool failureMet) {
            EXPECT_EQ(result, !failureMet);
            cut.reset();
        });
    EXPECT_EQ(failures, 4 + 7);  // four working blocks, seven nodes
}

// The plain histogram.

TEST(MedianHistogram, FindsAndBoundsThePixelsOfABox) {
    auto histogram = std::make_unique<dibmedian::medianhist>();
    std::memset(static_cast<void*>(histogram.get()), 0, sizeof *histogram);
    const Pixels pixels = randomPixels(20000, Kind::kClustered, 5);
    for (const DibBGR pixel : pixels) ASSERT_TRUE(histogram->add(pixel));
    Random random(9);
    for (int round = 0; round < 50; ++round) {
        const int rLo = random.below(200), gLo = random.below(200), bLo = random.below(200);
        const int rHi = rLo + random.below(56), gHi = gLo + random.below(56), bHi = bLo + random.below(56);
        int found[256] = {};
        int expected[256] = {};
        int total = 0;
        int bounds[6] = {rHi, rLo, gHi, gLo, bHi, bLo};
        int expectedBounds[6] = {rHi, rLo, gHi, gLo, bHi, bLo};
        for (const DibBGR p : pixels) {
            if (p.red < rLo || p.red > rHi || p.green < gLo || p.green > gHi || p.blue < bLo || p.blue > bHi)
                continue;
            ++expected[p.green];
            ++total;
            const int values[3] = {p.red, p.green, p.blue};
            for (int i = 0; i < 3; ++i) {
                expectedBounds[2 * i] = std::min(expectedBounds[2 * i], values[i]);
                expectedBounds[2 * i + 1] = std::max(expectedBounds[2 * i + 1], values[i]);
            }
        }
        EXPECT_EQ(histogram->search(rLo, rHi, gLo, gHi, bLo, bHi, found, 1), total);
        EXPECT_EQ(std::memcmp(found, expected, sizeof found), 0);
        histogram->rect(rLo, rHi, gLo, gHi, bLo, bHi, bounds[0], bounds[1], bounds[2], bounds[3], bounds[4],
                        bounds[5]);
        EXPECT_EQ(std::memcmp(bounds, expectedBounds, sizeof bounds), 0);
    }
    histogram->clear();
}

TEST(MedianHistogram, CellsGrowByDoublingAnd128) {
    dibmedian::medianhistdata cell{0, nullptr, 0};
    ASSERT_TRUE(cell.add({1, 2, 3}));
    EXPECT_EQ(cell.capacity, 128);
    for (int i = 1; i < 129; ++i) ASSERT_TRUE(cell.add({1, 2, 3}));
    EXPECT_EQ(cell.capacity, 384);
    EXPECT_EQ(cell.count, 129);
    EXPECT_EQ(cell.entries[128].red, 3);
    std::free(cell.entries);
}

// Images.

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

// Boxes of several colours without an entry: what counts is the pixel's own colour and not the centre of its box, and
// of two entries equally near the first.
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
