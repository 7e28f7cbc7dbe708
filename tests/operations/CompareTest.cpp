// The difference between two pictures: shown and measured.
#include <DibPictures.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using Values = std::vector<std::uint32_t>;

std::string saved(const DibPtr& image) {
    const std::string path = testing_support::temporaryPath("compared.png");
    EXPECT_TRUE(DibSaveFile(path.c_str(), image.get()));
    return path;
}

TEST(Compare, ShowsTheDistanceOfEachChannel) {
    const std::string other = saved(picture(3, 24, {0x102030, 0xFF0000, 0x000001}));
    EXPECT_EQ(after(*picture(3, 24, {0x102030, 0x0000FF, 0x000003}), "compare:" + other),
              (Values{0x000000, 0xFF00FF, 0x000002}));
    EXPECT_EQ(after(*picture(3, 24, {0x102031, 0xFF0000, 0x000009}), "compare:" + other + ",gain=40"),
              (Values{0x000028, 0x000000, 0x0000FF}));
}

TEST(Compare, ShowsDifferencesOfAlphaInAllChannels) {
    const std::string other = saved(picture(2, 32, {0x80102030, 0xFF102030}));
    const DibPtr image = picture(2, 24, {0x102030, 0x102034});
    EXPECT_EQ(after(*image, "compare:" + other), (Values{0x7F7F7F, 0x000004}));
    EXPECT_EQ(image->Header->biBitCount, 24);
}

TEST(Compare, ReadsPalettes) {
    const std::string other = saved(picture(2, 4, {1, 15}));
    EXPECT_EQ(after(*picture(2, 8, {0x11, 0xFE}), "compare:" + other), (Values{0x000000, 0x010101}));
}

TEST(Compare, IsWhiteWhereOnlyOneHasPixels) {
    const std::string other = saved(picture(1, 24, {5, 7}));
    EXPECT_EQ(after(*picture(2, 24, {5, 6}), "compare:" + other), (Values{0, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF}));
}

TEST(Compare, MeasuresInTheResultOfTheStep) {
    const std::string other = saved(picture(2, 24, {0x102030, 0x000000}));
    const DibPtr image = picture(2, 24, {0x102030, 0x000003});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("compare:" + other).c_str(), nullptr, &result));
    EXPECT_EQ(result.difference.pixels, 2);
    EXPECT_EQ(result.difference.differentPixels, 1);
    EXPECT_EQ(result.difference.largest, 3);
    ASSERT_TRUE(DibApply(image.get(), "reverse", nullptr, &result));
    EXPECT_EQ(result.difference.pixels, 0);
}

DibDifference differenceOf(const DibPtr& first, const DibPtr& second) {
    DibDifference difference;
    EXPECT_TRUE(DibCompare(first.get(), second.get(), &difference));
    return difference;
}

TEST(PictureDifference, IsNothingBetweenLikePicturesOfAnyDepth) {
    const DibPtr words = picture(2, 16, {0x7FFF, 0x0010});
    const DibPtr bytes = picture(2, 24, {0xFFFFFF, 0x000084});
    const DibPtr opaque = picture(2, 32, {0xFFFFFFFF, 0xFF000084});
    for (const DibPtr* other : {&bytes, &opaque}) {
        const DibDifference difference = differenceOf(words, *other);
        EXPECT_EQ(difference.pixels, 2);
        EXPECT_EQ(difference.differentPixels, 0);
        EXPECT_EQ(difference.largest, 0);
        EXPECT_EQ(difference.x, -1);
        EXPECT_EQ(difference.y, -1);
        EXPECT_EQ(difference.meanSquare, 0);
        EXPECT_TRUE(std::isinf(difference.psnr));
        EXPECT_TRUE(difference.isSameSize);
    }
}

// Squares: 3 x 3 + 4 x 4 + 5 x 5 = 50 in six samples.
TEST(PictureDifference, CountsSquaresOfColoursAndFindsTheFirstOfTheLargest) {
    const DibPtr first = picture(1, 24, {0x000003, 0x000500});
    const DibDifference difference = differenceOf(first, picture(1, 24, {0x000000, 0x000004}));
    EXPECT_EQ(difference.differentPixels, 2);
    EXPECT_EQ(difference.largest, 5);
    EXPECT_EQ(difference.x, 0);
    EXPECT_EQ(difference.y, 1);
    EXPECT_DOUBLE_EQ(difference.meanSquare, 50.0 / 6);
    EXPECT_NEAR(difference.psnr, 38.9226, 0.0001);
}

TEST(PictureDifference, CountsAlphaWhereOneIsNotOpaque) {
    const DibPtr clear = picture(2, 32, {0x00000000, 0xFF000000});
    const DibDifference difference = differenceOf(picture(2, 24, {0, 0}), clear);
    EXPECT_EQ(difference.differentPixels, 1);
    EXPECT_EQ(difference.largest, 255);
    EXPECT_EQ(difference.x, 0);
    EXPECT_DOUBLE_EQ(difference.meanSquare, 255.0 * 255 / 8);
}

TEST(PictureDifference, CountsPixelsThatOnlyOneHasAsWhite) {
    const DibDifference difference = differenceOf(picture(2, 24, {1, 2, 3, 4}), picture(1, 24, {1, 2, 3}));
    EXPECT_EQ(difference.pixels, 6);
    EXPECT_EQ(difference.differentPixels, 5);
    EXPECT_EQ(difference.largest, 255);
    EXPECT_EQ(difference.x, 1);
    EXPECT_EQ(difference.y, 0);
    EXPECT_DOUBLE_EQ(difference.meanSquare, (1 + 4 * 3 * 255.0 * 255) / 18);
    EXPECT_FALSE(difference.isSameSize);
}

TEST(PictureDifference, IsTheSameAtEveryKernelLevel) {
    const DibPtr first = testing_support::randomImage(5003, 2, 32, 1);
    const DibPtr second = testing_support::randomImage(5003, 2, 32, 2);
    std::uint64_t squares = 0;
    int largest = 0;
    for (int i = 0; i < 2 * 4 * 5003; ++i) {
        const int distance = first->Buffer[i] - second->Buffer[i];
        squares += static_cast<std::uint64_t>(distance * distance);
        largest = std::max(largest, std::abs(distance));
    }
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const DibDifference difference = differenceOf(first, second);
        EXPECT_EQ(difference.largest, largest);
        EXPECT_DOUBLE_EQ(difference.meanSquare, static_cast<double>(squares) / (8 * 5003));
    }
    dib::limitKernelLevel(dib::KernelLevel::kAvx512);
}

TEST(PictureDifference, ShowsItselfInOneOfTheTwo) {
    const DibPtr first = picture(2, 4, {0, 15});
    DibDifference difference;
    ASSERT_TRUE(DibCompare(first.get(), picture(2, 24, {2, 0xFFFFFF}).get(), &difference, first.get(), 3));
    EXPECT_EQ(valuesOf(*first), (Values{6, 0}));
}

TEST(PictureDifference, FailsWithoutChanges) {
    const DibPtr image = picture(1, 24, {7});
    const DibPtr other = picture(1, 8, {7});
    DibStream empty;
    DibDifference difference;
    difference.largest = 77;
    DibOperationResult result;
    EXPECT_FALSE(DibCompare(&empty, image.get(), &difference, nullptr, 1, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_STREQ(result.reason, "the image has no pixels");
    EXPECT_FALSE(DibCompare(image.get(), nullptr, &difference, nullptr, 1, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_FALSE(DibCompare(image.get(), image.get(), nullptr, nullptr, 1, &result));
    EXPECT_STREQ(result.reason, "there is no record");
    EXPECT_FALSE(DibCompare(image.get(), image.get(), &difference, nullptr, 256, &result));
    EXPECT_STREQ(result.reason, "gain: must be from 1 to 255");
    const DibProgressCallback cancel = [](float, void*) { return false; };
    EXPECT_FALSE(DibCompare(image.get(), other.get(), &difference, image.get(), 1, &result, cancel));
    EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED);
    EXPECT_EQ(difference.largest, 77);
    EXPECT_EQ(valuesOf(*image), Values{7});
}

TEST(PictureDifference, SurvivesFailingAllocations) {
    DibPtr image;
    DibPtr other;
    DibDifference difference;
    bool isDone = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            image = picture(1, 24, {7});
            other = picture(1, 8, {7});
            difference.largest = 77;
        },
        [&] { isDone = DibCompare(image.get(), other.get(), &difference, image.get()); },
        [&](bool failureMet) {
            EXPECT_EQ(isDone, !failureMet);
            EXPECT_EQ(difference.largest, isDone ? 7 : 77);
            EXPECT_EQ(valuesOf(*image), Values{isDone ? 0x070700U : 7U});
            image.reset();
            other.reset();
        });
    EXPECT_GE(failures, 3);
}

TEST(PictureDifference, KeepsFieldsThatTheCallerDoesNotKnow) {
    const DibPtr image = picture(1, 24, {7});
    DibDifference difference;
    difference.size = offsetof(DibDifference, isSameSize);
    ASSERT_TRUE(DibCompare(image.get(), image.get(), &difference));
    EXPECT_EQ(difference.pixels, 1);
    EXPECT_FALSE(difference.isSameSize);
}

}  // namespace

}  // namespace operations_test
