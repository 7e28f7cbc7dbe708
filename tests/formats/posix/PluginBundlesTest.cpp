// Plug-ins loaded from real bundle files.
#include <DibCodec.h>
#include <DibFile.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/formats/CodecTest.h"
#include "tests/support/Paths.h"

namespace codec_test {
namespace {

namespace fs = std::filesystem;

// Small bundles built for these tests.
const fs::path kBundles = testing_support::testBundles();

// Each test works in a folder of its own, with an empty plug-in folder.
class PluginBundlesTest : public ::testing::Test {
protected:
    void SetUp() override {
        before_ = fs::current_path();
        folder = fs::path(testing_support::temporaryPath()) /
                 (std::string("bundles.") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
        fs::current_path(folder);
        DibStream::SetDllFilePath("");
        image.ErrorCode = kUntouched;
    }
    void TearDown() override {
        EXPECT_EQ(image.ErrorCode, kUntouched);
        DibStream::SetDllFilePath("");
        fs::current_path(before_);
        fs::remove_all(folder);
    }

    void place(const char* bundle, const fs::path& as) const {
        fs::create_directories((folder / as).parent_path());
        fs::copy_file(kBundles / (std::string(bundle) + ".bundle"), folder / as);
    }
    bool loadExr() { return LoadEXR("a.exr", &image, nullptr, nullptr); }

    fs::path folder;
    DibStream image;

private:
    fs::path before_;
};

TEST_F(PluginBundlesTest, ExrIsLoadedFromAFolderWithAndWithoutSlash) {
    place("exr", "plugins/vexlibexr.bundle");
    for (const std::string& path : {folder.string() + "/plugins", folder.string() + "/plugins/",
                                    std::string("plugins"), std::string("./plugins/")}) {
        DibStream::SetDllFilePath(path.c_str());
        image.Clear();
        ASSERT_TRUE(loadExr()) << path;
        EXPECT_EQ(image.Header->biWidth, 1);
        EXPECT_EQ(image.Buffer[0], 5);
        EXPECT_EQ(image.Buffer[1], 'r');
        EXPECT_EQ(image.Buffer[2], 0) << "neither progress function nor user pointer";
    }
}

TEST_F(PluginBundlesTest, WithoutAFolderTheBundleIsInTheWorkingDirectory) {
    EXPECT_FALSE(loadExr());
    place("exr", "vexlibexr.bundle");
    EXPECT_TRUE(loadExr());
    place("dds", "vexlibdds.bundle");
    EXPECT_TRUE(LoadDDS(L"a.dds", &image, nullptr, nullptr));
    EXPECT_EQ(image.Header->biHeight, -1);
}

TEST_F(PluginBundlesTest, TheWorkingDirectoryIsTheOneOfTheLoad) {
    place("exr", "one/vexlibexr.bundle");
    place("stranger", "two/vexlibexr.bundle");
    EXPECT_FALSE(loadExr());
    fs::current_path(folder / "one");
    EXPECT_TRUE(loadExr());
    fs::current_path(folder / "two");
    EXPECT_FALSE(loadExr()) << "the code of the other folder, which is still loaded, is not meant";
}

TEST_F(PluginBundlesTest, WidePathsAreHandedOverAsUtf8) {
    place("exr", "vexlibexr.bundle");
    EXPECT_TRUE(LoadEXR(L"\u00E9\U0001F600", &image, nullptr, nullptr));
    EXPECT_EQ(image.Buffer[0], 6);
    EXPECT_EQ(image.Buffer[1], 0x80);
    const wchar_t impossible[] = {static_cast<wchar_t>(0x110000), L'\0'};
    EXPECT_FALSE(LoadEXR(impossible, &image, nullptr, nullptr));
    EXPECT_FALSE(LoadEXR(L"", &image, nullptr, nullptr));
    EXPECT_EQ(image.Buffer[0], 6) << "a failure keeps the image";
}

TEST_F(PluginBundlesTest, CodeStaysLoaded) {
    place("exr", "vexlibexr.bundle");
    ASSERT_TRUE(loadExr());
    const int calls = image.Buffer[3];
    ASSERT_TRUE(loadExr());
    EXPECT_EQ(image.Buffer[3], calls + 1);
}

TEST_F(PluginBundlesTest, DdsReportsAndCanBeCancelled) {
    place("dds", "vexlibdds.bundle");
    ProgressLog log;
    EXPECT_TRUE(LoadDDS(L"picture.dds", &image, ProgressLog::callback, &log));
    EXPECT_EQ(log.fractions, (std::vector<float>{0.25F, 0.5F, 1.0F}));
    EXPECT_EQ(image.Buffer[0], 11);
    EXPECT_EQ(image.Buffer[1], 's');
    ProgressLog cancelling;
    cancelling.cancelAt = 1;
    EXPECT_FALSE(LoadDDS(L"a", &image, ProgressLog::callback, &cancelling));
    EXPECT_EQ(cancelling.fractions.size(), 2U);
    EXPECT_EQ(image.Buffer[0], 11) << "a cancelled load keeps the image";
}

// A decoder that opens files itself gets a copy of what comes from memory.
TEST_F(PluginBundlesTest, FailingCopiesNameTheirFolder) {
    place("dds", "vexlibdds.bundle");
    Bytes file = bytesOf("DDS ");
    file.resize(132);
    file[4] = 124;
    file[12] = file[16] = 1;                 // rows and columns
    file[76] = file[88] = 32;                // pixels of 32 bits
    file[80] = 0x40;                         // with masks
    file[94] = file[97] = file[100] = 0xFF;  // of red, green and blue
    DibStream loaded;
    DibFileResult result;
    const std::string before = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp";
    setenv("TMPDIR", "/nowhere", 1);
    EXPECT_FALSE(DibLoadMemory(file.data(), file.size(), &loaded, nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_WRITE);
    EXPECT_STREQ(result.reason,
                 "no temporary copy can be made in /nowhere, which TMPDIR chooses: No such "
                 "file or directory");
    setenv("TMPDIR", before.c_str(), 1);
    EXPECT_TRUE(DibLoadMemory(file.data(), file.size(), &loaded, nullptr, &result)) << result.reason;
}

TEST_F(PluginBundlesTest, FoldersAreLookedInto) {
    fs::create_directories("vexlibexr.bundle");
    EXPECT_FALSE(loadExr()) << "a folder without code";
    place("exr", "vexlibexr.bundle/Contents/MacOS/vexlibexr");
    EXPECT_TRUE(loadExr());
    fs::remove_all("vexlibexr.bundle");
    place("exr", "vexlibexr.bundle/Contents/Linux/vexlibexr");
    place("stranger", "vexlibexr.bundle/Contents/MacOS/vexlibexr");
    EXPECT_TRUE(loadExr()) << "this platform's code comes first";
}

TEST_F(PluginBundlesTest, WhatIsNoPluginIsRefused) {
    std::ofstream("vexlibexr.bundle") << "text";
    EXPECT_FALSE(loadExr());
    fs::remove("vexlibexr.bundle");
    place("stranger", "vexlibexr.bundle");
    EXPECT_FALSE(loadExr());
    fs::remove("vexlibexr.bundle");
    fs::create_symlink("nowhere", "vexlibexr.bundle");
    EXPECT_FALSE(loadExr());
    EXPECT_FALSE(LoadDDS(L"a", &image, nullptr, nullptr));
    fs::remove("vexlibexr.bundle");
    ASSERT_EQ(mkfifo("vexlibexr.bundle", 0600), 0);
    EXPECT_FALSE(loadExr()) << "a pipe, which nobody waits for";
    fs::remove("vexlibexr.bundle");
    fs::create_directories("vexlibexr.bundle/Contents/Linux/vexlibexr");
    EXPECT_FALSE(loadExr()) << "a folder where the code should be";
    EXPECT_EQ(image.Header, nullptr);
}

TEST_F(PluginBundlesTest, LinksLeadToBundles) {
    place("exr", "elsewhere/exr");
    fs::create_symlink("elsewhere/exr", "vexlibexr.bundle");
    EXPECT_TRUE(loadExr());
    fs::remove("vexlibexr.bundle");
    place("exr", "folder.bundle/Contents/Linux/vexlibexr");
    fs::create_directory_symlink("folder.bundle", "vexlibexr.bundle");
    EXPECT_TRUE(loadExr()) << "the code goes by the name of the link";
}

TEST_F(PluginBundlesTest, WithoutAPathNoPluginIsCalled) {
    place("exr", "vexlibexr.bundle");
    ASSERT_TRUE(loadExr());
    const int calls = image.Buffer[3];
    EXPECT_FALSE(LoadEXR(static_cast<const wchar_t*>(nullptr), &image, nullptr, nullptr));
    EXPECT_FALSE(LoadEXR(static_cast<const char*>(nullptr), &image, nullptr, nullptr));
    EXPECT_FALSE(LoadEXR("a.exr", nullptr, nullptr, nullptr));
    ASSERT_TRUE(loadExr());
    EXPECT_EQ(image.Buffer[3], calls + 1);
}

TEST_F(PluginBundlesTest, EveryFailingAllocationIsSurvived) {
    place("exr", "plugins/vexlibexr.bundle");
    DibStream::SetDllFilePath("plugins");
    const auto freeUncounted = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_DEFAULT, "free"));
    bool loaded = false;
    const int failures = testing_support::forEachFailingAllocation(
        [] {}, [&] { loaded = LoadEXR(L"a.exr", &image, nullptr, nullptr); },
        [&](bool failureMet) {
            EXPECT_EQ(loaded, !failureMet);
            // The bundle has a malloc of its own, uncounted, and so is this free.
            if (loaded) {
                freeUncounted(image.Header);
                freeUncounted(image.Buffer);
            }
            image.HeaderOwner = image.BufferOwner = 0;
            image.Clear();
        });
    EXPECT_GT(failures, 2);
}

}  // namespace
}  // namespace codec_test
