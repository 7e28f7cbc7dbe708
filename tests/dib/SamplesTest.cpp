#include "tests/support/Paths.h"
#include "tests/support/Samples.h"

#include <gtest/gtest.h>

#include "tests/support/TestImages.h"

namespace {

using testing_support::Picture;
using testing_support::pictureOf;
using testing_support::samePicture;

TEST(Samples, PicturesShowEveryDepthTopRowFirst) {
    const auto indexed = testing_support::blankImage(2, 2, 1);
    testing_support::setPixelValue(*indexed, 1, 0, 1);
    EXPECT_EQ(pictureOf(*indexed).rgb,
              (std::vector<unsigned char>{0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 0, 0}));

    const auto words = testing_support::blankImage(1, 1, 16);
    testing_support::setPixelValue(*words, 0, 0, 16 << 10 | 31 << 5 | 1);
    EXPECT_EQ(pictureOf(*words).rgb, (std::vector<unsigned char>{132, 255, 8}));

    const auto color = testing_support::blankImage(1, -1, 32);
    testing_support::setPixelValue(*color, 0, 0, 0x7F010203);
    EXPECT_EQ(pictureOf(*color).rgb, (std::vector<unsigned char>{1, 2, 3}));
}

TEST(Samples, ComparisonFindsSizeAndSample) {
    const Picture one{1, 1, {10, 20, 30}};
    EXPECT_TRUE(samePicture(one, {1, 1, {10, 20, 30}}));
    EXPECT_FALSE(samePicture(one, {1, 1, {10, 20, 31}}));
    EXPECT_TRUE(samePicture(one, {1, 1, {10, 20, 31}}, 1));
    EXPECT_FALSE(samePicture(one, {1, 2, {10, 20, 30, 10, 20, 30}}));
}

TEST(Samples, EveryIndexedFileIsThere) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    const auto samples = testing_support::samplesOf("bmp");
    ASSERT_FALSE(samples.empty());
    int expected = 0;
    for (const auto& sample : samples) {
        EXPECT_FALSE(testing_support::readFileBytes(sample.path).empty()) << sample.path;
        if (testing_support::expectedPicture(sample)) ++expected;
    }
    EXPECT_GT(expected, 0);
}

}  // namespace
