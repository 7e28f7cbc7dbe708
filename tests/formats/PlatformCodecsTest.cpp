// PNG, JPEG and TIFF files, written and read again.
#include <DibCodec.h>

#include <cstring>
#include <filesystem>

#include "tests/formats/CodecTest.h"
#include "tests/support/Paths.h"

namespace codec_test {
namespace {

struct RoundTrip {
    PathCodec save;
    const char* name;
};
constexpr RoundTrip kExact[] = {{SavePNG, "png"}, {SaveTIFF, "tif"}};
constexpr PathCodec kSavers[] = {SavePNG, SaveJPEG, SaveTIFF};

TEST(PlatformCodecs, PngAndTiffKeepEveryBit) {
    for (const RoundTrip& format : kExact) {
        for (const auto& [width, height] : testing_support::kSizes) {
            const DibPtr dib = testing_support::randomImage(width, -height, 32, 3);
            const TemporaryFile file("");
            ASSERT_TRUE(format.save(file.path(), dib.get(), nullptr, nullptr)) << format.name;
            DibStream loaded;
            // The content tells, not the function.
            ASSERT_TRUE(LoadJPEG(file.path(), &loaded, nullptr, nullptr)) << format.name;
            ASSERT_EQ(loaded.Header->biBitCount, 32);
            ASSERT_EQ(loaded.Header->biHeight, height);
            for (int y = 0; y < height; ++y) ASSERT_EQ(rowBytes(*dib, y), rowBytes(loaded, y)) << format.name;
        }
    }
}

TEST(PlatformCodecs, JpegIsOpaqueAndClose) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(40, 30, 32));
    std::memset(dib.Buffer, 100, static_cast<std::size_t>(dib.GetImageSize()));
    const TemporaryFile file("");
    ASSERT_TRUE(SaveJPEG(file.path(), &dib, nullptr, nullptr));
    DibStream loaded;
    ASSERT_TRUE(LoadPNG(file.path(), &loaded, nullptr, nullptr));
    ASSERT_EQ(loaded.Header->biBitCount, 24);
    for (const unsigned char byte : rowBytes(loaded, 7)) EXPECT_NEAR(byte, 100, 2);
}

TEST(PlatformCodecs, CutFilesFailOrAreWhole) {
    const DibPtr dib = testing_support::randomImage(9, 7, 32, 4);
    for (const PathCodec save : kSavers) {
        const TemporaryFile file("");
        ASSERT_TRUE(save(file.path(), dib.get(), nullptr, nullptr));
        DibStream whole;
        ASSERT_TRUE(LoadPNG(file.path(), &whole, nullptr, nullptr));
        int refused = 0;
        forEveryTruncation(testing_support::readFileBytes(file.path()), [&](const Bytes& cut, std::size_t) {
            const TemporaryFile shortened("", cut);
            DibStream loaded;
            loaded.ErrorCode = kUntouched;
            if (LoadPNG(shortened.path(), &loaded, nullptr, nullptr)) {
                EXPECT_EQ(testing_support::pixelBytes(loaded), testing_support::pixelBytes(whole));
            } else {
                ++refused;
                EXPECT_EQ(loaded.Header, nullptr);
            }
            EXPECT_EQ(loaded.ErrorCode, kUntouched);
        });
        EXPECT_GT(refused, 100);
    }
}

TEST(PlatformCodecs, AFailedSaveLeavesTheOldFile) {
    const TemporaryFile file("", bytesOf("old"));
    DibStream dib;
    ASSERT_TRUE(dib.Create(65501, 1, 8));
    dib.ErrorCode = kUntouched;
    EXPECT_FALSE(SaveJPEG(file.path(), &dib, nullptr, nullptr));
    EXPECT_EQ(testing_support::readFileBytes(file.path()), bytesOf("old"));
    EXPECT_EQ(dib.ErrorCode, kUntouched);
    const std::filesystem::path folder = std::filesystem::path(file.path()).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_NE(entry.path().filename().string().substr(0, 5), ".dib-") << entry.path();
    }
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(SavePNG("/dev/full", &dib, nullptr, nullptr));
    }
    EXPECT_FALSE(SavePNG(testing_support::temporaryPath("no-folder/a.png").c_str(), &dib, nullptr, nullptr));
    EXPECT_FALSE(SavePNG("", &dib, nullptr, nullptr));
    EXPECT_FALSE(LoadPNG("", &dib, nullptr, nullptr));
}

TEST(PlatformCodecs, SurviveFailingAllocations) {
    const TemporaryFile file("");
    for (const PathCodec save : kSavers) {
        DibPtr dib;
        bool saved = false;
        for (const int depth : {8, 24, 32}) {
            testing_support::forEachFailingAllocation(
                [&] {
                    dib = testing_support::randomImage(9, 7, depth, 4);
                    dib->ErrorCode = kUntouched;
                },
                [&] { saved = save(file.path(), dib.get(), nullptr, nullptr); },
                [&](bool failureMet) {
                    EXPECT_EQ(saved, !failureMet);
                    EXPECT_EQ(dib->ErrorCode, kUntouched);
                    dib.reset();
                });
        }
        DibPtr loaded;
        bool read = false;
        testing_support::forEachFailingAllocation(
            [&] { loaded.reset(new DibStream); },
            [&] { read = LoadPNG(file.path(), loaded.get(), nullptr, nullptr); },
            [&](bool failureMet) {
                EXPECT_EQ(read, !failureMet);
                loaded.reset();
            });
    }
}

}  // namespace
}  // namespace codec_test
