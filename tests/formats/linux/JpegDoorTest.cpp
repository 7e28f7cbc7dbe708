// JPEG files through DibFile.h.
#include <DibCodec.h>

#include "tests/formats/PlatformDoorTest.h"

namespace door_test {
namespace {

using testing_support::randomImage;

// A picture that JPEG packs well.
DibPtr smoothImage(int width, int height, int bitCount) {
    DibPtr image = testing_support::blankImage(width, height, bitCount);
    for (int y = 0; y < std::abs(height); ++y) {
        for (int x = 0; x < width; ++x) {
            const auto level = static_cast<unsigned>((x * 2 + y * 3) % 256);
            testing_support::setPixelValue(*image, x, y, bitCount == 8 ? level : level << 16 | 0x4080);
        }
    }
    return image;
}

int largestDifference(const DibStream& a, const DibStream& b) {
    const Bytes left = testing_support::pixelBytes(a);
    const Bytes right = testing_support::pixelBytes(b);
    int largest = 0;
    for (std::size_t i = 0; i < left.size(); ++i) largest = std::max(largest, std::abs(left[i] - right[i]));
    return largest;
}

TEST(JpegDoor, GreyStaysGrey) {
    const DibPtr image = smoothImage(40, 30, 8);
    const Opened load = opened(saved(*image, "jpeg"));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    ASSERT_EQ(load.image->Header->biBitCount, 8);
    expectSameColors(*load.image, *image);
    EXPECT_LE(largestDifference(*load.image, *image), 12);
    EXPECT_EQ(load.result.noteCount, 0);
}

TEST(JpegDoor, ColorsStayClose) {
    for (const int height : {30, -30}) {
        const DibPtr image = smoothImage(40, height, 24);
        const Opened load = opened(saved(*image, "jpeg"));
        ASSERT_TRUE(load.isLoaded);
        ASSERT_EQ(load.image->Header->biBitCount, 24);
        const DibPtr upright = smoothImage(40, 30, 24);
        EXPECT_LE(largestDifference(*load.image, *upright), 40);
    }
}

TEST(JpegDoor, QualityDecides) {
    const DibPtr image = randomImage(64, 64, 24, 3);
    std::size_t before = 0;
    for (const int quality : {1, 20, 60, 90, 100}) {
        DibSaveOptions options;
        options.format = "jpeg";
        options.quality = quality;
        DibBytes bytes;
        ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &options));
        EXPECT_GT(bytes.size, before) << quality;
        before = bytes.size;
    }
}

TEST(JpegDoor, EverySourceGivesOnePicture) {
    for (const int bitCount : {8, 24}) {
        const Bytes file = saved(*smoothImage(40, 30, bitCount), "jpeg");
        expectOneFromEverySource(file, ".jpg");
        expectLoadProgress(file, 30);
        EXPECT_GT(failEveryLoad(file), 2);
    }
}

TEST(JpegDoor, SavesEverywhereAndCancels) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        const DibPtr image = randomImage(20, 9, bitCount, 3);
        expectSaves(*image, "jpeg", 9);
        failEverySave(*image, "jpeg");
    }
}

TEST(JpegDoor, MetadataIsCarriedFromFormatToFormat) {
    const DibPtr image = smoothImage(16, 8, 24);
    DibMetadata metadata;
    metadata.xResolution = 300;
    metadata.yResolution = 200;
    metadata.colorProfile = bytesFor(profileFor("RGB "));
    metadata.exif = bytesFor(exifWith(6));
    metadata.orientation = 6;
    const Opened jpeg = opened(savedWith(*image, "jpeg", metadata));
    ASSERT_TRUE(jpeg.isLoaded) << jpeg.result.reason;
    EXPECT_EQ(jpeg.image->Header->biWidth, 8);
    EXPECT_EQ(jpeg.result.metadata.orientation, 1);
    const Opened png = opened(savedWith(*jpeg.image, "png", jpeg.result.metadata));
    ASSERT_TRUE(png.isLoaded) << png.result.reason;
    EXPECT_TRUE(samePixels(*png.image, *jpeg.image));
    const Opened tiff = opened(savedWith(*png.image, "tiff", png.result.metadata));
    ASSERT_TRUE(tiff.isLoaded) << tiff.result.reason;
    EXPECT_TRUE(samePixels(*tiff.image, *jpeg.image));
    EXPECT_NEAR(tiff.result.metadata.xResolution, 200, 0.02);
    EXPECT_EQ(bytesOf(tiff.result.metadata.colorProfile), profileFor("RGB "));
    const Opened last = opened(savedWith(*tiff.image, "jpeg", tiff.result.metadata));
    ASSERT_TRUE(last.isLoaded);
    EXPECT_EQ(last.result.metadata.xResolution, 200);
    EXPECT_EQ(last.result.metadata.yResolution, 300);
    EXPECT_EQ(bytesOf(last.result.metadata.colorProfile), profileFor("RGB "));
    EXPECT_EQ(bytesOf(png.result.metadata.exif), exifWith(1));

    DibLoadOptions asStored;
    asStored.appliesOrientation = false;
    const Opened stored = opened(savedWith(*image, "jpeg", metadata), asStored);
    ASSERT_TRUE(stored.isLoaded);
    EXPECT_EQ(stored.image->Header->biWidth, 16);
    EXPECT_EQ(stored.result.metadata.orientation, 6);
}

TEST(JpegDoor, OrientationNeedsNoBlock) {
    DibMetadata metadata;
    metadata.orientation = 3;
    DibLoadOptions asStored;
    asStored.appliesOrientation = false;
    for (const char* format : {"jpeg", "png", "tiff"}) {
        const Opened load = opened(savedWith(*smoothImage(16, 8, 24), format, metadata), asStored);
        ASSERT_TRUE(load.isLoaded);
        EXPECT_EQ(load.result.metadata.orientation, 3) << format;
    }
}

TEST(JpegDoor, CutFilesAreRefusedOrKeepRows) {
    const DibPtr image = smoothImage(64, 64, 24);
    const Bytes file = saved(*image, "jpeg");
    const Opened whole = opened(file);
    int kept = 0;
    for (std::size_t length = 2; length + 60 < file.size(); length += 31) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded) << length;
        EXPECT_NE(refused.result.reason[0], '\0');
        const Opened load = opened(cut, keepingDamaged());
        if (!load.isLoaded) continue;
        ++kept;
        EXPECT_NE(load.note(0).find(" of 64 rows were read"), std::string::npos) << load.note(0);
        EXPECT_EQ(codec_test::rowBytes(*load.image, 0), codec_test::rowBytes(*whole.image, 0));
        EXPECT_EQ(codec_test::rowBytes(*load.image, 63), Bytes(192, 0));
    }
    EXPECT_GT(kept, 5);
}

TEST(JpegDoor, AMissingEndMarkIsNoted) {
    const DibPtr image = smoothImage(64, 64, 24);
    const Bytes file = saved(*image, "jpeg");
    const Opened whole = opened(file);
    EXPECT_EQ(whole.result.noteCount, 0);
    for (const std::ptrdiff_t missing : {1, 2}) {
        const Opened load = opened(Bytes(file.begin(), file.end() - missing));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_TRUE(samePixels(*load.image, *whole.image));
        EXPECT_EQ(notesOf(load.result), "the file ends without its end mark; all rows were read;");
        EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_WARNING);
    }
}

// Where the codes of the first scan begin.
std::size_t startOfCodes(const Bytes& file) {
    std::size_t at = 2;
    while (file[at + 1] != 0xDA) at += 2 + static_cast<std::size_t>(file[at + 2] << 8 | file[at + 3]);
    return at + 2 + static_cast<std::size_t>(file[at + 2] << 8 | file[at + 3]);
}

// A marker among the codes: the decoder goes on with grey.
TEST(JpegDoor, BrokenCodesAreRefusedOrKept) {
    const Bytes file = saved(*randomImage(64, 64, 24, 3), "jpeg");
    const Opened whole = opened(file);
    Bytes broken = file;
    const std::size_t middle = (startOfCodes(file) + file.size()) / 2;
    broken[middle] = 0xFF;
    broken[middle + 1] = 0xD3;
    const Opened refused = opened(broken);
    EXPECT_FALSE(refused.isLoaded);
    EXPECT_EQ(refused.result.code, 6);
    EXPECT_STREQ(refused.result.reason, "the pixels are damaged (in row 31 of 64)");
    const Opened kept = opened(broken, keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_NE(notesOf(kept.result).find("the pixels are damaged from row 31 on: 64 of 64 rows were read;"),
              std::string::npos);
    for (int y = 0; y < 30; ++y)
        EXPECT_EQ(codec_test::rowBytes(*kept.image, y), codec_test::rowBytes(*whole.image, y)) << y;
    EXPECT_NE(codec_test::rowBytes(*kept.image, 60), codec_test::rowBytes(*whole.image, 60));
    // The classic loader shows such files without a word.
    const codec_test::TemporaryFile path(".jpg", broken);
    DibStream classic;
    EXPECT_TRUE(LoadJPEG(path.path(), &classic, nullptr, nullptr));
}

TEST(JpegDoor, TablesBrokenInAScanAreNoticed) {
    const Bytes file = saved(*randomImage(64, 64, 24, 3), "jpeg");
    int refused = 0;
    int warned = 0;
    int silent = 0;
    const std::size_t start = startOfCodes(file);
    for (std::size_t at = start; at + 20 < file.size(); at += 41) {
        Bytes broken = file;
        std::fill_n(broken.begin() + static_cast<std::ptrdiff_t>(at), 8, static_cast<unsigned char>(0xFE));
        const Opened load = opened(broken);
        ++(!load.isLoaded ? refused : load.result.noteCount > 0 ? warned : silent);
    }
    // Codes that still mean something are pixels, if other ones.
    EXPECT_GT(refused + warned, 10 * silent);
    EXPECT_GT(refused, 0);
}

TEST(JpegDoor, BytesBehindThePixelsAreTold) {
    const DibPtr image = smoothImage(16, 16, 8);
    Bytes file = saved(*image, "jpeg");
    const Opened plain = opened(file);
    EXPECT_EQ(plain.result.noteCount, 0);
    file.insert(file.end() - 2, 9, 0x55);
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_TRUE(samePixels(*load.image, *plain.image));
    EXPECT_EQ(notesOf(load.result), "bytes follow the last pixel: the picture may be damaged;");
    EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_WARNING);
}

TEST(JpegDoor, ProbeReadsTheHeaders) {
    DibMetadata metadata;
    metadata.xResolution = 96;
    metadata.yResolution = 96;
    const Bytes file = savedWith(*smoothImage(40, 30, 8), "jpeg", metadata);
    DibFileInfo info;
    DibFileResult result;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, nullptr, &result));
    EXPECT_EQ(info.width, 40);
    EXPECT_EQ(info.height, 30);
    EXPECT_EQ(info.bitCount, 8);
    EXPECT_EQ(info.storedBits, 8);
    EXPECT_EQ(result.metadata.xResolution, 96);
    EXPECT_STREQ(info.compression, "dct");
}

DibLoadOptions atLeastSize(int width, int height) {
    DibLoadOptions options;
    options.atLeastWidth = width;
    options.atLeastHeight = height;
    return options;
}

// "50x30" of a picture that was opened.
std::string sizeOf(const Opened& load) {
    if (!load.isLoaded) return load.result.reason;
    return std::to_string(load.image->Header->biWidth) + "x" + std::to_string(load.image->Header->biHeight);
}

TEST(JpegDoor, DecodesAtTheSmallestScaleThatIsEnough) {
    struct Case {
        int width, height;
        const char* size;
    };
    const Case cases[] = {{0, 0, "100x60"},   {100, 60, "100x60"}, {1000, 1, "100x60"}, {51, 30, "100x60"},
                          {50, 31, "100x60"}, {50, 30, "50x30"},   {0, 16, "50x30"},    {25, 15, "25x15"},
                          {14, 8, "25x15"},   {0, 9, "25x15"},     {13, 8, "13x8"},     {1, 0, "13x8"}};
    for (const int bitCount : {8, 24}) {
        const Bytes file = saved(*smoothImage(100, 60, bitCount), "jpeg");
        const Opened plain = opened(file);
        for (const Case& each : cases) {
            const Opened load = opened(file, atLeastSize(each.width, each.height));
            EXPECT_EQ(sizeOf(load), each.size) << each.width << "x" << each.height;
            EXPECT_EQ(load.image->Header->biBitCount, bitCount);
            if (std::string(each.size) == "100x60") {
                EXPECT_TRUE(samePixels(*load.image, *plain.image));
                EXPECT_EQ(load.result.noteCount, 0);
            }
        }
    }
    const Bytes file = saved(*smoothImage(100, 60, 24), "jpeg");
    const Opened quarter = opened(file, atLeastSize(25, 15));
    EXPECT_EQ(notesOf(quarter.result), "100x60 pixels were decoded at 1/4 of their size;");
    EXPECT_EQ(quarter.result.notes[0].kind, DIB_NOTE_LOSS);
    EXPECT_EQ(sizeOf(opened(saved(*smoothImage(100, 60, 24), "png"), atLeastSize(13, 8))), "100x60");
}

// Blocks of 8 x 8 samples that are black, white or half of each, every scale keeps.
TEST(JpegDoor, ScaledPixelsAreMeans) {
    const DibPtr image = testing_support::blankImage(32, 16, 8);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 32; ++x)
            testing_support::setPixelValue(*image, x, y, x < 8 ? 0 : x < 16 ? 255 : y < 8 ? 40 : 200);
    }
    const Bytes file = saved(*image, "jpeg");
    for (const int scale : {2, 4, 8}) {
        const Opened load = opened(file, atLeastSize(32 / scale, 16 / scale));
        ASSERT_TRUE(load.isLoaded);
        for (int y = 0; y < 16 / scale; ++y) {
            for (int x = 0; x < 32 / scale; ++x) {
                const auto level = static_cast<int>(testing_support::pixelValue(*load.image, x, y));
                const int expected = static_cast<int>(
                    testing_support::pixelValue(*image, x * scale + scale / 2, y * scale + scale / 2));
                EXPECT_NEAR(level, expected, 2) << scale << ": " << x << ", " << y;
            }
        }
    }
}

TEST(JpegDoor, TheLeastSizeIsThatOfTheTurnedPicture) {
    DibMetadata metadata;
    metadata.orientation = 6;
    const Bytes file = savedWith(*smoothImage(100, 60, 24), "jpeg", metadata);
    EXPECT_EQ(sizeOf(opened(file)), "60x100");
    EXPECT_EQ(sizeOf(opened(file, atLeastSize(30, 50))), "30x50");
    EXPECT_EQ(sizeOf(opened(file, atLeastSize(50, 30))), "60x100");
    EXPECT_EQ(sizeOf(opened(file, atLeastSize(0, 25))), "15x25");
    DibLoadOptions asStored = atLeastSize(50, 30);
    asStored.appliesOrientation = false;
    EXPECT_EQ(sizeOf(opened(file, asStored)), "50x30");
}

TEST(JpegDoor, ScaledPicturesFailAndCancelAsOthers) {
    const Bytes file = saved(*smoothImage(96, 64, 24), "jpeg");
    const DibLoadOptions eighth = atLeastSize(12, 8);
    EXPECT_GT(failEveryLoad(file, eighth), 2);
    expectLoadProgress(file, 9, eighth);
    DibLoadOptions damaged = eighth;
    damaged.damage = DIB_DAMAGE_KEEP;
    const Opened kept = opened(Bytes(file.begin(), file.end() - std::ptrdiff_t{200}), damaged);
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_EQ(sizeOf(kept), "12x8");
    EXPECT_NE(notesOf(kept.result).find(" of 8 rows were read"), std::string::npos) << notesOf(kept.result);
}

TEST(JpegDoor, ALeastSizeBelowZeroIsRefused) {
    const Bytes file = saved(*smoothImage(16, 8, 24), "jpeg");
    const Opened width = opened(file, atLeastSize(-1, 0));
    EXPECT_EQ(width.result.code, 8);
    EXPECT_STREQ(width.result.reason, "least width is -1, but must be 0 or more");
    const Opened height = opened(file, atLeastSize(0, -2));
    EXPECT_STREQ(height.result.reason, "least height is -2, but must be 0 or more");
    // Records of the version before end before the fields.
    DibLoadOptions older = atLeastSize(-1, -1);
    older.size = offsetof(DibLoadOptions, atLeastWidth);
    EXPECT_EQ(sizeOf(opened(file, older)), "16x8");
}

TEST(JpegDoor, LossesAreNoted) {
    // Of everything: a save that refuses losses never makes a JPEG file.
    const std::string packed = "pixels change a little, as JPEG packs them (quality 90);";
    EXPECT_EQ(lossesOf(*randomImage(3, 3, 24, 1), "jpeg"), packed);
    EXPECT_EQ(lossesOf(*smoothImage(3, 3, 8), "jpeg"), packed);
    EXPECT_EQ(lossesOf(*paletteImage(3, 3, 4, 9), "jpeg"),
              "4 bits a pixel become 24;the palette and its indices are not kept;" + packed);
    EXPECT_EQ(lossesOf(*testing_support::plainImage(2, 2, 32, 0x80000000), "jpeg"),
              "transparency is not kept;32 bits a pixel become 24;" + packed);
    DibSaveOptions options;
    options.format = "jpeg";
    options.quality = 100;
    options.refusesLosses = true;
    DibFileResult refused;
    DibBytes none;
    EXPECT_FALSE(DibSaveMemory(&none, smoothImage(3, 3, 8).get(), &options, &refused));
    EXPECT_EQ(refused.code, 8);
    EXPECT_NE(std::string(refused.reason).find("pixels change a little, as JPEG packs them (quality 100)"),
              std::string::npos)
        << refused.reason;
    DibFileResult result;
    EXPECT_TRUE(saved(*testing_support::blankImage(65501, 1, 8), "jpeg", &result).empty());
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "JPEG files hold at most 65500x65500 pixels");
}

}  // namespace
}  // namespace door_test
