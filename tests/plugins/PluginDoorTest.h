// What the tests of plug-ins ask of the functions of DibFile.h.
#ifndef TESTS_PLUGINS_PLUGIN_DOOR_TEST_H
#define TESTS_PLUGINS_PLUGIN_DOOR_TEST_H

#include "tests/formats/DoorCodecTest.h"
#include "tests/support/Paths.h"

namespace plugin_test {

// The built plug-ins are those of the library while it lives.
struct PluginsInUse {
    PluginsInUse() { DibStream::SetDllFilePath(testing_support::builtPlugins().c_str()); }
    ~PluginsInUse() { DibStream::SetDllFilePath(""); }
    PluginsInUse(const PluginsInUse&) = delete;
    PluginsInUse& operator=(const PluginsInUse&) = delete;
};

// A file that only the plug-in can read is neither loaded nor probed without it; the reason names its bundle.
inline void expectMissingPlugin(const codec_test::Bytes& bytes, const std::string& format) {
    const PluginsInUse plugins;
    DibStream::SetDllFilePath("/nonexistent");
    const std::string reason =
        "the plug-in for " + format + " files is missing: /nonexistent/vexlib" + format + ".bundle";
    const door_test::Opened load = door_test::opened(bytes);
    EXPECT_FALSE(load.isLoaded);
    EXPECT_EQ(load.result.code, 7);
    EXPECT_EQ(load.reason(), reason);
    DibFileInfo info;
    DibFileResult result;
    EXPECT_FALSE(DibProbeMemory(bytes.data(), bytes.size(), &info, nullptr, &result));
    EXPECT_EQ(result.code, 7);
    EXPECT_EQ(result.reason, reason);
}

// An allocation that fails leaves the image and a reason. Plug-ins have allocations of their own.
inline void expectFailingAllocationsAreSurvived(const codec_test::Bytes& bytes) {
    bool isMet = true;
    for (int n = 0; isMet; ++n) {
        DibStream image;
        DibFileResult result;
        bool isLoaded = false;
        {
            const testing_support::FailNthAllocation failing(n);
            isLoaded = DibLoadMemory(bytes.data(), bytes.size(), &image, nullptr, &result);
            isMet = failing.failed();
        }
        EXPECT_EQ(isLoaded, !isMet) << n << ": " << result.reason;
        EXPECT_EQ(result.code != 0, isMet);
        EXPECT_EQ(result.reason[0] != '\0', isMet);
        EXPECT_EQ(image.Header == nullptr, isMet);
        EXPECT_TRUE(n > 0 || isMet);
    }
}

// Probing says of every sample what loading gives. Returns how many were loaded.
inline int expectProbesOfSamples(const char* format) {
    int count = 0;
    for (const testing_support::Sample& sample : testing_support::samplesOf(format)) {
        const codec_test::Bytes bytes = testing_support::readFileBytes(sample.path);
        const door_test::Opened load = door_test::opened(bytes, door_test::named(std::string("x.") + format));
        if (!load.isLoaded) {
            EXPECT_NE(load.reason(), "") << sample.path;
            continue;
        }
        DibFileInfo info;
        EXPECT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info)) << sample.path;
        EXPECT_EQ(info.width, load.image->Header->biWidth) << sample.path;
        EXPECT_EQ(info.height, load.image->Header->biHeight) << sample.path;
        EXPECT_EQ(info.bitCount, load.image->Header->biBitCount) << sample.path;
        ++count;
    }
    return count;
}

}  // namespace plugin_test

#endif
