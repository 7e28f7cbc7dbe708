// Chains at work on images.
#include <DibEffect.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <set>

#include "operations/Operations.h"
#include "tests/operations/Operations.h"
#include "tests/operations/SampleCalls.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::headerBytes;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

constexpr float kDegree = 3.14159265358979F / 180;

struct Classic {
    const char* step;
    std::function<bool(DibStream&)> call;
};

// Seeds the numbers of noise first.
template <class Call>
auto seeded(unsigned int seed, const Call& call) {
    return [=](DibStream& d) {
        std::srand(seed);
        return call(d);
    };
}

const Classic kClassics[] = {
    {"bpp:1", [](DibStream& d) { return d.ChangeBpp(1, 0); }},
    {"bpp:4", [](DibStream& d) { return d.ChangeBpp(4, 0); }},
    {"bpp:4,method=median", [](DibStream& d) { return d.ChangeBpp(4, DIB_MEDIAN_CUT); }},
    {"bpp:8,grey", [](DibStream& d) { return d.ChangeBpp(8, 0); }},
    {"bpp:8,dither", [](DibStream& d) { return d.ChangeBpp(8, DIB_DITHER); }},
    {"bpp:16,dither", [](DibStream& d) { return d.ChangeBpp(16, DIB_DITHER); }},
    {"bpp:24", [](DibStream& d) { return d.ChangeBpp(24, 0); }},
    {"bpp:32", [](DibStream& d) { return d.ChangeBpp(32, 0); }},
    {"rotate:90deg", [](DibStream& d) { return DibEffectRotate(nullptr, nullptr, &d, 90 * kDegree, 0U); }},
    {"rotate:-0.5rad,wrap=x", [](DibStream& d) { return DibEffectRotate(nullptr, nullptr, &d, -0.5F, 1U); }},
    {"ripple:20,0.25rad,1rad,x=25%,y=-7,wrap=y",
     [](DibStream& d) { return DibEffectRipple(nullptr, nullptr, &d, 10, -7, 20, 0.25F, 1, DIB_WRAP_Y); }},
    {"ripple:20,0.25rad",
     [](DibStream& d) { return DibEffectRipple(nullptr, nullptr, &d, 20, 15, 20, 0.25F, 0, 0U); }},
    {"wave:16,3,phase=1rad,direction=2rad,wrap=xy",
     [](DibStream& d) { return DibEffectWave(nullptr, nullptr, &d, 16, 3, 1, 2, 3U); }},
    {"whirl:0.05rad,100%,0%,wrap=xy",
     [](DibStream& d) { return DibEffectWhirl(nullptr, nullptr, &d, 40, 0, 0.05F, 3U); }},
    {"mosaic:7", [](DibStream& d) { return DibEffectMozaic(nullptr, nullptr, &d, 7); }},
    {"reverse", [](DibStream& d) { return DibEffectReverse(nullptr, nullptr, &d); }},
    {"blur:3,wrap=y", [](DibStream& d) { return DibEffectBlur(nullptr, nullptr, &d, 3, DIB_WRAP_Y); }},
    {"soften", [](DibStream& d) { return DibEffectBlurLittle(nullptr, nullptr, &d, 0U); }},
    {"sharpen:wrap=xy", [](DibStream& d) { return DibEffectSharpLittle(nullptr, nullptr, &d, 3U); }},
    {"gaussian:4.5", [](DibStream& d) { return DibEffectGaussianBlur(nullptr, nullptr, &d, 4.5F, 0U); }},
    {"gaussian:255,x", [](DibStream& d) { return DibEffectGaussianBlur(nullptr, nullptr, &d, 255, 1U); }},
    {"noise:20,seed=7", seeded(7, [](DibStream& d) { return DibEffectNoise(nullptr, nullptr, &d, 20); })},
    {"color-noise:#ff8001,50%,seed=3",
     seeded(3,
            [](DibStream& d) {
                return DibEffectColorNoise(nullptr, nullptr, &d, DibBGRA{1, 128, 255, 255}, 0.5F);
            })},
    {"diffuse:3,wrap=x,seed=9",
     seeded(9, [](DibStream& d) { return DibEffectDiffuse(nullptr, nullptr, &d, 3, 1U); })},
    {"max:2", [](DibStream& d) { return DibEffectBrightMax(nullptr, nullptr, &d, 2, 0U); }},
    {"min:2,wrap=x", [](DibStream& d) { return DibEffectBrightMin(nullptr, nullptr, &d, 2, 1U); }},
    {"median:3,wrap=xy", [](DibStream& d) { return DibEffectBrightMiddle(nullptr, nullptr, &d, 3, 3U); }},
    {"gamma:2.2,low=10,high=200",
     [](DibStream& d) { return DibEffectGammaCorrect(nullptr, nullptr, &d, 10, 200, 2.2F); }},
    {"contrast:1.3,brightness=0.05",
     [](DibStream& d) { return DibEffectContrast(nullptr, nullptr, &d, 0.05F, 1.3F); }},
    {"motion-blur:5,angle=0.5rad",
     [](DibStream& d) { return DibEffectMotionBlur(nullptr, nullptr, &d, 5, 0.5F, 0U); }},
    {"edge:wrap=y", [](DibStream& d) { return DibEffectPickEdge(nullptr, nullptr, &d, 2U); }},
    {"emboss:2,distance=2,angle=1rad",
     [](DibStream& d) { return DibEffectEmboss(nullptr, nullptr, &d, 2, 2, 1, 0U); }},
    {"resize:17x55", [](DibStream& d) { return d.ResizeBilinear(17, 55); }},
    {"resize:30x50,filter=area",
     [](DibStream& d) { return d.Header->biBitCount >= 24 && d.ResizeIntegral(30, 50); }},
    {"resize:50%x200%", [](DibStream& d) { return d.ResizeBilinear(21, 62); }},
    {"half", [](DibStream& d) { return d.ResizeHalf(); }},
    {"canvas:51x20", [](DibStream& d) { return d.ChangeSize(51, 20, 0); }},
    {"canvas:51x20,fill=1", [](DibStream& d) { return d.ChangeSize(51, 20, 1); }},
    {"crop:3,4,20x10", [](DibStream& d) { return d.ClipCut(3, 4, 20, 10); }},
    {"scroll:-3,5", [](DibStream& d) { return d.Scroll(-3, 5); }},
    {"flip-storage", [](DibStream& d) { return d.UpDown(d.Header->biHeight > 0); }},
    {"invert", [](DibStream& d) { return d.InvertTone(); }},
    {"brighten:0.5", [](DibStream& d) { return d.Brighten(0.5F); }},
};

unsigned int depthBit(int bitCount) {
    unsigned int bit = 1;
    for (const int depth : testing_support::kDepths) {
        if (depth == bitCount) return bit;
        bit <<= 1;
    }
    return 0;
}

bool hasClassic(const DibOperation& operation) {
    const auto parameters = DibList(operation.parameters);
    return parameters.size() > 0 && std::string_view(parameters[parameters.size() - 1]->name) == "classic";
}

// The step with its switch, if it has one.
std::string asClassic(const std::string& step) {
    DibChain chain;
    EXPECT_TRUE(DibParseStep(step.c_str(), &chain)) << step;
    if (!hasClassic(*chain.steps[0].operation)) return step;
    return step + (step.find(':') == std::string::npos ? ":classic" : ",classic");
}

TEST(OperationApply, GivesTheBytesOfTheClassicCalls) {
    std::set<std::string_view> covered;
    for (const Classic& classic : kClassics) {
        const std::string step = asClassic(classic.step);
        DibChain chain;
        ASSERT_TRUE(DibParseStep(step.c_str(), &chain)) << step;
        const DibOperation& operation = *chain.steps[0].operation;
        covered.insert(operation.name);
        for (const int bitCount : testing_support::kDepths) {
            for (const int height : {31, -31}) {
                SCOPED_TRACE(step + " at " + std::to_string(bitCount));
                const DibPtr expected = randomImage(41, height, bitCount, 5);
                const DibPtr before = randomImage(41, height, bitCount, 5);
                const DibPtr image = randomImage(41, height, bitCount, 5);
                const DibPtr inPlace = randomImage(41, height, bitCount, 5);
                const bool isDone = classic.call(*expected);
                DibOperationResult result;
                EXPECT_EQ(DibApply(image.get(), step.c_str(), nullptr, &result), isDone) << result.reason;
                EXPECT_TRUE(!isDone || (operation.depths & depthBit(bitCount)) != 0);
                EXPECT_EQ(result.code, isDone ? DIB_OK : DIB_ERROR_MISMATCH);
                EXPECT_EQ(image->ErrorCode, result.code);
                EXPECT_TRUE(sameImage(*image, isDone ? *expected : *before));
                // The option sets the switch.
                ASSERT_TRUE(DibParseStep(classic.step, &chain));
                const DibApplyOptions options = {.inPlace = true, .classic = true};
                EXPECT_EQ(DibApply(inPlace.get(), chain.steps, 1, &options), isDone);
                EXPECT_TRUE(sameImage(*inPlace, isDone ? *expected : *before));
            }
        }
    }
    covered.insert("compose");  // SecondPictureTest.cpp
    for (const operations::Area& area : operations::areas()) {
        for (const operations::Operation& row : area)
            EXPECT_NE(covered.contains(row.info.name), row.call.empty()) << row.info.name;
    }
}

// Indices that the image does not use stay unused, so that none of another transparency appears.
TEST(OperationApply, OperationsThatMovePixelsKeepIndicesAndColourTable) {
    std::set<std::string_view> names;
    for (const DibOperation* operation : all()) {
        if (!operation->movesPixels) continue;
        names.insert(operation->name);
        for (const int bitCount : {1, 4, 8}) {
            if ((operation->depths & depthBit(bitCount)) == 0) continue;
            SCOPED_TRACE(std::string(operation->example) + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(41, 31, bitCount, 5);
            const std::uint32_t last = (1U << bitCount) - 1;
            const std::set<std::uint32_t> used = {last, bitCount == 1 ? last : last - 1};
            for (int y = 0; y < 31; ++y) {
                for (int x = 0; x < 41; ++x)
                    setPixelValue(*image, x, y, (x + y) % 2 == 0 ? last : *used.begin());
            }
            const std::vector<unsigned char> before = headerBytes(*image);
            ASSERT_TRUE(DibApply(image.get(), operation->example));
            const std::vector<unsigned char> after = headerBytes(*image);
            EXPECT_TRUE(std::equal(before.begin() + 40, before.end(), after.begin() + 40, after.end()));
            std::set<std::uint32_t> found;
            for (int y = 0; y < std::abs(image->Header->biHeight); ++y) {
                for (int x = 0; x < image->Header->biWidth; ++x) found.insert(pixelValue(*image, x, y));
            }
            EXPECT_EQ(found, used);
        }
    }
    EXPECT_EQ(names,
              (std::set<std::string_view>{"turn", "flip", "mirror", "diffuse", "crop", "scroll", "trim"}));
}

// Compiled, the calls that are shown do what the samples do.
TEST(OperationApply, GivesTheBytesOfTheDescribedCalls) {
    const std::filesystem::path folder = testing_support::temporaryPath("described-calls");
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);  // of the second picture
    const DibPtr other = randomImage(31, 17, 24, 2);
    ASSERT_TRUE(other->SaveToFile("other.bmp"));
    EXPECT_EQ(sampleCalls().size(), 3 * all().size());
    for (const SampleCall& call : sampleCalls()) {
        const DibPtr image = randomImage(kCalledWidth, kCalledHeight, 24, 1);
        const DibPtr expected = randomImage(kCalledWidth, kCalledHeight, 24, 1);
        DibOperationResult result;
        EXPECT_TRUE(DibApply(image.get(), call.chain.c_str(), nullptr, &result)) << result.reason;
        call.make(*expected);
        EXPECT_TRUE(sameImage(*image, *expected)) << call.chain;
    }
}

TEST(OperationApply, AnEmptyChainChangesNothing) {
    const DibPtr image = randomImage(5, 4, 8, 1);
    const DibPtr before = randomImage(5, 4, 8, 1);
    image->ErrorCode = 7;
    ProgressLog log;
    EXPECT_TRUE(DibApply(image.get(), "", nullptr, nullptr, ProgressLog::callback, &log));
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(image->ErrorCode, 0);
    EXPECT_EQ(log.fractions.back(), 1.0F);
}

struct Refused {
    const char* chain;
    int bitCount;
    int code;
    int step;
    const char* reason;
};

TEST(OperationApply, RefusalsLeaveTheImageAsItWas) {
    const Refused kCases[] = {
        {"rotate:5,classic emboss:classic", 4, 8, 1,
         "emboss: does not accept pictures of 4 bits, only of 8, 16, 24 and 32 bits"},
        {"bpp:1 half:classic", 24, 8, 1, "half: does not accept pictures of 1 bit, only of 24 and 32 bits"},
        {"invert gaussian:300", 24, 6, 1, "gaussian: radius: '300' is outside 0 to 255"},
        {"invert crop:30,0,20x5", 24, 8, 1,
         "crop: size: the rectangle of 20x5 pixels at 30,0 passes the edge of the picture of 41x31"},
        {"invert crop:0,2147483647,1x1", 24, 8, 1,
         "crop: size: the rectangle of 1x1 pixels at 0,2147483647 passes the edge of the picture of 41x31"},
        {"invert resize:10x10,filter=area,classic", 8, 8, 1,
         "resize: filter: area is for 24 and 32 bits, not for 8 bits"},
        {"invert canvas:50x50,fill=256", 8, 8, 1,
         "canvas: fill: '256' is outside 0 to 255 for a picture of 8 bits"},
        {"invert canvas:50x50,fill=2", 1, 8, 1, "canvas: fill: '2' is outside 0 to 1 for a picture of 1 bit"},
        {"invert resize:1000000%", 24, 2, 1,
         "resize: there is not enough memory, or no image can have that size"},
        {"invert bulr", 24, 6, 1, "no operation 'bulr'; did you mean 'blur'?"},
    };
    for (const Refused& refused : kCases) {
        SCOPED_TRACE(refused.chain);
        const DibPtr image = randomImage(41, 31, refused.bitCount, 4);
        const DibPtr before = randomImage(41, 31, refused.bitCount, 4);
        const void* const buffer = image->Buffer;
        DibOperationResult result;
        EXPECT_FALSE(DibApply(image.get(), refused.chain, nullptr, &result));
        EXPECT_EQ(result.code, refused.code);
        EXPECT_EQ(result.step, refused.step);
        EXPECT_STREQ(result.reason, refused.reason);
        EXPECT_EQ(image->ErrorCode, refused.code);
        EXPECT_EQ(image->Buffer, buffer);
        EXPECT_TRUE(sameImage(*image, *before));
    }
}

TEST(OperationApply, NeedsAnImageAndSteps) {
    DibOperationResult result;
    EXPECT_FALSE(DibApply(nullptr, "half", nullptr, &result));
    EXPECT_STREQ(result.reason, "the image has no pixels");
    DibStream empty;
    EXPECT_FALSE(DibApply(&empty, "half", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_EQ(empty.ErrorCode, DIB_ERROR_INVALID);
    const DibPtr image = randomImage(5, 4, 24, 1);
    EXPECT_FALSE(DibApply(image.get(), static_cast<const char*>(nullptr), nullptr, &result));
    EXPECT_FALSE(DibApply(image.get(), static_cast<const DibStep*>(nullptr), 1, nullptr, &result));
    EXPECT_STREQ(result.reason, "there is no chain");
    EXPECT_TRUE(DibApply(image.get(), static_cast<const DibStep*>(nullptr), 0));
    const DibOperation foreign = *DibFindOperation("half");
    const DibStep strange = {&foreign, nullptr};
    EXPECT_FALSE(DibApply(image.get(), &strange, 1, nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
}

TEST(OperationApply, StepsMayBeMadeByTheCaller) {
    const DibPtr image = randomImage(41, 31, 24, 4);
    const DibPtr expected = randomImage(41, 31, 24, 4);
    const char* const values[8] = {"0.5rad"};
    const DibStep steps[] = {{DibFindOperation("rotate"), values}, {DibFindOperation("half"), nullptr}};
    DibOperationResult result;
    EXPECT_TRUE(DibApply(image.get(), steps, 2, nullptr, &result)) << result.reason;
    ASSERT_TRUE(DibEffectRotate(nullptr, nullptr, expected.get(), 0.5F, 0U) && expected->ResizeHalf());
    EXPECT_TRUE(sameImage(*image, *expected));

    const char* const wrong[8] = {"300"};
    const DibStep refused[] = {{DibFindOperation("half"), nullptr}, {DibFindOperation("gaussian"), wrong}};
    EXPECT_FALSE(DibApply(image.get(), refused, 2, nullptr, &result));
    EXPECT_EQ(result.step, 1);
    EXPECT_STREQ(result.reason, "gaussian: radius: '300' is outside 0 to 255");
    const DibStep missing = {DibFindOperation("gaussian"), nullptr};
    EXPECT_FALSE(DibApply(image.get(), &missing, 1, nullptr, &result));
    EXPECT_STREQ(result.reason,
                 "gaussian: radius is missing (usage: gaussian:RADIUS[,wrap=none|x|y][,classic])");
    EXPECT_TRUE(sameImage(*image, *expected));
}

// A block of the caller stays as it is, unless the caller asks for work in place.
TEST(OperationApply, LentBlocksAreNotChanged) {
    const DibPtr image = randomImage(9, 7, 24, 4);
    const DibPtr before = randomImage(9, 7, 24, 4);
    DibStream lent;
    ASSERT_TRUE(lent.SetDib(image->Header, 0, image->Buffer, 0));
    ASSERT_TRUE(DibApply(&lent, "invert"));
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_NE(lent.Buffer, image->Buffer);
    EXPECT_NE(lent.BufferOwner, 0U);
    const DibApplyOptions options = {.inPlace = true};
    ASSERT_TRUE(lent.SetDib(image->Header, 0, image->Buffer, 0));
    ASSERT_TRUE(DibApply(&lent, "invert", &options));
    EXPECT_EQ(lent.Buffer, image->Buffer);
    EXPECT_FALSE(sameImage(*image, *before));
}

// `Clone` would lose the end of such a table.
TEST(OperationApply, ATableAfterALongHeaderIsKept) {
    std::vector<unsigned char> block(124 + 256 * 4);
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7);
    const DibPtr plain = randomImage(9, 7, 8, 4);
    std::memcpy(block.data(), plain->Header, 40);
    const std::uint32_t size = 124;
    std::memcpy(block.data(), &size, sizeof size);
    const auto lend = [&](DibStream& image, std::vector<unsigned char>& header) {
        ASSERT_TRUE(image.SetDib(header.data(), 0, plain->Buffer, 0));
    };
    std::vector<unsigned char> other = block;
    DibStream expected;
    lend(expected, other);
    ASSERT_TRUE(DibEffectContrast(nullptr, nullptr, &expected, 0.0F, 1.5F));
    DibStream image;
    lend(image, block);
    ASSERT_TRUE(DibApply(&image, "contrast:1.5"));
    EXPECT_EQ(std::memcmp(image.Header, expected.Header, block.size()), 0);
}

constexpr const char* kLongChain = "rotate:30 bpp:8,method=median resize:20x15 max:2 bpp:24 gaussian:3";

TEST(OperationApply, ProgressRunsOverTheWholeChain) {
    const DibPtr image = randomImage(41, 31, 24, 4);
    ProgressLog log;
    ASSERT_TRUE(DibApply(image.get(), kLongChain, nullptr, nullptr, ProgressLog::callback, &log));
    ASSERT_GT(log.fractions.size(), 60U);
    EXPECT_EQ(log.fractions.front(), 0.0F);
    EXPECT_EQ(log.fractions.back(), 1.0F);
    for (std::size_t i = 1; i < log.fractions.size(); ++i) EXPECT_GE(log.fractions[i], log.fractions[i - 1]);
    // Row 15 of 31 of the first of six steps.
    EXPECT_EQ(log.fractions[15], static_cast<float>(static_cast<double>(15.0F / 31.0F) / 6));
}

TEST(OperationApply, ACancelAtAnyCallLeavesTheImageAsItWas) {
    const DibPtr before = randomImage(41, 31, 24, 4);
    ProgressLog whole;
    const DibPtr image = randomImage(41, 31, 24, 4);
    ASSERT_TRUE(DibApply(image.get(), kLongChain, nullptr, nullptr, ProgressLog::callback, &whole));
    for (int call = 0; call < static_cast<int>(whole.fractions.size()); ++call) {
        const DibPtr cancelled = randomImage(41, 31, 24, 4);
        ProgressLog log{{}, call};
        DibOperationResult result;
        EXPECT_FALSE(DibApply(cancelled.get(), kLongChain, nullptr, &result, ProgressLog::callback, &log));
        EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED);
        EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(call) + 1) << "called after it cancelled";
        EXPECT_TRUE(sameImage(*cancelled, *before)) << call;
        EXPECT_EQ(cancelled->ErrorCode, DIB_ERROR_INTERRUPTED);
    }
}

TEST(OperationApply, SurvivesFailingAllocations) {
    const DibPtr before = randomImage(41, 31, 24, 4);
    const DibPtr expected = randomImage(41, 31, 24, 4);
    ASSERT_TRUE(DibApply(expected.get(), kLongChain));
    DibPtr image;
    DibOperationResult result;
    bool isDone = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { image = randomImage(41, 31, 24, 4); },
        [&] { isDone = DibApply(image.get(), kLongChain, nullptr, &result); },
        [&](bool failureMet) {
            EXPECT_TRUE(isDone || failureMet) << result.reason;
            if (!isDone) {
                EXPECT_EQ(result.code, DIB_ERROR_MEMORY) << result.reason;
                EXPECT_TRUE(sameImage(*image, *before));
            } else {
                EXPECT_TRUE(sameImage(*image, *expected));
            }
            image.reset();
        });
    EXPECT_GT(failures, 20);
}

}  // namespace

}  // namespace operations_test
