// Resolution, orientation, colour profiles and EXIF blocks from file to file through DibFile.h.
#include <tiffio.h>

#include <filesystem>

#include "tests/formats/PlatformDoorTest.h"
#include "tests/support/Paths.h"

namespace door_test {
namespace {

using testing_support::randomImage;

constexpr const char* kFormats[] = {"jpeg", "png", "tiff"};

// A maker, an orientation, a directory with an exposure of 1/250 s and a note that has an offset of its own.
Bytes exifBlock(bool isLittle, unsigned orientation) {
    codec_test::ByteWriter out;
    const auto put16 = [&](unsigned value) { isLittle ? out.le16(value) : out.be16(value); };
    const auto put32 = [&](unsigned value) { isLittle ? out.le32(value) : out.be32(value); };
    const auto entry = [&](unsigned tag, unsigned type, unsigned count) {
        put16(tag);
        put16(type);
        put32(count);
    };
    out.text(isLittle ? "II" : "MM");
    put16(42);
    put32(8);
    put16(3);
    entry(0x10F, 2, 10);
    put32(50);
    entry(0x112, 3, 1);
    put16(orientation);
    put16(0);
    entry(0x8769, 4, 1);
    put32(60);
    put32(0);
    out.text("Pinhole 3").u8(0);
    put16(2);
    entry(0x829A, 5, 1);
    put32(90);
    entry(0x927C, 7, 9);
    put32(98);
    put32(0);
    put32(1);
    put32(250);
    out.text("note").u8(0);
    put32(90);
    return out.bytes;
}

Opened openedAsStored(const Bytes& bytes) {
    DibLoadOptions options;
    options.appliesOrientation = false;
    return opened(bytes, options);
}

void expectEverything(const DibMetadata& metadata, const Bytes& exif, int orientation) {
    EXPECT_EQ(bytesOf(metadata.exif), exif);
    EXPECT_EQ(bytesOf(metadata.colorProfile), profileFor("RGB "));
    EXPECT_NEAR(metadata.xResolution, 300, 0.02);
    EXPECT_NEAR(metadata.yResolution, 150, 0.02);
    EXPECT_EQ(metadata.orientation, orientation);
}

TEST(PlatformMetadata, EveryFormatHandsEverythingToEveryOther) {
    const DibPtr image = randomImage(9, 7, 24, 3);
    for (const bool isLittle : {true, false}) {
        for (const int orientation : {1, 6}) {
            const Bytes exif = exifBlock(isLittle, static_cast<unsigned>(orientation));
            DibMetadata metadata;
            metadata.xResolution = 300;
            metadata.yResolution = 150;
            metadata.orientation = orientation;
            metadata.colorProfile = bytesFor(profileFor("RGB "));
            metadata.exif = bytesFor(exif);
            for (const char* from : kFormats) {
                const Opened first = openedAsStored(savedWith(*image, from, metadata));
                ASSERT_TRUE(first.isLoaded) << first.result.reason;
                expectEverything(first.result.metadata, exif, orientation);
                for (const char* to : kFormats) {
                    SCOPED_TRACE(std::string(from) + " to " + to);
                    const Bytes file = savedWith(*first.image, to, first.result.metadata);
                    const Opened second = openedAsStored(file);
                    ASSERT_TRUE(second.isLoaded) << second.result.reason;
                    expectEverything(second.result.metadata, exif, orientation);
                    const Opened turned = opened(file);
                    EXPECT_EQ(turned.image->Header->biWidth, orientation == 6 ? 7 : 9);
                    EXPECT_EQ(turned.result.metadata.orientation, 1);
                    EXPECT_NEAR(turned.result.metadata.xResolution, orientation == 6 ? 150 : 300, 0.02);
                    EXPECT_NEAR(turned.result.metadata.yResolution, orientation == 6 ? 300 : 150, 0.02);
                }
            }
        }
    }
}

TEST(PlatformMetadata, NothingOfItIsALoss) {
    const DibPtr image = randomImage(9, 7, 24, 3);
    DibMetadata metadata;
    metadata.exif = bytesFor(exifBlock(true, 1));
    metadata.colorProfile = bytesFor(profileFor("RGB "));
    metadata.orientation = 3;
    metadata.xResolution = 72;
    for (const char* format : {"png", "tiff"}) {
        DibFileResult result;
        ASSERT_FALSE(savedWith(*image, format, metadata, &result).empty());
        EXPECT_EQ(notesOf(result), "") << format;
    }
    metadata.exif = bytesFor({'E', 'X', 'I', 'F', 1, 2, 3, 4, 5, 6});
    DibFileResult result;
    const Opened load = opened(savedWith(*image, "tiff", metadata, &result));
    EXPECT_EQ(notesOf(result), "the EXIF block is not kept: it has no directory;");
    EXPECT_EQ(load.result.metadata.exif.size, 0U);
}

// What other programs find in a file of ours.
TEST(PlatformMetadata, TiffFilesHaveDirectoriesOfExif) {
    const codec_test::TemporaryFile file(".tif");
    for (const bool isLittle : {true, false}) {
        DibMetadata metadata;
        metadata.exif = bytesFor(exifBlock(isLittle, 1));
        DibSaveOptions options;
        options.metadata = &metadata;
        ASSERT_TRUE(DibSaveFile(file.path(), randomImage(9, 7, 8, 3).get(), &options));
        TIFF* tiff = TIFFOpen(file.path(), "r");
        ASSERT_NE(tiff, nullptr);
        char* maker = nullptr;
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_MAKE, &maker), 1);
        EXPECT_STREQ(maker, "Pinhole 3");
        toff_t place = 0;
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_EXIFIFD, &place), 1);
        EXPECT_EQ(TIFFReadEXIFDirectory(tiff, place), 1);
        float exposure = 0;
        EXPECT_EQ(TIFFGetField(tiff, EXIFTAG_EXPOSURETIME, &exposure), 1);
        EXPECT_NEAR(exposure, 0.004, 1e-9);
        TIFFClose(tiff);
    }
}

// 300 columns and 150 rows an inch in a block with an orientation.
Bytes exifOfScan(unsigned orientation) {
    codec_test::ByteWriter out;
    out.text("II").le16(42).le32(8).le16(3);
    out.le16(0x112).le16(3).le32(1).le16(orientation).le16(0);
    out.le16(0x11A).le16(5).le32(1).le32(50);
    out.le16(0x11B).le16(5).le32(1).le32(58);
    return out.le32(0).le32(300).le32(1).le32(150).le32(1).bytes;
}

TEST(PlatformMetadata, ResolutionsOfBlocksAreThoseOfTheTurnedPicture) {
    constexpr std::size_t kX = 10 + 12 + 8;
    constexpr std::size_t kY = kX + 12;
    for (const char* format : kFormats) {
        DibMetadata metadata;
        metadata.exif = bytesFor(exifOfScan(6));
        metadata.orientation = 6;
        metadata.xResolution = 300;
        metadata.yResolution = 150;
        const Bytes file = savedWith(*randomImage(9, 7, 24, 3), format, metadata);
        EXPECT_EQ(bytesOf(openedAsStored(file).result.metadata.exif), exifOfScan(6));
        const Opened turned = opened(file);
        ASSERT_TRUE(turned.isLoaded) << turned.result.reason;
        Bytes expected = exifOfScan(6);
        std::swap(expected[kX], expected[kY]);
        EXPECT_EQ(bytesOf(turned.result.metadata.exif), expected) << format;
        // The same for a picture that the caller has turned.
        metadata.orientation = 1;
        std::swap(metadata.xResolution, metadata.yResolution);
        const Bytes copy = savedWith(*randomImage(7, 9, 24, 3), format, metadata);
        expected[10 + 8] = 1;
        EXPECT_EQ(bytesOf(openedAsStored(copy).result.metadata.exif), expected) << format;
    }
}

// Texts are kept without a directory of EXIF entries, too.
TEST(PlatformMetadata, TextsOfTiffFilesAreKept) {
    const codec_test::TemporaryFile file(".tif");
    TIFF* tiff = TIFFOpen(file.path(), "w");
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 2);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, "Harbour at noon");
    TIFFSetField(tiff, TIFFTAG_COPYRIGHT, "(c) A");
    unsigned char row[2] = {1, 2};
    TIFFWriteScanline(tiff, row, 0, 0);
    TIFFClose(tiff);
    for (int copies = 0; copies < 2; ++copies) {
        const Opened load = opened(file.bytes());
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        DibSaveOptions options;
        options.metadata = &load.result.metadata;
        ASSERT_TRUE(DibSaveFile(file.path(), load.image.get(), &options));
        tiff = TIFFOpen(file.path(), "r");
        ASSERT_NE(tiff, nullptr);
        char* text = nullptr;
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text), 1);
        EXPECT_STREQ(text, "Harbour at noon");
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_COPYRIGHT, &text), 1);
        EXPECT_STREQ(text, "(c) A");
        TIFFClose(tiff);
    }
}

// Files of others have the parts of a block in any places.
Bytes foreignTiff(const char* mode) {
    const codec_test::TemporaryFile file(".tif");
    TIFF* tiff = TIFFOpen(file.path(), mode);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 2);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_MAKE, "Pinhole 3");
    TIFFSetField(tiff, TIFFTAG_EXIFIFD, std::uint64_t{0});
    unsigned char row[2] = {1, 2};
    TIFFWriteScanline(tiff, row, 0, 0);
    TIFFWriteDirectory(tiff);
    TIFFCreateEXIFDirectory(tiff);
    TIFFSetField(tiff, EXIFTAG_EXPOSURETIME, 0.5);
    toff_t place = 0;
    TIFFWriteCustomDirectory(tiff, &place);
    TIFFSetDirectory(tiff, 0);
    TIFFSetField(tiff, TIFFTAG_EXIFIFD, place);
    TIFFRewriteDirectory(tiff);
    TIFFClose(tiff);
    return file.bytes();
}

TEST(PlatformMetadata, BlocksAreMadeOfTheDirectoriesOfTiffFiles) {
    for (const char* mode : {"wl", "wb"}) {
        const Bytes file = foreignTiff(mode);
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        const bool isLittle = mode[1] == 'l';
        codec_test::ByteWriter expected;
        const auto put16 = [&](unsigned value) { isLittle ? expected.le16(value) : expected.be16(value); };
        const auto put32 = [&](unsigned value) { isLittle ? expected.le32(value) : expected.be32(value); };
        expected.text(isLittle ? "II" : "MM");
        put16(42);
        put32(8);
        put16(2);
        for (const unsigned word : {0x10FU, 2U}) put16(word);
        put32(10);
        put32(38);
        for (const unsigned word : {0x8769U, 4U}) put16(word);
        put32(1);
        put32(48);
        put32(0);
        expected.text("Pinhole 3").u8(0);
        put16(1);
        for (const unsigned word : {0x829AU, 5U}) put16(word);
        put32(1);
        put32(66);
        put32(0);
        put32(1);
        put32(2);
        EXPECT_EQ(bytesOf(load.result.metadata.exif), expected.bytes);
        const Opened jpeg = opened(savedWith(*load.image, "jpeg", load.result.metadata));
        EXPECT_EQ(bytesOf(jpeg.result.metadata.exif), expected.bytes);
    }
}

TEST(PlatformMetadata, BlocksWithTheirDirectoryElsewhereAreMadeAnew) {
    Bytes exif = exifBlock(true, 1);
    const Bytes directory(exif.begin() + 8, exif.begin() + 50);
    std::fill(exif.begin() + 8, exif.begin() + 50, static_cast<unsigned char>(0xEE));
    exif[4] = static_cast<unsigned char>(exif.size() + 1);
    exif.push_back(0);
    exif.insert(exif.end(), directory.begin(), directory.end());
    DibMetadata metadata;
    metadata.exif = bytesFor(exif);
    const Opened load = opened(savedWith(*randomImage(9, 7, 8, 3), "tiff", metadata));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const Bytes made = bytesOf(load.result.metadata.exif);
    EXPECT_EQ(Bytes(made.begin() + 4, made.begin() + 10), (Bytes{8, 0, 0, 0, 3, 0}));
    EXPECT_EQ(std::string(made.begin() + 50, made.begin() + 59), "Pinhole 3");
}

TEST(PlatformMetadata, DamagedBlocksOfTiffFilesDoNoHarm) {
    DibMetadata metadata;
    metadata.exif = bytesFor(exifBlock(true, 1));
    expectExtremeBytesAreSurvived(savedWith(*randomImage(9, 7, 8, 3), "tiff", metadata), "a.tif");
    expectExtremeBytesAreSurvived(foreignTiff("wl"), "a.tif");
}

TEST(PlatformMetadata, FailingAllocationsAreCode2) {
    DibMetadata metadata;
    metadata.exif = bytesFor(exifBlock(true, 1));
    const DibPtr image = randomImage(9, 7, 8, 3);
    EXPECT_GT(failEveryLoad(savedWith(*image, "tiff", metadata)), 5);
    EXPECT_GT(failEveryLoad(foreignTiff("wb")), 5);
    DibSaveOptions options;
    options.format = "tiff";
    options.metadata = &metadata;
    DibBytes bytes;
    bool isSaved = false;
    const int failed = testing_support::forEachFailingAllocation(
        [] {}, [&] { isSaved = DibSaveMemory(&bytes, image.get(), &options); },
        [&](bool failureMet) {
            EXPECT_EQ(isSaved, !failureMet);
            bytes = {};
        });
    EXPECT_GT(failed, 5);
}

void expectProbeSaysWhatALoadGives(const std::filesystem::path& path) {
    SCOPED_TRACE(path.string());
    DibLoadOptions options;
    options.appliesOrientation = false;
    DibStream image;
    DibFileResult load;
    if (!DibLoadFile(path.c_str(), &image, &options, &load)) return;
    DibFileInfo info;
    DibFileResult probe;
    ASSERT_TRUE(DibProbeFile(path.c_str(), &info, &options, &probe)) << probe.reason;
    EXPECT_EQ(info.width, image.Header->biWidth);
    EXPECT_EQ(info.height, image.Header->biHeight);
    EXPECT_EQ(info.bitCount, image.Header->biBitCount);
    EXPECT_EQ(info.hasAlpha, image.Header->biBitCount == 32);
    EXPECT_EQ(info.paletteSize,
              image.Header->biBitCount <= 8 ? static_cast<int>(image.Header->biClrUsed) : 0);
    EXPECT_EQ(info.levels, 1);
    EXPECT_GT(info.storedBits, 0);
    EXPECT_EQ(probe.metadata.orientation, load.metadata.orientation);
    EXPECT_EQ(probe.metadata.xResolution, load.metadata.xResolution);
    EXPECT_EQ(probe.metadata.yResolution, load.metadata.yResolution);
    // There is no page more than it says, and the last one is there or damaged.
    options.page = info.pages;
    EXPECT_FALSE(DibLoadFile(path.c_str(), &image, &options, &load));
    EXPECT_EQ(load.code, 8) << load.reason;
    options.page = info.pages - 1;
    EXPECT_TRUE(DibLoadFile(path.c_str(), &image, &options, &load) || load.code != 8) << load.reason;
}

TEST(PlatformMetadata, ProbeSaysWhatALoadGives) {
    int probed = 0;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(testing_support::sourceFolder() + "/docs")) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".png" && extension != ".jpg" && extension != ".tif" && extension != ".tiff")
            continue;
        expectProbeSaysWhatALoadGives(entry.path());
        ++probed;
    }
    for (const char* format : kFormats) {
        for (const testing_support::Sample& sample : testing_support::samplesOf(format)) {
            if (sample.width * sample.height > 1 << 20) continue;
            expectProbeSaysWhatALoadGives(sample.path);
            ++probed;
        }
    }
    for (const char* format : kFormats) {
        DibMetadata metadata;
        metadata.exif = bytesFor(exifBlock(true, 6));
        metadata.orientation = 6;
        metadata.xResolution = 300;
        const codec_test::TemporaryFile file(".any", savedWith(*randomImage(9, 7, 8, 3), format, metadata));
        expectProbeSaysWhatALoadGives(file.path());
        ++probed;
    }
    EXPECT_GE(probed, 3);
}

}  // namespace
}  // namespace door_test
