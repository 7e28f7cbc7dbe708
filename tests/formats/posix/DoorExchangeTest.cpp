// Files that independent programs write, in each depth, packing and order of rows that they know, open to the
// same pixels through the functions of DibFile.h. A program that is not installed is skipped.
#include <DibCodec.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>

#include "tests/formats/DoorTest.h"
#include "tests/formats/Exchange.h"

namespace door_test {
namespace {

using codec_test::TemporaryFile;
using testing_support::Picture;
using testing_support::pictureOf;
using testing_support::samePicture;

// Pictures that the programs get: many colours, 200, 12 and 2 colours, greys, colours with alpha and greys
// with alpha.
enum class Source { kColors, kFew, kSixteen, kTwo, kGrey, kAlpha };

// Areas as well as noise, so that packets of both kinds occur.
DibPtr sourceImage(Source source) {
    constexpr int kWidth = 37;
    constexpr int kHeight = 23;
    DibPtr image = testing_support::blankImage(kWidth, kHeight, 32);
    testing_support::Random random(31);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool isArea = x / 9 % 2 == 0;
            int value = isArea ? (x / 9 + y / 7) * 5 : random.between(100, 200);
            if (source == Source::kSixteen) value = value % 12 * 17;
            if (source == Source::kTwo) value = value % 2 * 255;
            unsigned char* pixel = image->Pixel(x, y);
            pixel[0] = pixel[1] = pixel[2] = static_cast<unsigned char>(value);
            if (source == Source::kFew || source == Source::kSixteen) {
                pixel[1] = static_cast<unsigned char>(255 - value);
                pixel[2] = static_cast<unsigned char>(value / 2);
            }
            if ((source == Source::kColors || source == Source::kAlpha) && !isArea) {
                pixel[1] = static_cast<unsigned char>(random.below(256));
                pixel[2] = static_cast<unsigned char>(random.below(256));
            }
            pixel[3] = source == Source::kAlpha ? static_cast<unsigned char>(1 + random.below(255)) : 255;
        }
    }
    return image;
}

// What images show beside their colours; 255 where they have no alpha.
std::vector<int> alphaOf(DibStream& image) {
    std::vector<int> alpha;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x)
            alpha.push_back(image.Header->biBitCount == 32 ? image.Pixel(x, y)[3] : 255);
    }
    return alpha;
}

struct Theirs {
    const char* command;
    Source source;
    int bitCount;
    int tolerance = 0;
};

// The picture as PPM, or as PAM where it has alpha.
void writeSource(DibStream& image, Source source, const TemporaryFile& file) {
    DibSaveOptions options;
    options.format = source == Source::kAlpha ? "pam" : "ppm";
    if (source != Source::kAlpha) {
        ASSERT_TRUE(image.ChangeBpp(24, 0));
    }
    ASSERT_TRUE(DibSaveFile(file.path(), &image, &options));
}

template <std::size_t count>
void expectTheirs(const Theirs (&all)[count], const char* format, const char* extension) {
    int read = 0;
    for (const Theirs& theirs : all) {
        if (!codec_test::installed(codec_test::program(theirs.command))) continue;
        SCOPED_TRACE(theirs.command);
        const DibPtr image = sourceImage(theirs.source);
        const TemporaryFile in(theirs.source == Source::kAlpha ? ".pam" : ".ppm");
        const TemporaryFile out(extension);
        const std::vector<int> alpha = alphaOf(*image);
        writeSource(*image, theirs.source, in);
        EXPECT_TRUE(codec_test::convert(theirs.command, in, out));
        DibLoadOptions options;
        options.format = format;
        options.alpha = DIB_ALPHA_STORED;  // one program announces no alpha where there is some
        DibStream loaded;
        DibFileResult result;
        const bool isLoaded = DibLoadFile(out.path(), &loaded, &options, &result);
        EXPECT_TRUE(isLoaded) << result.reason;
        if (!isLoaded) continue;
        EXPECT_EQ(loaded.Header->biBitCount, theirs.bitCount);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(*image), theirs.tolerance));
        EXPECT_EQ(alphaOf(loaded), alpha);
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

// One program cuts 8 bits to 5 or 4, which are scaled back.
constexpr int kFiveBits = 12;
constexpr int kFourBits = 28;

TEST(DoorExchange, Bmp) {
    constexpr Theirs kAll[] = {
        {"ppmtobmp -windows -bpp=24 IN >OUT", Source::kColors, 24},
        {"ppmtobmp -os2 -bpp=24 IN >OUT", Source::kColors, 24},
        {"ppmtobmp -windows -bpp=8 IN >OUT", Source::kFew, 8},
        {"ppmtobmp -os2 -bpp=8 IN >OUT", Source::kFew, 8},
        {"ppmtobmp -windows -bpp=4 IN >OUT", Source::kSixteen, 4},
        {"ppmtobmp -os2 -bpp=4 IN >OUT", Source::kSixteen, 4},
        {"ppmtobmp -windows -bpp=1 IN >OUT", Source::kTwo, 1},
        {"ppmtobmp -os2 -bpp=1 IN >OUT", Source::kTwo, 1},
        {"convert IN bmp2:OUT", Source::kColors, 24},
        {"convert IN bmp3:OUT", Source::kColors, 24},
        {"convert IN -compress none bmp:OUT", Source::kColors, 24},
        {"convert IN bmp:OUT", Source::kAlpha, 32},
        {"convert IN +dither -type palette -compress none bmp3:OUT", Source::kFew, 8},
        {"convert IN +dither -type palette -compress RLE bmp3:OUT", Source::kFew, 8},
        {"convert IN +dither -type palette -compress RLE bmp:OUT", Source::kGrey, 8},
        {"convert IN -type bilevel bmp3:OUT", Source::kTwo, 1},
        {"convert IN -define bmp:subtype=RGB555 bmp:OUT", Source::kColors, 16, kFiveBits},
        {"convert IN -define bmp:subtype=RGB565 bmp:OUT", Source::kColors, 24, kFiveBits},
        {"gm convert IN bmp:OUT", Source::kColors, 24},
        {"gm convert IN bmp2:OUT", Source::kColors, 24},
        {"gm convert IN bmp3:OUT", Source::kColors, 24},
        {"gm convert IN +dither -type palette bmp:OUT", Source::kFew, 8},
        {"gm convert IN +dither -type palette -compress RLE bmp:OUT", Source::kFew, 8},
        {"gm convert IN +dither -type palette bmp:OUT", Source::kSixteen, 4},
        {"gm convert IN -monochrome bmp:OUT", Source::kTwo, 1},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v bmp -pix_fmt bgr24 OUT", Source::kColors, 24},
        {"ffmpeg -y -f image2 -c:v pam -i IN -c:v bmp -pix_fmt bgra OUT", Source::kAlpha, 32},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -sws_dither none -c:v bmp -pix_fmt rgb565le OUT", Source::kGrey,
         24, kFiveBits},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -sws_dither none -c:v bmp -pix_fmt rgb555le OUT", Source::kGrey,
         16, kFiveBits},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -sws_dither none -c:v bmp -pix_fmt rgb444le OUT", Source::kGrey,
         24, kFourBits},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v bmp -pix_fmt gray OUT", Source::kGrey, 8},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v bmp -pix_fmt monob OUT", Source::kTwo, 1},
        {"oiiotool IN -o OUT", Source::kColors, 24},
        {"oiiotool IN -o OUT", Source::kGrey, 24},
    };
    expectTheirs(kAll, "bmp", ".bmp");
}

TEST(DoorExchange, Tga) {
    constexpr Theirs kAll[] = {
        {"ppmtotga -rgb -norle IN >OUT", Source::kColors, 24},
        {"ppmtotga -rgb IN >OUT", Source::kColors, 24},
        {"ppmtotga -cmap -norle IN >OUT", Source::kFew, 8},
        {"ppmtotga -cmap IN >OUT", Source::kFew, 8},
        {"ppmtotga -cmap IN >OUT", Source::kSixteen, 8},
        {"ppmtopgm IN | ppmtotga -mono -norle >OUT", Source::kGrey, 8},
        {"ppmtopgm IN | ppmtotga -mono >OUT", Source::kGrey, 8},
        {"pamtotga -norle IN >OUT", Source::kAlpha, 32},
        {"pamtotga IN >OUT", Source::kAlpha, 32},
        {"convert IN -orient top-left -compress none tga:OUT", Source::kColors, 24},
        {"convert IN -orient top-left -compress RLE tga:OUT", Source::kColors, 24},
        {"convert IN -flip -orient bottom-left -compress RLE tga:OUT", Source::kColors, 24},
        {"convert IN -flop -orient top-right -compress none tga:OUT", Source::kColors, 24},
        {"convert IN -rotate 180 -orient bottom-right -compress RLE tga:OUT", Source::kColors, 24},
        {"convert IN -orient top-left -compress none tga:OUT", Source::kAlpha, 32},
        {"convert IN -orient top-left -compress RLE tga:OUT", Source::kAlpha, 32},
        {"convert IN -orient top-left +dither -type palette -compress RLE tga:OUT", Source::kFew, 8},
        {"convert IN -orient top-left -type grayscale -compress none tga:OUT", Source::kGrey, 8},
        {"convert IN -orient top-left -type grayscale -compress RLE tga:OUT", Source::kGrey, 8},
        {"gm convert IN +compress tga:OUT", Source::kColors, 24},
        {"gm convert IN -compress RLE tga:OUT", Source::kColors, 24},
        {"gm convert IN +compress tga:OUT", Source::kAlpha, 32},
        {"gm convert IN -compress RLE tga:OUT", Source::kAlpha, 32},
        {"gm convert IN +dither -type palette +compress tga:OUT", Source::kFew, 8},
        {"ppmtopgm IN | gm convert pgm:- +compress tga:OUT", Source::kGrey, 8},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v targa -rle 0 OUT", Source::kColors, 24},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v targa -rle 1 OUT", Source::kColors, 24},
        {"ffmpeg -y -f image2 -c:v pam -i IN -c:v targa -pix_fmt bgra -rle 0 OUT", Source::kAlpha, 32},
        {"ffmpeg -y -f image2 -c:v pam -i IN -c:v targa -pix_fmt bgra -rle 1 OUT", Source::kAlpha, 32},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v targa -pix_fmt gray -rle 0 OUT", Source::kGrey, 8},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -c:v targa -pix_fmt gray -rle 1 OUT", Source::kGrey, 8},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -sws_dither none -c:v targa -pix_fmt rgb555le -rle 0 OUT",
         Source::kGrey, 16, kFiveBits},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -sws_dither none -c:v targa -pix_fmt rgb555le -rle 1 OUT",
         Source::kGrey, 16, kFiveBits},
        {"oiiotool IN --compression none -o OUT", Source::kColors, 24},
        {"oiiotool IN --compression rle -o OUT", Source::kColors, 24},
    };
    expectTheirs(kAll, "tga", ".tga");
}

// Left out are PFM files of ffmpeg 5.1, which have their rows upside down, and PPM files of 16 bits of
// OpenImageIO 2.4, which have their bytes in the wrong order: no program shows them as they were.
TEST(DoorExchange, Pnm) {
    constexpr Theirs kAll[] = {
        {"pamtopnm IN >OUT", Source::kColors, 24},
        {"pnmtoplainpnm IN >OUT", Source::kColors, 24},
        {"ppmtopgm IN >OUT", Source::kGrey, 8},
        {"ppmtopgm IN | pnmtoplainpnm >OUT", Source::kGrey, 8},
        {"ppmtopgm IN | pamthreshold -simple | pamtopnm >OUT", Source::kTwo, 1},
        {"ppmtopgm IN | pamthreshold -simple | pamtopnm | pnmtoplainpnm >OUT", Source::kTwo, 1},
        {"ppmtopgm IN | pamthreshold -simple >OUT", Source::kTwo, 1},
        {"pamtopam <IN >OUT", Source::kAlpha, 32},
        {"pamdepth 65535 IN >OUT", Source::kColors, 24},
        {"pamdepth 65535 IN >OUT", Source::kAlpha, 32},
        {"pamdepth 1000 IN | pnmtoplainpnm >OUT", Source::kColors, 24},
        {"pamdepth 510 IN >OUT", Source::kColors, 24},
        {"ppmtopgm IN | pamdepth 31 >OUT", Source::kGrey, 8, 4},
        {"pamtopfm -endian=little IN >OUT", Source::kColors, 24},
        {"pamtopfm -endian=big IN >OUT", Source::kColors, 24},
        {"ppmtopgm IN | pamtopfm >OUT", Source::kGrey, 8},
        {"convert IN ppm:OUT", Source::kColors, 24},
        {"convert IN -compress none ppm:OUT", Source::kColors, 24},
        {"convert IN -depth 16 ppm:OUT", Source::kColors, 24},
        {"convert IN pgm:OUT", Source::kGrey, 8},
        {"convert IN -compress none pgm:OUT", Source::kGrey, 8},
        {"convert IN pbm:OUT", Source::kTwo, 1},
        {"convert IN -compress none pbm:OUT", Source::kTwo, 1},
        {"convert IN pam:OUT", Source::kAlpha, 32},
        {"convert IN -endian LSB pfm:OUT", Source::kColors, 24},
        {"gm convert IN ppm:OUT", Source::kColors, 24},
        {"gm convert IN +compress ppm:OUT", Source::kColors, 24},
        {"gm convert IN pam:OUT", Source::kAlpha, 32},
        {"gm convert IN pbm:OUT", Source::kTwo, 1},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v ppm OUT", Source::kColors, 24},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v ppm -pix_fmt rgb48be OUT", Source::kColors, 24,
         1},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v pgm -pix_fmt gray OUT", Source::kGrey, 8},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v pbm -pix_fmt monow OUT", Source::kTwo, 1},
        {"ffmpeg -y -f image2 -c:v pam -i IN -f image2 -c:v pam -pix_fmt rgba OUT", Source::kAlpha, 32},
        {"ffmpeg -y -f image2 -c:v pam -i IN -f image2 -c:v pam -pix_fmt rgba64be OUT", Source::kAlpha, 32,
         1},
        {"ffmpeg -y -f image2 -c:v ppm -i IN -f image2 -c:v pam -pix_fmt monob OUT", Source::kTwo, 1},
        {"oiiotool IN -o OUT", Source::kColors, 24},
    };
    expectTheirs(kAll, "ppm", ".ppm");
}

TEST(DoorExchange, Ilbm) {
    constexpr Theirs kAll[] = {
        {"ppmtoilbm -24force IN >OUT", Source::kColors, 24},
        {"ppmtoilbm -24force -nocompress IN >OUT", Source::kColors, 24},
        {"ppmtoilbm -fixplanes 8 IN >OUT", Source::kFew, 8},
        {"ppmtoilbm -fixplanes 8 -nocompress IN >OUT", Source::kFew, 8},
        {"ppmtoilbm -fixplanes 7 -mmethod none IN >OUT", Source::kSixteen, 8},
        {"ppmtoilbm -fixplanes 6 IN >OUT", Source::kSixteen, 8},
        {"ppmtoilbm -fixplanes 5 -nocompress IN >OUT", Source::kSixteen, 8},
        {"ppmtoilbm -fixplanes 4 IN >OUT", Source::kSixteen, 4},
        {"ppmtoilbm -fixplanes 4 -nocompress IN >OUT", Source::kSixteen, 4},
        {"ppmtoilbm -fixplanes 3 IN >OUT", Source::kTwo, 4},
        {"ppmtoilbm -fixplanes 2 IN >OUT", Source::kTwo, 4},
        {"ppmtoilbm -fixplanes 1 IN >OUT", Source::kTwo, 1},
        {"ppmtoilbm -fixplanes 1 -nocompress IN >OUT", Source::kTwo, 1},
    };
    expectTheirs(kAll, "iff", ".iff");
}

// Held colours come near those of the source only; another program shows what they are.
TEST(DoorExchange, IlbmHeldColors) {
    if (!codec_test::installed("ppmtoilbm") || !codec_test::installed("ffmpeg"))
        GTEST_SKIP() << "no program to exchange files with";
    for (const char* command :
         {"ppmtoilbm -ham6 IN >OUT", "ppmtoilbm -ham8 IN >OUT", "ppmtoilbm -ham6 -nocompress IN >OUT"}) {
        SCOPED_TRACE(command);
        const DibPtr image = sourceImage(Source::kColors);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".iff");
        const TemporaryFile shown(".ppm");
        writeSource(*image, Source::kColors, in);
        ASSERT_TRUE(codec_test::convert(command, in, out));
        ASSERT_TRUE(codec_test::convert("ffmpeg -y -f iff -i IN -f image2 -c:v ppm OUT", out, shown));
        DibStream loaded;
        DibStream expected;
        ASSERT_TRUE(DibLoadFile(out.path(), &loaded));
        ASSERT_TRUE(DibLoadFile(shown.path(), &expected));
        EXPECT_EQ(loaded.Header->biBitCount, 24);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(expected)));
    }
}

TEST(DoorExchange, IlbmMask) {
    if (!codec_test::installed("ppmtoilbm")) GTEST_SKIP() << "no program to exchange files with";
    for (const Theirs& theirs :
         {Theirs{"ppmtopgm IN | pgmtopbm -threshold >OUT.mask && ppmtoilbm -24force -mmethod maskplane "
                 "-maskfile OUT.mask IN >OUT; rm OUT.mask",
                 Source::kColors, 32},
          Theirs{"ppmtopgm IN | pgmtopbm -threshold >OUT.mask && ppmtoilbm -fixplanes 8 -mmethod maskplane "
                 "-maskfile OUT.mask IN >OUT; rm OUT.mask",
                 Source::kFew, 32}}) {
        SCOPED_TRACE(theirs.command);
        const DibPtr image = sourceImage(theirs.source);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".iff");
        writeSource(*image, theirs.source, in);
        ASSERT_TRUE(codec_test::convert(theirs.command, in, out));
        DibStream loaded;
        ASSERT_TRUE(DibLoadFile(out.path(), &loaded));
        EXPECT_EQ(loaded.Header->biBitCount, theirs.bitCount);
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(*image)));
        const std::vector<int> alpha = alphaOf(loaded);
        EXPECT_NE(std::count(alpha.begin(), alpha.end(), 0), 0);
        EXPECT_NE(std::count(alpha.begin(), alpha.end(), 255), 0);
    }
}

// Bytes of a PPM taken as light: shown by the power 1/2.2.
TEST(DoorExchange, Hdr) {
    int read = 0;
    for (const char* command : {"convert IN -set colorspace RGB hdr:OUT", "oiiotool IN -d float -o OUT"}) {
        if (!codec_test::installed(codec_test::program(command))) continue;
        SCOPED_TRACE(command);
        const DibPtr image = sourceImage(Source::kGrey);
        const TemporaryFile in(".ppm");
        const TemporaryFile out(".hdr");
        writeSource(*image, Source::kGrey, in);
        ASSERT_TRUE(codec_test::convert(command, in, out));
        DibStream loaded;
        ASSERT_TRUE(DibLoadFile(out.path(), &loaded));
        Picture expected = pictureOf(*image);
        for (unsigned char& byte : expected.rgb)
            byte = static_cast<unsigned char>(std::lround(255 * std::pow(byte / 255.0, 1 / 2.2)));
        EXPECT_TRUE(samePicture(pictureOf(loaded), expected, 1));
        ++read;
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

// A library writes all its variants in one go, and the same pictures as PNG.
TEST(DoorExchange, Pillow) {
    const char* const kScript =
        "import sys, itertools\n"
        "from PIL import Image\n"
        "folder, source = sys.argv[1:]\n"
        "rgb = Image.open(source)\n"
        "modes = {'RGB': rgb, 'L': rgb.convert('L'), 'P': rgb.quantize(256), '1': rgb.convert('1')}\n"
        "modes['RGBA'] = rgb.convert('RGBA'); modes['RGBA'].putalpha(rgb.getchannel('G').point(lambda v: v | "
        "1))\n"
        "modes['LA'] = modes['RGBA'].convert('LA')\n"
        "def save(mode, format, name, **options):\n"
        "    picture = modes[mode]\n"
        "    picture.save(f'{folder}/{name}.{format}', **options)\n"
        "    picture.convert('RGBA').save(f'{folder}/{name}.{format}.png')\n"
        "for mode in ('1', 'L', 'P', 'RGB', 'RGBA'): save(mode, 'bmp', mode)\n"
        "for mode in ('1', 'L', 'RGB'): save(mode, 'ppm', mode)\n"
        "for mode, packed, order in itertools.product(('L', 'LA', 'P', 'RGB', 'RGBA'), (0, 1), (1, -1)):\n"
        "    save(mode, 'tga', f'{mode}{packed}{order}', compression='tga_rle' if packed else None, "
        "orientation=order)\n";
    if (!codec_test::run("/usr/bin/python3 -c 'import PIL'")) GTEST_SKIP() << "no Pillow";
    const DibPtr image = sourceImage(Source::kColors);
    const TemporaryFile in(".ppm");
    const TemporaryFile script(".py", codec_test::bytesOf(kScript));
    writeSource(*image, Source::kColors, in);
    const std::filesystem::path folder = std::string(in.path()) + ".d";
    std::filesystem::create_directory(folder);
    ASSERT_TRUE(codec_test::run("/usr/bin/python3 " + std::string(script.path()) + " " + folder.string() +
                                " " + in.path()));
    int read = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::filesystem::path& path = entry.path();
        if (path.extension() == ".png") continue;
        SCOPED_TRACE(path.filename().string());
        DibStream loaded;
        DibStream expected;
        DibFileResult result;
        const bool isLoaded = DibLoadFile(path.c_str(), &loaded, nullptr, &result);
        EXPECT_TRUE(isLoaded) << result.reason;
        ASSERT_TRUE(DibLoadFile((path.string() + ".png").c_str(), &expected));
        if (!isLoaded) continue;
        EXPECT_TRUE(samePicture(pictureOf(loaded), pictureOf(expected)));
        EXPECT_EQ(alphaOf(loaded), alphaOf(expected));
        ++read;
    }
    std::filesystem::remove_all(folder);
    EXPECT_EQ(read, 28);
}

}  // namespace
}  // namespace door_test
