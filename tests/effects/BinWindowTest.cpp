#include "effects/rank/BinWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "dib/Kernels.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dib::BinRank;
using dib::BinWindow;
using Row = std::vector<std::uint16_t>;

constexpr std::ptrdiff_t kSide = 17;

template <class Cell>
class BinWindowOf : public ::testing::Test {
protected:
    ~BinWindowOf() override { dib::limitKernelLevel(dib::bestKernelLevel()); }
};
using Cells = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(BinWindowOf, Cells);

// The same by sorting.
BinRank sortedRank(const std::vector<Row>& rows, std::ptrdiff_t top, std::ptrdiff_t left, std::ptrdiff_t side,
                   std::ptrdiff_t rank) {
    Row bins;
    for (std::ptrdiff_t y = 0; y < side; ++y) {
        const auto first = rows[static_cast<std::size_t>(top + y)].begin() + left;
        bins.insert(bins.end(), first, first + side);
    }
    std::sort(bins.begin(), bins.end());
    const auto at = bins.begin() + rank;
    const auto before = at - std::lower_bound(bins.begin(), bins.end(), *at);
    return {*at, static_cast<std::uint32_t>(before)};
}

// Slides over all squares of the rows, rows alternately rightwards and leftwards.
template <class Cell>
void expectSortedRanks(const std::vector<Row>& rows, std::ptrdiff_t bins, std::ptrdiff_t side,
                       std::uint32_t rank) {
    BinWindow<Cell> window;
    const std::ptrdiff_t columns = std::ssize(rows[0]);
    ASSERT_TRUE(window.prepare(bins, columns, side));
    window.clear(bins, columns);
    for (std::ptrdiff_t y = 0; y < side; ++y) window.add(rows[static_cast<std::size_t>(y)].data());
    const std::ptrdiff_t count = columns - side + 1;
    std::vector<BinRank> found(static_cast<std::size_t>(count));
    for (std::ptrdiff_t y = 0; y + side <= std::ssize(rows); ++y) {
        if (y > 0) {
            window.replace(rows[static_cast<std::size_t>(y - 1)].data(),
                           rows[static_cast<std::size_t>(y - 1 + side)].data());
        }
        window.find(rank, count, y % 2 == 0, found.data());
        for (std::ptrdiff_t x = 0; x < count; ++x) {
            const BinRank expected = sortedRank(rows, y, x, side, rank);
            ASSERT_EQ(found[static_cast<std::size_t>(x)].bin, expected.bin) << x << " " << y;
            ASSERT_EQ(found[static_cast<std::size_t>(x)].rank, expected.rank) << x << " " << y;
        }
    }
}

TYPED_TEST(BinWindowOf, FindsTheBinAndTheRankInIt) {
    BinWindow<TypeParam> window;
    ASSERT_TRUE(window.prepare(200, kSide, kSide));
    window.clear(200, kSide);
    Row row(kSide, 5);
    row[3] = 0;
    row[4] = 199;
    for (int y = 0; y < 17; ++y) window.add(row.data());  // 17 of bin 0, 255 of 5, 17 of 199
    const auto find = [&](std::uint32_t rank) {
        BinRank found{};
        window.find(rank, 1, true, &found);
        return std::vector<std::uint32_t>{found.bin, found.rank};
    };
    using Found = std::vector<std::uint32_t>;
    EXPECT_EQ(find(16), (Found{0, 16}));
    EXPECT_EQ(find(17), (Found{5, 0}));
    EXPECT_EQ(find(271), (Found{5, 254}));
    EXPECT_EQ(find(272), (Found{199, 0}));
    EXPECT_EQ(find(288), (Found{199, 16}));
    EXPECT_EQ(find(0), (Found{0, 0}));
}

TYPED_TEST(BinWindowOf, EqualsASortAtEveryLevel) {
    testing_support::Random random(4);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const std::ptrdiff_t side : {17, 18, 32, 33, 47}) {
            std::vector<Row> rows(static_cast<std::size_t>(side + 4),
                                  Row(static_cast<std::size_t>(side + 9)));
            for (Row& row : rows) {
                for (auto& bin : row) bin = static_cast<std::uint16_t>(random.below(250));
            }
            for (const std::ptrdiff_t rank : {std::ptrdiff_t{0}, side * side / 2, side * side - 1})
                expectSortedRanks<TypeParam>(rows, 250, side, static_cast<std::uint32_t>(rank));
        }
    }
}

// Between the two bins all groups are passed, from and to the middle of a group.
TYPED_TEST(BinWindowOf, CrossesManyEmptyBins) {
    testing_support::Random random(5);
    std::vector<Row> rows(31, Row(80));
    for (Row& row : rows) {
        for (auto& bin : row) bin = random.below(2) == 0 ? 3 : 230;
    }
    expectSortedRanks<TypeParam>(rows, 231, kSide, kSide * kSide / 2);
}

TEST(BinWindow, CountsColumnsOfMoreThan255Rows) {
    std::vector<Row> rows(302, Row(304, 7));
    rows[301] = Row(304, 2000);
    rows[0][9] = 4095;
    expectSortedRanks<std::uint16_t>(rows, 4096, 301, 301 * 301 / 2);
}

TYPED_TEST(BinWindowOf, StartsAnewForASmallerTile) {
    BinWindow<TypeParam> window;
    ASSERT_TRUE(window.prepare(100, 60, kSide));
    window.clear(100, 60);
    for (int y = 0; y < 17; ++y) window.add(Row(60, 99).data());
    BinRank found[2];
    window.find(144, 2, true, found);
    EXPECT_EQ(found[1].bin, 99U);
    window.clear(50, 18);
    for (int y = 0; y < 17; ++y) window.add(Row(18, 40).data());
    window.find(144, 2, false, found);
    EXPECT_EQ(found[0].bin, 40U);
    EXPECT_EQ(found[0].rank, 144U);
}

TYPED_TEST(BinWindowOf, ReportsShortMemory) {
    std::optional<BinWindow<TypeParam>> window;
    bool ready = false;
    const int failures = testing_support::forEachFailingAllocation(
        [] {}, [&] { ready = window.emplace().prepare(256, 100, kSide); },
        [&](bool failureMet) {
            EXPECT_NE(ready, failureMet);
            window.reset();
        });
    EXPECT_EQ(failures, 1);
}

}  // namespace
