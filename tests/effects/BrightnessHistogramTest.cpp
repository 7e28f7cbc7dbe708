#include "effects/rank/BrightnessHistogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using dib::BrightnessHistogram;
using dib::WindowRow;

struct Found {
    std::uint32_t brightness;
    std::uint32_t rank;
    bool operator==(const Found&) const = default;
};

Found search(BrightnessHistogram& histogram, std::uint32_t rank) {
    const auto level = histogram.findLevel(histogram.find(rank));
    return {level.brightness, level.rank};
}

TEST(BrightnessHistogram, FindsRanksFromBrightToDark) {
    BrightnessHistogram histogram;
    ASSERT_TRUE(histogram.prepare());
    histogram.add(65280, 1);
    histogram.add(200, 2);
    histogram.add(199, 3);  // of the same class as 200
    histogram.add(0, 4);
    EXPECT_EQ(search(histogram, 0), (Found{65280, 0}));
    EXPECT_EQ(search(histogram, 1), (Found{200, 0}));
    EXPECT_EQ(search(histogram, 2), (Found{200, 1}));
    EXPECT_EQ(search(histogram, 3), (Found{199, 0}));
    EXPECT_EQ(search(histogram, 5), (Found{199, 2}));
    EXPECT_EQ(search(histogram, 6), (Found{0, 0}));
    EXPECT_EQ(search(histogram, 9), (Found{0, 3}));
    EXPECT_EQ(search(histogram, 0), (Found{65280, 0}));

    const auto found = histogram.find(4);
    EXPECT_EQ(found.brightnessClass, 3U);  // 192 to 255
    EXPECT_EQ(found.rank, 3U);
    EXPECT_EQ(found.inClass, 5U);
}

TEST(BrightnessHistogram, ForgetsWhatIsRemoved) {
    BrightnessHistogram histogram;
    ASSERT_TRUE(histogram.prepare());
    histogram.add(1000, 5);
    histogram.add(500, 2);
    EXPECT_EQ(search(histogram, 5), (Found{500, 0}));
    histogram.add(1000, static_cast<std::uint32_t>(-4));
    EXPECT_EQ(search(histogram, 0), (Found{1000, 0}));
    EXPECT_EQ(search(histogram, 1), (Found{500, 0}));
}

TEST(BrightnessHistogram, SlidesByTheVisitsOfEachRow) {
    BrightnessHistogram histogram;
    ASSERT_TRUE(histogram.prepare());
    const std::uint16_t upper[] = {10, 20, 30000};
    const std::uint16_t lower[] = {40, 50, 40};
    const WindowRow rows[] = {{upper, nullptr, 1}, {lower, nullptr, 3}};
    // Columns 0 and 1, the lower row three times: 10, 20, 40 and 50 three times each.
    for (int x = 0; x < 2; ++x) {
        histogram.add(upper[x], 1);
        histogram.add(lower[x], 3);
    }
    EXPECT_EQ(search(histogram, 3), (Found{40, 0}));
    // Columns 1 and 2: 30000, 50 x 3, 40 x 3, 20.
    histogram.slide(rows, 2, 0, 2);
    EXPECT_EQ(search(histogram, 0), (Found{30000, 0}));
    EXPECT_EQ(search(histogram, 3), (Found{50, 2}));
    EXPECT_EQ(search(histogram, 6), (Found{40, 2}));
    EXPECT_EQ(search(histogram, 7), (Found{20, 0}));
}

TEST(BrightnessHistogram, EqualsASortedListWhileItSlides) {
    testing_support::Random random(4);
    std::vector<std::uint16_t> line(400);
    for (auto& brightness : line) {
        const int shift = random.below(12);
        brightness = static_cast<std::uint16_t>(random.below((65280 >> shift) + 1));
    }
    constexpr std::size_t kWindow = 31;
    BrightnessHistogram histogram;
    ASSERT_TRUE(histogram.prepare());
    for (std::size_t i = 0; i < kWindow; ++i) histogram.add(line[i], 1);
    const WindowRow row{line.data(), nullptr, 1};
    for (std::size_t start = 0; start + kWindow < line.size(); ++start) {
        const auto first = line.begin() + static_cast<std::ptrdiff_t>(start);
        std::vector<std::uint16_t> sorted(first, first + kWindow);
        std::sort(sorted.begin(), sorted.end(), std::greater<>());
        const auto rank = static_cast<std::uint32_t>(random.below(kWindow));
        const Found found = search(histogram, rank);
        EXPECT_EQ(found.brightness, sorted[rank]);
        EXPECT_EQ(sorted[rank - found.rank], found.brightness);
        EXPECT_TRUE(rank == found.rank || sorted[rank - found.rank - 1] > found.brightness);
        const auto out = static_cast<std::ptrdiff_t>(start);
        histogram.slide(&row, 1, out, out + static_cast<std::ptrdiff_t>(kWindow));
    }
}

TEST(BrightnessHistogram, ReportsShortMemory) {
    std::optional<BrightnessHistogram> histogram;
    bool ready = false;
    const int failures =
        testing_support::forEachFailingAllocation([] {}, [&] { ready = histogram.emplace().prepare(); },
                                                  [&](bool failureMet) {
                                                      EXPECT_NE(ready, failureMet);
                                                      histogram.reset();
                                                  });
    EXPECT_EQ(failures, 1);
}

}  // namespace
