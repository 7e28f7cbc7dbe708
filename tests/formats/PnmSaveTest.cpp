#include <cstring>

#include "tests/formats/DoorCodecTest.h"

namespace door_test {
namespace {

using codec_test::bytesOf;
using codec_test::pixelsOf;
using testing_support::blankImage;
using testing_support::randomImage;
using testing_support::setPixelValue;

std::string losses(const DibStream& image, const char* format) {
    DibFileResult result;
    DibSaveLosses(&image, format, nullptr, &result);
    return notesOf(result);
}

DibBGRA* tableOf(DibStream& image) { return reinterpret_cast<DibBGRA*>(image.Header + 1); }

TEST(PnmSave, TheNameSaysWhichFile) {
    DibPtr image = blankImage(2, 1, 24);
    setPixelValue(*image, 0, 0, 0x030201);
    setPixelValue(*image, 1, 0, 0xFFFFFF);
    EXPECT_EQ(saved(*image, "ppm"), bytesOf("P6\n2 1\n255\n\x03\x02\x01\xFF\xFF\xFF"));
    EXPECT_EQ(saved(*image, "PNM"), saved(*image, "ppm"));
    EXPECT_EQ(saved(*image, "pgm"), bytesOf("P5\n2 1\n255\n\x02\xFF"));
    EXPECT_EQ(saved(*image, "pbm"), bytesOf(std::string("P4\n2 1\n\x80")));
    EXPECT_EQ(
        saved(*image, "pam"),
        bytesOf(
            "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 3\nMAXVAL 255\nTUPLTYPE RGB\nENDHDR\n\x03\x02\x01\xFF\xFF\xFF"));
    const codec_test::TemporaryFile upper(".PGM");
    ASSERT_TRUE(DibSaveFile(upper.path(), image.get()));
    EXPECT_EQ(upper.bytes(), saved(*image, "pgm"));
}

TEST(PnmSave, TheImageDecidesForOneNameOfAll) {
    const DibPtr bits = blankImage(9, 1, 1);
    setPixelValue(*bits, 8, 0, 1);
    EXPECT_EQ(saved(*bits, "pnm"), bytesOf(std::string("P4\n9 1\n\xFF\x00", 9)));
    const DibPtr greys = blankImage(2, 1, 8);
    setPixelValue(*greys, 1, 0, 200);
    EXPECT_EQ(saved(*greys, "pnm"), bytesOf(std::string("P5\n2 1\n255\n\x00\xC8", 13)));
    tableOf(*greys)[200].red = 1;
    EXPECT_EQ(saved(*greys, "pnm"), bytesOf(std::string("P6\n2 1\n255\n\x00\x00\x00\x01\xC8\xC8", 17)));
}

TEST(PnmSave, WhatIsHeldComesBack) {
    for (const testing_support::Size size : testing_support::kSizes) {
        for (const int sign : {1, -1}) {
            SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height * sign));
            for (const auto& [bits, format] : std::initializer_list<std::pair<int, const char*>>{
                     {1, "pbm"}, {1, "pam"}, {8, "pgm"}, {8, "pam"}, {24, "ppm"}, {24, "pam"}, {32, "pam"}}) {
                const DibPtr image = randomImage(size.width, sign * size.height, bits, 9);
                const DibPtr plain = blankImage(1, 1, bits);
                if (bits <= 8) std::memcpy(tableOf(*image), tableOf(*plain), 4U << bits);
                EXPECT_EQ(losses(*image, format), "") << bits;
                const Opened load = opened(saved(*image, format));
                ASSERT_TRUE(load.isLoaded) << load.result.reason;
                ASSERT_EQ(load.image->Header->biBitCount, bits);
                for (int y = 0; y < size.height; ++y) {
                    for (int x = 0; x < size.width; ++x)
                        ASSERT_EQ(testing_support::pixelValue(*load.image, x, y),
                                  testing_support::pixelValue(*image, x, y))
                            << bits << " " << x << "," << y;
                }
            }
        }
    }
}

TEST(PnmSave, EveryDepthShowsItsColors) {
    for (const int bits : testing_support::kDepths) {
        for (const int height : {5, -5}) {
            const DibPtr image = randomImage(17, height, bits, 4);
            const Opened load = opened(saved(*image, "ppm"));
            ASSERT_TRUE(load.isLoaded) << load.result.reason;
            EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*load.image),
                                                     testing_support::pictureOf(*image)))
                << bits;
        }
    }
    const DibPtr white = testing_support::plainImage(1, 1, 16, 0x7FFF);
    EXPECT_EQ(saved(*white, "ppm"), bytesOf("P6\n1 1\n255\n\xFF\xFF\xFF"));
}

TEST(PnmSave, ReversedBlackAndWhiteShowsRight) {
    const DibPtr image = blankImage(3, 1, 1);
    std::swap(tableOf(*image)[0], tableOf(*image)[1]);
    setPixelValue(*image, 1, 0, 1);
    EXPECT_EQ(saved(*image, "pbm"), bytesOf("P4\n3 1\n\x40"));
    EXPECT_EQ(losses(*image, "pbm"), "the palette is not kept;");
}

TEST(PnmSave, LossesAreNamed) {
    const DibPtr mapped = randomImage(3, 3, 8, 1);
    EXPECT_EQ(losses(*mapped, "ppm"), "8 bits a pixel become 24;the palette is not kept;");
    EXPECT_EQ(losses(*mapped, "pgm"), "colours become greys;the palette is not kept;");
    EXPECT_EQ(losses(*mapped, "pbm"),
              "8 bits a pixel become 1;colours become black and white;the palette is not kept;");
    EXPECT_EQ(losses(*randomImage(3, 3, 32, 1), "ppm"),
              "transparency is not kept;32 bits a pixel become 24;");
    EXPECT_EQ(losses(*randomImage(3, 3, 24, 1), "pgm"), "24 bits a pixel become 8;colours become greys;");
    EXPECT_EQ(losses(*randomImage(3, 3, 16, 1), "pam"), "16 bits a pixel become 24;");
    DibFileResult result;
    EXPECT_TRUE(saved(*mapped, "pfm", &result).empty());
    EXPECT_STREQ(result.reason, "PFM files are not written");
}

TEST(PnmSave, ProgressCancelsAndAllocationsFail) {
    for (const char* format : {"pbm", "pgm", "ppm", "pam"}) {
        for (const int bits : testing_support::kDepths) {
            const DibPtr image = randomImage(9, -12, bits, 2);
            expectSaves(*image, format, 12);
            EXPECT_GE(failEverySave(*image, format), 3);
        }
    }
}

}  // namespace
}  // namespace door_test
