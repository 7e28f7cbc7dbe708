#include "tests/plugins/DdsFile.h"
#include "tests/plugins/PluginDoorTest.h"

namespace {

using dds_test::Bytes;
using dds_test::file;
using dds_test::masked;
using dds_test::named;
using dds_test::numbered;
using door_test::opened;
using plugin_test::PluginsInUse;

Bytes grey(std::uint32_t rows) {
    Bytes data;
    for (std::uint32_t i = 0; i < 2 * rows; ++i) data.push_back(static_cast<unsigned char>(10 * i));
    return file(2, rows, masked(0x20000, 8, {0xFF, 0, 0, 0}), data);
}

TEST(DdsDoor, EverySourceGivesOnePicture) {
    const PluginsInUse plugins;
    door_test::expectOneFromEverySource(grey(3), ".dds");
    const Bytes blocks = file(4, 4, named("DXT1"), {0xFF, 0xFF, 0, 0, 0, 0, 0, 0});
    door_test::expectOneFromEverySource(blocks, ".dds");
    const door_test::Opened load = opened(blocks);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), Bytes(16, 255));
    EXPECT_EQ(codec_test::rowBytes(*opened(grey(3)).image, 2), (Bytes{40, 50}));
    door_test::expectLoadProgress(grey(3), 5);
    plugin_test::expectFailingAllocationsAreSurvived(grey(3));
}

TEST(DdsDoor, ReasonsNameWhatIsWrong) {
    const PluginsInUse plugins;
    Bytes cut = grey(3);
    cut.pop_back();
    EXPECT_EQ(opened(cut).reason(), "the file ends before its pixels do (in row 3 of 3)");
    EXPECT_EQ(opened(file(1, 1, named("WHAT"), {0, 0})).reason(), "pixels of format \"WHAT\" are not read");
    EXPECT_EQ(opened(file(0, 1, named("DXT1"), {0, 0})).reason(), "a picture of 0x1 pixels is empty");
    DibLoadOptions options;
    options.level = 1;
    EXPECT_EQ(door_test::opened(grey(3), options).reason(), "there is no level 1: the file has 1");
}

TEST(DdsDoor, AMissingPluginIsNamedWithItsFolder) {
    const PluginsInUse plugins;
    DibStream::SetDllFilePath("/nonexistent");
    const door_test::Opened load = opened(grey(1));
    EXPECT_FALSE(load.isLoaded);
    EXPECT_EQ(load.result.code, 7);
    EXPECT_EQ(load.reason(), "the plug-in for dds files is missing: /nonexistent/vexlibdds.bundle");
    DibFileInfo info;
    const Bytes bytes = grey(1);
    EXPECT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.width, 2);
    // A header that only the plug-in understands.
    plugin_test::expectMissingPlugin(Bytes(bytes.begin(), bytes.begin() + 100), "dds");
}

TEST(DdsDoor, ProbeKnowsPackingDepthAndAlpha) {
    struct Case {
        dds_test::Format format;
        const char* compression;
        int bitCount;
        int storedBits;
        bool hasAlpha;
    };
    const Case cases[] = {
        {named("DXT1"), "bc1", 32, 4, true},
        {named("DXT5"), "bc3", 32, 8, true},
        {named("ATI1"), "bc4", 8, 4, false},
        {named("ATI2"), "bc5", 32, 8, false},
        {numbered(96), "bc6", 32, 8, false},
        {numbered(98), "bc7", 32, 8, true},
        {numbered(61), "none", 8, 8, false},
        {numbered(88), "none", 32, 32, false},
        {masked(0x40, 24, {0xFF0000, 0xFF00, 0xFF, 0}), "none", 32, 24, false},
        {masked(0x41, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}), "none", 32, 32, true},
        {masked(0x20001, 16, {0xFF, 0, 0, 0xFF00}), "none", 32, 16, true},
    };
    for (const Case& c : cases) {
        const Bytes bytes = file(8, 4, c.format, Bytes(1000, 0));
        DibFileInfo info;
        ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
        EXPECT_EQ(info.width, 8);
        EXPECT_EQ(info.height, 4);
        EXPECT_STREQ(info.compression, c.compression);
        EXPECT_EQ(info.bitCount, c.bitCount) << c.compression;
        EXPECT_EQ(info.storedBits, c.storedBits) << c.compression;
        EXPECT_EQ(info.hasAlpha, c.hasAlpha) << c.compression;
        EXPECT_EQ(info.paletteSize, c.bitCount == 8 ? 256 : 0);
    }
}

TEST(DdsDoor, ProbesOfSamples) {
    const PluginsInUse plugins;
    if (plugin_test::expectProbesOfSamples("dds") == 0) GTEST_SKIP() << "no samples";
}

}  // namespace
