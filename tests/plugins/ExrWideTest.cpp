// What the functions of DibFile.h read of EXR files beyond LoadEXR.
#include "tests/plugins/ExrFile.h"
#include "tests/plugins/LeaksAllowed.h"
#include "tests/plugins/PluginDoorTest.h"
#include "tests/support/FailingMalloc.h"

namespace {

using door_test::opened;
using exr_test::Bytes;
using exr_test::ChannelContents;
using exr_test::colors;
using exr_test::FileContents;
using exr_test::sampleAt;
using exr_test::write;
using plugin_test::PluginsInUse;

Bytes shown(const Bytes& bytes, const DibLoadOptions& options = {}) {
    const door_test::Opened load = opened(bytes, options);
    return load.isLoaded ? codec_test::pixelsOf(*load.image) : Bytes();
}
DibLoadOptions part(int page, int layer = -1, int level = 0) {
    DibLoadOptions options;
    options.alpha = DIB_ALPHA_STORED;
    options.page = page;
    options.layer = layer;
    options.level = level;
    return options;
}
Bytes onePixel(const std::vector<ChannelContents>& channels, const DibLoadOptions& options = part(0)) {
    FileContents layout;
    layout.channels = channels;
    constexpr float kGrades[] = {0.18F, 0.5F, 1.0F, 0.0F};  // bytes 117, 186, 255 and 0
    return shown(write(layout, [&](std::size_t channel, int, int) { return kGrades[channel % 4]; }), options);
}

TEST(ExrWide, PartsAreChosenByNumber) {
    const PluginsInUse plugins;
    const Bytes bytes = exr_test::writeTwoParts(colors(9, 20, Imf::FLOAT), sampleAt);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.pages, 2);
    EXPECT_EQ(info.width, 9);
    const DibLoadOptions second = part(1);
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &second));
    EXPECT_EQ(info.width, 1);
    EXPECT_EQ(shown(bytes, part(0)), exr_test::pixels(bytes));
    const Bytes first = exr_test::pixels(bytes);
    EXPECT_EQ(shown(bytes, part(1)), Bytes(first.begin(), first.begin() + 4));
    EXPECT_EQ(opened(bytes, part(2)).reason(), "there is no page 2: the file has 2");
    const plugin_test::LeaksAllowed ofOpenExr;
    door_test::expectLoadProgress(bytes, 3, part(1));
}

// The smaller levels show the corner of the same picture.
TEST(ExrWide, LevelsAreChosenByNumber) {
    const PluginsInUse plugins;
    for (const Imf::LevelMode levels : {Imf::MIPMAP_LEVELS, Imf::RIPMAP_LEVELS}) {
        FileContents layout = colors(33, 21, Imf::HALF);
        layout.data = {5, -3, 37, 17};
        layout.tileSide = 8;
        layout.levels = levels;
        layout.compression = Imf::ZIP_COMPRESSION;
        const Bytes bytes = write(layout, sampleAt);
        const Bytes whole = shown(bytes, part(0));
        ASSERT_EQ(whole.size(), 33U * 21 * 4);
        DibFileInfo info;
        ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
        EXPECT_EQ(info.levels, levels == Imf::MIPMAP_LEVELS ? 6 : 5);
        for (int level = 1; level < info.levels; ++level) {
            const std::size_t width = std::max(33U >> level, 1U);
            const std::size_t height = std::max(21U >> level, 1U);
            Bytes corner;
            for (std::size_t y = 0; y < height; ++y) {
                const auto row = whole.begin() + static_cast<std::ptrdiff_t>(y * 33 * 4);
                corner.insert(corner.end(), row, row + static_cast<std::ptrdiff_t>(width * 4));
            }
            EXPECT_EQ(shown(bytes, part(0, -1, level)), corner) << level;
        }
        EXPECT_FALSE(opened(bytes, part(0, -1, info.levels)).isLoaded);
    }
}

TEST(ExrWide, LayersAreChosenByNumber) {
    const PluginsInUse plugins;
    constexpr auto kHalf = Imf::HALF;
    // In the order of their names: "a", "b.c", "normal", "z".
    const std::vector<ChannelContents> channels = {
        {"G", kHalf},        {"a.Y", kHalf},      {"b.c.B", kHalf},    {"b.c.R", kHalf},
        {"normal.X", kHalf}, {"normal.Y", kHalf}, {"normal.Z", kHalf}, {"z.depth", kHalf}};
    EXPECT_EQ(onePixel(channels), (Bytes{0, 117, 0, 255}));
    EXPECT_EQ(onePixel(channels, part(0, 0)), Bytes{186});
    EXPECT_EQ(onePixel(channels, part(0, 1)), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(onePixel(channels, part(0, 2)), Bytes{186}) << "its luminance";
    EXPECT_EQ(onePixel(channels, part(0, 3)), Bytes{0});
    EXPECT_TRUE(onePixel(channels, part(0, 4)).empty());
    FileContents layout;
    layout.channels = channels;
    const Bytes bytes = write(layout, sampleAt);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.layers, 4);
    EXPECT_EQ(opened(bytes, part(0, 4)).reason(), "there is no layer 4: the file has 4");
}

TEST(ExrWide, LayersHaveNames) {
    const PluginsInUse plugins;
    FileContents layout;
    layout.data = {3, -2, 12, 5};
    layout.channels = {{"G", Imf::HALF}, {"a.Y", Imf::HALF}, {"b.c.B", Imf::HALF}, {"normal.X", Imf::HALF}};
    const Bytes bytes = write(layout, sampleAt);
    DibLayers layers;
    DibFileResult result;
    ASSERT_TRUE(DibProbeLayers(bytes.data(), bytes.size(), &layers, nullptr, &result)) << result.reason;
    ASSERT_EQ(layers.count, 3U);
    EXPECT_STREQ(layers.items[0].name, "a");
    EXPECT_STREQ(layers.items[1].name, "b.c");
    EXPECT_STREQ(layers.items[2].name, "normal");
    EXPECT_EQ(layers.items[1].width, 10);
    EXPECT_EQ(layers.items[1].height, 8);
    DibLoadOptions options;
    options.mostLayers = 2;
    EXPECT_FALSE(DibProbeLayers(bytes.data(), bytes.size(), &layers, &options, &result));
    EXPECT_STREQ(result.reason, "the file has too many layers; the limit of layers is 2");
    EXPECT_EQ(layers.count, 0U);
    EXPECT_FALSE(DibProbeLayers(bytes.data(), 100, &layers, nullptr, &result));
    EXPECT_STREQ(result.reason, "the file ends inside its header");
    // Formats without names have an empty list.
    const Bytes plain = write(colors(2, 2, Imf::HALF), sampleAt);
    ASSERT_TRUE(DibProbeLayers(plain.data(), plain.size(), &layers));
    EXPECT_EQ(layers.count, 0U);
}

TEST(ExrWide, PartsAreChosenByName) {
    const PluginsInUse plugins;
    const Bytes bytes = exr_test::writeTwoParts(colors(9, 20, Imf::FLOAT), sampleAt);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    const std::string first = info.pageName;
    const DibLoadOptions byNumber = part(1);
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &byNumber));
    const std::string second = info.pageName;
    EXPECT_FALSE(first.empty());
    EXPECT_NE(first, second);
    DibLoadOptions options = part(0);
    options.pageName = second.c_str();
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options));
    EXPECT_EQ(info.width, 1);
    EXPECT_STREQ(info.pageName, second.c_str());
    EXPECT_EQ(shown(bytes, options), shown(bytes, part(1)));
    options.page = 77;
    options.pageName = first.c_str();
    EXPECT_EQ(shown(bytes, options), shown(bytes, part(0))) << "the name replaces the number";
    for (const char* name : {"", "none"}) {
        options.pageName = name;
        DibFileResult result;
        EXPECT_FALSE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options, &result));
        EXPECT_EQ(result.code, 8);
        EXPECT_EQ(opened(bytes, options).reason(), std::string("the file has no page \"") + name + "\"");
    }
    const Bytes cut(bytes.begin(), bytes.begin() + 100);
    options.pageName = "none";
    EXPECT_FALSE(opened(cut, options).isLoaded);
    // Of a file with one part the name is optional.
    const Bytes plain = write(colors(2, 2, Imf::HALF), sampleAt);
    ASSERT_TRUE(DibProbeMemory(plain.data(), plain.size(), &info));
    EXPECT_STREQ(info.pageName, "");
}

TEST(ExrWide, LayersAreChosenByName) {
    const PluginsInUse plugins;
    constexpr auto kHalf = Imf::HALF;
    const std::vector<ChannelContents> channels = {
        {"G", kHalf}, {"a.Y", kHalf}, {"b.c.B", kHalf}, {"b.c.R", kHalf}};
    DibLoadOptions options = part(0);
    options.layerName = "b.c";
    EXPECT_EQ(onePixel(channels, options), onePixel(channels, part(0, 1)));
    options.layerName = "a";
    EXPECT_EQ(onePixel(channels, options), onePixel(channels, part(0, 0)));
    options.layerName = "b";
    EXPECT_TRUE(onePixel(channels, options).empty());
    FileContents layout;
    layout.channels = channels;
    EXPECT_EQ(opened(write(layout, sampleAt), options).reason(), "the file has no layer \"b\"");
}

TEST(ExrWide, NamesOfLayersNeedMemory) {
    const PluginsInUse plugins;
    const plugin_test::LeaksAllowed ofOpenExr;
    FileContents layout;
    for (char name = 'a'; name <= 'z'; ++name)
        layout.channels.push_back({std::string{name, '.', 'R'}, Imf::HALF});
    const Bytes bytes = write(layout, sampleAt);
    DibLayers first;  // loads the plug-in, once in the life of the program
    ASSERT_TRUE(DibProbeLayers(bytes.data(), bytes.size(), &first));
    EXPECT_EQ(first.count, 26U);
    bool isMet = true;
    int count = 0;
    for (; isMet; ++count) {
        DibLayers layers;
        DibFileResult result;
        bool isListed = false;
        {
            const testing_support::FailNthAllocation failing(count);
            isListed = DibProbeLayers(bytes.data(), bytes.size(), &layers, nullptr, &result);
            isMet = failing.failed();
        }
        EXPECT_EQ(isListed, !isMet) << result.reason;
        EXPECT_EQ(layers.count, isMet ? 0U : 26U);
        EXPECT_EQ(result.reason[0] != '\0', isMet);
    }
    EXPECT_GT(count, 2);
}

TEST(ExrWide, ChannelsByOtherNames) {
    const PluginsInUse plugins;
    constexpr auto kFloat = Imf::FLOAT;
    EXPECT_EQ(onePixel({{"Z", kFloat}}), Bytes{117});
    EXPECT_EQ(onePixel({{"X", kFloat}, {"Z", kFloat}}), Bytes{117});
    EXPECT_EQ(onePixel({{"u", kFloat}, {"v", kFloat}, {"w", kFloat}}), (Bytes{255, 186, 117, 255}));
    EXPECT_EQ(onePixel({{"diffuse.R", kFloat}}), (Bytes{0, 0, 117, 255}));
    EXPECT_EQ(onePixel({{"a.x", kFloat}}), Bytes{117});
}

TEST(ExrWide, WholeNumbersAreFractionsOfTheHighest) {
    const PluginsInUse plugins;
    FileContents layout;
    layout.data = {0, 0, 3, 0};
    layout.channels = {{"Y", Imf::UINT}};
    const float values[] = {0, 2147483648.0F, 4294967040.0F, 16843009.0F};
    const Bytes bytes = write(layout, [&](std::size_t, int x, int) { return values[x]; });
    const door_test::Opened load = opened(bytes);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 128, 255, 1}));
    EXPECT_EQ(load.note(0), "whole numbers are shown as fractions of 4294967295");
    EXPECT_TRUE(exr_test::pixels(bytes).empty()) << "LoadEXR";
}

TEST(ExrWide, CoarseChannelsAreShownInLargerPixels) {
    const PluginsInUse plugins;
    FileContents layout;
    layout.data = {2, 4, 5, 7};
    layout.channels = {{"B", Imf::HALF, 2}, {"G", Imf::HALF}, {"R", Imf::HALF}};
    // A coarse channel has the first samples of its plane: the four at (2..3, 4..5).
    const Bytes bytes = write(layout, [](std::size_t channel, int x, int y) {
        return channel == 0 ? (x == 3 ? 1.0F : y == 5 ? 0.5F : 0.18F) : 0.0F;
    });
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const auto blue = [&](int y) {
        const Bytes row = codec_test::rowBytes(*load.image, y);
        return Bytes{row[0], row[4], row[8], row[12]};
    };
    EXPECT_EQ(blue(0), (Bytes{117, 117, 255, 255}));
    EXPECT_EQ(blue(1), (Bytes{117, 117, 255, 255}));
    EXPECT_EQ(blue(2), (Bytes{186, 186, 255, 255}));
    EXPECT_EQ(blue(3), (Bytes{186, 186, 255, 255}));
    EXPECT_EQ(load.note(0), "channels of a lower resolution are shown in larger pixels");
}

TEST(ExrWide, ChromaAtEveryResolutionIsColor) {
    const PluginsInUse plugins;
    const auto sampler = [](std::size_t channel, int, int) {
        constexpr float kLuminance = 0.2126F * 1.0F + 0.7152F * 0.5F + 0.0722F * 0.18F;
        return channel == 0   ? (0.18F - kLuminance) / kLuminance
               : channel == 1 ? (1.0F - kLuminance) / kLuminance
                              : kLuminance;
    };
    for (const int sampling : {1, 2, 4}) {
        FileContents layout;
        layout.data = {0, 0, 7, 7};
        layout.channels = {{"BY", Imf::FLOAT, sampling}, {"RY", Imf::FLOAT, sampling}, {"Y", Imf::FLOAT}};
        const Bytes pixels = shown(write(layout, sampler));
        ASSERT_EQ(pixels.size(), 8U * 8 * 4);
        for (std::size_t i = 0; i < pixels.size(); i += 4) {
            EXPECT_NEAR(pixels[i], 117, 1);
            EXPECT_NEAR(pixels[i + 1], 186, 1);
            EXPECT_NEAR(pixels[i + 2], 255, 1);
            EXPECT_EQ(pixels[i + 3], 255);
        }
    }
    EXPECT_EQ(onePixel({{"RY", Imf::HALF}, {"Y", Imf::HALF}}), Bytes{186}) << "chroma is not complete";
}

TEST(ExrWide, DeepPicturesAreRefusedWithTheReason) {
    const PluginsInUse plugins;
    const door_test::Opened load = opened(exr_test::writeDeep());
    EXPECT_EQ(load.result.code, 7);
    EXPECT_EQ(load.reason(), "deep pictures are not read");
}

TEST(ExrWide, RowsOfCutFilesAreKept) {
    const PluginsInUse plugins;
    FileContents layout = colors(8, 10, Imf::FLOAT);
    const Bytes bytes = write(layout, sampleAt);
    const Bytes cut(bytes.begin(), bytes.end() - 8 * 16 * 4);
    const door_test::Opened kept = opened(cut, door_test::keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    const Bytes whole = shown(bytes);
    const Bytes pixels = codec_test::pixelsOf(*kept.image);
    const std::ptrdiff_t rows = 5 * 8 * 4;
    EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + rows, pixels.begin()));
    EXPECT_EQ(Bytes(pixels.end() - 8 * 4, pixels.end()), Bytes(8 * 4, 0));
}

TEST(ExrWide, HostilePartsAndLevelsEndInAResult) {
    const PluginsInUse plugins;
    FileContents layout = colors(9, 7, Imf::HALF);
    layout.tileSide = 4;
    layout.levels = Imf::MIPMAP_LEVELS;
    const Bytes tiles = write(layout, sampleAt);
    const Bytes parts = exr_test::writeTwoParts(colors(3, 2, Imf::FLOAT), sampleAt);
    for (std::size_t length = 0; length < tiles.size(); length += 7) {
        const Bytes cut(tiles.begin(), tiles.begin() + static_cast<std::ptrdiff_t>(length));
        const door_test::Opened load = opened(cut, part(0, -1, 2));
        EXPECT_EQ(load.isLoaded, load.reason().empty()) << length;
    }
    for (std::size_t length = 0; length < parts.size(); length += 7) {
        const Bytes cut(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_FALSE(opened(cut, part(1)).isLoaded) << length;
    }
    door_test::expectExtremeBytesAreSurvived(tiles, "x.exr", part(0, -1, 1));
}

}  // namespace
