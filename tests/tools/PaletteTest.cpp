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

TEST_F(Palettes, SayWhatIsWrongWithDamagedOnes) {
    const std::pair<const char*, const char*> kFiles[] = {{"word.gpl", "GIMP Palette\n255 0 red\n"},
                                                          {"cut.pal", "JASC-PAL\r\n0100\r\n2\r\n1 2 3\r\n"},
                                                          {"short.ACT", "abc"},
                                                          {"short.txt", "abc"}};
    const std::pair<const char*, const char*> kReasons[] = {
        {"word.gpl", "line 2 is not a colour of three numbers from 0 to 255"},
        {"cut.pal", "the file ends after 1 of 2 colours"},
        {"short.ACT", "this is no palette of GIMP, JASC or Adobe"},
        {"short.txt", "the format of the file is not known"}};
    for (const auto& [name, bytes] : kFiles) writeFile(name, bytes);
    for (const auto& [name, reason] : kReasons) {
        const Result result = run({"run", "in.bmp", std::string("remap:") + name, "out.bmp"});
        EXPECT_EQ(result.exitCode, 3) << name;
        EXPECT_EQ(result.errors, std::string("dib: ") + name + ": remap: " + reason + "\n");
    }
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
