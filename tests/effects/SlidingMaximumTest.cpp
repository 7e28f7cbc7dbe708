#include "effects/rank/SlidingMaximum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "dib/Kernels.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dib::ByteCandidates;
using dib::Candidates;
using CandidateRows = Candidates::Memory;
using SlidingMaximum = dib::SlidingMaximum<Candidates>;
using Scores = std::vector<std::int32_t>;
using Values = std::vector<std::uint32_t>;

void put(Candidates row, const Scores& scores, const Values& values) {
    std::copy(scores.begin(), scores.end(), row.score);
    std::copy(values.begin(), values.end(), row.value);
}

Values alongRow(const Scores& scores, const Values& values, std::ptrdiff_t window) {
    CandidateRows rows;
    const std::ptrdiff_t width = std::ssize(scores);
    EXPECT_TRUE(rows.allocate(3, width));
    put(rows.row(0), scores, values);
    dib::maximumAlongRow(rows.row(0), width, window, rows.row(1), rows.row(2));
    const std::uint32_t* const out = rows.row(2).value;
    return {out, out + (width - window + 1)};
}

TEST(MaximumAlongRow, TakesTheFirstOfTheHighest) {
    const Scores scores{3, 1, 4, 1, 5, 9, 2, 6};
    const Values values{0, 1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(alongRow(scores, values, 1), values);
    EXPECT_EQ(alongRow(scores, values, 2), (Values{0, 2, 2, 4, 5, 5, 7}));
    EXPECT_EQ(alongRow(scores, values, 3), (Values{2, 2, 4, 5, 5, 5}));
    EXPECT_EQ(alongRow(scores, values, 8), (Values{5}));
    EXPECT_EQ(alongRow({7, 7, 7, 7, 7}, {0, 1, 2, 3, 4}, 3), (Values{0, 1, 2}));
    EXPECT_EQ(alongRow({-5, -7, -5}, {0, 1, 2}, 3), (Values{0}));
}

TEST(MaximumAlongRow, EqualsThePlainLoopAtEveryLevel) {
    testing_support::Random random(3);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (std::ptrdiff_t window = 1; window <= 40; ++window) {
            Scores scores(77);
            Values values(77);
            for (std::size_t i = 0; i < scores.size(); ++i) {
                scores[i] = static_cast<std::int32_t>(random.below(9));
                values[i] = static_cast<std::uint32_t>(i);
            }
            Values expected;
            for (std::ptrdiff_t i = 0; i + window <= std::ssize(scores); ++i) {
                const auto from = scores.begin() + i;
                const auto highest = std::max_element(from, from + window);
                expected.push_back(static_cast<std::uint32_t>(highest - scores.begin()));
            }
            EXPECT_EQ(alongRow(scores, values, window), expected) << window;
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(MaximumAlongRow, TakesTheHighestByte) {
    const std::vector<std::uint8_t> bytes{3, 1, 4, 1, 5, 200, 2, 6};
    ByteCandidates::Memory rows;
    ASSERT_TRUE(rows.allocate(3, 8));
    std::copy(bytes.begin(), bytes.end(), rows.row(0).byte);
    dib::maximumAlongRow(rows.row(0), 8, 3, rows.row(1), rows.row(2));
    const std::uint8_t* const out = rows.row(2).byte;
    EXPECT_EQ((std::vector<std::uint8_t>{out, out + 6}), (std::vector<std::uint8_t>{4, 4, 5, 200, 200, 200}));
}

TEST(SlidingMaximum, KeepsTheMaximaOfItsRows) {
    SlidingMaximum rows;
    CandidateRows out;
    ASSERT_TRUE(rows.prepare(2, 3) && out.allocate(1, 2));
    const auto push = [&](const Scores& scores, const Values& values) {
        put(rows.next(), scores, values);
        rows.push();
    };
    const auto maximum = [&] {
        rows.maximum(out.row(0));
        return Values{out.row(0).value[0], out.row(0).value[1]};
    };
    push({5, 1}, {50, 10});
    EXPECT_EQ(maximum(), (Values{50, 10}));
    push({3, 1}, {30, 11});
    EXPECT_EQ(maximum(), (Values{50, 10}));  // of two equals the row pushed first
    push({4, 2}, {40, 20});
    EXPECT_EQ(maximum(), (Values{50, 20}));
    rows.pop();
    EXPECT_EQ(maximum(), (Values{40, 20}));
    push({4, 2}, {41, 21});
    EXPECT_EQ(maximum(), (Values{40, 20}));
    rows.pop();
    rows.pop();
    EXPECT_EQ(maximum(), (Values{41, 21}));
}

TEST(SlidingMaximum, EqualsThePlainLoopWhileItSlides) {
    testing_support::Random random(8);
    for (const int capacity : {1, 2, 3, 4, 5, 8}) {
        SlidingMaximum rows;
        CandidateRows out;
        ASSERT_TRUE(rows.prepare(1, capacity) && out.allocate(1, 1));
        Scores held;
        std::uint32_t oldest = 0;
        for (int step = 0; step < 300; ++step) {
            if (std::ssize(held) == capacity || (!held.empty() && random.below(3) == 0)) {
                rows.pop();
                held.erase(held.begin());
                ++oldest;
            } else {
                held.push_back(static_cast<std::int32_t>(random.below(6)));
                put(rows.next(), {held.back()}, {oldest + static_cast<std::uint32_t>(held.size()) - 1});
                rows.push();
            }
            if (held.empty()) continue;
            rows.maximum(out.row(0));
            const auto highest = std::max_element(held.begin(), held.end());
            EXPECT_EQ(out.row(0).score[0], *highest);
            EXPECT_EQ(out.row(0).value[0], oldest + static_cast<std::uint32_t>(highest - held.begin()));
        }
    }
}

TEST(SlidingMaximum, ReportsShortMemory) {
    std::optional<SlidingMaximum> rows;
    bool ready = false;
    const int failures =
        testing_support::forEachFailingAllocation([] {}, [&] { ready = rows.emplace().prepare(7, 3); },
                                                  [&](bool failureMet) {
                                                      EXPECT_NE(ready, failureMet);
                                                      rows.reset();
                                                  });
    EXPECT_EQ(failures, 2);
}

}  // namespace
