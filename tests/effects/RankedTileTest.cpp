#include "effects/rank/RankedTile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "dib/Kernels.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dib::BinRank;
using dib::RankedTile;
using Keys = std::vector<std::uint16_t>;

template <class Cell>
class RankedTileOf : public ::testing::Test {
protected:
    ~RankedTileOf() override { dib::limitKernelLevel(dib::bestKernelLevel()); }
};
using Cells = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(RankedTileOf, Cells);

// The pixels of a square of side `side` from (left, top) on that are of a bin, in the order of the tile.
template <class Cell>
std::vector<std::pair<int, int>> ofBin(const RankedTile<Cell>& tile, const Keys& keys, std::ptrdiff_t pitch,
                                       std::uint32_t bin, std::ptrdiff_t left, std::ptrdiff_t top,
                                       std::ptrdiff_t side) {
    std::vector<std::pair<int, int>> pixels;
    for (std::ptrdiff_t y = top; y < top + side; ++y) {
        for (std::ptrdiff_t x = left; x < left + side; ++x) {
            if (tile.binRow(y)[x] == bin) pixels.emplace_back(static_cast<int>(x), static_cast<int>(y));
        }
    }
    const auto keyOf = [&](const auto& pixel) {
        return keys[static_cast<std::size_t>(pixel.second * pitch + pixel.first)];
    };
    std::stable_sort(pixels.begin(), pixels.end(),
                     [&](const auto& a, const auto& b) { return keyOf(a) < keyOf(b); });
    return pixels;
}

TYPED_TEST(RankedTileOf, RanksEqualKeysInVisitingOrder) {
    RankedTile<TypeParam> tile;
    ASSERT_TRUE(tile.prepare(20, 10));
    EXPECT_EQ(tile.mostBins(), 4);  // of 64 ranks
    // In a wider picture: only the first 20 columns are of the tile.
    Keys keys(10 * 21, 7);
    keys[4 * 21 + 11] = 0x0107;
    keys[5 * 21 + 2] = 0x00FF;
    keys[9 * 21 + 19] = 6;
    for (std::size_t y = 0; y < 10; ++y) keys[y * 21 + 20] = 0;
    tile.rank(keys.data(), 21, 20, 10);
    EXPECT_EQ(tile.binRow(9)[19], 0);
    EXPECT_EQ(tile.binRow(3)[2], 0);  // rank 63
    EXPECT_EQ(tile.binRow(3)[3], 1);
    EXPECT_EQ(tile.binRow(4)[11], 3);  // the last
    EXPECT_EQ(tile.binRow(5)[2], 3);

    const auto select = [&](std::uint32_t bin, std::uint32_t rank) {
        const BinRank found{bin, rank};
        typename RankedTile<TypeParam>::Position position{};
        tile.select(&found, 1, 0, 20, &position);
        return std::pair<int, int>(position.x, position.y);
    };
    EXPECT_EQ(select(0, 0), (std::pair(19, 9)));
    EXPECT_EQ(select(0, 1), (std::pair(0, 0)));
    EXPECT_EQ(select(0, 63), (std::pair(2, 3)));
    EXPECT_EQ(select(1, 0), (std::pair(3, 3)));
    EXPECT_EQ(select(3, 6), (std::pair(2, 5)));
    EXPECT_EQ(select(3, 7), (std::pair(11, 4)));
}

TYPED_TEST(RankedTileOf, SelectsInsideASquareAtEveryLevel) {
    testing_support::Random random(6);
    constexpr std::ptrdiff_t kColumns = 250;
    constexpr std::ptrdiff_t kRows = 120;
    constexpr std::ptrdiff_t kSide = 101;
    Keys keys(kColumns * kRows);
    for (auto& key : keys) key = static_cast<std::uint16_t>(40 * random.below(300));
    RankedTile<TypeParam> tile;
    ASSERT_TRUE(tile.prepare(kColumns, kRows));
    EXPECT_LE(tile.mostBins(), 500);
    tile.rank(keys.data(), kColumns, kColumns, kRows);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const std::ptrdiff_t top : {0, 5, 19}) {
            const auto bin = static_cast<std::uint32_t>(random.below(static_cast<int>(tile.mostBins()) - 1));
            std::vector<BinRank> found;
            std::vector<std::pair<int, int>> expected;
            for (std::ptrdiff_t x = 0; x + kSide <= kColumns; ++x) {
                const auto pixels = ofBin(tile, keys, kColumns, bin, x, top, kSide);
                ASSERT_FALSE(pixels.empty());
                const int rank = random.below(static_cast<int>(pixels.size()));
                found.push_back({bin, static_cast<std::uint32_t>(rank)});
                expected.push_back(pixels[static_cast<std::size_t>(rank)]);
            }
            std::vector<typename RankedTile<TypeParam>::Position> positions(found.size());
            tile.select(found.data(), std::ssize(found), top, kSide, positions.data());
            for (std::size_t x = 0; x < found.size(); ++x) {
                EXPECT_EQ(positions[x].x, expected[x].first);
                EXPECT_EQ(positions[x].y, expected[x].second);
            }
        }
    }
}

TYPED_TEST(RankedTileOf, ReportsShortMemory) {
    std::optional<RankedTile<TypeParam>> tile;
    bool ready = false;
    const int failures =
        testing_support::forEachFailingAllocation([] {}, [&] { ready = tile.emplace().prepare(40, 30); },
                                                  [&](bool failureMet) {
                                                      EXPECT_NE(ready, failureMet);
                                                      tile.reset();
                                                  });
    EXPECT_EQ(failures, 4);
}

TEST(RankedTile, HasAtMost256BinsWhereCellsAreBytes) {
    RankedTile<std::uint8_t> bytes;
    ASSERT_TRUE(bytes.prepare(256, 256));
    EXPECT_EQ(bytes.mostBins(), 129);
    RankedTile<std::uint16_t> words;
    ASSERT_TRUE(words.prepare(328, 328));
    EXPECT_EQ(words.mostBins(), 421);
}

}  // namespace
