// PNG, JPEG and TIFF files that are written here: independent programs read the same pixels. A program that
// is not installed is skipped.
#include <DibCodec.h>

#include "tests/formats/CodecTest.h"
#include "tests/formats/Exchange.h"

namespace codec_test {
namespace {

using testing_support::pictureOf;
using testing_support::readPnm;
using testing_support::samePicture;

struct Ours {
    const char* command;
    PathCodec save;
};
const Ours kOurs[] = {
    {"convert IN -alpha off -depth 8 ppm:OUT", SavePNG},
    {"gm convert png:IN +matte ppm:OUT", SavePNG},
    {"pngtopam IN >OUT", SavePNG},
    {"ffmpeg -y -f image2 -c:v png -i IN -pix_fmt rgb24 -f image2 -c:v ppm OUT", SavePNG},
    {"convert IN -alpha off -depth 8 ppm:OUT", SaveTIFF},
    {"gm convert tiff:IN +matte ppm:OUT", SaveTIFF},
    {"tifftopnm -byrow IN >OUT", SaveTIFF},
    {"ffmpeg -y -f image2 -c:v tiff -i IN -pix_fmt rgb24 -f image2 -c:v ppm OUT", SaveTIFF},
    {"convert jpeg:IN -type TrueColor ppm:OUT", SaveJPEG},
    {"gm convert jpeg:IN -type TrueColor ppm:OUT", SaveJPEG},
    {"jpegtopnm IN >OUT", SaveJPEG},
};

TEST(PlatformExchangeSave, PixelsThatIndependentProgramsRead) {
    int read = 0;
    for (const Ours& ours : kOurs) {
        if (!installed(program(ours.command))) continue;
        for (const int depth : {8, 24, 32}) {
            SCOPED_TRACE(std::string(ours.command) + " of " + std::to_string(depth) + " bits");
            const DibPtr image = testing_support::randomImage(41, depth == 24 ? -27 : 27, depth, 22);
            const TemporaryFile in(".in");
            const TemporaryFile out(".ppm");
            ASSERT_TRUE(ours.save(in.path(), image.get(), nullptr, nullptr));
            EXPECT_TRUE(convert(ours.command, in, out));
            const auto picture = readPnm(out.path());
            EXPECT_TRUE(picture.has_value());
            if (!picture) continue;
            // JPEG loses detail: compare with the saved file loaded again.
            if (ours.save == PathCodec{SaveJPEG}) {
                DibStream again;
                ASSERT_TRUE(LoadJPEG(in.path(), &again, nullptr, nullptr));
                EXPECT_TRUE(samePicture(*picture, pictureOf(again)));
            } else {
                ASSERT_TRUE(image->ChangeBpp(32, 0));
                EXPECT_TRUE(samePicture(*picture, pictureOf(*image)));
            }
            ++read;
        }
    }
    if (read == 0) GTEST_SKIP() << "no program to exchange files with";
}

TEST(PlatformExchangeSave, AlphaThatIndependentProgramsRead) {
    if (!installed("convert")) GTEST_SKIP() << "no program to exchange files with";
    const DibPtr image = testing_support::randomImage(41, 27, 32, 22);
    constexpr PathCodec kBoth[] = {SavePNG, SaveTIFF};
    for (const PathCodec save : kBoth) {
        const TemporaryFile in(".in");
        const TemporaryFile out(".pgm");
        ASSERT_TRUE(save(in.path(), image.get(), nullptr, nullptr));
        ASSERT_TRUE(convert("convert IN -alpha extract -depth 8 pgm:OUT", in, out));
        const auto alpha = readPnm(out.path());
        ASSERT_TRUE(alpha.has_value());
        for (int y = 0; y < 27; ++y) {
            for (int x = 0; x < 41; ++x) {
                ASSERT_EQ(image->Pixel(x, y)[3], alpha->rgb[static_cast<std::size_t>(y * 41 + x) * 3]);
            }
        }
    }
}

}  // namespace
}  // namespace codec_test
