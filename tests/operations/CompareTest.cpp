// The difference between two pictures, by numbers.
#include "tests/operations/Pictures.h"
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

}  // namespace

}  // namespace operations_test
