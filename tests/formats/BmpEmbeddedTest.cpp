// JPEG and PNG files inside of BMP files.
#include <cstring>

#include "tests/formats/BmpDoorTest.h"

namespace door_test {
namespace {

// A picture of one colour as a file of another format.
Bytes wholeFile(const char* format) {
    const auto image = testing_support::blankImage(3, 2, 24);
    for (int y = 0; y < 2; ++y) {
        for (std::size_t x = 0; x < 3; ++x) std::memcpy(image->ScanLine(y) + 3 * x, "\x20\x40\x80", 3);
    }
    DibSaveOptions options;
    options.format = format;
    options.quality = 100;
    DibBytes bytes;
    EXPECT_TRUE(DibSaveMemory(&bytes, image.get(), &options));
    return {bytes.data, bytes.data + bytes.size};
}

struct Embedded {
    unsigned headerBytes;
    unsigned bits;
    unsigned compression;
    const char* format;
};

// The signature decides: 4 is JPEG in Windows and run lengths of 24 bits in OS/2, and 4 and 5 are mistaken
// for each other.
TEST(BmpEmbedded, TheSignatureDecides) {
    for (const Embedded& each :
         {Embedded{40, 24, 4, "jpeg"}, Embedded{40, 0, 4, "jpeg"}, Embedded{56, 24, 4, "jpeg"},
          Embedded{108, 24, 4, "jpeg"}, Embedded{124, 32, 5, "jpeg"}, Embedded{40, 24, 4, "png"},
          Embedded{40, 0, 5, "png"}, Embedded{124, 24, 5, "png"}}) {
        const Bytes file = bmp({.headerBytes = each.headerBytes,
                                .width = 3,
                                .height = 2,
                                .bits = each.bits,
                                .compression = each.compression,
                                .pixels = wholeFile(each.format)});
        SCOPED_TRACE(testing::Message() << each.headerBytes << " " << each.compression << " " << each.format);
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.reason();
        const Bytes pixels = shownBytes(*load.image);
        ASSERT_EQ(pixels.size(), 18U);
        for (std::size_t i = 0; i < pixels.size(); ++i) EXPECT_NEAR(pixels[i], 0x20 << i % 3, 1) << i;
        DibFileInfo info;
        ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
        EXPECT_STREQ(info.compression, each.format);
        EXPECT_EQ(info.width, 3);
        expectOneFromEverySource(file, ".bmp");
    }
}

// Runs of OS/2 files may begin as JPEG files do: 255 pixels of one colour.
TEST(BmpEmbedded, Os2FilesHaveRuns) {
    const Bytes runs = {255, 0xD8, 0xFF, 0xE0, 0, 0, 0, 1};
    const Opened load = opened(
        bmp({.headerBytes = 64, .width = 255, .height = 1, .bits = 24, .compression = 4, .pixels = runs}));
    ASSERT_TRUE(load.isLoaded) << load.reason();
    EXPECT_EQ(shownBytes(*load.image).size(), 765U);
    EXPECT_EQ(load.image->Buffer[0], 0xD8);
    EXPECT_EQ(load.image->Buffer[762], 0xD8);
    EXPECT_EQ(load.image->Buffer[763], 0xFF);
    EXPECT_EQ(load.image->Buffer[764], 0xE0);
}

// Limits count for the picture that a load gives.
TEST(BmpEmbedded, ProbesAndLimitsAreThoseOfTheFileInside) {
    const Bytes file =
        bmp({.width = 1, .height = 1, .bits = 32, .compression = 5, .pixels = wholeFile("png")});
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_EQ(info.width, 3);
    EXPECT_EQ(info.height, 2);
    EXPECT_EQ(info.bitCount, 24);
    DibLoadOptions options;
    options.mostPixels = 5;
    const Opened load = opened(file, options);
    EXPECT_EQ(load.result.code, DIB_ERROR_MISMATCH);
    EXPECT_EQ(load.reason().rfind("the picture of 3x2 pixels needs 6 pixels", 0), 0U) << load.reason();
}

TEST(BmpEmbedded, OtherDataIsWhatTheNumberSays) {
    BmpParts parts = {.headerBytes = 40, .width = 2, .height = 1, .bits = 24, .compression = 4};
    parts.pixels = {2, 0xD8, 0xFF, 0xE0, 0, 1};
    EXPECT_EQ(shown(bmp(parts), 24), Bytes({0xD8, 0xFF, 0xE0, 0xD8, 0xFF, 0xE0}));
    parts.headerBytes = 108;
    EXPECT_EQ(opened(bmp(parts)).reason(), "the jpeg file inside is damaged");
    parts.compression = 5;
    EXPECT_EQ(opened(bmp(parts)).reason(), "the png file inside is damaged");
    parts.pixels = {};
    EXPECT_EQ(opened(bmp(parts)).reason(), "the file ends before its pixels do");
}

}  // namespace
}  // namespace door_test
