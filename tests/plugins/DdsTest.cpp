#include <DibCodec.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "dib/LightCurve.h"
#include "tests/plugins/DdsFile.h"
#include "tests/support/Paths.h"
#include "tests/support/System.h"

namespace {

using codec_test::ProgressLog;
using codec_test::TemporaryFile;
using dds_test::Bytes;
using dds_test::file;
using dds_test::Format;
using dds_test::masked;
using dds_test::named;
using dds_test::numbered;
using dds_test::pixels;
using dds_test::read;
using plugins::Picture;

TEST(DdsTest, MasksOfEveryDepth) {
    EXPECT_EQ(pixels(file(1, 1, masked(0x41, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}), {1, 2, 3, 4})),
              (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x40, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}), {1, 2, 3, 4})),
              (Bytes{1, 2, 3, 255}))
        << "without the flag the mask of alpha does not count";
    EXPECT_EQ(pixels(file(1, 1, masked(0x40, 24, {0xFF, 0xFF00, 0xFF0000, 0}), {1, 2, 3})),
              (Bytes{3, 2, 1, 255}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x40, 16, {0xF800, 0x7E0, 0x1F, 0}), {0x03, 0x82})),
              (Bytes{25, 65, 132, 255}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x41, 16, {0x7C00, 0x3E0, 0x1F, 0x8000}), {0xFF, 0x7F})),
              (Bytes{255, 255, 255, 0}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x40, 8, {0xE0, 0x1C, 0x03, 0}), {0x25})), (Bytes{85, 36, 36, 255}));
    // Some writers exchange red and blue of these two; GIMP, OpenImageIO and NVIDIA's tools go by the masks
    // as well.
    const std::uint32_t low = 0x3FF;
    const std::uint32_t high = 0x3FF00000;
    EXPECT_EQ(
        pixels(file(1, 1, masked(0x41, 32, {low, 0xFFC00, high, 0xC0000000}), {0xFF, 0x03, 0x00, 0x40})),
        (Bytes{0, 0, 255, 85}));
    EXPECT_EQ(
        pixels(file(1, 1, masked(0x41, 32, {high, 0xFFC00, low, 0xC0000000}), {0xFF, 0x03, 0x00, 0x40})),
        (Bytes{255, 0, 0, 85}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x2, 8, {0, 0, 0, 0xFF}), {7})), (Bytes{0, 0, 0, 7}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x20001, 16, {0xFF, 0, 0, 0xFF00}), {9, 8})), (Bytes{9, 9, 9, 8}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x20001, 8, {0x0F, 0, 0, 0xF0}), {0x21})), (Bytes{17, 17, 17, 34}));
}

TEST(DdsTest, LuminanceAloneIsGrey) {
    Picture picture;
    ASSERT_TRUE(read(file(2, 2, masked(0x20000, 8, {0xFF, 0, 0, 0}), {1, 2, 3, 4}), picture));
    EXPECT_EQ(picture.header().biSize, 40U);
    EXPECT_EQ(picture.header().biBitCount, 8);
    EXPECT_EQ(picture.header().biClrUsed, 256U);
    EXPECT_EQ(picture.header().biHeight, 2);
    EXPECT_EQ(picture.row(0)[1], 2);
    EXPECT_EQ(picture.row(1)[0], 3);
    EXPECT_EQ(picture.row(1) + 4, picture.row(0)) << "bottom-up";
    const auto* table = reinterpret_cast<const unsigned char*>(&picture.header() + 1);
    EXPECT_EQ(Bytes(table + 800, table + 804), (Bytes{200, 200, 200, 0}));
    EXPECT_EQ(pixels(file(1, 1, masked(0x20000, 16, {0xFFFF, 0, 0, 0}), {0xFF, 0x7F})), Bytes{127});
}

// Two decoders take the byte for the grey whatever the mask says; here a mask within the byte counts.
TEST(DdsTest, MasksOfLuminanceBesideTheTexelMeanAllOfIt) {
    for (const std::uint32_t beside : {0xFF000000U, 0xFF00U, 0U}) {
        EXPECT_EQ(pixels(file(3, 1, masked(0x20000, 8, {beside, beside, beside, 0}), {0, 0x12, 0xFF})),
                  (Bytes{0, 0x12, 0xFF}))
            << beside;
    }
    EXPECT_EQ(pixels(file(2, 1, masked(0x20000, 8, {0xF0, 0, 0, 0}), {0x12, 0xFF})), (Bytes{17, 255}));
    EXPECT_TRUE(pixels(file(1, 1, masked(0x20000, 8, {0x1FF, 0, 0, 0}), {1})).empty()) << "above the depth";
    EXPECT_TRUE(pixels(file(1, 1, masked(0x20000, 16, {0xFF000000, 0, 0, 0}), {1, 2})).empty());
    EXPECT_TRUE(pixels(file(1, 1, masked(0x20001, 8, {0xFF000000, 0, 0, 0xF}), {1})).empty());
    EXPECT_TRUE(pixels(file(1, 1, masked(0x40, 8, {0xFF000000, 0, 0, 0}), {1})).empty()) << "no luminance";
}

TEST(DdsTest, NumbersOfUncompressedFormats) {
    EXPECT_EQ(pixels(file(1, 1, numbered(28), {1, 2, 3, 4})), (Bytes{3, 2, 1, 4}));
    EXPECT_EQ(pixels(file(1, 1, numbered(28, 3), {1, 2, 3, 4})), (Bytes{3, 2, 1, 255})) << "declared opaque";
    EXPECT_EQ(pixels(file(1, 1, numbered(87), {1, 2, 3, 4})), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(pixels(file(1, 1, numbered(88), {1, 2, 3, 4})), (Bytes{1, 2, 3, 255}));
    EXPECT_EQ(pixels(file(1, 1, numbered(61), {5})), Bytes{5});
    EXPECT_EQ(pixels(file(1, 1, numbered(49), {5, 6})), (Bytes{0, 6, 5, 255}));
    EXPECT_EQ(pixels(file(1, 1, numbered(24), {0xFF, 0x03, 0x00, 0x40})), (Bytes{0, 0, 255, 85}));
}

TEST(DdsTest, GammaCurve) {
    const dib::LightCurve& curve = dib::lightCurve();
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(curve(0.5F), 186);
    EXPECT_EQ(curve(0.18F), 117);
    EXPECT_EQ(curve(1.0F), 255);
    EXPECT_EQ(curve(infinity), 255);
    EXPECT_EQ(curve(-infinity), 0);
    EXPECT_EQ(curve(-0.5F), 0);
    EXPECT_EQ(curve(std::numeric_limits<float>::quiet_NaN()), 0);
    // From the smallest samples, a fraction of a thousandth further each time.
    for (float sample = std::numeric_limits<float>::denorm_min(); sample < 1.1F;
         sample += std::max(sample / 4096, std::numeric_limits<float>::denorm_min())) {
        const double byte = std::floor(std::pow(double{sample}, 0.45454543828964233) * 255.0 + 0.5);
        ASSERT_EQ(curve(sample), static_cast<int>(std::min(byte, 255.0))) << sample;
    }
}

TEST(DdsTest, WrongHeadersAreRefused) {
    const Bytes data(64);
    const Format rgb = masked(0x40, 32, {0xFF0000, 0xFF00, 0xFF, 0});
    ASSERT_FALSE(pixels(file(1, 1, rgb, data)).empty());
    for (const std::size_t at : {0U, 4U, 76U}) {
        Bytes wrong = file(1, 1, rgb, data);
        ++wrong[at];
        EXPECT_TRUE(pixels(wrong).empty()) << at;
    }
    EXPECT_TRUE(pixels(file(0, 1, rgb, data)).empty());
    EXPECT_TRUE(pixels(file(1, 0, rgb, data)).empty());
    EXPECT_TRUE(pixels(file(1, 1, named("NONE"), data)).empty());
    EXPECT_TRUE(pixels(file(1, 1, numbered(2), data)).empty());
    EXPECT_TRUE(pixels(file(1, 1, masked(0, 32, {0xFF, 0xFF00, 0xFF0000, 0}), data)).empty()) << "no kind";
    EXPECT_TRUE(pixels(file(1, 1, masked(0x40, 12, {0xF, 0xF0, 0xF00, 0}), data)).empty()) << "depth";
    EXPECT_TRUE(pixels(file(1, 1, masked(0x40, 32, {0, 0, 0, 0}), data)).empty()) << "no masks";
    EXPECT_TRUE(pixels(file(1, 1, masked(0x40, 32, {0xF0F, 0, 0, 0}), data)).empty()) << "a gap";
    EXPECT_TRUE(pixels(file(1, 1, masked(0x40, 16, {0x1FF00, 0, 0, 0}), data)).empty()) << "above the depth";
}

TEST(DdsTest, ShortFilesAreRefusedBeforeMemoryIsAsked) {
    const Bytes whole = file(5, 5, numbered(98), Bytes(64, 0x40));
    ASSERT_FALSE(pixels(whole).empty());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(
            pixels(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))).empty());
    }
    testing_support::resetLargestAllocation();
    for (const std::uint32_t side : {20000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        EXPECT_TRUE(pixels(file(side, side, named("DXT1"), Bytes(64))).empty());
        EXPECT_TRUE(pixels(file(side, side, masked(0x20000, 8, {0xFF, 0, 0, 0}), Bytes(64))).empty());
    }
    EXPECT_LT(testing_support::largestAllocation(), 100000U);
}

TEST(DdsTest, ProgressIsToldAfterEachRowOfBlocksAndCanStop) {
    const Bytes whole = file(3, 15, named("ATI1"), Bytes(32));
    ProgressLog all;
    Picture picture;
    ASSERT_TRUE(read(whole, picture, &all));
    EXPECT_EQ(all.fractions, (std::vector<float>{0.25F, 0.5F, 0.75F, 1.0F}));
    for (int stop = 0; stop < 4; ++stop) {
        const TemporaryFile onDisk(".dds", whole);
        ProgressLog log;
        log.cancelAt = stop;
        Picture stopped;
        EXPECT_FALSE(plugins::dds::read(onDisk.widePath().c_str(), stopped, ProgressLog::callback, &log));
        EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(stop) + 1);
    }
}

TEST(DdsTest, EveryAllocationMayFail) {
    const TemporaryFile onDisk(".dds", file(4, 4, named("ATI1"), Bytes(8)));
    const std::wstring path = onDisk.widePath();
    bool result = false;
    const int failures = testing_support::forEachFailingAllocation(
        [] {},
        [&] {
            Picture picture;
            result = plugins::dds::read(path.c_str(), picture, nullptr, nullptr);
        },
        [&](bool failureMet) { EXPECT_EQ(result, !failureMet); });
    EXPECT_GE(failures, 3);
}

TEST(DdsTest, TheBundleIsLoadedByTheLibrary) {
    DibStream::SetDllFilePath(testing_support::builtPlugins().c_str());
    const Bytes whole = file(1, 2, masked(0x40, 24, {0xFF0000, 0xFF00, 0xFF, 0}), {1, 2, 3, 4, 5, 6});
    const bool anyBytes = testing_support::namesHoldAnyBytes();
    const std::string text = std::string(".\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA8") + (anyBytes ? "\xFF" : "");
    const TemporaryFile onDisk((text + ".dds").c_str(), whole);
    std::wstring path(onDisk.path(), onDisk.path() + std::strlen(onDisk.path()) - text.size() - 3);
    path += L"\u00E4\u20AC\U0001F3A8";
    if (anyBytes) path += static_cast<wchar_t>(0xDCFF);
    path += L".dds";
    DibStream image;
    ProgressLog log;
    ASSERT_TRUE(LoadDDS(path.c_str(), &image, ProgressLog::callback, &log));
    EXPECT_EQ(image.Header->biBitCount, 32);
    EXPECT_EQ(Bytes(image.ScanLine(0), image.ScanLine(0) + 4), (Bytes{1, 2, 3, 255}));
    EXPECT_EQ(Bytes(image.ScanLine(1), image.ScanLine(1) + 4), (Bytes{4, 5, 6, 255}));
    EXPECT_EQ(log.fractions.size(), 2U);
    EXPECT_FALSE(LoadDDS(L"absent.dds", &image, nullptr, nullptr));
    const wchar_t bad[] = {0xD800, 0};
    EXPECT_FALSE(LoadDDS(bad, &image, nullptr, nullptr));
    DibStream::SetDllFilePath("");
}

}  // namespace
