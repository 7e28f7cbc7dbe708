// Files exchanged with independent programs: what they write is read here to the same pixels, and what is
// written here is read there to the same pixels. A program that is not installed is skipped.
#include <DibCodec.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tests/formats/CodecTest.h"
#include "tests/formats/Exchange.h"

namespace codec_test {
namespace {

using testing_support::Picture;
using testing_support::pictureOf;
using testing_support::samePicture;

// Pictures that are written as PPM for the programs: many colours, at most 200 colours, greys.
enum class Source { kColors, kFew, kGrey };
DibPtr sourceImage(Source source) {
    DibPtr image = testing_support::randomImage(67, 45, 24, 21);
    for (int y = 0; y < 45; ++y) {
        for (int x = 0; x < 67; ++x) {
            unsigned char* pixel = image->Pixel(x, y);
            // Areas as well as noise, so that packets of both kinds occur.
            const int value = x / 9 % 2 == 0 ? (x / 9 + y / 7) * 5 : pixel[0] % 101 + 100;
            if (source == Source::kGrey) pixel[0] = pixel[1] = pixel[2] = static_cast<unsigned char>(value);
            if (source == Source::kFew) {
                pixel[0] = static_cast<unsigned char>(value);
                pixel[1] = static_cast<unsigned char>(255 - value);
                pixel[2] = static_cast<unsigned char>(value / 2);
            }
            if (source == Source::kColors && x / 9 % 2 == 0)
                pixel[0] = pixel[1] = static_cast<unsigned char>(value);
        }
    }
    return image;
}

struct Theirs {
    const char* command;
    Source source;
    PathCodec load;
    int bitCount;
    int tolerance;
};
// Left out is what a program does not hand over as it is: one turns TGA pictures upside down both ways, one
// takes noise apart into colours of other resolution (which greys do not have) and reads the words of TIM
// otherwise, and colours of an odd count shift the chunk after them, which is not read then.
const Theirs kTheirs[] = {
    {"ppmtotga -rgb -norle IN >OUT", Source::kColors, LoadTGA, 24, 0},
    {"ppmtotga -rgb IN >OUT", Source::kColors, LoadTGA, 24, 0},
    {"ppmtotga -cmap -norle IN >OUT", Source::kFew, LoadTGA, 8, 0},
    {"ppmtotga -cmap IN >OUT", Source::kFew, LoadTGA, 8, 0},
    {"ppmtopgm IN | ppmtotga -mono -norle >OUT", Source::kGrey, LoadTGA, 8, 0},
    {"gm convert IN +compress tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"gm convert IN +dither -type palette +compress tga:OUT", Source::kFew, LoadTGA, 8, 0},
    {"ppmtopgm IN | gm convert pgm:- +compress tga:OUT", Source::kGrey, LoadTGA, 8, 0},
    {"gm convert IN -compress RLE tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"gm convert IN -matte tga:OUT", Source::kColors, LoadTGA, 32, 0},
    // Without an origin that program writes the top row first as if it were the bottom one.
    {"convert IN -orient top-left -compress none tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"convert IN -orient top-left -compress RLE tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"convert IN -orient top-left -alpha on -compress none tga:OUT", Source::kColors, LoadTGA, 32, 0},
    {"convert IN -orient top-left -alpha on -compress RLE tga:OUT", Source::kColors, LoadTGA, 32, 0},
    {"convert IN -orient top-left +dither -type palette -compress none tga:OUT", Source::kFew, LoadTGA, 8, 0},
    {"convert IN -orient top-left +dither -type palette -compress RLE tga:OUT", Source::kFew, LoadTGA, 8, 0},
    {"convert IN -orient top-left -type grayscale -compress none tga:OUT", Source::kGrey, LoadTGA, 8, 0},
    {"convert IN -flip -compress none tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"convert IN -flip -compress RLE tga:OUT", Source::kColors, LoadTGA, 24, 0},
    {"convert IN -flip +dither -type palette -compress RLE tga:OUT", Source::kFew, LoadTGA, 8, 0},
    {"convert IN -flip -type grayscale -compress none tga:OUT", Source::kGrey, LoadTGA, 8, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -rle 0 OUT", Source::kColors, LoadTGA, 24, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -rle 1 OUT", Source::kColors, LoadTGA, 24, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -pix_fmt bgra -rle 0 OUT", Source::kColors,
     LoadTGA, 32, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -pix_fmt bgra -rle 1 OUT", Source::kColors,
     LoadTGA, 32, 0},
    {"ppmtopgm IN | ffmpeg -y -f image2pipe -c:v pgm -i - -f image2 -c:v targa -rle 0 OUT", Source::kGrey,
     LoadTGA, 8, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -filter_complex 'split[a][b];[a]palettegen=reserve_transparent=0[p];"
     "[b][p]paletteuse=dither=none' -f image2 -c:v targa -pix_fmt pal8 -rle 0 OUT",
     Source::kFew, LoadTGA, 8, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -filter_complex 'split[a][b];[a]palettegen=reserve_transparent=0[p];"
     "[b][p]paletteuse=dither=none' -f image2 -c:v targa -pix_fmt pal8 -rle 1 OUT",
     Source::kFew, LoadTGA, 8, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -pix_fmt rgb555le -rle 0 OUT", Source::kGrey,
     LoadTGA, 16, 12},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v targa -pix_fmt rgb555le -rle 1 OUT", Source::kGrey,
     LoadTGA, 16, 12},
    {"pnmtoplainpnm IN >OUT", Source::kColors, LoadPPM, 24, 0},
    {"ppmtopgm IN >OUT", Source::kGrey, LoadPGM, 8, 0},
    {"ppmtopgm IN | pnmtoplainpnm >OUT", Source::kGrey, LoadPGM, 8, 0},
    {"ppmtopgm IN | gm convert pgm:- pgm:OUT", Source::kGrey, LoadPGM, 8, 0},
    {"convert IN pgm:OUT", Source::kGrey, LoadPGM, 8, 0},
    {"convert IN -compress none pgm:OUT", Source::kGrey, LoadPGM, 8, 0},
    {"ppmtopgm IN | ffmpeg -y -f image2pipe -c:v pgm -i - -f image2 -c:v pgm OUT", Source::kGrey, LoadPGM, 8,
     0},
    {"gm convert IN ppm:OUT", Source::kColors, LoadPPM, 24, 0},
    {"convert IN -compress none ppm:OUT", Source::kColors, LoadPPM, 24, 0},
    {"convert IN ppm:OUT", Source::kColors, LoadPPM, 24, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v ppm OUT", Source::kColors, LoadPPM, 24, 0},
    {"ppmtoilbm -24force IN >OUT", Source::kColors, LoadIFF, 24, 0},
    {"ppmtoilbm -24force -nocompress IN >OUT", Source::kColors, LoadIFF, 24, 0},
    {"ppmtopgm IN | pgmtopbm -threshold >OUT.mask && ppmtoilbm -24force -mmethod maskplane -maskfile "
     "OUT.mask "
     "IN >OUT; "
     "rm OUT.mask",
     Source::kColors, LoadIFF, 24, 0},
    {"ppmtoilbm -fixplanes 8 IN >OUT", Source::kFew, LoadIFF, 8, 0},
    {"ppmtoilbm -fixplanes 8 -nocompress IN >OUT", Source::kFew, LoadIFF, 8, 0},
};

TEST(Exchange, WhatOthersWrite) {
    int read = 0;
    for (const Theirs& theirs : kTheirs) {
        if (!installed(program(theirs.command))) continue;
        SCOPED_TRACE(theirs.command);
        const DibPtr image = sourceImage(theirs.source);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".out");
        ASSERT_TRUE(SavePPM(in.path(), image.get(), nullptr, nullptr));
        EXPECT_TRUE(convert(theirs.command, in, out));
        DibStream loaded;
        EXPECT_TRUE(theirs.load(out.path(), &loaded, nullptr, nullptr)) << loaded.ErrorCode;
        if (loaded.Header == nullptr) continue;
        EXPECT_EQ(loaded.Header->biBitCount, theirs.bitCount);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(*image), theirs.tolerance));
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

struct Ours {
    const char* command;
    PathCodec save;
    int bitCount;
    int tolerance;
};
const Ours kOurs[] = {
    {"tgatoppm IN >OUT", SaveTGA, 8, 0},
    {"tgatoppm IN >OUT", SaveTGA, 24, 0},
    {"tgatoppm IN >OUT", SaveTGA, 32, 0},
    {"tgatoppm IN >OUT", SaveTGA, 1, 0},
    {"tgatoppm IN >OUT", SaveTGA, 4, 0},
    {"tgatoppm IN | pamdepth 255 >OUT", SaveTGA, 16, 8},
    {"gm convert tga:IN ppm:OUT", SaveTGA, 16, 8},
    {"convert tga:IN -auto-orient ppm:OUT", SaveTGA, 8, 0},
    {"convert tga:IN -auto-orient -depth 8 ppm:OUT", SaveTGA, 16, 8},
    {"convert tga:IN -auto-orient ppm:OUT", SaveTGA, 24, 0},
    {"convert tga:IN -auto-orient -alpha off ppm:OUT", SaveTGA, 32, 0},
    {"ffmpeg -y -f image2 -c:v targa -i IN -f image2 -c:v ppm OUT", SaveTGA, 32, 0},
    {"gm convert tga:IN ppm:OUT", SaveTGA, 8, 0},
    {"gm convert tga:IN ppm:OUT", SaveTGA, 24, 0},
    {"gm convert tga:IN +matte ppm:OUT", SaveTGA, 32, 0},
    {"ffmpeg -y -f image2 -c:v targa -i IN -f image2 -c:v ppm OUT", SaveTGA, 8, 0},
    {"ffmpeg -y -f image2 -c:v targa -i IN -f image2 -c:v ppm OUT", SaveTGA, 24, 0},
    {"ffmpeg -y -f image2 -c:v targa -i IN -f image2 -c:v ppm OUT", SaveTGA, 16, 8},
    {"pnmflip -topbottom IN | pnmflip -topbottom >OUT", SavePPM, 24, 0},
    {"gm convert ppm:IN ppm:OUT", SavePPM, 8, 0},
    {"convert ppm:IN ppm:OUT", SavePPM, 32, 0},
    {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v ppm OUT", SavePPM, 24, 0},
    {"ilbmtoppm IN >OUT", SaveIFF, 1, 0},
    {"ilbmtoppm IN >OUT", SaveIFF, 4, 0},
    {"ilbmtoppm IN >OUT", SaveIFF, 8, 0},
    {"ilbmtoppm IN >OUT", SaveIFF, 24, 0},
    {"ilbmtoppm IN >OUT", SaveIFF, 32, 0},
    {"ffmpeg -y -f iff -i IN -f image2 -c:v ppm OUT", SaveIFF, 1, 0},
    {"ffmpeg -y -f iff -i IN -f image2 -c:v ppm OUT", SaveIFF, 4, 0},
    {"ffmpeg -y -f iff -i IN -f image2 -c:v ppm OUT", SaveIFF, 8, 0},
    {"ffmpeg -y -f iff -i IN -f image2 -c:v ppm OUT", SaveIFF, 24, 0},
    {"gm convert tim:IN ppm:OUT", SaveTIM, 4, 8},
    {"gm convert tim:IN ppm:OUT", SaveTIM, 8, 8},
    {"convert tim:IN ppm:OUT", SaveTIM, 4, 8},
    {"convert tim:IN ppm:OUT", SaveTIM, 8, 8},
    {"convert tim:IN ppm:OUT", SaveTIM, 16, 8},
};

// Has `ours` written and read by its program, and compares the pictures.
void exchange(const Ours& ours, int width, int height) {
    SCOPED_TRACE(std::string(ours.command) + " of " + std::to_string(ours.bitCount) + " bits, " +
                 std::to_string(width) + " x " + std::to_string(height));
    const DibPtr image = testing_support::randomImage(width, height, ours.bitCount, 22);
    const TemporaryFile in(".in");
    const TemporaryFile out(".ppm");
    ours.save(in.path(), image.get(), nullptr, nullptr);
    EXPECT_EQ(image->ErrorCode, 0);
    EXPECT_TRUE(convert(ours.command, in, out));
    const auto picture = testing_support::readPnm(out.path());
    ASSERT_TRUE(picture.has_value());
    EXPECT_TRUE(samePicture(*picture, pictureOf(*image), ours.tolerance));
}

TEST(Exchange, WhatIsWrittenHere) {
    int read = 0;
    for (const Ours& ours : kOurs) {
        if (!installed(program(ours.command))) continue;
        // One of the formats counts its width in words.
        exchange(ours, ours.save == static_cast<PathCodec>(SaveTIM) ? 64 : 67, 45);
        exchange(ours, 64, -3);
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

// Floats with another maker of Radiance files, by way of a format of plain floats; both sides keep eight bits
// of the largest part.
TEST(Exchange, RadianceFloats) {
    if (!installed("convert")) GTEST_SKIP() << "no program to exchange files with";
    constexpr int kWidth = 32;
    constexpr int kHeight = 5;
    std::vector<float> colors(3 * kWidth * kHeight);
    testing_support::Random random(8);
    for (float& part : colors) part = random.real(0.05F, 0.95F);
    const TemporaryFile hdr(".hdr");
    const TemporaryFile pfm(".pfm");
    {
        const dib::FilePtr file = dib::openForWriting(hdr.path());
        ASSERT_EQ(RGBE_WriteHeader(file.get(), kWidth, kHeight, nullptr), 0);
        ASSERT_EQ(RGBE_WritePixels_RLE(file.get(), colors.data(), kWidth, kHeight), 0);
    }
    ASSERT_TRUE(convert("convert hdr:IN -endian LSB pfm:OUT", hdr, pfm));
    DibStream shown;
    ASSERT_TRUE(LoadHDR(hdr.path(), &shown, nullptr, nullptr));
    const Bytes bytes = pfm.bytes();
    const std::size_t pixels = colors.size() * sizeof(float);
    ASSERT_GT(bytes.size(), pixels);
    for (int y = 0; y < kHeight; ++y) {
        for (int i = 0; i < 3 * kWidth; ++i) {
            float theirs = 0;  // the bottom row comes first
            const std::size_t at =
                bytes.size() - pixels +
                sizeof theirs * static_cast<std::size_t>((kHeight - 1 - y) * 3 * kWidth + i);
            std::memcpy(&theirs, &bytes[at], sizeof theirs);
            ASSERT_NEAR(theirs, colors[static_cast<std::size_t>(y * 3 * kWidth + i)], 1.0 / 128)
                << y << " " << i;
            const int byte = shown.Pixel(i / 3, y)[2 - i % 3];
            ASSERT_NEAR(byte, 255 * std::pow(theirs, 1 / 2.2), 5) << y << " " << i;
        }
    }
    // And back.
    const TemporaryFile again(".hdr");
    ASSERT_TRUE(convert("convert hdr:IN hdr:OUT", hdr, again));
    const dib::FilePtr file = dib::openForReading(again.path());
    int width = 0;
    int height = 0;
    ASSERT_EQ(RGBE_ReadHeader(file.get(), &width, &height, nullptr), 0);
    ASSERT_EQ(width, kWidth);
    ASSERT_EQ(height, kHeight);
    std::vector<float> read(colors.size());
    ASSERT_EQ(RGBE_ReadPixels_RLE(file.get(), read.data(), width, height), 0);
    for (std::size_t i = 0; i < read.size(); ++i) ASSERT_NEAR(read[i], colors[i], 1.0 / 64) << i;
}

}  // namespace
}  // namespace codec_test
