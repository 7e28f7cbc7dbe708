// Pictures with few colours.
#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <set>

#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::randomImage;
using Values = std::vector<std::uint32_t>;

// The colours that pixels show, without alpha.
Values shownBy(DibStream& image) {
    Values shown = valuesOf(image);
    if (image.Header->biBitCount > 8) return shown;
    const Values entries = entriesOf(image);
    for (std::uint32_t& value : shown) value = entries[value] & 0xFFFFFF;
    return shown;
}

Values shownAfter(DibStream& image, const std::string& chain) {
    after(image, chain);
    return shownBy(image);
}

// A smooth picture with many colours.
DibPtr gradients(int width, int height, int bitCount = 24) {
    Values values;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto blue = static_cast<std::uint32_t>(255 * x / width);
            const auto green = static_cast<std::uint32_t>(255 * y / height);
            const auto red =
                static_cast<std::uint32_t>(127.5 + 127.5 * std::sin(x * 0.1) * std::cos(y * 0.07));
            values.push_back(0xFF000000U * (bitCount == 32 ? 1 : 0) | red << 16 | green << 8 | blue);
        }
    }
    return picture(width, bitCount, values);
}

// The mean squared difference of a channel.
double errorOf(const Values& a, const Values& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (const int shift : {0, 8, 16}) {
            const double difference =
                static_cast<double>(a[i] >> shift & 255) - static_cast<double>(b[i] >> shift & 255);
            sum += difference * difference;
        }
    }
    return sum / (3.0 * static_cast<double>(a.size()));
}

TEST(Colors, FewColoursAreKeptExactly) {
    const Values values = {0x123456, 0xFFFFFF, 0x000000, 0x123457, 0x123456, 0xFFFFFF};
    for (const char* dither : {"none", "floyd-steinberg", "ordered"}) {
        const DibPtr image = picture(3, 24, values);
        EXPECT_EQ(after(*image, std::string("colors:4,dither=") + dither), (Values{0, 1, 2, 3, 0, 1}));
        EXPECT_EQ(image->Header->biBitCount, 4);
        EXPECT_EQ(entriesOf(*image), (Values{0x123456, 0xFFFFFF, 0x000000, 0x123457}));
    }
}

TEST(Colors, TheDepthFollowsTheNumberOfColours) {
    const auto depthAfter = [](int colors) {
        Values values;
        for (int i = 0; i < colors; ++i) values.push_back(static_cast<std::uint32_t>(i * 0x000201));
        const DibPtr image = picture(colors, 24, values);
        EXPECT_EQ(shownAfter(*image, "colors:256"), values);
        EXPECT_EQ(entriesOf(*image).size(), static_cast<std::size_t>(colors));
        return image->Header->biBitCount;
    };
    EXPECT_EQ(depthAfter(1), 1);
    EXPECT_EQ(depthAfter(2), 1);
    EXPECT_EQ(depthAfter(3), 4);
    EXPECT_EQ(depthAfter(16), 4);
    EXPECT_EQ(depthAfter(17), 8);
    EXPECT_EQ(depthAfter(256), 8);
}

TEST(Colors, ReadEveryDepth) {
    for (const int bitCount : {1, 4, 8}) {
        const DibPtr image = randomImage(33, 9, bitCount, 3);
        const Values shown = shownBy(*image);
        EXPECT_EQ(shownAfter(*image, "colors:256"), shown) << bitCount;
    }
    EXPECT_EQ(shownAfter(*picture(3, 16, {0x7FFF, 0x001F, 0x0010}), "colors:3"),
              (Values{0xFFFFFF, 0xFF, 0x84}));
    // 3 and 7 of 31 are 24.7 and 57.6 of 255.
    EXPECT_EQ(shownAfter(*picture(2, 16, {0x0003, 0x0007}), "colors:3"), (Values{25, 58}));
}

// Two groups, whose means are (20 x 3 + 24) / 4 = 21 and 204.
TEST(Colors, AreTheMeansOfWhatTheyStandFor) {
    const DibPtr image = picture(6, 24, {0x141414, 0x141414, 0x141414, 0x181818, 0xC8C8C8, 0xD0D0D0});
    EXPECT_EQ(shownAfter(*image, "colors:2,dither=none"),
              (Values{0x151515, 0x151515, 0x151515, 0x151515, 0xCCCCCC, 0xCCCCCC}));
    EXPECT_EQ(image->Header->biBitCount, 1);
    EXPECT_EQ(entriesOf(*image), (Values{0x151515, 0xCCCCCC}));
}

TEST(Colors, EveryPixelGetsTheNearestOne) {
    for (const int count : {2, 7, 16, 100, 256}) {
        const DibPtr image = randomImage(61, 47, 24, 5);
        const Values before = valuesOf(*image);
        const Values shown = shownAfter(*image, "colors:" + std::to_string(count) + ",dither=none");
        const Values entries = entriesOf(*image);
        ASSERT_EQ(entries.size(), static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < before.size(); ++i) {
            const double chosen = errorOf({before[i]}, {shown[i]});
            for (const std::uint32_t entry : entries) ASSERT_LE(chosen, errorOf({before[i]}, {entry}));
        }
    }
}

TEST(Colors, ShowThePictureBetterThanTheMedianCut) {
    for (const auto& [count, median] : {std::pair{16, "bpp:4,method=median"}, {256, "bpp:8,method=median"}}) {
        const Values before = valuesOf(*gradients(200, 150));
        const double error = errorOf(
            before, shownAfter(*gradients(200, 150), "colors:" + std::to_string(count) + ",dither=none"));
        const double ofMedian = errorOf(before, shownAfter(*gradients(200, 150), median));
        EXPECT_LT(error, 0.85 * ofMedian) << count;
    }
}

// Dithered, an area keeps its mean, which it does not otherwise: 64 is shown by 0 and 255.
TEST(Colors, DitheringKeepsTheMean) {
    Values values(64 * 64, 0x404040);
    values.insert(values.end(), 64 * 400, 0x000000);
    values.insert(values.end(), 64 * 400, 0xFFFFFF);
    const auto meanAfter = [&](const char* dither) {
        const DibPtr image = picture(64, 24, values);
        const Values shown = shownAfter(*image, std::string("colors:2,dither=") + dither);
        double sum = 0;
        for (std::size_t i = 0; i < 64 * 64; ++i) sum += shown[i] & 255;
        return sum / (64 * 64);
    };
    EXPECT_LT(meanAfter("none"), 10);
    EXPECT_NEAR(meanAfter("floyd-steinberg"), 64, 2);
    EXPECT_NEAR(meanAfter("ordered"), 64, 8);
}

TEST(Colors, ErrorsGoToTheNeighbours) {
    // Black and white are most of the picture; the grey row between is shown by both.
    Values values(12, 0x000000);
    values.insert(values.end(), 12, 0x808080);
    values.insert(values.end(), 48, 0xFFFFFF);
    values.insert(values.end(), 48, 0x000000);
    const DibPtr image = picture(12, 24, values);
    const Values shown = shownAfter(*image, "colors:2");
    const std::set<std::uint32_t> distinct(shown.begin(), shown.end());
    EXPECT_EQ(distinct.size(), 2U);
    const auto light = *distinct.rbegin();
    const auto lights = std::count(shown.begin() + 12, shown.begin() + 24, light);
    EXPECT_GT(lights, 3);
    EXPECT_LT(lights, 9);
}

TEST(Colors, TransparentPixelsGetTheFirstEntry) {
    const DibPtr image = picture(4, 32, {0x00FFFFFF, 0x7F123456, 0x80123456, 0xFF654321});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "colors:3", nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{0, 0, 1, 2}));
    EXPECT_EQ(entriesOf(*image), (Values{0, 0x123456, 0x654321}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "colors: half-transparent pixels became opaque or transparent");
    const DibPtr hidden = picture(2, 32, {0, 0});
    EXPECT_EQ(after(*hidden, "colors:2,dither=ordered"), (Values{0, 0}));
    // One entry is left for two colours.
    const DibPtr tight = picture(3, 32, {0x00FFFFFF, 0xFF000000, 0xFF000004});
    EXPECT_EQ(shownAfter(*tight, "colors:2,dither=none"), (Values{0, 0x000002, 0x000002}));
}

TEST(Colors, AreTheSameAtEveryKernelLevel) {
    for (const char* dither : {"none", "floyd-steinberg", "ordered"}) {
        const std::string chain = std::string("colors:200,dither=") + dither;
        Values first;
        for (const dib::KernelLevel level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            const Values shown = shownAfter(*gradients(120, 90, 32), chain);
            if (first.empty()) first = shown;
            EXPECT_EQ(shown, first) << chain;
        }
        dib::limitKernelLevel(dib::KernelLevel::kAvx512);
    }
}

TEST(Colors, NeedANumberOfThem) {
    DibOperationResult result;
    const DibPtr image = picture(1, 24, {1});
    for (const char* chain : {"colors:1", "colors:257", "colors"}) {
        EXPECT_FALSE(DibApply(image.get(), chain, nullptr, &result)) << chain;
        EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    }
}

Values bytesOf(const DibBytes& bytes) { return {bytes.data, bytes.data + bytes.size}; }

TEST(Colors, SayWhichEntryIsTransparent) {
    DibOperationResult result;
    const auto apply = [&](const DibPtr& image, const char* chain) {
        EXPECT_TRUE(DibApply(image.get(), chain, nullptr, &result)) << result.reason;
        return bytesOf(result.paletteAlpha);
    };
    const DibPtr image = picture(3, 32, {0x00FF0000, 0x63FF0000, 0xFF00FF00});
    EXPECT_EQ(apply(image, "colors:8"), (Values{0}));
    EXPECT_EQ(valuesOf(*image), (Values{0, 0, 1}));
    const DibPtr lower = picture(3, 32, {0x00FF0000, 0x63FF0000, 0xFF00FF00});
    EXPECT_EQ(apply(lower, "colors:8,visible=99"), (Values{0}));
    EXPECT_EQ(valuesOf(*lower), (Values{0, 1, 2}));
    EXPECT_EQ(apply(picture(1, 32, {0xFF00FF00}), "colors:8"), Values{});
    EXPECT_EQ(apply(picture(1, 24, {0x00FF00}), "colors:8"), Values{});
    // Steps that move pixels keep it, others do not.
    EXPECT_EQ(apply(picture(2, 32, {0x00FF0000, 0xFF00FF00}), "colors:8 mirror"), (Values{0}));
    EXPECT_EQ(apply(picture(2, 32, {0x00FF0000, 0xFF00FF00}), "colors:8 mirror invert"), Values{});
}

TEST(Colors, OfASavedPaletteAreTransparent) {
    if (!DibFindFormat("png")->hasPaletteAlpha) GTEST_SKIP() << "PNG files have no palettes on this system";
    const DibPtr image = picture(2, 32, {0x00FF0000, 0xFF00FF00});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "colors:16", nullptr, &result));
    DibMetadata metadata;
    metadata.paletteAlpha = std::move(result.paletteAlpha);
    DibSaveOptions options;
    options.metadata = &metadata;
    const std::string path = testing_support::temporaryPath("transparent.png");
    ASSERT_TRUE(DibSaveFile(path.c_str(), image.get(), &options));
    DibStream loaded;
    ASSERT_TRUE(DibLoadFile(path.c_str(), &loaded));
    EXPECT_EQ(valuesOf(loaded), (Values{0, 0xFF00FF00}));
    const DibLoadOptions keeps = {.keepsPalette = true};
    ASSERT_TRUE(DibLoadFile(path.c_str(), &loaded, &keeps));
    EXPECT_EQ(loaded.Header->biBitCount, 1);
}

// The path of a saved picture.
std::string saved(const DibPtr& image, const char* name = "palette.png") {
    const std::string path = testing_support::temporaryPath(name);
    EXPECT_TRUE(DibSaveFile(path.c_str(), image.get()));
    return path;
}

TEST(Remap, ShowsThePictureInAnotherPalette) {
    const DibPtr other = picture(2, 4, {0, 0});
    const std::string greys = saved(other, "palette.bmp");
    const DibPtr image = picture(4, 24, {0x000000, 0x080808, 0x090909, 0xFF0000});
    EXPECT_EQ(after(*image, "remap:" + greys + ",dither=none"), (Values{0, 0, 1, 5}));
    EXPECT_EQ(image->Header->biBitCount, 4);
    EXPECT_EQ(entriesOf(*image)[5], 0x555555U);
    EXPECT_EQ(entriesOf(*image).size(), 16U);
}

TEST(Remap, TakesTheColoursOfAPictureWithoutPalette) {
    const std::string two = saved(picture(3, 24, {0x102030, 0xF0E0D0, 0x102030}));
    const DibPtr image = picture(3, 8, {0, 200, 20});
    EXPECT_EQ(after(*image, "remap:" + two + ",dither=none"), (Values{0, 1, 0}));
    EXPECT_EQ(entriesOf(*image), (Values{0x102030, 0xF0E0D0}));
}

TEST(Remap, TakesPaletteFiles) {
    const std::string path = testing_support::temporaryPath("palette.gpl");
    std::ofstream(path) << "GIMP Palette\n255 0 0\n0 0 255\n";
    const DibPtr image = picture(2, 24, {0x200000, 0x000020});
    EXPECT_EQ(shownAfter(*image, "remap:" + path + ",dither=none"), (Values{0xFF0000, 0x0000FF}));
    std::ofstream(path) << "GIMP";
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), ("remap:" + path).c_str(), nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_UNSUPPORTED);
}

TEST(Remap, TakesTheBestOfManyColours) {
    const std::string many = saved(gradients(40, 30));
    const DibPtr image = gradients(40, 30);
    const Values before = valuesOf(*image);
    EXPECT_LT(errorOf(before, shownAfter(*image, "remap:" + many + ",dither=none")), 20);
    EXPECT_EQ(entriesOf(*image).size(), 256U);
}

TEST(Remap, NeedsVisibleColours) {
    const std::string hidden = saved(picture(2, 32, {0x00102030, 0x01102030}));
    DibOperationResult result;
    const DibPtr image = picture(1, 24, {1});
    EXPECT_FALSE(DibApply(image.get(), ("remap:" + hidden).c_str(), nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MISMATCH);
    EXPECT_EQ(result.reason, "remap: '" + hidden + "': has no visible colours");
}

TEST(Remap, TransparentPixelsGetAnEntryAfterThePalette) {
    const std::string two = saved(picture(2, 24, {0x000000, 0xFFFFFF}));
    const DibPtr image = picture(3, 32, {0xFFFFFFFF, 0x00FFFFFF, 0x80000000});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("remap:" + two + ",dither=none").c_str(), nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{1, 2, 0}));
    EXPECT_EQ(entriesOf(*image), (Values{0x000000, 0xFFFFFF, 0x000000}));
    EXPECT_EQ(bytesOf(result.paletteAlpha), (Values{255, 255, 0}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "remap: half-transparent pixels became opaque or transparent");
}

TEST(Remap, AFullPaletteHasNoTransparentEntry) {
    const std::string many = saved(gradients(40, 30));
    const DibPtr image = picture(2, 32, {0xFFFFFFFF, 0x00FFFFFF});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("remap:" + many + ",dither=none").c_str(), nullptr, &result));
    const Values shown = shownBy(*image);
    EXPECT_EQ(shown[0], shown[1]);
    EXPECT_EQ(result.paletteAlpha.size, 0U);
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text,
                 "remap: transparent pixels became opaque: the palette has no free entry");
}

TEST(Remap, DiffusesWhatAPixelLacks) {
    const std::string two = saved(picture(2, 24, {0x000000, 0xFFFFFF}));
    const DibPtr image = testing_support::plainImage(40, 40, 24, 0x404040);
    const Values indices = after(*image, "remap:" + two);
    EXPECT_NEAR(static_cast<double>(std::ranges::count(indices, 1U)), 1600 * 64 / 255.0, 12);
    // 64 + 7/16 x 64 = 92, + 7/16 x 92 = 104 ... below 128 is black.
    EXPECT_EQ((Values{indices.begin(), indices.begin() + 6}), (Values{0, 0, 0, 0, 0, 0}));
}

}  // namespace

}  // namespace operations_test
