#include <functional>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using GeometryOps = ToolTest;

// What the program makes of "in.bmp" is what the library makes of it.
void expectSame(const std::string& operation, const std::function<bool(DibStream&)>& change) {
    const Result result = run({"run", "in.bmp", operation, "out.bmp"});
    EXPECT_EQ(result.exitCode, 0) << operation << ": " << result.errors;
    DibStream expected;
    ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
    ASSERT_TRUE(change(expected));
    EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << operation;
}

TEST_F(GeometryOps, AreTheLibrarys) {
    makePicture(picture_, 40, 30, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    expectSame("resize:17x55", [](DibStream& d) { return d.ResizeBilinear(17, 55); });
    expectSame("resize:17x10,method=area", [](DibStream& d) { return d.ResizeIntegral(17, 10); });
    expectSame("resize:50%", [](DibStream& d) { return d.ResizeHalf(); });
    expectSame("half", [](DibStream& d) { return d.ResizeHalf(); });
    expectSame("canvas:51x20", [](DibStream& d) { return d.ChangeSize(51, 20, 0); });
    expectSame("canvas:51x20,fill=#ff8000", [](DibStream& d) { return d.ChangeSize(51, 20, 0xFF8000); });
    expectSame("crop:3,4,20x10", [](DibStream& d) { return d.ClipCut(3, 4, 20, 10); });
    expectSame("scroll:-3,5", [](DibStream& d) { return d.Scroll(-3, 5); });
    expectSame("invert", [](DibStream& d) { return d.InvertTone(); });
    expectSame("brighten:0.5", [](DibStream& d) { return d.Brighten(0.5F); });
    expectSame("flip-storage", [](DibStream&) { return true; });  // files hold the bottom row first
}

TEST_F(GeometryOps, RefuseWhatTheLibraryWould) {
    for (const char* wrong : {"resize:0x5", "resize:5", "resize:-5x5", "resize:5x-5",
                              "resize:5x5,method=cubic", "crop:-1,0,2x2", "brighten:-1"}) {
        const Result result = run({"run", "in.bmp", wrong, "out.bmp"});
        EXPECT_EQ(result.exitCode, 2) << wrong;
        EXPECT_FALSE(result.errors.empty()) << wrong;
    }
    EXPECT_NE(run({"run", "in.bmp", "crop:1,0,100%x100%", "out.bmp"}).exitCode, 0);
}

TEST_F(GeometryOps, AreaAveragingOfIndicesIsRefused) {
    makePicture(picture_, 40, 30, 8);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    const Result result = run({"run", "in.bmp", "resize:17x10,method=area", "out.bmp"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_NE(result.errors.find("not match type"), std::string::npos) << result.errors;
}

}  // namespace

}  // namespace tool_test
