#include <cstdlib>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using Sample = ToolTest;

std::uint64_t fingerprint(const std::string& bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash;
}

TEST_F(Sample, IsTheSameOnEveryMachine) {
    ASSERT_EQ(makeSample("64 48 out.bmp"), 0);
    EXPECT_EQ(fingerprint(readFile("out.bmp")), 12707316934445079292U);
}

TEST_F(Sample, ComesInEveryDepth) {
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        ASSERT_EQ(makeSample("40 30 out.bmp --bits=" + std::to_string(bits)), 0);
        DibStream image;
        ASSERT_TRUE(image.LoadFromFile("out.bmp", DibStream::DIB_ACCEPT_ALL));
        EXPECT_EQ(image.Header->biBitCount, bits);
        EXPECT_EQ(image.Header->biWidth, 40);
        EXPECT_EQ(image.Header->biHeight, 30);
    }
}

TEST_F(Sample, FadesAtItsRoundEdge) {
    ASSERT_EQ(makeSample("100 80 out.bmp --bits=32"), 0);
    DibStream image;
    ASSERT_TRUE(image.LoadFromFile("out.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(image.Pixel(0, 0)[3], 0);
    EXPECT_EQ(image.Pixel(99, 0)[3], 0);
    EXPECT_EQ(image.Pixel(0, 79)[3], 0);
    EXPECT_EQ(image.Pixel(99, 79)[3], 0);
    EXPECT_EQ(image.Pixel(50, 0)[3], 43);
    EXPECT_EQ(image.Pixel(2, 40)[3], 255);
    EXPECT_EQ(image.Pixel(50, 40)[3], 255);
}

TEST_F(Sample, RefusesWhatItCannotMake) {
    for (const char* arguments :
         {"", "64 48", "0 48 out.bmp", "64 -1 out.bmp", "64x 48 out.bmp", "99999 48 out.bmp",
          "64 48 out.bmp --bits=2", "64 48 out.bmp --bits=", "64 48 out.bmp cat"}) {
        EXPECT_EQ(makeSample(arguments), 2) << arguments;
    }
    EXPECT_EQ(makeSample("64 48 none/out.bmp"), 1);
    EXPECT_EQ(readFile("messages.txt"), "make_sample_picture: none/out.bmp: open file\n");
    EXPECT_EQ(makeSample("64 48 /dev/full"), 1);
}

}  // namespace

}  // namespace tool_test
