#include <DibEffect.h>

#include <functional>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using DistortionOps = ToolTest;
constexpr float kDegree = 3.14159265358979F / 180;

// What the program makes of "in.bmp" is what the library makes of it.
void expectSame(const std::string& operation, const std::function<bool(DibStream&)>& effect) {
    const Result result = run({"run", "in.bmp", operation, "out.bmp"});
    EXPECT_EQ(result.exitCode, 0) << operation << ": " << result.errors;
    DibStream expected;
    ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
    ASSERT_TRUE(effect(expected));
    EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << operation;
}

TEST_F(DistortionOps, AreTheLibrarys) {
    makePicture(picture_, 41, 31, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    expectSame("rotate:90deg",
               [](DibStream& d) { return DibEffectRotate(nullptr, nullptr, &d, 90 * kDegree, 0); });
    expectSame("rotate:-0.5rad,wrap=x",
               [](DibStream& d) { return DibEffectRotate(nullptr, nullptr, &d, -0.5F, DIB_WRAP_X); });
    expectSame("rotate:0.5rad,wrap=xy",
               [](DibStream& d) { return DibEffectRotate(nullptr, nullptr, &d, 0.5F, 3); });
    expectSame("ripple:20,0.25rad",
               [](DibStream& d) { return DibEffectRipple(nullptr, nullptr, &d, 20, 15, 20, 0.25F, 0, 0); });
    expectSame("ripple:20,0.25rad,1rad,x=25%,y=-7,wrap=y", [](DibStream& d) {
        return DibEffectRipple(nullptr, nullptr, &d, 10, -7, 20, 0.25F, 1, DIB_WRAP_Y);
    });
    expectSame("wave:16,3", [](DibStream& d) { return DibEffectWave(nullptr, nullptr, &d, 16, 3, 0, 0, 0); });
    expectSame("wave:16,3,phase=1rad,direction=2rad,wrap=xy",
               [](DibStream& d) { return DibEffectWave(nullptr, nullptr, &d, 16, 3, 1, 2, 3); });
    expectSame("whirl:0.05rad",
               [](DibStream& d) { return DibEffectWhirl(nullptr, nullptr, &d, 20, 15, 0.05F, 0); });
    expectSame("whirl:0.05rad,100%,0%,wrap=xy",
               [](DibStream& d) { return DibEffectWhirl(nullptr, nullptr, &d, 40, 0, 0.05F, 3); });
    expectSame("mosaic:7", [](DibStream& d) { return DibEffectMozaic(nullptr, nullptr, &d, 7); });
    expectSame("reverse", [](DibStream& d) { return DibEffectReverse(nullptr, nullptr, &d); });
}

TEST_F(DistortionOps, RefuseWhatTheLibraryWould) {
    for (const char* wrong : {"wave:0,3", "ripple:0,1", "mosaic:0", "mosaic", "rotate", "rotate:1,wrap=z"}) {
        const Result result = run({"run", "in.bmp", wrong, "out.bmp"});
        EXPECT_EQ(result.exitCode, 2) << wrong;
        EXPECT_FALSE(result.errors.empty()) << wrong;
    }
}

TEST_F(DistortionOps, ReportProgress) {
    const Result result = run({"run", "--progress=always", "in.bmp", "rotate:30", "out.bmp"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.errors.find(" rotate"), std::string::npos);
}

TEST_F(DistortionOps, CanBeCancelled) {
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
