// Sheets of pictures.
#include <DibPictures.h>

#include "tests/operations/Pictures.h"
#include "tests/support/FailingMalloc.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::plainImage;
using testing_support::randomImage;
using testing_support::sameImage;
using Values = std::vector<std::uint32_t>;

TEST(Montage, PutsPicturesInTheMiddleOfCells) {
    const DibPtr a = plainImage(2, 2, 24, 0xAA);
    const DibPtr b = plainImage(1, -1, 32, 0x800000BB);
    const DibPtr c = plainImage(2, 1, 8, 3);
    DibMontageOptions options;
    options.gap = 1;
    options.background = {1, 0, 0, 255};
    DibStream sheet;
    const DibStream* pictures[] = {a.get(), b.get(), c.get()};
    ASSERT_TRUE(DibMontage(pictures, 3, &sheet, &options));
    const std::uint32_t o = 0xFF000001;
    const std::uint32_t A = 0xFF0000AA;
    const std::uint32_t B = 0xFF00005E;  // (0xBB x 128 + 1 x 127) / 255
    const std::uint32_t C = 0xFF000000 | (entriesOf(*c)[3] & 0xFFFFFF);
    EXPECT_EQ(valuesOf(sheet), (Values{o, o, o, o, o, o, o,  //
                                       o, A, A, o, B, o, o,  //
                                       o, A, A, o, o, o, o,  //
                                       o, o, o, o, o, o, o,  //
                                       o, C, C, o, o, o, o,  //
                                       o, o, o, o, o, o, o,  //
                                       o, o, o, o, o, o, o}));
    EXPECT_EQ(sheet.Header->biBitCount, 32);
    EXPECT_TRUE(sameImage(*a, *plainImage(2, 2, 24, 0xAA)));
}

TEST(Montage, ShrinksAndCountsColumns) {
    const DibPtr large = plainImage(40, 20, 24, 7);
    const DibPtr small = plainImage(3, 3, 24, 9);
    DibMontageOptions options;
    options.columns = 1;
    options.mostWidth = 10;
    options.background = {0, 0, 0, 0};
    DibStream sheet;
    const DibStream* pictures[] = {large.get(), small.get()};
    ASSERT_TRUE(DibMontage(pictures, 2, &sheet, &options));
    EXPECT_EQ(sheet.Header->biWidth, 10);
    EXPECT_EQ(std::abs(sheet.Header->biHeight), 10);
    EXPECT_EQ(pixelValue(sheet, 9, 4), 0xFF000007U);
    EXPECT_EQ(pixelValue(sheet, 2, 5), 0U);
    EXPECT_EQ(pixelValue(sheet, 3, 6), 0xFF000009U);
    // The sheet may be one of the pictures.
    ASSERT_TRUE(DibMontage(pictures, 2, large.get(), &options));
    EXPECT_TRUE(sameImage(*large, sheet));
}

// At a size of 10 a letter is as large as its cells, and a label has 14 rows.
TEST(Montage, WritesLabelsBelow) {
    const DibPtr picture = plainImage(17, 4, 24, 0x808080);
    const DibStream* pictures[] = {picture.get(), picture.get(), picture.get()};
    const char* labels[] = {"-", "------", nullptr};
    DibMontageOptions options;
    options.columns = 3;
    options.labels = labels;
    options.labelSize = 10;
    DibStream sheet;
    ASSERT_TRUE(DibMontage(pictures, 3, &sheet, &options));
    ASSERT_EQ(std::abs(sheet.Header->biHeight), 18);
    const auto row = [&](int y) {
        std::string text;
        for (int x = 0; x < 51; ++x) text += pixelValue(sheet, x, y) == 0xFF000000 ? '#' : '.';
        return text;
    };
    // The second one is too long for its cell and becomes "-..".
    EXPECT_EQ(row(9), ".......###........###" + std::string(30, '.'));
    EXPECT_EQ(row(12), std::string(25, '.') + "#.....#" + std::string(19, '.'));
}

TEST(Montage, OfGreyPicturesIsGrey) {
    const DibPtr a = plainImage(2, 1, 8, 7);
    const DibPtr b = plainImage(1, 1, 4, 5);
    const DibStream* pictures[] = {a.get(), b.get()};
    DibMontageOptions options;
    options.background = {90, 90, 90, 255};
    DibStream sheet;
    ASSERT_TRUE(DibMontage(pictures, 2, &sheet, &options));
    EXPECT_EQ(sheet.Header->biBitCount, 8);
    EXPECT_EQ(valuesOf(sheet), (Values{7, 7, 85, 90}));
    const auto depthWith = [&](DibMontageOptions changed) {
        EXPECT_TRUE(DibMontage(pictures, 2, &sheet, &changed));
        return int{sheet.Header->biBitCount};
    };
    EXPECT_EQ(depthWith({.background = {90, 90, 91, 255}}), 32);
    EXPECT_EQ(depthWith({.background = {90, 90, 90, 254}}), 32);
    const char* labels[] = {"-", "-"};
    EXPECT_EQ(depthWith({.labels = labels}), 8);
    EXPECT_EQ(depthWith({.labels = labels, .labelColor = {1, 2, 3, 255}}), 32);
}

TEST(Montage, RefusesWhatIsWrong) {
    const DibPtr image = plainImage(2, 2, 24, 1);
    const DibStream* pictures[] = {image.get()};
    DibStream empty;
    const DibStream* none[] = {&empty};
    DibStream sheet;
    DibOperationResult result;
    const auto refused = [&](const DibStream* const* list, int count, const DibMontageOptions& options) {
        EXPECT_FALSE(DibMontage(list, count, &sheet, &options, &result));
        EXPECT_EQ(sheet.Header, nullptr);
        return result.code;
    };
    EXPECT_EQ(refused(nullptr, 1, {}), DIB_ERROR_INVALID);
    EXPECT_EQ(refused(pictures, 0, {}), DIB_ERROR_INVALID);
    EXPECT_EQ(refused(none, 1, {}), DIB_ERROR_INVALID);
    EXPECT_EQ(refused(pictures, 1, {.gap = -1}), DIB_ERROR_INVALID);
    EXPECT_EQ(refused(pictures, 1, {.columns = -1}), DIB_ERROR_INVALID);
    EXPECT_EQ(refused(pictures, 1, {.labelSize = 0}), DIB_ERROR_INVALID);
    EXPECT_STREQ(result.reason, "label size: must be at least 1");
    EXPECT_EQ(refused(pictures, 1, {.mostWidth = -1}), DIB_ERROR_INVALID);
    EXPECT_STREQ(result.reason, "largest width: must be at least 0");
    EXPECT_EQ(refused(pictures, 1, {.mostHeight = -1}), DIB_ERROR_INVALID);
    EXPECT_STREQ(result.reason, "largest height: must be at least 0");
    EXPECT_EQ(refused(pictures, 1, {.gap = 2000000000}), DIB_ERROR_MEMORY);
    EXPECT_FALSE(DibMontage(pictures, 1, nullptr));
    const auto cancel = [](float, void*) { return false; };
    EXPECT_FALSE(DibMontage(pictures, 1, &sheet, nullptr, &result, cancel, nullptr));
    EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED);
}

TEST(Montage, SurvivesEveryFailingAllocation) {
    const DibPtr image = randomImage(9, 7, 8, 1);
    const DibStream* pictures[] = {image.get(), image.get()};
    const char* labels[] = {"one", "two"};
    DibMontageOptions options;
    options.mostWidth = 4;
    options.labels = labels;
    DibPtr sheet;
    bool isDone = false;
    DibOperationResult result;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { sheet = plainImage(1, 1, 24, 7); },
        [&] { isDone = DibMontage(pictures, 2, sheet.get(), &options, &result); },
        [&](bool failureMet) {
            EXPECT_EQ(isDone, !failureMet);
            EXPECT_EQ(result.code, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
            EXPECT_EQ(sheet->Header->biBitCount, isDone ? 32 : 24);
        });
    EXPECT_GT(failures, 20);
}

}  // namespace

}  // namespace operations_test
