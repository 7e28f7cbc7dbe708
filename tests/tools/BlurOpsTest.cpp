#include <DibEffect.h>

#include <functional>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using BlurOps = ToolTest;

TEST_F(BlurOps, AreTheLibrarys) {
    makePicture(picture_, 41, 31, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    const auto expectSame = [](const std::string& operation, const std::function<bool(DibStream&)>& effect) {
        const Result result = run({"run", "in.bmp", operation, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << operation << ": " << result.errors;
        DibStream expected;
        ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
        ASSERT_TRUE(effect(expected));
        EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << operation;
    };
    expectSame("blur:3", [](DibStream& d) { return DibEffectBlur(nullptr, nullptr, &d, 3, 0U); });
    expectSame("blur:3,wrap=y",
               [](DibStream& d) { return DibEffectBlur(nullptr, nullptr, &d, 3, DIB_WRAP_Y); });
    expectSame("soften", [](DibStream& d) { return DibEffectBlurLittle(nullptr, nullptr, &d, 0U); });
    expectSame("sharpen:wrap=xy",
               [](DibStream& d) { return DibEffectSharpLittle(nullptr, nullptr, &d, 3U); });
    expectSame("gaussian:4.5",
               [](DibStream& d) { return DibEffectGaussianBlur(nullptr, nullptr, &d, 4.5F, 0U); });
}

}  // namespace

}  // namespace tool_test
