// Palettes and alpha in operations.
#include <algorithm>
#include <set>

#include "dib/Kernels.h"
#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::headerBytes;
using testing_support::pixelBytes;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

// The first sample of every operation with the switch `classic`, and some more.
std::vector<std::string> treatedSteps() {
    std::vector<std::string> steps;
    for (const DibOperation* operation : all()) {
        const auto parameters = DibList(operation->parameters);
        const bool isTreated = std::ranges::any_of(parameters, [](const DibParameter* parameter) {
            return std::string_view(parameter->name) == "classic";
        });
        // One needs a second picture, and one changes the depth.
        const bool isOther = std::set<std::string_view>{"compose", "bpp"}.contains(operation->name);
        if (isTreated && !isOther) steps.emplace_back(operation->samples[0]);
    }
    return steps;
}

// Whether the step does something else than its classic function even to pictures without alpha and palette.
bool isNew(const std::string& step) {
    const std::string name = step.substr(0, step.find(':'));
    return std::set<std::string>{"gaussian", "resize"}.contains(name);
}

void apply(DibStream& image, const std::string& chain, DibOperationResult& result, bool classic = false) {
    DibApplyOptions options;
    options.classic = classic;
    ASSERT_TRUE(DibApply(&image, chain.c_str(), &options, &result)) << result.reason;
}

// A random picture whose alpha is the same everywhere.
DibPtr withAlpha(std::uint32_t alpha, int height, std::uint64_t seed = 5) {
    DibPtr image = randomImage(41, height, 32, seed);
    for (int y = 0; y < 31; ++y) {
        for (int x = 0; x < 41; ++x)
            setPixelValue(*image, x, y, (pixelValue(*image, x, y) & 0xFFFFFFU) | alpha << 24);
    }
    return image;
}

DibPtr greyRamp(int height) {
    DibPtr image = randomImage(41, height, 8, 5);
    image->SetMonoPalette();
    return image;
}

std::vector<std::uint32_t> values(DibStream& image, std::uint32_t mask) {
    std::vector<std::uint32_t> all;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) all.push_back(pixelValue(image, x, y) & mask);
    }
    return all;
}

TEST(OperationTreatment, OpaquePicturesGetTheClassicColours) {
    for (const std::string& step : treatedSteps()) {
        if (isNew(step)) continue;
        for (const int height : {31, -31}) {
            SCOPED_TRACE(step + " " + std::to_string(height));
            const DibPtr deep = randomImage(41, height, 24, 5);
            const DibPtr classicDeep = randomImage(41, height, 24, 5);
            DibOperationResult result;
            apply(*deep, step, result);
            EXPECT_EQ(result.noteCount, 0);
            apply(*classicDeep, step, result, true);
            EXPECT_TRUE(sameImage(*deep, *classicDeep));
            for (const std::uint32_t alpha : {255U, 0U, 77U}) {
                const DibPtr image = withAlpha(alpha, height);
                const DibPtr classic = withAlpha(alpha, height);
                apply(*image, step, result);
                EXPECT_EQ(result.noteCount, 0);
                apply(*classic, step, result, true);
                EXPECT_EQ(values(*image, 0xFFFFFF), values(*classic, 0xFFFFFF));
                const std::vector<std::uint32_t> alphas = values(*image, 0xFF000000);
                EXPECT_TRUE(std::ranges::all_of(alphas, [=](std::uint32_t a) { return a == alpha << 24; }));
            }
        }
    }
    EXPECT_GE(treatedSteps().size(), 20U);
}

TEST(OperationTreatment, ColourChangesLeaveAlphaAsItIs) {
    for (const char* step : {"reverse", "invert", "edge", "emboss", "gamma:2.2", "contrast:1.5",
                             "brighten:0.5", "noise:20,seed=1", "color-noise:#ff8000,0.5,seed=1"}) {
        SCOPED_TRACE(step);
        const DibPtr before = randomImage(41, 31, 32, 9);
        const DibPtr image = randomImage(41, 31, 32, 9);
        const DibPtr classic = randomImage(41, 31, 32, 9);
        DibOperationResult result;
        apply(*image, step, result);
        apply(*classic, step, result, true);
        EXPECT_EQ(values(*image, 0xFF000000), values(*before, 0xFF000000));
        EXPECT_EQ(values(*image, 0xFFFFFF), values(*classic, 0xFFFFFF));
        EXPECT_NE(values(*image, 0xFFFFFF), values(*before, 0xFFFFFF));
    }
}

TEST(OperationTreatment, InvertingAPictureTwiceGivesItBack) {
    for (const char* step : {"reverse", "invert"}) {
        for (const int bitCount : testing_support::kDepths) {
            SCOPED_TRACE(std::string(step) + " at " + std::to_string(bitCount));
            const DibPtr before = randomImage(41, 31, bitCount, 9);
            const DibPtr image = randomImage(41, 31, bitCount, 9);
            DibOperationResult result;
            apply(*image, step, result);
            EXPECT_EQ(result.noteCount, 0);
            if (bitCount <= 8) {
                EXPECT_EQ(pixelBytes(*image), pixelBytes(*before));
                const auto table = headerBytes(*image);
                const auto oldTable = headerBytes(*before);
                for (std::size_t i = 40; i < table.size(); ++i)
                    EXPECT_EQ(table[i], i % 4 == 3 ? oldTable[i] : 255 - oldTable[i]);
            }
            apply(*image, step, result);
            EXPECT_EQ(values(*image, 0xFFFFFFFF), values(*before, 0xFFFFFFFF));
            EXPECT_EQ(headerBytes(*image), headerBytes(*before));
        }
    }
}

// The result is that of the same picture at 24 bits.
TEST(OperationTreatment, PalettesAreWidenedAndTheResultSaysSo) {
    for (const char* step : {"blur:2", "soften", "sharpen", "gaussian:3", "motion-blur:5", "edge", "emboss",
                             "rotate:15", "ripple:40,4deg", "wave:60,8", "whirl:0.4", "mosaic:4", "half",
                             "noise:20,seed=1", "color-noise:#ff8000,0.5,seed=1"}) {
        for (const int bitCount : {1, 4, 8}) {
            SCOPED_TRACE(std::string(step) + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(41, 31, bitCount, 9);
            const DibPtr wide = randomImage(41, 31, bitCount, 9);
            DibOperationResult result;
            apply(*image, step, result);
            ASSERT_EQ(result.noteCount, 1);
            EXPECT_EQ(result.notes[0].kind, DIB_NOTE_LOSS);
            const std::string name = std::string(step).substr(0, std::string(step).find(':'));
            EXPECT_EQ(result.notes[0].text, name + ": the palette of " + std::to_string(bitCount) +
                                                (bitCount == 1 ? " bit" : " bits") +
                                                " became 24 bits a pixel");
            apply(*wide, std::string("bpp:24 ") + step, result);
            EXPECT_EQ(result.noteCount, 0);
            EXPECT_TRUE(sameImage(*image, *wide));
        }
    }
}

TEST(OperationTreatment, GreyPicturesStayGrey) {
    for (const char* step : {"blur:2", "soften", "gaussian:3", "edge", "noise:20,seed=1"}) {
        SCOPED_TRACE(step);
        const DibPtr image = greyRamp(31);
        const DibPtr classic = greyRamp(31);
        DibOperationResult result;
        apply(*image, step, result);
        EXPECT_EQ(result.noteCount, 0);
        if (isNew(step)) continue;
        apply(*classic, step, result, true);
        EXPECT_TRUE(sameImage(*image, *classic));
    }
    for (const char* step : {"rotate:15", "mosaic:4", "half", "wave:60,8", "emboss", "motion-blur:5",
                             "motion-blur:9,angle=30"}) {
        SCOPED_TRACE(step);
        const DibPtr image = greyRamp(31);
        const DibPtr wide = greyRamp(31);
        DibOperationResult result;
        apply(*image, step, result);
        EXPECT_EQ(image->Header->biBitCount, 8);
        EXPECT_EQ(result.noteCount, 0);
        apply(*wide, std::string("bpp:24 ") + step, result);
        const std::vector<std::uint32_t> grey = values(*image, 0xFF);
        EXPECT_EQ(grey, values(*wide, 0xFF));
    }
    // Black and white becomes grey.
    const DibPtr ink = randomImage(41, 31, 1, 3);
    ink->SetMonoPalette();
    DibOperationResult result;
    apply(*ink, "blur:1", result);
    EXPECT_EQ(ink->Header->biBitCount, 8);
    EXPECT_STREQ(result.notes[0].text, "blur: the palette of 1 bit became 8 bits of grey");
}

TEST(OperationTreatment, CurvesChangeTheColourTable) {
    for (const char* step :
         {"gamma:2.2", "contrast:1.5", "brighten:0.5", "invert", "max:1", "min:1", "median:1"}) {
        SCOPED_TRACE(step);
        for (const int bitCount : {1, 4, 8}) {
            const DibPtr image = randomImage(41, 31, bitCount, 9);
            const DibPtr wide = randomImage(41, 31, bitCount, 9);
            DibOperationResult result;
            apply(*image, step, result);
            EXPECT_EQ(result.noteCount, 0);
            EXPECT_EQ(image->Header->biBitCount, bitCount);
            // Brightness decides by table entries or by colours, which may order equal ones differently.
            if (step[0] == 'm') continue;
            apply(*image, "bpp:24", result);
            apply(*wide, std::string("bpp:24 ") + step, result);
            EXPECT_EQ(values(*image, 0xFFFFFF), values(*wide, 0xFFFFFF));
        }
    }
}

TEST(OperationTreatment, SixteenBitsAreWidenedWhereTheClassicFunctionTakesNone) {
    const DibPtr image = randomImage(41, 31, 16, 9);
    DibOperationResult result;
    apply(*image, "soften", result);
    EXPECT_STREQ(result.notes[0].text, "soften: 16 bits became 24 bits a pixel");
    EXPECT_EQ(image->Header->biBitCount, 24);
    const DibPtr white = testing_support::plainImage(5, 4, 16, 0x7FFF);
    apply(*white, "soften", result);
    EXPECT_EQ(values(*white, 0xFFFFFF), std::vector<std::uint32_t>(20, 0xFFFFFF));
    const DibPtr kept = randomImage(41, 31, 16, 9);
    apply(*kept, "blur:2", result);
    EXPECT_EQ(kept->Header->biBitCount, 16);
    EXPECT_EQ(result.noteCount, 0);
}

TEST(OperationTreatment, TheSwitchIsWrittenByItsName) {
    DibChain chain;
    ASSERT_TRUE(DibParseStep("gaussian:4,classic", &chain));
    EXPECT_STREQ(chain.steps[0].values[1], "none");
    EXPECT_STREQ(chain.steps[0].values[2], "yes");
    ASSERT_TRUE(DibParseStep("gaussian:classic,4,x", &chain));
    EXPECT_STREQ(chain.steps[0].values[0], "4");
    EXPECT_STREQ(chain.steps[0].values[1], "x");
    EXPECT_STREQ(chain.steps[0].values[2], "yes");
    ASSERT_TRUE(DibParseStep("gaussian:4,classic=no", &chain));
    EXPECT_STREQ(chain.steps[0].values[2], "no");
    DibOperationResult result;
    EXPECT_FALSE(DibParseStep("gaussian:4,classic=1", &chain, &result));
    EXPECT_STREQ(result.reason, "gaussian: classic: '1' is not yes or no");
    EXPECT_FALSE(DibParseStep("gaussian:4,none,yes", &chain, &result));
    EXPECT_STREQ(result.reason,
                 "gaussian: too many values, at 'yes' (usage: gaussian:RADIUS[,wrap=none|x|y][,classic])");
    EXPECT_FALSE(DibParseStep("gaussian:4,classic,classic", &chain, &result));
}

constexpr const char* kTreatedChain = "soften edge mosaic:4 rotate:15";

// A red disc on transparent black stays red up to its rim, whatever mixes its pixels.
TEST(OperationTreatment, HiddenColoursShowNowhere) {
    for (const char* step : {"soften", "sharpen", "motion-blur:5,angle=30", "mosaic:7", "rotate:30",
                             "ripple:9,20deg", "wave:9,3", "whirl:0.1"}) {
        SCOPED_TRACE(step);
        const DibPtr image = randomImage(40, 40, 32, 1);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool isInside = (x - 20) * (x - 20) + (y - 20) * (y - 20) < 225;
                setPixelValue(*image, x, y, isInside ? 0xFFFF0000 : 0);
            }
        }
        const DibPtr classic = DibPtr(image->Clone());
        DibOperationResult result;
        ASSERT_NO_FATAL_FAILURE(apply(*image, step, result));
        ASSERT_NO_FATAL_FAILURE(apply(*classic, step, result, true));
        int partly = 0;
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const std::uint32_t value = pixelValue(*image, x, y);
                const std::uint32_t alpha = value >> 24;
                ASSERT_EQ(value & 0xFFFFFF, alpha > 0 ? 0xFF0000U : 0U) << x << "," << y;
                EXPECT_EQ(alpha, pixelValue(*classic, x, y) >> 24);
                if (alpha > 0 && alpha < 255) ++partly;
            }
        }
        if (std::string_view(step) != "sharpen") {
            EXPECT_GT(partly, 4);
        }
    }
}

// Blue: (200 x 255 + 100 x 85) / (255 + 85) = 175, in bytes (200 + 33) / 2 = 116, and 116 x 255 / 170 = 174.
TEST(OperationTreatment, MixedColoursCountByAlpha) {
    const DibPtr image = testing_support::blankImage(2, 1, 32);
    setPixelValue(*image, 0, 0, 0xFF0000C8);
    setPixelValue(*image, 1, 0, 0x55FF0064);
    DibOperationResult result;
    ASSERT_NO_FATAL_FAILURE(apply(*image, "mosaic:2", result));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xAA3F00AEU);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0xAA3F00AEU);
}

TEST(OperationTreatment, WeighingIsTheSameAtEveryKernelLevel) {
    for (const char* step : {"soften", "rotate:30"}) {
        DibPtr expected;
        for (const dib::KernelLevel level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            DibPtr image = randomImage(41, 31, 32, 5);
            DibOperationResult result;
            ASSERT_NO_FATAL_FAILURE(apply(*image, step, result));
            if (expected == nullptr) {
                expected = std::move(image);
                continue;
            }
            EXPECT_TRUE(sameImage(*image, *expected)) << step;
        }
        dib::limitKernelLevel(dib::bestKernelLevel());
    }
}

TEST(OperationTreatment, SurvivesFailingAllocations) {
    for (const int bitCount : {4, 32}) {
        const DibPtr before = randomImage(21, 11, bitCount, 4);
        const DibPtr expected = randomImage(21, 11, bitCount, 4);
        ASSERT_TRUE(DibApply(expected.get(), kTreatedChain));
        DibPtr image;
        DibOperationResult result;
        bool isDone = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { image = randomImage(21, 11, bitCount, 4); },
            [&] { isDone = DibApply(image.get(), kTreatedChain, nullptr, &result); },
            [&](bool failureMet) {
                EXPECT_TRUE(isDone || failureMet) << result.reason;
                EXPECT_TRUE(isDone || result.code == DIB_ERROR_MEMORY) << result.reason;
                EXPECT_TRUE(sameImage(*image, isDone ? *expected : *before));
                image.reset();
            });
        EXPECT_GT(failures, 10);
    }
}

}  // namespace

}  // namespace operations_test
