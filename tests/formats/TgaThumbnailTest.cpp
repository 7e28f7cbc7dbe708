// The thumbnail of a TGA file is level 1 of its picture.
#include "tests/formats/TgaDoorTest.h"

namespace door_test {
namespace {

DibLoadOptions level(int number) {
    DibLoadOptions options = named(kName);
    options.level = number;
    return options;
}

DibFileInfo probed(const Bytes& file, int number) {
    DibFileInfo info;
    const DibLoadOptions options = level(number);
    EXPECT_TRUE(DibProbeMemory(file.data(), file.size(), &info, &options));
    return info;
}

// The thumbnail follows the pixels.
Bytes withThumbnail(const Bytes& file, const Bytes& thumbnail, unsigned alphaType = 0) {
    return withFooter(joined(file, thumbnail), alphaType, static_cast<unsigned>(file.size()));
}

Bytes shownAt(const Bytes& file, int number, int bitCount) {
    const Opened load = opened(file, level(number));
    EXPECT_TRUE(load.isLoaded) << load.reason();
    if (!load.isLoaded) return {};
    EXPECT_EQ(load.image->Header->biBitCount, bitCount);
    return shownRows(*load.image);
}

TEST(TgaThumbnail, IsLevelOne) {
    const Bytes file = withThumbnail(tga({2, 2, 2, 24}, counting(12)), {1, 2, 21, 22, 23, 31, 32, 33});
    EXPECT_EQ(shownAt(file, 0, 24), Bytes({7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(shownAt(file, 1, 24), Bytes({31, 32, 33, 21, 22, 23}));
    for (const int number : {0, 1}) {
        const DibFileInfo info = probed(file, number);
        EXPECT_EQ(info.levels, 2);
        EXPECT_EQ(info.width, number == 0 ? 2 : 1);
        EXPECT_EQ(info.height, 2);
        expectOneFromEverySource(file, ".tga", level(number));
        expectLoadProgress(file, 2, level(number));
        EXPECT_GE(failEveryLoad(file, level(number)), 1);
    }
}

// It is never packed, whatever the picture is.
TEST(TgaThumbnail, HasThePixelsAndTheMapOfThePicture) {
    EXPECT_EQ(
        shownAt(withThumbnail(tga({10, 3, 2, 24, 0x20}, {0x85, 1, 2, 3}), {2, 1, 4, 5, 6, 7, 8, 9}), 1, 24),
        Bytes({4, 5, 6, 7, 8, 9}));
    const Bytes mapped =
        withThumbnail(tga({9, 3, 2, 8, 0, 2, 24}, joined(counting(6), {0x85, 1})), {2, 1, 1, 0});
    EXPECT_EQ(shownAt(mapped, 1, 8), Bytes({1, 0}));
    const Opened load = opened(mapped, level(1));
    const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
    EXPECT_EQ(table[1].blue, 4);
    EXPECT_EQ(table[1].red, 6);
    EXPECT_EQ(shownAt(withThumbnail(tga({3, 9, 1, 1}, {0xFF, 0x80}), {3, 1, 0xA0}), 1, 1), Bytes({0xA0}));
    // From right to left, and multiplied by alpha: 1 x 255 / 4 is 63.75.
    const Bytes mirrored =
        withThumbnail(tga({2, 1, 1, 32, 0x18}, {9, 9, 9, 9}), {2, 1, 1, 2, 3, 4, 5, 6, 7, 8}, 4);
    EXPECT_EQ(shownAt(mirrored, 1, 32), Bytes({159, 191, 223, 8, 64, 128, 191, 4}));
}

TEST(TgaThumbnail, RefusalsSayWhy) {
    const auto reason = [](const Bytes& file, int number) { return opened(file, level(number)).reason(); };
    const Bytes plain = tga({2, 2, 2, 24}, counting(12));
    EXPECT_EQ(reason(plain, 1), "there is no level 1: the file has 1");
    EXPECT_EQ(reason(withFooter(plain, 0), 1), "there is no level 1: the file has 1");
    EXPECT_EQ(reason(withThumbnail(plain, {1, 1, 1, 2, 3}), 2), "there is no level 2: the file has 2");
    EXPECT_EQ(reason(withThumbnail(plain, {0, 1}), 1), "a picture of 0x1 pixels is empty");
    EXPECT_EQ(reason(withFooter(plain, 0, 60000), 1), "the file ends before its thumbnail");
    // The rows of a thumbnail that is too large go on in what follows, up to the end of the file.
    EXPECT_EQ(reason(withThumbnail(plain, {255, 255}), 1), "the file ends before its pixels do");
}

}  // namespace
}  // namespace door_test
