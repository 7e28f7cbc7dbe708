#include <DibMedian.h>
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "dib/Kernels.h"
#include "dib/MedianLookup.h"
#include "tests/dib/MedianSupport.h"
#include "tests/reference/MedianReference.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dibmedian::mediancut;
using median_support::darkPairAndManyReds;
using median_support::Pixels;
using median_support::walk;
using testing_support::Random;

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
    for (const auto level : dib::kKernelLevels) {
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

}  // namespace
