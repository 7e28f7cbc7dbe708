#include <DibEffect.h>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using ComposeOps = ToolTest;

TEST_F(ComposeOps, AreTheLibrarys) {
    makePicture(picture_, 41, 31, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    DibStream second;
    makePicture(second, 10, 7, 8);
    ASSERT_TRUE(second.SaveToFile("second.bmp"));
    const auto expectSame = [&](const std::string& operation, float opacity, unsigned int mode) {
        const Result result = run({"run", "in.bmp", operation, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << operation << ": " << result.errors;
        DibStream expected;
        ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
        ASSERT_TRUE(DibEffectCompose(nullptr, nullptr, &expected, &second, opacity, mode));
        EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << operation;
    };
    expectSame("compose:second.bmp", 0.5F, 0);
    expectSame("compose:second.bmp,25%", 0.25F, 0);
    expectSame("compose:second.bmp,opacity=0.75,mode=tile", 0.75F, 1);
}

TEST_F(ComposeOps, FilesThatCannotBeReadAreFailures) {
    makePicture(picture_, 4, 3, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    writeFile("empty.bmp", "");
    writeFile("text.png", "Not a picture");
    const std::pair<std::string, std::string> kCases[] = {
        {"absent.bmp", "the file cannot be opened: No such file or directory"},
        {"empty.bmp", "the file is empty"},
        {"text.png", "not a PNG file"},
    };
    for (const auto& [name, message] : kCases) {
        const Result result = run({"run", "in.bmp", "compose:" + name, "out.bmp"});
        EXPECT_EQ(result.exitCode, 3) << name;
        EXPECT_EQ(result.errors, "dib: " + name + ": compose: " + message + "\n");
    }
}

TEST_F(ComposeOps, TheSecondPictureMayBeOfAnyFormat) {
    ASSERT_EQ(run({"run", "in.bmp", "compose:in.bmp", "expected.bmp"}).errors, "");
    ASSERT_EQ(run({"run", "in.bmp", "second.tiff"}).errors, "");
    ASSERT_EQ(run({"run", "--to=iff", "in.bmp", "unnamed"}).errors, "");
    for (const std::string second : {"second.tiff", "unnamed"}) {
        EXPECT_EQ(run({"run", "in.bmp", "compose:" + second, "out.bmp"}).errors, "");
        EXPECT_EQ(readFile("out.bmp"), readFile("expected.bmp")) << second;
    }
}

TEST_F(ComposeOps, ThePictureThatDoesNotSuitIsNamed) {
    writeFile("a,b.bmp", readFile("in.bmp"));
    EXPECT_EQ(run({"run", "in.bmp", "compose:a\\,b.bmp", "out.bmp"}).exitCode, 0);
    const Result result = run({"run", "in.bmp", "bpp:16", "compose:in.bmp", "out.bmp"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "dib: in.bmp: compose: does not support 33x21 pictures with 16 bits\n");
}

}  // namespace

}  // namespace tool_test
