// The macOS side of the plug-in loader, on a double of the system's framework: which calls it makes, in which
// order and with what. That the framework answers as the double does is not shown here.
#include <DibCodec.h>
#include <DibPlugin.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "formats/PluginLoader.h"
#include "tests/fakes/FakeFoundation.h"

namespace {

using Calls = std::vector<std::string>;

bool plugin(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer, DibProgressCallback, void*) {
    FakeFoundation::instance().calls.push_back("LoadEXR(" + std::string(path) + ")");
    *header = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof(BITMAPINFOHEADER)));
    *buffer = static_cast<unsigned char*>(std::calloc(1, 4));
    (*header)->biSize = 40;
    (*header)->biWidth = (*header)->biHeight = 1;
    (*header)->biBitCount = 32;
    return true;
}

class MacPluginLoader : public ::testing::Test {
protected:
    void SetUp() override {
        fake = {};
        fake.function = reinterpret_cast<void*>(plugin);
        DibStream::SetDllFilePath("/Plug-ins");
    }
    void TearDown() override {
        EXPECT_EQ(fake.objects, 0);
        DibStream::SetDllFilePath("");
    }
    bool load() { return LoadEXR("a.exr", &image, nullptr, nullptr); }

    FakeFoundation& fake = FakeFoundation::instance();
    DibStream image;
};

TEST_F(MacPluginLoader, CallsComeInOrder) {
    EXPECT_TRUE(load());
    EXPECT_EQ(fake.calls,
              (Calls{"CFURLCreateFromFileSystemRepresentation(default, /Plug-ins/vexlibexr.bundle, file)",
                     "CFBundleCreate(default, url)", "CFRelease(url)", "CFBundleLoadExecutable(bundle)",
                     "CFStringCreateWithCString(default, LoadEXR, UTF-8)",
                     "CFBundleGetFunctionPointerForName(bundle, name)", "CFRelease(name)", "LoadEXR(a.exr)",
                     "CFRelease(bundle)"}));
    EXPECT_EQ(image.Header->biBitCount, 32);
}

TEST_F(MacPluginLoader, WithoutAFolderThePathIsTheNameAlone) {
    DibStream::SetDllFilePath("");
    EXPECT_TRUE(load());
    EXPECT_EQ(fake.calls.front(), "CFURLCreateFromFileSystemRepresentation(default, vexlibexr.bundle, file)");
}

TEST_F(MacPluginLoader, EveryFailureReleasesWhatWasMade) {
    const std::pair<const char*, Calls::size_type> cases[] = {
        {"CFURLCreateFromFileSystemRepresentation", 1},  // nothing was made
        {"CFBundleCreate", 3},                           // the URL is released
        {"CFBundleLoadExecutable", 5},                   // from here on the bundle too
        {"CFStringCreateWithCString", 6},
        {"CFBundleGetFunctionPointerForName", 8},
    };
    for (const auto& [function, expected] : cases) {
        fake.failing = function;
        fake.calls.clear();
        EXPECT_FALSE(load()) << function;
        EXPECT_EQ(fake.calls.size(), expected) << function;
        EXPECT_EQ(fake.objects, 0) << function;
        EXPECT_EQ(image.Header, nullptr);
    }
}

}  // namespace
