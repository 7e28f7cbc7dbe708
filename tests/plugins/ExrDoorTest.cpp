#include "dib/Bytes.h"
#include "tests/plugins/ExrFile.h"
#include "tests/plugins/LeaksAllowed.h"
#include "tests/plugins/PluginDoorTest.h"

namespace {

using door_test::opened;
using exr_test::Bytes;
using plugin_test::PluginsInUse;

exr_test::FileContents grey() {
    exr_test::FileContents contents = exr_test::colors(5, 4, Imf::HALF);
    contents.channels = {{"Y", Imf::FLOAT}};
    return contents;
}

TEST(ExrDoor, EverySourceGivesOnePicture) {
    const PluginsInUse plugins;
    for (const auto& named : exr_test::kCompressions) {
        exr_test::FileContents contents = exr_test::colors(7, 5, Imf::HALF);
        contents.compression = named.compression;
        const Bytes bytes = exr_test::write(contents, exr_test::sampleAt);
        door_test::expectOneFromEverySource(bytes, ".exr");
        EXPECT_EQ(codec_test::pixelsOf(*opened(bytes).image), exr_test::pixels(bytes)) << named.name;
        DibFileInfo info;
        ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
        std::string lower = named.name;
        std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
        EXPECT_EQ(info.compression, lower);
        EXPECT_EQ(info.storedBits, 64);
        EXPECT_TRUE(info.hasAlpha);
    }
    const Bytes bytes = exr_test::write(exr_test::colors(7, 5, Imf::FLOAT), exr_test::sampleAt);
    door_test::expectLoadProgress(bytes, 7);
    const plugin_test::LeaksAllowed ofOpenExr;
    plugin_test::expectFailingAllocationsAreSurvived(bytes);
}

TEST(ExrDoor, LuminanceIsGrey) {
    const PluginsInUse plugins;
    const Bytes bytes = exr_test::write(grey(), exr_test::sampleAt);
    door_test::expectOneFromEverySource(bytes, ".exr");
    DibFileInfo info;
    DibFileResult result;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, nullptr, &result));
    EXPECT_EQ(info.bitCount, 8);
    EXPECT_EQ(info.paletteSize, 256);
    EXPECT_EQ(info.storedBits, 32);
    EXPECT_FALSE(info.hasAlpha);
    EXPECT_EQ(result.metadata.xResolution, 0);
}

TEST(ExrDoor, CutFilesAreRefusedWithTheRow) {
    const PluginsInUse plugins;
    exr_test::FileContents contents = exr_test::colors(40, 40, Imf::FLOAT);
    contents.compression = Imf::ZIPS_COMPRESSION;
    const Bytes bytes = exr_test::write(contents, exr_test::sampleAt);
    // The table of where the rows are ends where the first row is.
    constexpr std::size_t kTableBytes = std::size_t{40} * 8;
    std::size_t table = 0;
    while (dib::readLe32(&bytes[table]) != table + kTableBytes) ++table;
    const auto row31 = static_cast<std::ptrdiff_t>(dib::readLe32(&bytes[table + 8 * 30]));
    const Bytes cut(bytes.begin(), bytes.begin() + row31 + 9);
    const door_test::Opened load = opened(cut);
    EXPECT_FALSE(load.isLoaded);
    EXPECT_EQ(load.result.code, 4);
    EXPECT_EQ(load.reason(), "the file ends before its pixels do (in row 31 of 40)");
}

// Rows are counted and kept wherever they lie: files from the bottom lose their upper rows.
void expectRowsOfCutFilesAreKept(const exr_test::FileContents& contents,
                                 std::initializer_list<std::size_t> parts = {40, 60, 80, 99}, int level = 0) {
    const Bytes bytes = exr_test::write(contents, [](std::size_t channel, int x, int y) {
        return channel == 0 ? 1.F : 0.2F + static_cast<float>((x * 7 + y * 3) % 11) / 16;
    });
    DibLoadOptions options;
    options.level = level;
    DibLoadOptions keeping = door_test::keepingDamaged();
    keeping.level = level;
    const door_test::Opened whole = opened(bytes, options);
    ASSERT_TRUE(whole.isLoaded) << whole.result.reason;
    const int height = whole.image->Header->biHeight;
    int most = 0;
    for (const std::size_t part : parts) {
        const Bytes cut(bytes.begin(),
                        bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() * part / 100));
        const door_test::Opened refused = opened(cut, options);
        EXPECT_EQ(refused.result.code, 4) << part;
        EXPECT_EQ(refused.reason().substr(0, 34), "the file ends before its pixels do") << part;
        const door_test::Opened kept = opened(cut, keeping);
        if (!kept.isLoaded) continue;
        int rows = 0;
        for (int y = 0; y < height; ++y) {
            const Bytes row = codec_test::rowBytes(*kept.image, y);
            const bool isThere = row == codec_test::rowBytes(*whole.image, y);
            EXPECT_TRUE(isThere || row == Bytes(row.size(), 0)) << part << " row " << y;
            rows += isThere ? 1 : 0;
        }
        EXPECT_EQ(kept.note(0), "the file ends before its pixels do: " + std::to_string(rows) + " of " +
                                    std::to_string(height) + " rows were read");
        EXPECT_GE(rows, most);
        most = rows;
    }
    EXPECT_GT(most, height / 2);
}

TEST(ExrDoor, RowsOfCutFilesAreKept) {
    const PluginsInUse plugins;
    for (const auto& named : exr_test::kCompressions) {
        SCOPED_TRACE(named.name);
        exr_test::FileContents contents = exr_test::colors(20, 600, Imf::HALF);
        contents.compression = named.compression;
        expectRowsOfCutFilesAreKept(contents);
        contents.isBottomUp = true;
        expectRowsOfCutFilesAreKept(contents);
        contents.isBottomUp = false;
        contents.tileSide = 16;
        expectRowsOfCutFilesAreKept(contents);
    }
    exr_test::FileContents levels = exr_test::colors(20, 600, Imf::HALF);
    levels.tileSide = 16;
    levels.levels = Imf::MIPMAP_LEVELS;
    expectRowsOfCutFilesAreKept(levels, {60, 80, 84, 88, 92}, 1);
}

TEST(ExrDoor, AMissingPluginIsNamedWithItsFolder) {
    const PluginsInUse plugins;
    DibStream::SetDllFilePath("/nonexistent");
    const door_test::Opened load = opened(exr_test::write(grey(), exr_test::sampleAt));
    EXPECT_EQ(load.result.code, 7);
    EXPECT_EQ(load.reason(), "the plug-in for exr files is missing: /nonexistent/vexlibexr.bundle");
    plugin_test::expectMissingPlugin({0x76, 0x2F, 0x31, 0x01, 2, 0, 0, 0}, "exr");
}

TEST(ExrDoor, LimitsHoldBeforeAnythingIsDecoded) {
    const PluginsInUse plugins;
    DibLoadOptions options;
    options.mostPixels = 19;
    const door_test::Opened load = opened(exr_test::write(grey(), exr_test::sampleAt), options);
    EXPECT_EQ(load.result.code, 8);
    EXPECT_EQ(load.reason(), "the picture of 5x4 pixels needs 20 pixels; the limit of pixels is 19");
}

TEST(ExrDoor, ProbesOfSamples) {
    const PluginsInUse plugins;
    if (plugin_test::expectProbesOfSamples("exr") == 0) GTEST_SKIP() << "no samples";
}

}  // namespace
