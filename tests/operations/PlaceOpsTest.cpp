// Trimming, borders and joints, by numbers.
#include "tests/operations/Pictures.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using Values = std::vector<std::uint32_t>;

void expectSize(const DibStream& image, int width, int height, int bitCount) {
    EXPECT_EQ(image.Header->biWidth, width);
    EXPECT_EQ(std::abs(image.Header->biHeight), height);
    EXPECT_EQ(image.Header->biBitCount, bitCount);
}

TEST(Trim, CutsOffWhatHasTheColourOfTheCorners) {
    for (const int bitCount : {4, 8, 16, 24}) {
        SCOPED_TRACE(bitCount);
        const DibPtr image = picture(5, bitCount, {7, 7, 7, 7, 7,  //
                                                   7, 7, 1, 7, 7,  //
                                                   7, 2, 7, 3, 7,  //
                                                   7, 7, 7, 7, 7});
        EXPECT_EQ(after(*image, "trim"), (Values{7, 1, 7, 2, 7, 3}));
        expectSize(*image, 3, 2, bitCount);
    }
    const DibPtr bits = picture(9, 1,
                                {1, 1, 1, 1, 1, 1, 1, 1, 1,  //
                                 1, 1, 1, 1, 1, 1, 1, 0, 1});
    EXPECT_EQ(after(*bits, "trim"), (Values{0}));
}

TEST(Trim, TakesTheColourOfMostCorners) {
    const DibPtr image = picture(3, 24,
                                 {9, 5, 5,  //
                                  5, 5, 5,  //
                                  5, 5, 5});
    EXPECT_EQ(after(*image, "trim"), (Values{9}));
}

TEST(Trim, ToleratesSmallDifferencesOfEachChannel) {
    const Values values = {0x101010, 0x111010, 0x101210, 0x131010, 0x101010};
    EXPECT_EQ(after(*picture(5, 24, values), "trim"), (Values{0x111010, 0x101210, 0x131010}));
    EXPECT_EQ(after(*picture(5, 24, values), "trim:1"), (Values{0x101210, 0x131010}));
    EXPECT_EQ(after(*picture(5, 24, values), "trim:2"), (Values{0x131010}));
}

TEST(Trim, TransparentPixelsAreAlikeWhateverTheirColours) {
    EXPECT_EQ(after(*picture(5, 32, {0, 0x00FFFFFF, 0x01FFFFFF, 0x00123456, 0}), "trim"),
              (Values{0x01FFFFFF}));
}

TEST(Trim, ComparesTheColoursOfAPalette) {
    const DibPtr image = picture(4, 8, {10, 12, 200, 10});
    EXPECT_EQ(after(*image, "trim:2"), (Values{200}));
}

TEST(Trim, LeavesAPictureOfOneColourAndSaysSo) {
    const DibPtr image = testing_support::plainImage(4, 3, 24, 7);
    const DibPtr before = testing_support::plainImage(4, 3, 24, 7);
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "trim", nullptr, &result));
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "trim: the picture has one colour and was left as it is");
}

TEST(Border, SurroundsThePicture) {
    const DibPtr image = picture(2, 24, {1, 2});
    EXPECT_EQ(after(*image, "border:1,#00000f"), (Values{15, 15, 15, 15,  //
                                                         15, 1, 2, 15,    //
                                                         15, 15, 15, 15}));
}

TEST(Border, HasAWidthOfItsOwnOnEachSide) {
    const DibPtr image = picture(2, 32, {1, 2});
    EXPECT_EQ(after(*image, "border:0,#00000080,left=2,bottom=1"),
              (Values{0x80000000, 0x80000000, 1, 2,  //
                      0x80000000, 0x80000000, 0x80000000, 0x80000000}));
    const DibPtr other = picture(2, 32, {1, 2});
    EXPECT_EQ(after(*other, "border:1,#00000080,left=0,top=0,bottom=0"), (Values{1, 2, 0x80000000}));
    const DibPtr percent = testing_support::randomImage(30, 20, 24, 1);
    after(*percent, "border:10%");
    expectSize(*percent, 34, 24, 24);
}

TEST(Border, KeepsAPaletteThatHasItsColour) {
    const DibPtr image = picture(3, 4, {1, 2, 3});
    EXPECT_EQ(after(*image, "border:0,#333333,left=1"), (Values{3, 1, 2, 3}));
    expectSize(*image, 4, 1, 4);
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "border:0,#343434,left=1", nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{0x343434, 0x333333, 0x111111, 0x222222, 0x333333}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "border: the palette of 4 bits became 24 bits a pixel");
}

TEST(Border, OfHalfTransparentColourNeedsAlpha) {
    const DibPtr image = picture(1, 24, {0x010203});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "border:0,#ff000080,right=1", nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{0xFF010203, 0x80FF0000}));
    EXPECT_EQ(result.noteCount, 0);
}

TEST(Border, RefusesSizesThatNoImageHas) {
    const DibPtr image = picture(2, 24, {1, 2});
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), "border:2147483647", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MEMORY);
    EXPECT_FALSE(DibApply(image.get(), "border:20000", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MEMORY);
}

// The path of a saved picture.
std::string saved(const DibPtr& image, const char* format = "bmp") {
    const std::string path = testing_support::temporaryPath(std::string("second.") + format);
    EXPECT_TRUE(DibSaveFile(path.c_str(), image.get()));
    return path;
}

TEST(Join, PutsTheSecondPictureBesideTheFirst) {
    const std::string other = saved(picture(1, 24, {0xA, 0xB, 0xC}));
    EXPECT_EQ(after(*picture(2, 24, {1, 2}), "join:" + other), (Values{1, 2, 0xA,                //
                                                                       0xFFFFFF, 0xFFFFFF, 0xB,  //
                                                                       0xFFFFFF, 0xFFFFFF, 0xC}));
    EXPECT_EQ(after(*picture(2, 24, {1, 2}), "join:" + other + ",align=center,gap=1,fill=#000000"),
              (Values{0, 0, 0, 0xA,  //
                      1, 2, 0, 0xB,  //
                      0, 0, 0, 0xC}));
    EXPECT_EQ(after(*picture(2, 24, {1, 2}), "join:" + other + ",align=end,fill=#000009"),
              (Values{9, 9, 0xA,  //
                      9, 9, 0xB,  //
                      1, 2, 0xC}));
}

TEST(Join, PutsItBelow) {
    const std::string other = saved(picture(3, 24, {0xA, 0xB, 0xC}));
    EXPECT_EQ(after(*picture(1, 24, {1}), "join:" + other + ",column,align=end,gap=1,fill=#000009"),
              (Values{9, 9, 1,  //
                      9, 9, 9,  //
                      0xA, 0xB, 0xC}));
    EXPECT_EQ(after(*picture(1, 24, {1}), "join:" + other + ",column,align=center,fill=#000009"),
              (Values{9, 1, 9,  //
                      0xA, 0xB, 0xC}));
}

TEST(Join, KeepsAPaletteThatBothHave) {
    const std::string other = saved(picture(1, 8, {200}));
    const DibPtr image = picture(1, 8, {100});
    EXPECT_EQ(after(*image, "join:" + other), (Values{100, 200}));
    expectSize(*image, 2, 1, 8);
    EXPECT_EQ(entriesOf(*image)[200], 0xC8C8C8U);

    const DibPtr different = picture(1, 4, {15});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(different.get(), ("join:" + other).c_str(), nullptr, &result));
    EXPECT_EQ(valuesOf(*different), (Values{0xFFFFFF, 0xC8C8C8}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "join: the palette of 4 bits became 24 bits a pixel");
}

TEST(Join, HasAlphaWhereEitherHasIt) {
    const std::string other = saved(picture(1, 32, {0x80010203}), "png");
    EXPECT_EQ(after(*picture(1, 24, {0x040506}), "join:" + other), (Values{0xFF040506, 0x80010203}));
    EXPECT_EQ(
        after(*picture(1, 24, {0x040506}), "join:" + saved(picture(1, 24, {7})) + ",gap=1,fill=#00000000"),
        (Values{0xFF040506, 0, 0xFF000007}));
}

}  // namespace

}  // namespace operations_test
