// Resizing and overlays against plain loops, at every depth, row order and kernel level.
#include <algorithm>
#include <cmath>

#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"
#include "tests/reference/OperationReference.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using reference::Picture;
using reference::Pixel;
using testing_support::DibPtr;
using testing_support::randomImage;

// The colours that an image of any depth shows.
Picture colorsOf(DibStream& image) {
    const int bitCount = image.Header->biBitCount;
    const std::vector<std::uint32_t> entries = entriesOf(image);
    Picture picture{image.Header->biWidth, std::abs(image.Header->biHeight), {}};
    for (const std::uint32_t value : valuesOf(image)) {
        const std::uint32_t color = bitCount <= 8 ? (value < entries.size() ? entries[value] : 0) : value;
        Pixel pixel{0, 0, 0, 255};
        for (std::size_t i = 0; i < (bitCount == 32 ? 4u : 3u); ++i)
            pixel[i] = bitCount == 16 ? std::floor((color >> (5 * i) & 31) * 255 / 31.0 + 0.5)
                                      : color >> (8 * i) & 255;
        picture.pixels.push_back(pixel);
    }
    return picture;
}

// Whether a byte is the rounded value. Near the middle between two bytes both are right.
bool isRounded(double byte, double exact, double doubt) {
    const double bounded = std::clamp(exact, 0.0, 255.0);
    return byte == std::floor(bounded + 0.5) || std::fabs(std::fabs(byte - bounded) - 0.5) < doubt;
}

// Of opaque pictures the classic function takes the means of areas, with weights in 1/256 of a pixel, and has
// a reference of its own. An area of a third of a pixel may then weigh a hundredth too much or too little.
constexpr double kClassicError = 6;

void expectColors(const Picture& shown, const Picture& exact, bool isClassic) {
    ASSERT_EQ(shown.pixels.size(), exact.pixels.size());
    for (std::size_t i = 0; i < exact.pixels.size(); ++i) {
        const Pixel& at = shown.pixels[i];
        const Pixel& sum = exact.pixels[i];
        ASSERT_TRUE(isRounded(at[3], sum[3], 1e-3)) << i << ": " << at[3] << " for " << sum[3];
        // Colours that can hardly be seen are black.
        if (sum[3] < 0.501) continue;
        for (std::size_t c = 0; c < 3; ++c) {
            if (isClassic) {
                ASSERT_NEAR(at[c], sum[c], kClassicError) << i << ", " << c;
                continue;
            }
            ASSERT_TRUE(isRounded(at[c], sum[c], 1e-3 + (sum[3] < 255 ? 0.05 / sum[3] : 0)))
                << i << ", " << c << ": " << at[c] << " for " << sum[c];
        }
    }
}

class EveryDepth : public testing::TestWithParam<int> {
protected:
    ~EveryDepth() override { dib::limitKernelLevel(dib::bestKernelLevel()); }
};

TEST_P(EveryDepth, FiltersAreTheirSums) {
    struct Change {
        int width;
        int height;
    };
    for (const int height : {19, -19}) {
        for (const Change& to : {Change{9, 7}, {60, 41}, {11, 45}, {23, 19}, {1, 1}}) {
            for (const char* filter : {"area", "bicubic", "lanczos"}) {
                const bool isClassic = GetParam() != 32 && filter == std::string("area");
                const std::string chain = "resize:" + std::to_string(to.width) + "x" +
                                          std::to_string(to.height) + ",filter=" + filter;
                const DibPtr before = randomImage(23, height, GetParam(), 11);
                const Picture exact = reference::resized(colorsOf(*before), to.width, to.height, filter);
                for (const dib::KernelLevel level : dib::kKernelLevels) {
                    SCOPED_TRACE(chain + " at level " + std::to_string(static_cast<int>(level)));
                    dib::limitKernelLevel(level);
                    const DibPtr image = randomImage(23, height, GetParam(), 11);
                    ASSERT_TRUE(DibApply(image.get(), chain.c_str()));
                    ASSERT_NO_FATAL_FAILURE(expectColors(colorsOf(*image), exact, isClassic));
                }
            }
        }
    }
}

TEST_P(EveryDepth, OverlaysAreTheirFormulas) {
    const DibPtr over = randomImage(40, 30, 32, 3);
    const std::string path = testing_support::temporaryPath("formulas.png");
    ASSERT_TRUE(DibSaveFile(path.c_str(), over.get()));
    const Picture source = colorsOf(*over);
    const DibPtr before = randomImage(40, 30, GetParam(), 4);
    const Picture backdrop = colorsOf(*before);
    for (const DibParameter* parameter : DibList(DibFindOperation("overlay")->parameters)) {
        if (std::string_view(parameter->name) != "mode") continue;
        ASSERT_EQ(DibList(parameter->choices).size(), 24U);
        for (const DibChoice* mode : DibList(parameter->choices)) {
            if (std::string_view(mode->name) == "dissolve") continue;  // by chance
            for (const int opacity : {255, 102}) {
                const std::string chain =
                    "overlay:" + path + ",mode=" + mode->name + (opacity == 255 ? "" : ",opacity=40%");
                SCOPED_TRACE(chain);
                const DibPtr image = randomImage(40, 30, GetParam(), 4);
                ASSERT_TRUE(DibApply(image.get(), chain.c_str()));
                const Picture shown = colorsOf(*image);
                int different = 0;
                for (std::size_t i = 0; i < shown.pixels.size(); ++i) {
                    const Pixel exact =
                        reference::overlaid(backdrop.pixels[i], source.pixels[i], mode->name, opacity);
                    for (std::size_t c = 0; c < 4; ++c) {
                        // Two bytes are right in the middle between them, and its rounding is passed on.
                        ASSERT_NEAR(shown.pixels[i][c], exact[c], 1) << i << ", " << c;
                        different += shown.pixels[i][c] != exact[c] ? 1 : 0;
                    }
                }
                EXPECT_LE(different, 40);  // of 4800
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(PlainLoops, EveryDepth, testing::ValuesIn(testing_support::kDepths));

}  // namespace

}  // namespace operations_test
