#include "effects/rank/SelectLanes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "dib/Kernels.h"
#include "tests/support/TestImages.h"

namespace {

using dib::BrightnessPlanes;

// Rows of numbers in both forms that the functions take.
class Rows {
public:
    explicit Rows(const std::vector<std::vector<int>>& rows) : numbers_(rows) {
        const std::size_t length = rows[0].size() + dib::kSelectLanes;
        bytes_.assign(2 * rows.size(), std::vector<std::int8_t>(length));
        for (std::size_t j = 0; j < rows.size(); ++j) {
            planes_.push_back({bytes_[2 * j].data(), bytes_[2 * j + 1].data()});
            keys_.push_back(bytes_[2 * j + 1].data());
            for (std::size_t x = 0; x < rows[j].size(); ++x)
                planes_[j].put(static_cast<std::ptrdiff_t>(x), rows[j][x]);
        }
    }

    int side() const { return static_cast<int>(numbers_.size()); }
    std::size_t squares() const { return numbers_[0].size() - numbers_.size() + 1; }

    std::vector<std::uint16_t> byBrightness(int rank) const {
        std::vector<std::uint16_t> positions(squares());
        dib::selectByBrightness(planes_.data(), side(), rank, positions.data(), std::ssize(positions));
        return positions;
    }
    // As keys count the low bytes of the numbers.
    std::vector<int> keys(int rank, int bits) const {
        std::vector<std::int8_t> keys(squares());
        dib::selectKeys(keys_.data(), side(), rank, bits, keys.data(), std::ssize(keys));
        std::vector<int> result;
        for (const std::int8_t key : keys) result.push_back(key + 128);
        return result;
    }
    std::vector<std::uint16_t> positionsOfKeys(int rank, std::ptrdiff_t first, std::ptrdiff_t end) const {
        std::vector<std::int8_t> keys(squares());
        dib::selectKeys(keys_.data(), side(), rank, 8, keys.data(), std::ssize(keys));
        std::vector<std::uint16_t> positions(squares(), 999);
        dib::positionsOfKeys(keys_.data(), side(), rank, keys.data(), positions.data(), first, end);
        return positions;
    }
    // The same by sorting, bright to dark.
    std::vector<std::uint16_t> sorted(int rank) const {
        std::vector<std::uint16_t> positions;
        const int square = side() * side();
        for (std::size_t x = 0; x < squares(); ++x) {
            std::vector<int> order(static_cast<std::size_t>(square));
            std::iota(order.begin(), order.end(), 0);
            const auto at = [&](int p) {
                return numbers_[static_cast<std::size_t>(p / side())]
                               [x + static_cast<std::size_t>(p % side())];
            };
            std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return at(a) > at(b); });
            positions.push_back(static_cast<std::uint16_t>(order[static_cast<std::size_t>(rank)]));
        }
        return positions;
    }

private:
    std::vector<std::vector<int>> numbers_;
    std::vector<std::vector<std::int8_t>> bytes_;
    std::vector<BrightnessPlanes> planes_;
    std::vector<const std::int8_t*> keys_;
};

using Positions = std::vector<std::uint16_t>;

TEST(SelectLanes, CountsPositionsRowByRow) {
    // Two squares: 9 8 7 / 6 5 4 / 3 2 1 and 8 7 60000 / 5 4 0 / 2 1 5.
    const Rows rows({{9, 8, 7, 60000}, {6, 5, 4, 0}, {3, 2, 1, 5}});
    EXPECT_EQ(rows.byBrightness(0), (Positions{0, 2}));
    EXPECT_EQ(rows.byBrightness(4), (Positions{4, 8}));  // of two fives the later position
    EXPECT_EQ(rows.byBrightness(3), (Positions{3, 3}));
    EXPECT_EQ(rows.byBrightness(8), (Positions{8, 5}));
    const Rows single(std::vector<std::vector<int>>{{7}});
    EXPECT_EQ(single.byBrightness(0), (Positions{0}));
}

TEST(SelectLanes, EqualNumbersKeepTheOrderOfTheirPositions) {
    const Rows rows({{5, 5, 5}, {5, 5, 5}, {5, 5, 5}});
    for (int rank = 0; rank < 9; ++rank) {
        EXPECT_EQ(rows.byBrightness(rank), (Positions{static_cast<std::uint16_t>(rank)}));
        EXPECT_EQ(rows.positionsOfKeys(rank, 0, 1), (Positions{static_cast<std::uint16_t>(rank)}));
        EXPECT_EQ(rows.keys(rank, 3), (std::vector<int>{5}));
    }
}

TEST(SelectLanes, KeysAndTheirPositions) {
    const Rows rows({{1, 0, 3, 2}, {2, 2, 0, 1}, {3, 1, 1, 0}});
    EXPECT_EQ(rows.keys(0, 2), (std::vector<int>{3, 3}));
    EXPECT_EQ(rows.keys(5, 2), (std::vector<int>{1, 1}));
    EXPECT_EQ(rows.keys(8, 2), (std::vector<int>{0, 0}));
    // Positions of 3 3 2 2 1 1 1 0 0 in the first square; the second is not asked for.
    EXPECT_EQ(rows.positionsOfKeys(5, 0, 1), (Positions{7, 999}));
    EXPECT_EQ(rows.positionsOfKeys(6, 0, 2), rows.sorted(6));
}

TEST(SelectLanes, EqualsASortAtEveryLevel) {
    testing_support::Random random(12);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const int side : {1, 3, 7, 15}) {
            for (const int numbers : {2, 256, 65281}) {
                std::vector<std::vector<int>> values(static_cast<std::size_t>(side));
                for (auto& row : values) {
                    for (int x = 0; x < 70 + side - 1; ++x) row.push_back(random.below(numbers));
                }
                const Rows rows(values);
                for (const int rank : {0, side * side / 2, side * side - 1}) {
                    EXPECT_EQ(rows.byBrightness(rank), rows.sorted(rank)) << side << " " << numbers;
                    if (numbers > 256) continue;
                    EXPECT_EQ(rows.positionsOfKeys(rank, 0, 70), rows.sorted(rank)) << side << " " << numbers;
                }
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

}  // namespace
