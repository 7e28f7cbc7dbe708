// TIFF files through DibFile.h.
#include <DibCodec.h>
#include <tiffio.h>

#include <cmath>
#include <utility>

#include "dib/Bytes.h"
#include "formats/Exif.h"
#include "formats/linux/TiffHandle.h"
#include "tests/formats/PlatformDoorTest.h"
#include "tests/formats/TiffBuilder.h"

namespace door_test {
namespace {

using testing_support::randomImage;

constexpr DibTiffCompression kCompressions[] = {DIB_TIFF_DEFLATE, DIB_TIFF_LZW, DIB_TIFF_PACKBITS,
                                                DIB_TIFF_NONE};

Bytes savedAs(const DibStream& image, DibTiffCompression compression) {
    DibSaveOptions options;
    options.format = "tiff";
    options.tiffCompression = compression;
    DibBytes bytes;
    return DibSaveMemory(&bytes, &image, &options) ? bytesOf(bytes) : Bytes();
}

TEST(TiffDoor, EveryDepthAndCompressionKeepsItsPixels) {
    const char* const names[] = {"deflate", "lzw", "packbits", "none"};
    for (const DibTiffCompression compression : kCompressions) {
        for (const int bitCount : {1, 4, 8, 24, 32}) {
            for (const int height : {13, -13}) {
                const DibPtr image = randomImage(21, height, bitCount, 5);
                const Bytes file = savedAs(*image, compression);
                const Opened load = opened(file);
                ASSERT_TRUE(load.isLoaded) << load.result.reason;
                EXPECT_EQ(load.image->Header->biBitCount, bitCount);
                EXPECT_TRUE(samePixels(*load.image, *image)) << bitCount;
                DibFileInfo info;
                ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
                EXPECT_STREQ(info.compression, names[compression]);
                EXPECT_EQ(info.pages, 1);
            }
        }
    }
}

TEST(TiffDoor, ManyStripsKeepTheirPixels) {
    for (const int bitCount : {8, 24}) {
        const DibPtr image = randomImage(700, 500, bitCount, 11);
        expectSamePixelsFrom(*image, "tiff");
    }
}

TEST(TiffDoor, PalettesKeepOrderAndUnusedColors) {
    for (const int bitCount : {1, 4, 8}) {
        const DibPtr image = paletteImage(19, 7, bitCount, 1 << bitCount);
        const Opened load = opened(saved(*image, "tiff"));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        expectSameColors(*load.image, *image);
        for (int y = 0; y < 7; ++y)
            EXPECT_EQ(codec_test::rowBytes(*load.image, y), codec_test::rowBytes(*image, y));
    }
}

// These formats announce as many colours as their pixels can number. That is no loss.
TEST(TiffDoor, ShortPalettesGrowLikeThoseOfIlbm) {
    const struct {
        const char* format;
        int bitCount;
        int colors;
        std::uint32_t loaded;
    } kCases[] = {{"tiff", 4, 11, 16}, {"tiff", 8, 77, 256}, {"iff", 4, 11, 16}, {"iff", 8, 77, 256}};
    for (const auto& row : kCases) {
        SCOPED_TRACE(testing::Message() << row.format << ' ' << row.colors);
        const DibPtr image = paletteImage(19, 7, row.bitCount, row.colors);
        EXPECT_EQ(DibSaveLosses(image.get(), row.format), 0);
        const Opened load = opened(saved(*image, row.format));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(load.result.noteCount, 0);
        EXPECT_EQ(load.image->Header->biBitCount, row.bitCount);
        EXPECT_EQ(load.image->Header->biClrUsed, row.loaded);
        for (int i = 0; i < 1 << row.bitCount; ++i) {
            const DibBGRA expected = i < row.colors ? tableOf(*image)[i] : DibBGRA{0, 0, 0, 0};
            EXPECT_EQ(std::memcmp(&tableOf(*load.image)[i], &expected, 3), 0) << i;
        }
        EXPECT_TRUE(samePixels(*load.image, *image));
    }
}

TEST(TiffDoor, EverySourceGivesOnePicture) {
    for (const int bitCount : {1, 4, 8, 24, 32}) {
        const Bytes file = saved(*randomImage(20, 9, bitCount, 3), "tiff");
        expectOneFromEverySource(file, ".tif");
        expectLoadProgress(file, 9);
        EXPECT_GT(failEveryLoad(file), 2);
    }
}

TEST(TiffDoor, SavesEverywhereAndCancels) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        const DibPtr image = randomImage(20, 9, bitCount, 3);
        expectSaves(*image, "tiff", 9);
        EXPECT_GT(failEverySave(*image, "tiff"), 2);
    }
}

// Two bits a pixel, dark numbers for light pixels, and two pages.
TEST(TiffDoor, PagesAndBits) {
    const codec_test::TemporaryFile file(".tif");
    TIFF* tiff = TIFFOpen(file.path(), "w");
    for (int page = 0; page < 3; ++page) {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 5 + page);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page == 0 ? 2 : 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, page == 0 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_MINISWHITE);
        unsigned char row[2] = {0b00011011, 0b11000000};
        TIFFWriteScanline(tiff, row, 0, 0);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    const Bytes bytes = file.bytes();
    const Opened first = opened(bytes);
    ASSERT_TRUE(first.isLoaded) << first.result.reason;
    EXPECT_EQ(first.image->Header->biBitCount, 4);
    EXPECT_EQ(codec_test::rowBytes(*first.image, 0), (Bytes{0x01, 0x23, 0x30}));
    EXPECT_EQ(tableOf(*first.image)[1].red, 85);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.pages, 3);
    EXPECT_EQ(info.storedBits, 2);
    DibLoadOptions options;
    options.page = 2;
    const Opened last = opened(bytes, options);
    ASSERT_TRUE(last.isLoaded) << last.result.reason;
    EXPECT_EQ(last.image->Header->biWidth, 7);
    EXPECT_EQ(last.image->Header->biBitCount, 1);
    EXPECT_EQ(codec_test::rowBytes(*last.image, 0)[0] & 0xFE, 0b00011010);
    EXPECT_EQ(tableOf(*last.image)[0].red, 255);
    EXPECT_EQ(tableOf(*last.image)[1].red, 0);
    options.page = 3;
    EXPECT_STREQ(opened(bytes, options).result.reason, "there is no page 3: the file has 3");
}

TEST(TiffDoor, AChainInACircleEnds) {
    Bytes file = savedAs(*randomImage(3, 3, 24, 1), DIB_TIFF_NONE);
    // The offset of the next directory follows the entries.
    const std::size_t at = dib::readLe32(&file[4]);
    const std::size_t entries = dib::readLe16(&file[at]);
    std::copy_n(file.begin() + 4, 4, file.begin() + static_cast<std::ptrdiff_t>(at + 2 + 12 * entries));
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_EQ(info.pages, 1);
}

TEST(TiffDoor, OrientationIsApplied) {
    const DibPtr image = randomImage(6, 4, 24, 3);
    DibMetadata metadata;
    metadata.orientation = 8;
    const Bytes file = savedWith(*image, "tiff", metadata);
    const Opened turned = opened(file);
    ASSERT_TRUE(turned.isLoaded);
    // The classic loader turns by itself.
    const codec_test::TemporaryFile path(".tif", file);
    DibStream classic;
    ASSERT_TRUE(LoadTIFF(path.path(), &classic, nullptr, nullptr));
    EXPECT_EQ(turned.image->Header->biWidth, 4);
    EXPECT_TRUE(samePixels(*turned.image, classic));
    DibLoadOptions asStored;
    asStored.appliesOrientation = false;
    const Opened stored = opened(file, asStored);
    EXPECT_TRUE(samePixels(*stored.image, *image));
    EXPECT_EQ(stored.result.metadata.orientation, 8);
}

void add(Bytes& to, float value) {
    unsigned char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    to.insert(to.end(), bytes, bytes + sizeof bytes);
}

TEST(TiffDoor, FloatsAreSharesOf255) {
    Bytes grey;
    for (const float value : {0.0F, 0.25F, 0.5F, 0.999F, 1.0F, 7.0F, -2.0F, NAN}) add(grey, value);
    const Opened load = opened(codec_test::TiffBuilder(8, 1, 32, 1, 1, grey).floats(1).bytes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 8);
    EXPECT_EQ(load.image->Header->biClrUsed, 256U);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 64, 128, 255, 255, 255, 0, 0}));
    EXPECT_EQ(notesOf(load.result), "floats became 8 bits a sample;");
    Bytes color;
    for (const float value : {0.2F, 0.4F, 0.6F, 0.5F}) add(color, value);
    const Opened clear =
        opened(codec_test::TiffBuilder(1, 1, 32, 4, 2, color).floats(4).set(338, {2}).bytes());
    ASSERT_TRUE(clear.isLoaded) << clear.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*clear.image, 0), (Bytes{153, 102, 51, 128}));
    // Multiplied with alpha, as 1 says.
    const Opened divided =
        opened(codec_test::TiffBuilder(1, 1, 32, 4, 2, color).floats(4).set(338, {1}).bytes());
    EXPECT_EQ(codec_test::rowBytes(*divided.image, 0), (Bytes{255, 204, 102, 128}));
    color.resize(12);
    const Opened opaque = opened(codec_test::TiffBuilder(1, 1, 32, 3, 2, color).floats(3).bytes());
    EXPECT_EQ(codec_test::rowBytes(*opaque.image, 0), (Bytes{153, 102, 51}));
}

// 0 is white at every depth: the highest number, the middle and 0, packed from the high bits down.
TEST(TiffDoor, ZeroMayBeWhite) {
    const std::pair<unsigned, Bytes> kAll[] = {{10, {0xFF, 0xE0, 0x00, 0x00}},
                                               {12, {0xFF, 0xF8, 0x00, 0x00, 0x00}},
                                               {14, {0xFF, 0xFE, 0x00, 0x00, 0x00, 0x00}},
                                               {16, {0xFF, 0xFF, 0x00, 0x80, 0x00, 0x00}}};
    for (const auto& [bits, samples] : kAll) {
        const Opened load = opened(codec_test::TiffBuilder(3, 1, bits, 1, 0, samples).bytes());
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(load.image->Header->biBitCount, 8);
        EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 127, 255})) << bits;
    }
}

// 255 x (1 - 97/65535) x (1 - 89/65535) is 254.28.
TEST(TiffDoor, InksOf16BitsAreReducedLast) {
    const Bytes inks = {97, 0, 0, 0, 255, 255, 89, 0};
    const Opened load = opened(codec_test::TiffBuilder(1, 1, 16, 4, 5, inks).bytes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 255, 254}));
}

TEST(TiffDoor, LossesAreNoted) {
    for (const int bitCount : {1, 4, 8, 24, 32})
        EXPECT_EQ(lossesOf(*randomImage(3, 3, bitCount, 1), "tiff"), "") << bitCount;
    EXPECT_EQ(lossesOf(*randomImage(3, 3, 16, 1), "tiff"), "16 bits a pixel become 24;");
}

// Three rows, each a strip, and places that count from the high byte.
Bytes writtenWithRoom(std::size_t roomBytes) {
    DibBytes bytes;
    formats::ByteWriter writer(bytes);
    formats::TiffTarget target(writer);
    const formats::TiffPtr tiff = formats::writeTiff(target, "wb");
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 3);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 3);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 1);
    TIFFSetField(tiff.get(), TIFFTAG_SOFTWARE, "a text of some length");
    target.leaveRoom(roomBytes);
    for (unsigned char y = 0; y < 3; ++y) {
        unsigned char row[3] = {y, 7, 9};
        EXPECT_EQ(TIFFWriteEncodedStrip(tiff.get(), y, row, sizeof row), 3);
    }
    target.beginDirectory();
    EXPECT_EQ(TIFFFlush(tiff.get()), 1);
    EXPECT_TRUE(target.endDirectory(false));
    return bytesOf(bytes);
}

TEST(TiffDoor, TheDirectoryComesFirstWhereItHasRoom) {
    for (const std::size_t room : {std::size_t{400}, std::size_t{10}}) {
        const Bytes file = writtenWithRoom(room);
        EXPECT_EQ(dib::readBe32(&file[4]), room == 400 ? 8U : 28U);
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        for (unsigned char y = 0; y < 3; ++y)
            EXPECT_EQ(codec_test::rowBytes(*load.image, y), (Bytes{y, 7, 9}));
        const codec_test::TemporaryFile saved(".tif", file);
        TIFF* tiff = TIFFOpen(saved.path(), "r");
        const char* text = nullptr;
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_SOFTWARE, &text), 1);
        EXPECT_STREQ(text, "a text of some length");
        TIFFClose(tiff);
    }
    // Palettes, profiles and many strips have room.
    DibMetadata metadata;
    Bytes profile(std::size_t{5001}, 1);
    std::memcpy(&profile[16], "RGB ", 4);
    formats::copyBytes(profile, metadata.colorProfile);
    DibSaveOptions options;
    options.format = "tiff";
    options.metadata = &metadata;
    for (const int bitCount : {1, 4, 8, 24, 32}) {
        for (const int height : {1, 9, 3000}) {
            DibBytes bytes;
            ASSERT_TRUE(DibSaveMemory(&bytes, randomImage(301, height, bitCount, 3).get(), &options));
            EXPECT_EQ(dib::readLe32(bytes.data + 4), 8U) << bitCount << " " << height;
            EXPECT_EQ(bytesOf(opened(bytesOf(bytes)).result.metadata.colorProfile), profile);
        }
    }
}

}  // namespace
}  // namespace door_test
