// `dib palette`, and palette files as second pictures.
#include <DibFile.h>

#include "tests/support/TestImages.h"
#include "tests/tools/Program.h"

namespace tool_test {

namespace {

class Palettes : public ToolTest {};

TEST_F(Palettes, GoFromPictureToPicture) {
    writeFile("two.gpl", "GIMP Palette\n255 0 0\n0 0 255\n");
    Result result = run({"run", "in.bmp", "remap:two.gpl,dither=none", "two.bmp"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    result = run({"palette", "two.bmp", "two.pal"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(readFile("two.pal"), "JASC-PAL\r\n0100\r\n2\r\n255 0 0\r\n0 0 255\r\n");
}

TEST_F(Palettes, SayWhatIsWrong) {
    Result result = run({"palette", "in.bmp", "in.gpl"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "dib: in.bmp: the image has no palette; `dib run` with colors:256 makes one\n");
    ASSERT_EQ(run({"run", "in.bmp", "colors:16", "few.bmp"}).exitCode, 0);
    result = run({"palette", "few.bmp", "few.txt"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "dib: few.txt: no palette format has the name \"txt\": gpl, pal and act\n");
    EXPECT_EQ(run({"palette", "absent.bmp", "few.gpl"}).exitCode, 3);
    EXPECT_EQ(run({"palette", "few.bmp", "absent/few.gpl"}).exitCode, 4);
}

// A sprite with few colours stays one.
TEST_F(Palettes, KeepTransparencyInFilesThatHoldIt) {
    writeFile("white.gpl", "GIMP Palette\n255 255 255\n");
    ASSERT_EQ(run({"run", "in.bmp", "rotate:45,grow,fill=#00000000", "turned.png"}).exitCode, 0);
    for (const char* step : {"colors:16", "remap:white.gpl"}) {
        SCOPED_TRACE(step);
        const Result result = run({"run", "turned.png", step, "mirror", "few.png"});
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        DibStream loaded;
        const DibLoadOptions keeps = {.keepsPalette = true};
        ASSERT_TRUE(DibLoadFile("few.png", &loaded, &keeps));
        EXPECT_LE(loaded.Header->biBitCount, 4);
        ASSERT_TRUE(DibLoadFile("few.png", &loaded));
        ASSERT_EQ(loaded.Header->biBitCount, 32);
        EXPECT_EQ(testing_support::pixelValue(loaded, 0, 0) >> 24, 0U);
        const int middle = loaded.Header->biWidth / 2;
        EXPECT_EQ(testing_support::pixelValue(loaded, middle, loaded.Header->biHeight / 2) >> 24, 255U);
    }
}

}  // namespace

}  // namespace tool_test
