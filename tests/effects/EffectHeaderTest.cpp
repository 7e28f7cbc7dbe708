// What DibEffect.h promises of all effects: calls with literal arguments compile, and what a callback may do.
#include <DibEffect.h>
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

std::vector<std::uint32_t> columnOf(DibStream& image, int height) {
    std::vector<std::uint32_t> values;
    for (int y = 0; y < height; ++y) values.push_back(pixelValue(image, 0, y));
    return values;
}

// Literals convert to numbers and pointers alike; every effect must still choose one overload.
TEST(EffectLiterals, EveryEffectCompiles) {
    const DibPtr owner = randomImage(6, 5, 24, 1);
    DibStream* const image = owner.get();
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image));
    EXPECT_TRUE(DibEffectReverse(0, 0, image, 0));
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image, nullptr));
    EXPECT_TRUE(DibEffectReverse({}, {}, image, {}));

    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image, 0.5, 1u));
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image, 0.5f, DIB_WRAP_X | DIB_WRAP_Y));
    EXPECT_TRUE(DibEffectRotate(nullptr, nullptr, image, {}, {}));
    EXPECT_TRUE(DibEffectRipple(nullptr, nullptr, image, 0, 1, 2, 0, 0, 0));
    EXPECT_TRUE(DibEffectRipple(nullptr, nullptr, image, 0.5, 0.5f, 4, 1u, {}, 3u));
    EXPECT_FALSE(DibEffectRipple(nullptr, nullptr, image, {}, {}, {}, 1, {}, {}));
    EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image, 1, 0, 0, 0, 0));
    EXPECT_TRUE(DibEffectWave(nullptr, nullptr, image, 4.0, 0.5f, {}, 1u, DIB_WRAP_Y));
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, image, 0, 0, 0, 0));
    EXPECT_TRUE(DibEffectWhirl(nullptr, nullptr, image, 1.5, 2u, 0.25f, {}));

    EXPECT_FALSE(DibEffectMozaic(nullptr, nullptr, image, 0));
    EXPECT_FALSE(DibEffectMozaic(nullptr, nullptr, image, 0u));
    EXPECT_FALSE(DibEffectMozaic(nullptr, nullptr, image, 0L));
    EXPECT_FALSE(DibEffectMozaic(nullptr, nullptr, image, -1LL));
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image, 1));
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image, 2u));

    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectBlur(nullptr, nullptr, image, 1u, {}));
    EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectGaussianBlur(nullptr, nullptr, image, 1.5, 1u));
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image, 1, 0, 0));
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image, 2u, 0.5, {}));
    EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image, 1, 1, 0, 0));
    EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, image, 0.5, 1u, {}, {}));
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectBrightMin(nullptr, nullptr, image, 1u, {}));
    EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image, 1, DIB_WRAP_X));

    EXPECT_TRUE(DibEffectNoise(nullptr, nullptr, image, 0));
    EXPECT_TRUE(DibEffectNoise(nullptr, nullptr, image, 0u));
    EXPECT_FALSE(DibEffectNoise(nullptr, nullptr, image, -1L));
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image, 0xFF0000, 0.5));
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image, {}, 1u));
    EXPECT_TRUE(DibEffectColorNoise(nullptr, nullptr, image, {1, 2, 3, 4}, 0.5f));
    EXPECT_TRUE(DibEffectDiffuse(nullptr, nullptr, image, 0, 0));
    EXPECT_TRUE(DibEffectDiffuse(nullptr, nullptr, image, 1u, {}));

    EXPECT_FALSE(DibEffectCompose(nullptr, nullptr, image, nullptr, 0, 0));
    EXPECT_TRUE(DibEffectCompose(nullptr, nullptr, image, nullptr, 0.5, 2u));
    EXPECT_TRUE(DibEffectCompose(nullptr, nullptr, image, image, 1, {}));
    EXPECT_FALSE(DibEffectCompose(nullptr, nullptr, image, "none.xyz", 0.5f, 1u));
    EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image, 0, 255, 1));
    EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image, {}, 255u, 2.5));
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image, 0, 1));
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image, 0.5, {}));
}

// The three effects whose only parameter is the flags: every integer that is 0 could also be a null record.
TEST(EffectLiterals, FlagsAloneMayBeAnyInteger) {
    // Clamped, the left pixel has itself, itself, itself and 80 as neighbours; wrapped, 80 on both sides.
    const auto rowOf = [] {
        DibPtr image = blankImage(3, 1, 8);
        setPixelValue(*image, 1, 0, 80);
        setPixelValue(*image, 2, 0, 80);
        return image;
    };
    const auto leftOf = [&](const auto& effect) {
        const DibPtr image = rowOf();
        EXPECT_TRUE(effect(image.get()));
        return pixelValue(*image, 0, 0);
    };
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, 0); }), 20U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, 0u); }), 20U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, 0L); }), 20U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, 0ULL); }), 20U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, 1); }), 40U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, true); }), 40U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, -1); }), 40U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectBlurLittle(nullptr, nullptr, i, DIB_WRAP_X); }), 40U);
    // 0 - 80 clamps to 0; the edge is the difference of left and right.
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectSharpLittle(nullptr, nullptr, i, 0); }), 0U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectSharpLittle(nullptr, nullptr, i, 1L); }), 0U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectPickEdge(nullptr, nullptr, i, 0); }), 80U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectPickEdge(nullptr, nullptr, i, 1); }), 0U);
    EXPECT_EQ(leftOf([](DibStream* i) { return DibEffectPickEdge(nullptr, nullptr, i, 1u); }), 0U);
}

// Addresses of the overloads stay unambiguous.
TEST(EffectLiterals, AddressesAreThoseOfTheLibrary) {
    bool (*const soften)(DibProgressCallback, void*, DibStream*, unsigned int) = DibEffectBlurLittle;
    bool (*const mosaic)(DibProgressCallback, void*, DibStream*, int) = DibEffectMozaic;
    bool (*const record)(DibProgressCallback, void*, DibStream*, DENoiseInfo*) = DibEffectNoise;
    DENoiseInfo info{0, -1};
    EXPECT_FALSE(soften(nullptr, nullptr, nullptr, 0));
    EXPECT_FALSE(mosaic(nullptr, nullptr, nullptr, 0));
    EXPECT_FALSE(record(nullptr, nullptr, nullptr, &info));
}

// A column of one pixel per row. After the first row the callback writes `value` to row `row`.
struct Scribble {
    DibStream* image;
    int row;
    std::uint32_t value;
    bool written = false;

    static bool callback(float, void* user) {
        auto& self = *static_cast<Scribble*>(user);
        if (!self.written) setPixelValue(*self.image, 0, self.row, self.value);
        self.written = true;
        return true;
    }
};

TEST(EffectCallback, ReportedRowsStayAsACallbackWroteThem) {
    const DibPtr soft = blankImage(1, 3, 8);
    setPixelValue(*soft, 0, 0, 40);
    Scribble onSoft{soft.get(), 0, 99};
    EXPECT_TRUE(DibEffectBlurLittle(Scribble::callback, &onSoft, soft.get(), 0));
    // Row 1 still has the original 40 above it: (40 + 0 + 0 + 0) / 4.
    EXPECT_EQ(columnOf(*soft, 3), (std::vector<std::uint32_t>{99, 10, 0}));

    const DibPtr relief = blankImage(1, 3, 8);
    Scribble onRelief{relief.get(), 0, 99};
    EXPECT_TRUE(DibEffectEmboss(Scribble::callback, &onRelief, relief.get(), 1, 1, 0, 0));
    EXPECT_EQ(columnOf(*relief, 3), (std::vector<std::uint32_t>{99, 127, 127}));
}

TEST(EffectCallback, LaterRowsAreReadFromTheImageOrFromACopy) {
    // This one reads rows ahead from the image itself: 200 / 4 in the rows beside it, 2 x 200 / 4 in its own.
    const DibPtr soft = blankImage(1, 4, 8);
    Scribble onSoft{soft.get(), 2, 200};
    EXPECT_TRUE(DibEffectBlurLittle(Scribble::callback, &onSoft, soft.get(), 0));
    EXPECT_EQ(columnOf(*soft, 4), (std::vector<std::uint32_t>{0, 50, 100, 50}));
    // This one reads a copy, so that what the callback wrote is lost: 127 plus the row below minus that
    // above.
    const DibPtr relief = blankImage(1, 4, 8);
    Scribble onRelief{relief.get(), 2, 200};
    EXPECT_TRUE(DibEffectEmboss(Scribble::callback, &onRelief, relief.get(), 1, 1, 1.5707964F, 0));
    EXPECT_EQ(columnOf(*relief, 4), (std::vector<std::uint32_t>{127, 127, 127, 127}));
    setPixelValue(*relief, 0, 2, 227);
    EXPECT_TRUE(DibEffectEmboss(nullptr, nullptr, relief.get(), 1, 1, 1.5707964F, 0));
    EXPECT_EQ(columnOf(*relief, 4), (std::vector<std::uint32_t>{127, 227, 127, 27}));
}

TEST(MotionBlurLength, CountsSamples) {
    const DibPtr image = blankImage(4, 1, 8);
    setPixelValue(*image, 2, 0, 120);
    EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), 3, 0, 0));
    // Three samples of weights 3, 2, 1: the pixel and the two to its right.
    EXPECT_EQ(pixelValue(*image, 0, 0), 20U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 40U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 60U);
    EXPECT_EQ(pixelValue(*image, 3, 0), 0U);
}

// Every sample of a picture of one pixel is that pixel.
TEST(MotionBlurLength, WrapsInThirtyTwoBits) {
    const auto smeared = [](int depth, std::uint32_t value, int length) {
        const DibPtr image = blankImage(1, 1, depth);
        setPixelValue(*image, 0, 0, value);
        EXPECT_TRUE(DibEffectMotionBlur(nullptr, nullptr, image.get(), length, 0, 0));
        return pixelValue(*image, 0, 0);
    };
    // 255 x 4103 x 4104 / 2 is the last sum of white that fits.
    EXPECT_EQ(smeared(8, 255, 4103), 255U);
    EXPECT_EQ(smeared(8, 255, 4104), 2U);
    EXPECT_EQ(smeared(16, 0x7FFF, 11770), 0x7FFFU);
    EXPECT_NE(smeared(16, 0x7FFF, 11771), 0x7FFFU);
    // The divisor 46340 x 46341 / 2 is the last one that fits: 1 and 2 keep their means.
    EXPECT_EQ(smeared(8, 1, 46340), 1U);
    // From the next length on the divisor is -1073716337: sums of 1073767311 x value, which wrap, give -1, 2
    // and 0.
    EXPECT_EQ(smeared(8, 1, 46341), 255U);
    EXPECT_EQ(smeared(8, 2, 46341), 2U);
    EXPECT_EQ(smeared(8, 3, 46341), 0U);
    EXPECT_EQ(smeared(24, 0x030201, 46341), 0x0002FFU);
}

}  // namespace
