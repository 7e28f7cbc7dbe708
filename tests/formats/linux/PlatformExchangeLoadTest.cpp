// PNG, JPEG and TIFF files of independent programs: every variant that they write is read to the same pixels.
// A program that is not installed is skipped.
#include <DibCodec.h>

#include <cmath>
#include <cstdio>
// jpeglib.h needs FILE from the header above.
#include <jpeglib.h>

#include "tests/formats/CodecTest.h"
#include "tests/formats/Exchange.h"

namespace codec_test {
namespace {

using testing_support::Picture;
using testing_support::pictureOf;
using testing_support::readPnm;
using testing_support::samePicture;

// What the programs start from: many colours, 90 colours, greys of so many levels, colours with alpha.
enum class Source { kColors, kFew, kGrey, kGrey16, kGrey4, kGrey2, kAlpha };
DibPtr sourceImage(Source source) {
    constexpr int kWidth = 37;
    constexpr int kHeight = 23;
    DibPtr image = testing_support::randomImage(kWidth, kHeight, source == Source::kAlpha ? 32 : 24, 31);
    if (source == Source::kColors || source == Source::kAlpha) return image;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            unsigned char* pixel = image->Pixel(x, y);
            const int noise = pixel[0];
            int levels = 256;
            if (source == Source::kGrey16) levels = 16;
            if (source == Source::kGrey4) levels = 4;
            if (source == Source::kGrey2) levels = 2;
            const auto value = static_cast<unsigned char>(noise % levels * 255 / (levels - 1));
            pixel[0] = pixel[1] = pixel[2] = value;
            if (source == Source::kFew) {
                pixel[0] = static_cast<unsigned char>(noise % 90);
                pixel[1] = static_cast<unsigned char>(255 - pixel[0]);
                pixel[2] = static_cast<unsigned char>(pixel[0] / 2);
            }
        }
    }
    return image;
}

// A PPM file; with alpha a PAM file.
bool saveSource(const char* path, DibStream& image) {
    if (image.Header->biBitCount != 32) return SavePPM(path, &image, nullptr, nullptr);
    std::ofstream file(path, std::ios::binary);
    file << "P7\nWIDTH " << image.Header->biWidth << "\nHEIGHT " << image.Header->biHeight
         << "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    for (int y = 0; y < image.Header->biHeight; ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            const unsigned char* pixel = image.Pixel(x, y);
            for (const int part : {2, 1, 0, 3}) file.put(static_cast<char>(pixel[part]));
        }
    }
    return file.good();
}

::testing::AssertionResult sameAlpha(DibStream& a, DibStream& b) {
    for (int y = 0; y < a.Header->biHeight; ++y) {
        for (int x = 0; x < a.Header->biWidth; ++x) {
            if (a.Pixel(x, y)[3] != b.Pixel(x, y)[3]) return ::testing::AssertionFailure() << x << "," << y;
        }
    }
    return ::testing::AssertionSuccess();
}

struct Theirs {
    const char* command;
    Source source;
    int bitCount;
    int tolerance = 0;
};
// Left out is what a program changes by itself (few colours to similar ones, where it makes palettes).
const Theirs kExact[] = {
    // PNG.
    {"convert ppm:IN png24:OUT", Source::kColors, 24},
    {"convert ppm:IN -depth 16 png48:OUT", Source::kColors, 24},
    {"convert ppm:IN -interlace PNG png24:OUT", Source::kColors, 24},
    {"convert ppm:IN png8:OUT", Source::kFew, 8},
    {"convert ppm:IN -interlace PNG png8:OUT", Source::kFew, 8},
    {"convert ppm:IN -define png:color-type=0 -define png:bit-depth=8 png:OUT", Source::kGrey, 8},
    {"convert ppm:IN -define png:color-type=0 -define png:bit-depth=16 -depth 16 png:OUT", Source::kGrey, 8},
    {"convert ppm:IN -define png:color-type=0 -define png:bit-depth=4 png:OUT", Source::kGrey16, 8},
    {"convert ppm:IN -define png:color-type=0 -define png:bit-depth=2 png:OUT", Source::kGrey4, 8},
    {"convert ppm:IN -define png:color-type=0 -define png:bit-depth=1 png:OUT", Source::kGrey2, 8},
    {"convert ppm:IN -define png:color-type=3 -define png:bit-depth=4 png:OUT", Source::kGrey16, 8},
    {"convert ppm:IN -define png:color-type=3 -define png:bit-depth=2 png:OUT", Source::kGrey4, 8},
    {"convert ppm:IN -define png:color-type=3 -define png:bit-depth=1 -interlace PNG png:OUT", Source::kGrey2,
     8},
    {"convert pam:IN png32:OUT", Source::kAlpha, 32},
    {"convert pam:IN -depth 16 png64:OUT", Source::kAlpha, 32},
    {"convert pam:IN -interlace PNG png32:OUT", Source::kAlpha, 32},
    {"gm convert ppm:IN png24:OUT", Source::kColors, 24},
    {"gm convert ppm:IN -interlace Line png:OUT", Source::kColors, 24},
    {"gm convert pnm:IN png32:OUT", Source::kAlpha, 32},
    {"pnmtopng IN >OUT", Source::kColors, 24},
    {"pnmtopng -interlace IN >OUT", Source::kColors, 24},
    {"pnmtopng IN >OUT", Source::kFew, 8},
    {"ppmtopgm IN | pnmtopng >OUT", Source::kGrey, 8},
    {"ppmtopgm IN | pnmtopng -interlace >OUT", Source::kGrey16, 8},
    {"ppmtopgm IN | pnmtopng >OUT", Source::kGrey4, 8},
    {"ppmtopgm IN | pnmtopng >OUT", Source::kGrey2, 8},
    {"pamdepth 65535 IN | pnmtopng >OUT", Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v png -pix_fmt rgb24 OUT", Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v png -pix_fmt rgb48be OUT", Source::kColors, 24, 1},
    {"ffmpeg -y -f image2 -c:v pam -i IN -f image2 -c:v png -pix_fmt rgba OUT", Source::kAlpha, 32},
    {"ffmpeg -y -f image2 -c:v pam -i IN -f image2 -c:v png -pix_fmt rgba64be OUT", Source::kAlpha, 32, 1},
    // TIFF.
    {"convert ppm:IN -compress None tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -compress LZW tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -compress Zip -define tiff:predictor=2 tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -compress RLE -endian MSB tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -define tiff:rows-per-strip=5 tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -define tiff:tile-geometry=16x16 tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -define tiff:tile-geometry=16x32 -compress LZW tiff:OUT", Source::kGrey, 8},
    {"convert ppm:IN -interlace Plane tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -depth 16 tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -depth 16 -endian MSB -compress Zip tiff:OUT", Source::kGrey, 8},
    {"convert ppm:IN -depth 32 tiff:OUT", Source::kColors, 24},
    {"convert ppm:IN -depth 12 -compress None tiff:OUT", Source::kGrey16, 8},
    {"convert ppm:IN -depth 4 tiff:OUT", Source::kGrey16, 8},
    {"convert ppm:IN -depth 2 tiff:OUT", Source::kGrey4, 8},
    {"convert ppm:IN -type Bilevel tiff:OUT", Source::kGrey2, 8},
    {"convert ppm:IN -type Bilevel -compress Group4 tiff:OUT", Source::kGrey2, 8},
    {"convert ppm:IN -type Bilevel -compress Fax tiff:OUT", Source::kGrey2, 8},
    {"convert pam:IN -define tiff:alpha=unassociated tiff:OUT", Source::kAlpha, 32},
    {"convert pam:IN -define tiff:alpha=unassociated -define tiff:tile-geometry=32x16 tiff:OUT",
     Source::kAlpha, 32},
    {"gm convert ppm:IN tiff:OUT", Source::kColors, 24},
    {"gm convert ppm:IN -compress LZW tiff:OUT", Source::kColors, 24},
    {"gm convert ppm:IN -define tiff:tile-geometry=16x16 tiff:OUT", Source::kColors, 24},
    {"pnmtotiff -none -truecolor -output OUT IN", Source::kColors, 24},
    {"pnmtotiff -lzw -truecolor -output OUT IN", Source::kColors, 24},
    {"pnmtotiff -packbits -color -output OUT IN", Source::kFew, 8},
    {"pnmtotiff -none -miniswhite -output OUT IN", Source::kGrey, 8},
    {"pnmtotiff -none -minisblack -rowsperstrip 3 -output OUT IN", Source::kGrey, 8},
    {"pnmtotiff -none -indexbits=2 -output OUT IN", Source::kGrey4, 8},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v tiff -pix_fmt rgb24 -compression_algo raw OUT",
     Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v tiff -pix_fmt rgb24 -compression_algo lzw OUT",
     Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v tiff -pix_fmt rgb48le -compression_algo deflate OUT",
     Source::kColors, 24, 1},
    {"ffmpeg -y -f image2 -c:v pam -i IN -f image2 -c:v tiff -pix_fmt rgba OUT", Source::kAlpha, 32},
};

TEST(PlatformExchangeLoad, WhatOthersWriteExactly) {
    int read = 0;
    for (const Theirs& theirs : kExact) {
        if (!installed(program(theirs.command))) continue;
        SCOPED_TRACE(theirs.command);
        const DibPtr image = sourceImage(theirs.source);
        const TemporaryFile in(".in");
        const TemporaryFile out(".out");
        ASSERT_TRUE(saveSource(in.path(), *image));
        EXPECT_TRUE(convert(theirs.command, in, out));
        DibStream loaded;
        EXPECT_TRUE(LoadPNG(out.path(), &loaded, nullptr, nullptr));
        if (loaded.Header == nullptr) continue;
        EXPECT_EQ(loaded.Header->biBitCount, theirs.bitCount);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(*image), theirs.tolerance));
        if (loaded.Header->biBitCount == 32 && theirs.bitCount == 32) {
            EXPECT_TRUE(sameAlpha(loaded, *image));
        }
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

TEST(PlatformExchangeLoad, TransparentColorsOfPngFiles) {
    if (!installed("pnmtopng")) GTEST_SKIP() << "no program to exchange files with";
    for (const Source source : {Source::kColors, Source::kFew, Source::kGrey, Source::kGrey4}) {
        const DibPtr image = sourceImage(source);
        const unsigned char* chosen = image->Pixel(5, 5);
        char color[8];
        std::snprintf(color, sizeof color, "#%02X%02X%02X", chosen[2], chosen[1], chosen[0]);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".png");
        ASSERT_TRUE(saveSource(in.path(), *image));
        const bool grey = source == Source::kGrey || source == Source::kGrey4;
        const std::string command = std::string(grey ? "ppmtopgm IN | " : "cat IN | ") +
                                    "pnmtopng -transparent '=" + color + "' >OUT";
        ASSERT_TRUE(convert(command, in, out)) << command;
        DibStream loaded;
        ASSERT_TRUE(LoadPNG(out.path(), &loaded, nullptr, nullptr));
        ASSERT_EQ(loaded.Header->biBitCount, 32);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(*image)));
        int transparent = 0;
        for (int y = 0; y < loaded.Header->biHeight; ++y) {
            for (int x = 0; x < loaded.Header->biWidth; ++x) {
                const bool isChosen = std::equal(chosen, chosen + 3, image->Pixel(x, y));
                transparent += isChosen ? 1 : 0;
                ASSERT_EQ(loaded.Pixel(x, y)[3], isChosen ? 0 : 255) << x << "," << y;
            }
        }
        EXPECT_GT(transparent, 0);
    }
}

TEST(PlatformExchangeLoad, FloatsOfTiffFilesAreRaised) {
    if (!installed("convert")) GTEST_SKIP() << "no program to exchange files with";
    for (const char* options : {"-depth 32", "-depth 64", "-depth 32 -define tiff:tile-geometry=16x16",
                                "-depth 16", "-depth 32 -define tiff:predictor=3"}) {
        for (const Source source : {Source::kColors, Source::kGrey}) {
            SCOPED_TRACE(options);
            const DibPtr image = sourceImage(source);
            const TemporaryFile in(".ppm");
            const TemporaryFile out(".tif");
            ASSERT_TRUE(saveSource(in.path(), *image));
            ASSERT_TRUE(convert("convert ppm:IN " + std::string(options) +
                                    " -compress Zip -define quantum:format=floating-point tiff:OUT",
                                in, out));
            DibStream loaded;
            ASSERT_TRUE(LoadTIFF(out.path(), &loaded, nullptr, nullptr));
            ASSERT_EQ(loaded.Header->biBitCount, 32);
            Picture expected = pictureOf(*image);
            for (unsigned char& level : expected.rgb) {
                level = static_cast<unsigned char>(std::floor(255 * std::pow(level / 255.0, 1 / 2.2) + 0.5));
            }
            EXPECT_TRUE(samePicture(pictureOf(loaded), expected, 1));
            EXPECT_EQ(loaded.Pixel(3, 3)[3], 255);
        }
    }
}

TEST(PlatformExchangeLoad, OrientationsOfTiffFiles) {
    if (!installed("convert")) GTEST_SKIP() << "no program to exchange files with";
    for (const std::string orientation : {"TopLeft", "TopRight", "BottomRight", "BottomLeft", "LeftTop",
                                          "RightTop", "RightBottom", "LeftBottom"}) {
        SCOPED_TRACE(orientation);
        const DibPtr image = sourceImage(Source::kColors);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".tif");
        const TemporaryFile turned(".ppm");
        ASSERT_TRUE(saveSource(in.path(), *image));
        ASSERT_TRUE(convert("convert ppm:IN -orient " + orientation + " tiff:OUT", in, out));
        ASSERT_TRUE(convert("convert tiff:IN -auto-orient ppm:OUT", out, turned));
        DibStream loaded;
        ASSERT_TRUE(LoadTIFF(out.path(), &loaded, nullptr, nullptr));
        const auto expected = readPnm(turned.path());
        ASSERT_TRUE(expected.has_value());
        EXPECT_TRUE(samePicture(pictureOf(loaded), *expected));
    }
}

// What libjpeg itself makes of a file, as greys or red, green, blue.
Picture straightJpeg(const char* path) {
    const dib::FilePtr file = dib::openForReading(path);
    jpeg_error_mgr errors;
    jpeg_decompress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_stdio_src(&jpeg, file.get());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_RGB;
    jpeg_start_decompress(&jpeg);
    Picture picture;
    picture.width = static_cast<int>(jpeg.output_width);
    picture.height = static_cast<int>(jpeg.output_height);
    picture.rgb.resize(std::size_t{jpeg.output_width} * jpeg.output_height * 3);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = picture.rgb.data() + std::size_t{jpeg.output_scanline} * jpeg.output_width * 3;
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    return picture;
}

const Theirs kJpeg[] = {
    {"convert ppm:IN jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -sampling-factor 1x1 -quality 100 jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -sampling-factor 2x1 -quality 30 jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -sampling-factor 2x2 -quality 80 jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -sampling-factor 4x1 jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -interlace JPEG jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -define jpeg:arithmetic-coding=true jpeg:OUT", Source::kColors, 24},
    {"convert ppm:IN -colorspace Gray jpeg:OUT", Source::kGrey, 8},
    {"convert ppm:IN -colorspace Gray -interlace JPEG jpeg:OUT", Source::kGrey, 8},
    {"gm convert ppm:IN -quality 70 jpeg:OUT", Source::kColors, 24},
    {"gm convert ppm:IN -interlace Line jpeg:OUT", Source::kColors, 24},
    {"pnmtojpeg IN >OUT", Source::kColors, 24},
    {"pnmtojpeg -progressive -optimize IN >OUT", Source::kColors, 24},
    {"pnmtojpeg -greyscale IN >OUT", Source::kGrey, 8},
    {"pnmtojpeg -restart=3 -dct=fast IN >OUT", Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v mjpeg -pix_fmt yuvj420p OUT", Source::kColors, 24},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v mjpeg -pix_fmt yuvj444p OUT", Source::kColors, 24},
};

TEST(PlatformExchangeLoad, JpegFilesShowWhatTheLibraryShows) {
    int read = 0;
    for (const Theirs& theirs : kJpeg) {
        if (!installed(program(theirs.command))) continue;
        SCOPED_TRACE(theirs.command);
        const DibPtr image = sourceImage(theirs.source);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".jpg");
        ASSERT_TRUE(saveSource(in.path(), *image));
        EXPECT_TRUE(convert(theirs.command, in, out));
        DibStream loaded;
        EXPECT_TRUE(LoadJPEG(out.path(), &loaded, nullptr, nullptr));
        if (loaded.Header == nullptr) continue;
        EXPECT_EQ(loaded.Header->biBitCount, theirs.bitCount);
        EXPECT_TRUE(samePicture(pictureOf(loaded), straightJpeg(out.path())));
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

TEST(PlatformExchangeLoad, InksOfJpegAndTiffFilesBecomeTheirColors) {
    if (!installed("convert")) GTEST_SKIP() << "no program to exchange files with";
    for (const std::string format : {"jpeg:OUT", "tiff:OUT", "-compress LZW -interlace Plane tiff:OUT"}) {
        SCOPED_TRACE(format);
        const DibPtr image = sourceImage(Source::kColors);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".out");
        const TemporaryFile back(".ppm");
        ASSERT_TRUE(saveSource(in.path(), *image));
        ASSERT_TRUE(convert("convert ppm:IN -colorspace CMYK -quality 95 " + format, in, out));
        ASSERT_TRUE(convert("convert IN -colorspace sRGB -depth 8 ppm:OUT", out, back));
        DibStream loaded;
        ASSERT_TRUE(LoadTIFF(out.path(), &loaded, nullptr, nullptr));
        EXPECT_EQ(loaded.Header->biBitCount, 24);
        const auto expected = readPnm(back.path());
        ASSERT_TRUE(expected.has_value());
        EXPECT_TRUE(samePicture(pictureOf(loaded), *expected, 1));
    }
}

}  // namespace
}  // namespace codec_test
