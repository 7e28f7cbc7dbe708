#include <DibEffect.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/reference/BlurReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::setPixelValue;

const std::vector<int> kByteDepths{8, 24, 32};

using Effect = bool (*)(DibProgressCallback, void*, DibStream*, unsigned int);

struct LittleFilter {
    Effect effect;
    bool (*reference)(DibStream&, unsigned int);
};

const LittleFilter kFilters[] = {{DibEffectBlurLittle, reference::blurLittle},
                                 {DibEffectSharpLittle, reference::sharpLittle}};

testing_support::EffectRun with(Effect effect, unsigned int flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return effect(callback, user, image, flags);
    };
}

// An 8-bit image of these rows.
DibPtr rowsOf(const std::vector<std::vector<int>>& rows) {
    DibPtr image = blankImage(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), 8);
    for (std::size_t y = 0; y < rows.size(); ++y) {
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
            setPixelValue(*image, static_cast<int>(x), static_cast<int>(y),
                          static_cast<std::uint32_t>(rows[y][x]));
        }
    }
    return image;
}

std::vector<std::vector<int>> rowsIn(DibStream& image) {
    std::vector<std::vector<int>> rows(static_cast<std::size_t>(image.Header->biHeight));
    for (std::size_t y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            rows[y].push_back(static_cast<int>(pixelValue(image, x, static_cast<int>(y))));
        }
    }
    return rows;
}

TEST(LittleFilters, EqualThePlainLoops) {
    for (const LittleFilter& filter : kFilters) {
        for (const unsigned flags : {0U, 1U, 2U, 3U, 0xFFFFFFFCU}) {
            SCOPED_TRACE(flags);
            testing_support::expectEqualsReference(
                with(filter.effect, flags), [&](DibStream& image) { filter.reference(image, flags); },
                kByteDepths);
        }
    }
}

TEST(LittleFilters, KeepTheEffectsManners) {
    for (const LittleFilter& filter : kFilters) {
        testing_support::expectRefusals(with(filter.effect, 0), kByteDepths);
        testing_support::expectProgressByRow(with(filter.effect, 3), kByteDepths);
        EXPECT_GT(testing_support::expectSurvivesFailingAllocations(with(filter.effect, 0), kByteDepths), 0);
    }
}

TEST(LittleFilters, UniformImagesStay) {
    for (const LittleFilter& filter : kFilters) {
        for (const int depth : kByteDepths) {
            const DibPtr image = blankImage(6, 5, depth);
            for (int i = 0; i < 30; ++i) setPixelValue(*image, i % 6, i / 6, 0xC8FF0199);
            const DibPtr before(image->Clone());
            EXPECT_TRUE(filter.effect(nullptr, nullptr, image.get(), 0));
            EXPECT_TRUE(testing_support::sameImage(*image, *before));
        }
    }
}

TEST(LittleFilters, OnePixelWideImagesStandInForTheirNeighbours) {
    const DibPtr blurred = rowsOf({{100}, {40}, {8}});
    EXPECT_TRUE(DibEffectBlurLittle(nullptr, nullptr, blurred.get(), 0U));
    EXPECT_EQ(rowsIn(*blurred), (std::vector<std::vector<int>>{{85}, {47}, {16}}));
    const DibPtr sharp = rowsOf({{100}, {40}, {8}});
    EXPECT_TRUE(DibEffectSharpLittle(nullptr, nullptr, sharp.get(), 0U));
    EXPECT_EQ(rowsIn(*sharp), (std::vector<std::vector<int>>{{160}, {12}, {0}}));
}

TEST(LittleFilters, ACancelAtTheFirstRowLeavesOneRowChanged) {
    const DibPtr image = rowsOf({{0, 0, 0}, {0, 200, 0}, {0, 0, 0}});
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_FALSE(DibEffectBlurLittle(ProgressLog::callback, &log, image.get(), 0U));
    EXPECT_EQ(rowsIn(*image), (std::vector<std::vector<int>>{{0, 50, 0}, {0, 200, 0}, {0, 0, 0}}));
}

TEST(LittleFilters, RecordsPassTheirFlagsOn) {
    DEBlurLittleInfo blur{0xDEADBEEF, 3};
    DESharpLittleInfo sharpen{0, 1};
    const DibPtr image = randomImage(5, 4, 24, 1);
    const DibPtr expected(image->Clone());
    reference::blurLittle(*expected, 3);
    EXPECT_TRUE(DibEffectBlurLittle(nullptr, nullptr, image.get(), &blur));
    EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    reference::sharpLittle(*expected, 1);
    EXPECT_TRUE(DibEffectSharpLittle(nullptr, nullptr, image.get(), &sharpen));
    EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    EXPECT_EQ(blur.tag, 0xDEADBEEF);
}

TEST(BlurLittle, TheCentreDoesNotCount) {
    const DibPtr image = rowsOf({{0, 0, 0}, {0, 255, 0}, {0, 0, 0}});
    EXPECT_TRUE(DibEffectBlurLittle(nullptr, nullptr, image.get(), 0U));
    EXPECT_EQ(rowsIn(*image), (std::vector<std::vector<int>>{{0, 63, 0}, {63, 0, 63}, {0, 63, 0}}));
}

TEST(BlurLittle, EachAxisWrapsByItself) {
    const std::vector<std::vector<int>> corner{{100, 0, 0}, {0, 0, 0}, {0, 0, 0}};
    const std::vector<std::vector<int>> expected[] = {
        {{50, 25, 0}, {25, 0, 0}, {0, 0, 0}},
        {{25, 25, 25}, {25, 0, 0}, {0, 0, 0}},
        {{25, 25, 0}, {25, 0, 0}, {25, 0, 0}},
        {{0, 25, 25}, {25, 0, 0}, {25, 0, 0}},
    };
    for (unsigned flags = 0; flags < 4; ++flags) {
        const DibPtr image = rowsOf(corner);
        EXPECT_TRUE(DibEffectBlurLittle(nullptr, nullptr, image.get(), flags));
        EXPECT_EQ(rowsIn(*image), expected[flags]) << flags;
    }
}

TEST(SharpLittle, ABrightPixelIsLimitedAndDarkensNothingBelowBlack) {
    const DibPtr image = rowsOf({{0, 0, 0}, {0, 90, 0}, {0, 0, 0}});
    EXPECT_TRUE(DibEffectSharpLittle(nullptr, nullptr, image.get(), 0U));
    EXPECT_EQ(rowsIn(*image), (std::vector<std::vector<int>>{{0, 0, 0}, {0, 255, 0}, {0, 0, 0}}));
}

TEST(SharpLittle, AlphaIsSharpenedToo) {
    const DibPtr image = blankImage(2, 1, 32);
    setPixelValue(*image, 0, 0, 0x40000000);
    setPixelValue(*image, 1, 0, 0x30000000);
    EXPECT_TRUE(DibEffectSharpLittle(nullptr, nullptr, image.get(), 0U));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x50000000U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0x20000000U);
}

}  // namespace
