#include "dib/EdgeAxis.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

namespace {

using dib::EdgeAxis;
using dib::EdgeWindow;

TEST(EdgeAxis, ClampsToTheEdges) {
    const EdgeAxis axis{10, false};
    EXPECT_EQ(axis.at(0), 0);
    EXPECT_EQ(axis.at(9), 9);
    EXPECT_EQ(axis.at(-1), 0);
    EXPECT_EQ(axis.at(10), 9);
    EXPECT_EQ(axis.at(INT64_MIN), 0);
    EXPECT_EQ(axis.at(INT64_MAX), 9);
    EXPECT_EQ((EdgeAxis{1, false}.at(5)), 0);
}

TEST(EdgeAxis, WrapsAround) {
    const EdgeAxis axis{10, true};
    EXPECT_EQ(axis.at(0), 0);
    EXPECT_EQ(axis.at(9), 9);
    EXPECT_EQ(axis.at(10), 0);
    EXPECT_EQ(axis.at(23), 3);
    EXPECT_EQ(axis.at(-1), 9);
    EXPECT_EQ(axis.at(-10), 0);
    EXPECT_EQ(axis.at(-11), 9);
    EXPECT_EQ(axis.at(INT64_MIN), 2);  // 9223372036854775808 mod 10 is 8
    EXPECT_EQ(axis.at(INT64_MAX), 7);
    EXPECT_EQ((EdgeAxis{1, true}.at(-5)), 0);
    EXPECT_EQ((EdgeAxis{0, true}.at(5)), 0);
    EXPECT_EQ((EdgeAxis{INT_MAX, true}.at(INT_MIN)), INT_MAX - 1);
}

TEST(EdgeAxis, PadsARowInPlace) {
    const auto padded = [](EdgeAxis axis, std::ptrdiff_t before, std::ptrdiff_t after, std::ptrdiff_t step,
                           const std::vector<int>& row) {
        std::vector<int> cells(static_cast<std::size_t>((before + after) * step) + row.size());
        int* const first = cells.data() + before * step;
        std::copy(row.begin(), row.end(), first);
        axis.pad(first, before, after, step);
        return cells;
    };
    EXPECT_EQ(padded({3, false}, 2, 4, 1, {1, 2, 3}), (std::vector<int>{1, 1, 1, 2, 3, 3, 3, 3, 3}));
    EXPECT_EQ(padded({3, true}, 2, 4, 1, {1, 2, 3}), (std::vector<int>{2, 3, 1, 2, 3, 1, 2, 3, 1}));
    EXPECT_EQ(padded({2, true}, 3, 0, 1, {1, 2}), (std::vector<int>{2, 1, 2, 1, 2}));
    EXPECT_EQ(padded({2, false}, 1, 1, 2, {1, 2, 3, 4}), (std::vector<int>{1, 2, 1, 2, 3, 4, 3, 4}));
    EXPECT_EQ(padded({2, true}, 1, 2, 2, {1, 2, 3, 4}), (std::vector<int>{3, 4, 1, 2, 3, 4, 1, 2, 3, 4}));
    EXPECT_EQ(padded({1, true}, 0, 0, 3, {1, 2, 3}), (std::vector<int>{1, 2, 3}));
}

TEST(EdgeWindow, AtAClampedEdgeTheLastPixelIsReadAgain) {
    // Positions -2 to 2 of 4 pixels: 0 0 0 1 2.
    const EdgeWindow window({4, false}, 2);
    EXPECT_EQ(window.side(), 5);
    EXPECT_EQ(window.first(0), 0);
    EXPECT_EQ(window.count(0), 3);
    EXPECT_EQ(window.visits(0, 0), 3U);
    EXPECT_EQ(window.visits(0, 1), 1U);
    EXPECT_EQ(window.visits(0, 2), 1U);
    EXPECT_EQ(window.visitsOf(0, 0), 3U);
    EXPECT_EQ(window.visitsOf(0, 3), 0U);
    // Positions 1 to 5: 1 2 3 3 3.
    EXPECT_EQ(window.first(3), 1);
    EXPECT_EQ(window.count(3), 3);
    EXPECT_EQ(window.visits(3, 2), 3U);
    EXPECT_FALSE(window.visitsOnce(3));
    EXPECT_TRUE((EdgeWindow({5, false}, 2).visitsOnce(2)));
    EXPECT_EQ((EdgeWindow({1, false}, 2).visits(0, 0)), 5U);
    EXPECT_EQ((EdgeWindow({1, false}, INT_MAX).visits(0, 0)), 4294967295U);
    EXPECT_EQ((EdgeWindow({4, false}, 9).reach()), 4);
    EXPECT_EQ((EdgeWindow({4, false}, 3).reach()), 3);
}

TEST(EdgeWindow, OnAWrappedAxisTurnsRepeat) {
    // Positions -3 to 3 of 5 pixels: 2 3 4 0 1 2 3.
    const EdgeWindow window({5, true}, 3);
    EXPECT_EQ(window.side(), 7);
    EXPECT_EQ(window.first(0), 2);
    EXPECT_EQ(window.count(0), 5);
    EXPECT_EQ(window.turns(), 1U);
    EXPECT_EQ(window.remainder(), 2);
    EXPECT_TRUE(window.repeats());
    EXPECT_EQ(window.visits(0, 0), 2U);
    EXPECT_EQ(window.visits(0, 1), 2U);
    EXPECT_EQ(window.visits(0, 2), 1U);
    EXPECT_EQ(window.visitsOf(0, 3), 2U);
    EXPECT_EQ(window.visitsOf(0, 0), 1U);
    EXPECT_EQ(window.reach(), 3);
    EXPECT_EQ((EdgeWindow({5, true}, 12).reach()), 2);
    EXPECT_FALSE((EdgeWindow({5, true}, 2).repeats()));
    EXPECT_TRUE((EdgeWindow({5, true}, 2).visitsOnce(4)));
    EXPECT_EQ((EdgeWindow({7, true}, 2).visitsOf(3, 6)), 0U);
}

// Counts the positions one by one.
TEST(EdgeWindow, CountsWhatThePositionsRead) {
    for (const bool wrap : {false, true}) {
        for (int size = 1; size <= 6; ++size) {
            for (int radius = 0; radius <= 14; ++radius) {
                const EdgeAxis axis{size, wrap};
                const EdgeWindow window(axis, radius);
                std::vector<std::uint32_t> slid(static_cast<std::size_t>(size));
                for (int v = 0; v < size; ++v) {
                    std::vector<std::uint32_t> read(static_cast<std::size_t>(size));
                    for (int t = v - radius; t <= v + radius; ++t)
                        ++read[static_cast<std::size_t>(axis.at(t))];
                    if (v == 0) slid = read;
                    EXPECT_EQ(slid, read) << wrap << " " << size << " " << radius;
                    std::vector<std::uint32_t> visits(read.size());
                    for (int i = 0; i < window.count(v); ++i) {
                        const int p = axis.wrap ? axis.at(window.first(v) + i) : window.first(v) + i;
                        visits[static_cast<std::size_t>(p)] += window.visits(v, i);
                    }
                    EXPECT_EQ(visits, read) << wrap << " " << size << " " << radius << " " << v;
                    for (int p = 0; p < size; ++p) {
                        EXPECT_EQ(window.visitsOf(v, p), read[static_cast<std::size_t>(p)]);
                    }
                    EXPECT_EQ(window.visitsOnce(v), window.count(v) == 2 * radius + 1);
                    ++slid[static_cast<std::size_t>(axis.at(v + 1 + window.reach()))];
                    --slid[static_cast<std::size_t>(axis.at(v - window.reach()))];
                }
            }
        }
    }
}

TEST(EdgePositions, BetweenPixels) {
    EXPECT_EQ(dib::clampedPosition(-3.7F, 10), 0.0F);
    EXPECT_EQ(dib::clampedPosition(8.5F, 10), 8.5F);
    EXPECT_EQ(dib::clampedPosition(9.5F, 10), 9.0F);
    EXPECT_EQ(dib::clampedPosition(NAN, 10), 0.0F);
    EXPECT_EQ(dib::clampedPosition(INFINITY, 10), 9.0F);
    EXPECT_EQ(dib::wrappedPosition(-1.0F, 10), 9.0F);
    EXPECT_EQ(dib::wrappedPosition(-10.0F, 10), 0.0F);
    EXPECT_EQ(dib::wrappedPosition(10.0F, 10), 0.0F);
    EXPECT_EQ(dib::wrappedPosition(25.0F, 10), 5.0F);
    EXPECT_EQ(dib::wrappedPosition(9.5F, 10), 9.5F);
    EXPECT_EQ(dib::wrappedPosition(NAN, 10), 0.0F);
    EXPECT_EQ(dib::wrappedPosition(INFINITY, 10), 0.0F);
}

}  // namespace
