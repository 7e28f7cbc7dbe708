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
    for (const char* operation : {"compose:absent.bmp", "compose:in.jpeg", "compose:in"}) {
        const Result result = run({"run", "in.bmp", operation, "out.bmp"});
        EXPECT_NE(result.exitCode, 0) << operation;
        EXPECT_NE(result.errors.find("compose"), std::string::npos) << result.errors;
    }
}

}  // namespace

}  // namespace tool_test
