#include <DibOperation.h>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using Operations = ToolTest;

TEST_F(Operations, AreTheLibrarys) {
    for (const char* chain :
         {"ripple:20,0.25rad,1rad,x=25%,y=-7,wrap=y", "gaussian:4.5", "crop:3,4,20x10", "bpp:8"}) {
        const Result result = run({"run", "in.bmp", chain, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << chain << ": " << result.errors;
        DibStream expected;
        ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
        ASSERT_TRUE(DibApply(&expected, chain));
        EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << chain;
    }
}

TEST_F(Operations, RefuseWhatTheLibraryWould) {
    const std::pair<const char*, const char*> kWrong[] = {
        {"mosaic:0", "mosaic: size: '0' is outside 1 to 2147483647"},
        {"gaussian:300", "gaussian: radius: '300' is outside 0 to 255"},
        {"rotate:1,wrap=z", "rotate: wrap: 'z' must be none, x, y or a combination such as x+y"},
        {"mosaic", "mosaic: size is missing (usage: mosaic:SIZE[,classic])"},
        {"frobnicate", "no operation 'frobnicate'; `dib ops` lists them"},
        {"bulr:2", "no operation 'bulr'; did you mean 'blur'?"},
    };
    for (const auto& [wrong, reason] : kWrong) {
        const Result result = run({"run", "in.bmp", wrong, "out.bmp"});
        EXPECT_EQ(result.exitCode, 2) << wrong;
        EXPECT_EQ(result.errors, std::string("dib: ") + reason + "\n");
    }
    const Result outside = run({"run", "in.bmp", "crop:1,0,100%x100%", "out.bmp"});
    EXPECT_EQ(outside.exitCode, 1);
    EXPECT_EQ(
        outside.errors,
        "dib: in.bmp: crop: size: the rectangle of 33x21 pixels at 1,0 passes the edge of the picture of "
        "33x21\n");
}

TEST_F(Operations, ReportProgress) {
    const Result result = run({"run", "--progress=always", "in.bmp", "rotate:30", "out.bmp"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.errors.find(" rotate"), std::string::npos);
}

TEST_F(Operations, CanBeCancelled) {
    makePicture(picture_, 1000, 1000, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    Program::Words words{"run", "--progress=always", "in.bmp"};
    for (int i = 0; i < 3000; ++i) words.emplace_back("ripple:40,0.05rad");
    words.emplace_back("out.bmp");
    Program program(words);
    ASSERT_TRUE(program.errorsContain("ripple"));
    program.signal(2);
    EXPECT_EQ(program.finish().exitCode, 130);
    EXPECT_EQ(filesHere(), Program::Words{"in.bmp"});
}

}  // namespace

}  // namespace tool_test
