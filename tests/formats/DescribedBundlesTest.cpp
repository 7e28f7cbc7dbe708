// Plug-in bundles that describe themselves, from real files.
#include <DibPlugin.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "dib/ColorTable.h"
#include "formats/Bundles.h"
#include "tests/formats/DoorCodecTest.h"
#include "tests/support/Paths.h"
#include "tests/support/System.h"

namespace codec_test {
namespace {

namespace fs = std::filesystem;
using door_test::Opened;
using door_test::opened;

const Bytes kFile = bytesOf("TEST\2\3z");

// Each test has plug-in folders of its own: a bundle is looked at once in the life of the program.
class DescribedBundlesTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ =
            fs::path(testing_support::temporaryPath()) /
            (std::string("described.") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        removeFolder();
        behave("");
        testing_support::setVariable("DIB_TEST_DESCRIBED", "0");
    }
    void TearDown() override {
        DibStream::SetDllFilePath("");
        removeFolder();
    }
    // Windows keeps the files of code that is loaded.
    void removeFolder() const {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    static void behave(const std::string& words) { testing_support::setVariable("DIB_TEST_BUNDLE", words); }
    static int described() { return std::atoi(std::getenv("DIB_TEST_DESCRIBED")); }

    // Makes a new folder with the bundle the folder of plug-ins; returns the bundle's path.
    std::string use(const std::string& bundle = "test.bundle") {
        const fs::path folder = folder_ / std::to_string(++folders_);
        fs::create_directories(folder);
        fs::copy_file(fs::path(testing_support::testBundles()) / "described.bundle", folder / bundle);
        DibStream::SetDllFilePath(folder.c_str());
        return (folder / bundle).string();
    }

private:
    fs::path folder_;
    int folders_ = 0;
};

std::vector<std::string> names() {
    std::vector<std::string> names;
    std::size_t count = 0;
    const DibFormat* const* formats = DibGetFormats(&count);
    for (; *formats != nullptr; ++formats) names.emplace_back((*formats)->name);
    EXPECT_EQ(names.size(), count);
    return names;
}

TEST_F(DescribedBundlesTest, ABundleAddsAFormat) {
    const std::vector<std::string> before = names();
    EXPECT_EQ(opened(kFile).reason(), "the format of the file is not known");
    const std::string path = use();
    std::vector<std::string> after = names();
    ASSERT_EQ(after.size(), before.size() + 1);
    EXPECT_EQ(after.back(), "test");
    const DibFormat* const* list = DibGetFormats();
    EXPECT_EQ(DibGetFormats(), list) << "the list is kept";
    const DibFormat* format = DibFindFormat("test");
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(DibFindFormat("TST"), format);
    EXPECT_EQ(list[before.size()], format);
    EXPECT_STREQ(format->title, "Test pictures");
    EXPECT_STREQ(format->extensions[0], "tst");
    EXPECT_STREQ(format->mimeTypes[0], "image/x-test");
    EXPECT_STREQ(format->plugin, "test.bundle");
    EXPECT_EQ(format->readDepths, unsigned{DibStream::DIB_ACCEPT_32});
    EXPECT_EQ(format->writeDepths, 0U);
    EXPECT_TRUE(format->hasPages);
    EXPECT_TRUE(format->hasLayers);
    EXPECT_TRUE(DibIsFormatAvailable(format));
    EXPECT_STREQ(DibGetFormatLibrary(format), "libtest 1.2.3");
    EXPECT_EQ(DibGetFormatLibrary(DibFindFormat("png")), nullptr);
    EXPECT_EQ(DibGetFormatLibrary(DibFindFormat("exr")), nullptr) << "its plug-in is missing";
    EXPECT_EQ(DibGetFormatLibrary(nullptr), nullptr);
    EXPECT_EQ(described(), 1);

    DibStream::SetDllFilePath("");
    EXPECT_EQ(names(), before);
    EXPECT_STREQ(format->name, "test") << "records stay";
    DibStream::SetDllFilePath(fs::path(path).parent_path().c_str());
    EXPECT_EQ(DibFindFormat("test"), format);
    EXPECT_EQ(described(), 1) << "looked at once";
}

TEST_F(DescribedBundlesTest, FilesAreFoundByContentAndByName) {
    use();
    const Opened load = opened(kFile);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_STREQ(load.result.format->name, "test");
    EXPECT_EQ(load.image->Header->biWidth, 2);
    EXPECT_EQ(load.image->Header->biHeight, -3);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 2), (Bytes{0, 255, 0, 'z', 0, 255, 0, 'z'}));
    EXPECT_EQ(door_test::notesOf(load.result), "tests are not pictures;");
    EXPECT_EQ(load.result.metadata.xResolution, 300);
    EXPECT_EQ(load.result.metadata.yResolution, 150);
    EXPECT_EQ(Bytes(load.result.metadata.exif.data,
                    load.result.metadata.exif.data + load.result.metadata.exif.size),
              bytesOf("II"));
    EXPECT_EQ(opened(bytesOf("none"), door_test::named("x.tst")).reason(), "three bytes are missing");
    EXPECT_TRUE(opened(bytesOf("none\1\1a"), door_test::named("x.tst")).isLoaded);
}

// The bundle writes the pixels of all rows, after what it was called with.
TEST_F(DescribedBundlesTest, ABundleWritesFiles) {
    behave("writes");
    use();
    const DibFormat* format = DibFindFormat("test");
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->writeDepths, unsigned{DibStream::DIB_ACCEPT_32});
    const auto image = testing_support::randomImage(2, 3, 32, 1);
    DibMetadata metadata;
    metadata.xResolution = metadata.yResolution = 300;
    metadata.exif.data = static_cast<unsigned char*>(std::malloc(4));
    std::memcpy(metadata.exif.data, "II*", 4);
    metadata.exif.size = 4;
    DibSaveOptions options;
    options.format = "test";
    options.metadata = &metadata;
    DibFileResult result;
    DibBytes bytes;
    ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &options, &result)) << result.reason;
    EXPECT_EQ(door_test::notesOf(result), "the resolution is not kept;the EXIF block is not kept;");
    Bytes expected = {2, 3, 32, 0, 90};
    const Bytes pixels = codec_test::pixelsOf(*image);
    expected.insert(expected.end(), pixels.begin(), pixels.end());
    EXPECT_EQ(Bytes(bytes.data, bytes.data + bytes.size), expected);

    // Other depths come as 32 bits; a palette gets its alpha.
    const auto indices = testing_support::randomImage(2, 2, 8, 1);
    metadata = {};
    metadata.paletteAlpha.data = static_cast<unsigned char*>(std::calloc(256, 1));
    metadata.paletteAlpha.size = 256;
    ASSERT_TRUE(DibSaveMemory(&bytes, indices.get(), &options, &result)) << result.reason;
    EXPECT_EQ(door_test::notesOf(result), "the palette and its indices are not kept;");
    EXPECT_EQ(bytes.data[2], 32);
    const DibBGRA color = dib::colorTable(indices->Header)[*codec_test::rowBytes(*indices, 0).data()];
    EXPECT_EQ(Bytes(bytes.data + 5, bytes.data + 9), (Bytes{color.blue, color.green, color.red, 0}));
    options.metadata = nullptr;
    const auto words = testing_support::randomImage(2, 2, 16, 1);
    ASSERT_TRUE(DibSaveMemory(&bytes, words.get(), &options, &result)) << result.reason;
    EXPECT_EQ(bytes.data[2], 24);
    EXPECT_EQ(bytes.data[8], 255);
    options.isLossy = true;
    options.quality = 7;
    ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &options, &result)) << result.reason;
    EXPECT_EQ(door_test::notesOf(result), "pixels change a little, as test files pack them (quality 7);");
    EXPECT_EQ(bytes.data[3], 1);
    EXPECT_EQ(bytes.data[4], 7);

    const auto wide = testing_support::randomImage(9, 1, 24, 1);
    EXPECT_FALSE(DibSaveMemory(&bytes, wide.get(), &options, &result));
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "test files hold at most 8x8 pixels");
    behave("writes and fails");
    EXPECT_FALSE(DibSaveMemory(&bytes, image.get(), &options, &result));
    EXPECT_EQ(result.code, 6);
    EXPECT_STREQ(result.reason, "it does not want to");
}

TEST_F(DescribedBundlesTest, PagesAreFoundByName) {
    use();
    DibLoadOptions options;
    options.pageName = "second";
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(kFile.data(), kFile.size(), &info, &options));
    EXPECT_EQ(info.pageName, std::string(255, 'n')) << "a name without an end is cut";
    EXPECT_EQ(codec_test::rowBytes(*opened(kFile, options).image, 0)[0], 1);
    options.pageName = "third";
    EXPECT_EQ(opened(kFile, options).reason(), "the file has no page \"third\"");
    behave("names no pages");
    use();
    options.pageName = "second";
    EXPECT_EQ(opened(kFile, options).reason(), "the file has no page \"second\"");
}

TEST_F(DescribedBundlesTest, PagesLayersAndLevelsAreAskedFor) {
    use();
    DibLoadOptions options;
    options.page = 2;
    options.layer = 1;
    options.level = 3;
    const Opened load = opened(kFile, options);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{2, 1, 3, 'z', 2, 1, 3, 'z'}));
    options.page = 3;
    EXPECT_EQ(opened(kFile, options).reason(), "there is no page 3: the file has 3");
    options.page = 0;
    options.level = 4;
    EXPECT_EQ(opened(kFile, options).reason(), "there is no level 4: the file has 4");
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(kFile.data(), kFile.size(), &info));
    EXPECT_EQ(info.pages, 3);
    EXPECT_EQ(info.layers, 2);
    EXPECT_EQ(info.levels, 4);
    EXPECT_STREQ(info.compression, "xxxxxxxxxxxxxxx");
}

TEST_F(DescribedBundlesTest, EverySourceProgressAndCancelling) {
    use();
    // The bundle gives rows from the top, as its probe does not say.
    door_test::expectLoadProgress(kFile, 5);
    const Opened memory = opened(kFile);
    door_test::Trickle trickle{kFile};
    DibStream image;
    ASSERT_TRUE(DibLoadStream(DibReader{door_test::Trickle::read, &trickle}, &image));
    EXPECT_TRUE(testing_support::sameImage(image, *memory.image));
}

TEST_F(DescribedBundlesTest, FailuresKeepRowsAndReasons) {
    use();
    behave("fails");
    EXPECT_EQ(opened(kFile).reason(), "the second row is not to its liking (in row 2 of 3)");
    const Opened kept = opened(kFile, door_test::keepingDamaged());
    ASSERT_TRUE(kept.isLoaded);
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 0)[3], 'z');
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 1)[3], 0);
    behave("says nothing");
    EXPECT_EQ(opened(kFile).result.code, 6);
    EXPECT_NE(opened(kFile).reason(), "");
}

TEST_F(DescribedBundlesTest, NonsenseIsRefused) {
    use();
    behave("gives nonsense");
    EXPECT_EQ(opened(kFile).reason(), "the plug-in gives no picture");
    behave("gives half");
    EXPECT_EQ(opened(kFile).reason(), "the plug-in gives no picture");
    behave("probes nonsense");
    DibFileInfo info;
    DibFileResult result;
    EXPECT_FALSE(DibProbeMemory(kFile.data(), kFile.size(), &info, nullptr, &result));
    EXPECT_STREQ(result.reason, "the plug-in describes a picture that cannot exist");
    EXPECT_EQ(info.width, 0);
    behave("nonsense");
    ASSERT_TRUE(DibProbeMemory(kFile.data(), kFile.size(), &info, nullptr, &result)) << result.reason;
    EXPECT_EQ(result.metadata.orientation, 1);
    EXPECT_EQ(result.metadata.yResolution, 0);
}

// In place of a plug-in that the table names, where the reason shows.
TEST_F(DescribedBundlesTest, BrokenDescriptionsAreRefusedOnce) {
    const std::pair<const char*, const char*> cases[] = {
        {"is null", "describes nothing"},
        {"is short", "describes itself in 8 bytes"},
        {"is long", "describes itself in 18446744073709551615 bytes"},
        {"is new", "follows version 2 of the contract"},
        {"has no name", "describes no name"},
        {"has no title", "describes no title"},
        {"has no extensions", "describes no extensions"},
        {"has no types", "describes no MIME types"},
        {"has no library", "describes no library"},
        {"has no test", "describes no test of first bytes"},
        {"has no probe", "describes no probe"},
        {"has no load", "describes no load"},
        {"has no depths", "describes improper depths"},
        {"writes no depths", "describes improper depths of files that it writes"},
        {"writes greys", "describes improper depths of files that it writes"},
        {"shouts", "describes a format without a proper name"},
        {"talks", "describes a format without a proper name"},
        {"is empty", "describes improper extensions"},
        {"is upper", "describes improper extensions"},
        {"", "describes test files"},
    };
    const Bytes exr = bytesOf("\x76\x2F\x31\x01");
    int count = 0;
    for (const auto& [words, problem] : cases) {
        behave(words);
        const std::string path = use("vexlibexr.bundle");
        const std::string expected = std::string("the plug-in for exr files ") + problem + ": ";
        for (int again = 0; again < 3; ++again) {
            const Opened load = opened(exr);
            EXPECT_EQ(load.result.code, 7);
            EXPECT_EQ(load.reason().substr(0, expected.size()), expected);
            EXPECT_FALSE(DibIsFormatAvailable(DibFindFormat("exr")));
        }
        EXPECT_EQ(described(), ++count) << words;
    }
    behave("is exr");
    use("vexlibexr.bundle");
    EXPECT_TRUE(DibIsFormatAvailable(DibFindFormat("exr")));
}

TEST_F(DescribedBundlesTest, FormatsOfTheTableComeFirst) {
    const std::size_t count = names().size();
    behave("is a png");
    use();
    EXPECT_EQ(names().size(), count);
    behave("has no load");
    use();
    EXPECT_EQ(names().size(), count);
    behave("");
    const std::string path = use("a.bundle");
    fs::copy_file(path, fs::path(path).parent_path() / "b.bundle");
    EXPECT_EQ(names().size(), count + 1) << "the first of a name";
    EXPECT_STREQ(DibFindFormat("test")->plugin, "a.bundle");
}

TEST_F(DescribedBundlesTest, SeveralThreadsAskAtOnce) {
    use();
    std::vector<std::thread> threads;
    std::vector<const DibFormat* const*> lists(4);
    for (std::size_t i = 0; i < lists.size(); ++i)
        threads.emplace_back([&lists, i] { lists[i] = DibGetFormats(); });
    for (std::thread& thread : threads) thread.join();
    for (const DibFormat* const* list : lists) EXPECT_EQ(list, lists[0]);
    EXPECT_EQ(described(), 1);
}

TEST_F(DescribedBundlesTest, EveryFailingAllocationIsSurvived) {
    // Without a plug-in's blocks, which come from an allocator of their own, and what is kept for good.
    use();
    ASSERT_NE(DibFindFormat("test"), nullptr);
    bool isProbed = false;
    DibFileResult result;
    const int failures = testing_support::forEachFailingAllocation(
        [] {},
        [&] {
            DibFileInfo info;
            isProbed = DibProbeMemory(kFile.data(), kFile.size(), &info, nullptr, &result);
        },
        [&](bool failureMet) {
            EXPECT_EQ(isProbed, !failureMet);
            EXPECT_EQ(result.code, failureMet ? 2 : 0) << result.reason;
        });
    EXPECT_GE(failures, 2);
}

}  // namespace
}  // namespace codec_test
