// Compose with an image file.
#include <DibCodec.h>
#include <DibEffect.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/effects/ComposeTestSupport.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/Paths.h"
#include "tests/support/System.h"
#include "tests/support/TestImages.h"

namespace compose_test {
namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::plainImage;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;

class ComposeFile : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string at(const std::string& name) const { return folder_ + "/" + name; }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(at(name), std::ios::binary) << bytes;
    }

    // A picture of one pixel, 0x324B64, under this name.
    std::string bmp(const std::string& name) const {
        EXPECT_TRUE(plainImage(1, 1, 24, 0x324B64)->SaveToFile(at(name).c_str()));
        return at(name);
    }

    // A black pixel at 24 bits after the file was blended in. All ones if the file was refused, which must
    // change nothing.
    static std::uint32_t over(const std::string& path, float opacity = 1, unsigned int mode = kStretch) {
        const DibPtr image = blankImage(1, 1, 24);
        if (DibEffectCompose(nullptr, nullptr, image.get(), path.c_str(), opacity, mode)) {
            return pixelValue(*image, 0, 0);
        }
        EXPECT_EQ(pixelValue(*image, 0, 0), 0U);
        return UINT32_MAX;
    }

private:
    // Tests of one program may run at the same time.
    const std::string folder_ = testing_support::temporaryPath("compose-") +
                                ::testing::UnitTest::GetInstance()->current_test_info()->name();
};

constexpr std::uint32_t kRefused = UINT32_MAX;

TEST_F(ComposeFile, EachExtensionHasItsReader) {
    EXPECT_EQ(over(bmp("a.bmp")), 0x314A63U);
    EXPECT_EQ(over(bmp("a.bmp"), 0.5F), 0x192532U);  // 50, 75 and 100 x 128 >> 8

    write("a.ppm", std::string("P6\n1 1\n255\n") + "\x32\x4B\x64");
    EXPECT_EQ(over(at("a.ppm")), 0x314A63U);

    write("a.pgm", std::string("P5\n1 1\n255\n") + "\x32");
    EXPECT_EQ(over(at("a.pgm")), 0x313131U);

    const DibPtr picture = plainImage(1, 1, 24, 0x324B64);
    ASSERT_TRUE(SaveTGA(at("a.tga").c_str(), picture.get(), nullptr, nullptr));
    EXPECT_EQ(over(at("a.tga")), 0x314A63U);

    ASSERT_TRUE(SavePNG(at("a.png").c_str(), picture.get(), nullptr, nullptr));
    EXPECT_EQ(over(at("a.png")), 0x314A63U);

    // Compression does not change a single grey.
    const DibPtr grey = plainImage(8, 8, 24, 0x808080);
    ASSERT_TRUE(SaveJPEG(at("a.jpg").c_str(), grey.get(), nullptr, nullptr));
    EXPECT_EQ(over(at("a.jpg")), 0x7F7F7FU);
    std::filesystem::copy_file(at("a.jpg"), at("a.jpeg"));
    EXPECT_EQ(over(at("a.jpeg")), kRefused);

    ASSERT_TRUE(SaveIFF(at("a.iff").c_str(), picture.get(), nullptr, nullptr));
    EXPECT_EQ(over(at("a.iff")), 0x314A63U);
}

TEST_F(ComposeFile, CapitalsDoNotMatter) {
    EXPECT_EQ(over(bmp("a.BMP")), 0x314A63U);
    EXPECT_EQ(over(bmp("a.bMp")), 0x314A63U);
    write("a.PPM", std::string("P6\n1 1\n255\n") + "\x32\x4B\x64");
    EXPECT_EQ(over(at("a.PPM")), 0x314A63U);
}

TEST_F(ComposeFile, TheExtensionAloneTellsTheFormat) {
    bmp("a.tga");
    EXPECT_EQ(over(at("a.tga")), kRefused);
    for (const char* name : {"a.jpeg", "a.JPEG", "a.tif", "a.tiff", "a.psd", "a.hdr", "a.tim", "a.dib",
                             "a.bmpx", "a.bm", "a.bmp ", "a.", "a", "bmp", ".bmp", "a.bmp.gz"}) {
        EXPECT_EQ(over(bmp(name)), kRefused) << name;
    }
    EXPECT_EQ(over(bmp("a.gz.bmp")), 0x314A63U);
    EXPECT_EQ(over(""), kRefused);
}

TEST_F(ComposeFile, FilesOfOtherExtensionsAreNotOpened) {
    // Opening a pipe without a writer would block.
    if (!testing_support::makeNamedPipe(at("pipe.jpeg"))) GTEST_SKIP() << "no pipe in a folder";
    EXPECT_EQ(over(at("pipe.jpeg")), kRefused);
}

TEST_F(ComposeFile, DotsInFoldersAreNoExtension) {
    std::filesystem::create_directories(at("folder.bmp"));
    EXPECT_EQ(over(bmp("folder.bmp/a")), kRefused);
    EXPECT_EQ(over(bmp("folder.bmp/a.bmp")), 0x314A63U);
    EXPECT_EQ(over(at("folder.bmp")), kRefused);
    std::filesystem::create_directories(at("folder.x"));
    EXPECT_EQ(over(bmp("folder.x/a.bmp")), 0x314A63U);
}

TEST_F(ComposeFile, AnExtensionMayBeAsLongAsThePath) {
    EXPECT_EQ(over("a." + std::string(100000, 'b')), kRefused);
    EXPECT_EQ(over(std::string(100000, 'b') + ".bmp"), kRefused);
}

TEST_F(ComposeFile, FailedLoads) {
    for (const unsigned int mode : {0U, 1U, 2U}) {
        EXPECT_EQ(over(at("absent.bmp"), 1, mode), kRefused);
        EXPECT_EQ(over(at("absent.xyz"), 1, mode), kRefused);
        for (const char* name :
             {"empty.bmp", "empty.ppm", "empty.pgm", "empty.tga", "empty.png", "empty.jpg", "empty.iff"}) {
            write(name, "");
            EXPECT_EQ(over(at(name), 1, mode), kRefused) << name;
        }
        write("short.ppm", "P6\n2 2\n255\nabc");
        EXPECT_EQ(over(at("short.ppm"), 1, mode), kRefused);
    }
    EXPECT_EQ(over(bmp("a.bmp"), 1, 2), 0U);  // other modes blend nothing and succeed
}

TEST_F(ComposeFile, FilesOfEveryDepthAreTaken) {
    for (const int depth : testing_support::kDepths) {
        const DibPtr second = randomImage(7, 5, depth, 4);
        ASSERT_TRUE(second->SaveToFile(at("a.bmp").c_str()));
        DibStream loaded;
        ASSERT_TRUE(loaded.LoadFromFile(at("a.bmp").c_str(), DibStream::DIB_ACCEPT_ALL));
        for (const unsigned int mode : kModes) {
            for (const int firstDepth : kAccepted) {
                const DibPtr image = randomImage(9, 6, firstDepth, 2);
                const DibPtr expected(image->Clone());
                EXPECT_TRUE(DibEffectCompose(nullptr, nullptr, image.get(), at("a.bmp").c_str(), 0.3F, mode));
                EXPECT_TRUE(DibEffectCompose(nullptr, nullptr, expected.get(), &loaded, 0.3F, mode));
                EXPECT_TRUE(sameImage(*image, *expected));
            }
        }
    }
}

TEST_F(ComposeFile, Refusals) {
    const std::string path = bmp("a.bmp");
    for (const unsigned int mode : kModes) {
        testing_support::expectRefusals(
            [&](DibProgressCallback callback, void* user, DibStream* image) {
                return DibEffectCompose(callback, user, image, path.c_str(), 0.5F, mode);
            },
            kAccepted);
    }
    const DibPtr image = randomImage(4, 4, 24, 1);
    const DibPtr before(image->Clone());
    const char* nowhere = nullptr;
    for (const unsigned int mode : {0U, 1U, 2U}) {
        EXPECT_FALSE(DibEffectCompose(nullptr, nullptr, image.get(), nowhere, 0.5F, mode));
    }
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(image->ErrorCode, 0);
}

TEST_F(ComposeFile, TheCallbackIsNeverCalled) {
    write("a.ppm", std::string("P6\n1 1\n255\n") + "abc");
    const DibPtr image = randomImage(4, 4, 24, 1);
    ProgressLog log;
    log.cancelAt = 0;
    for (const std::string& path : {bmp("a.bmp"), at("a.ppm")}) {
        EXPECT_TRUE(DibEffectCompose(ProgressLog::callback, &log, image.get(), path.c_str(), 0.5F, kTile));
    }
    EXPECT_TRUE(log.fractions.empty());
}

TEST_F(ComposeFile, FailingAllocations) {
    const std::string path = bmp("a.bmp");
    const int failures = testing_support::expectSurvivesFailingAllocations(
        [&](DibProgressCallback callback, void* user, DibStream* image) {
            return DibEffectCompose(callback, user, image, path.c_str(), 0.5F, kTile);
        },
        kAccepted);
    EXPECT_GE(failures, 9);  // the extension, the file's header and its pixels, at each depth
}

TEST_F(ComposeFile, TheRecordChoosesTheOverload) {
    const DibPtr white = plainImage(1, 1, 24, 0xFFFFFF);
    const std::string path = bmp("a.bmp");
    const auto blend = [&](DEComposeInfo info) {
        const DibPtr image = blankImage(1, 1, 24);
        if (!DibEffectCompose(nullptr, nullptr, image.get(), &info)) return kRefused;
        return pixelValue(*image, 0, 0);
    };
    EXPECT_EQ(blend({77, nullptr, white.get(), 1, kTile}), 0xFEFEFEU);
    EXPECT_EQ(blend({77, nullptr, white.get(), 0.5F, kTile}), 0x7F7F7FU);
    EXPECT_EQ(blend({77, nullptr, white.get(), 0.5F, 2}), 0U);
    EXPECT_EQ(blend({77, nullptr, nullptr, 1, kTile}), kRefused);
    // A path takes precedence over an image, even if there is no such file.
    EXPECT_EQ(blend({77, path.c_str(), white.get(), 1, kStretch}), 0x314A63U);
    EXPECT_EQ(blend({77, path.c_str(), nullptr, 0.5F, kStretch}), 0x192532U);
    EXPECT_EQ(blend({77, "", white.get(), 1, kStretch}), kRefused);
    EXPECT_EQ(blend({77, "a.jpeg", white.get(), 1, kStretch}), kRefused);
}

}  // namespace
}  // namespace compose_test
