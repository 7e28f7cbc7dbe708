#include <DibEffect.h>
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/reference/EffectReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::setPixelValue;

const std::vector<int> kAll{1, 4, 8, 16, 24, 32};

testing_support::EffectRun mosaicOf(int blockSize) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectMozaic(callback, user, image, blockSize);
    };
}

TEST(Mosaic, EqualsThePlainLoops) {
    for (const int blockSize : {2, 3, 7, 10, 64, 1000, INT_MAX - 1, INT_MAX}) {
        SCOPED_TRACE(blockSize);
        testing_support::expectEqualsReference(
            mosaicOf(blockSize), [=](DibStream& image) { reference::mosaic(image, blockSize); }, kAll);
    }
}

TEST(Mosaic, TallBlocksAreSummedExactly) {
    // More rows of white than a 16-bit sum of bytes can hold.
    for (const int depth : {16, 24, 32}) {
        const DibPtr image = blankImage(2, 700, depth);
        const DibPtr expected = blankImage(2, 700, depth);
        for (int y = 0; y < 700; ++y) {
            for (int x = 0; x < 2; ++x) {
                setPixelValue(*image, x, y, y % 100 == 0 ? 0 : 0xFFFFFFFFU);
                setPixelValue(*expected, x, y, y % 100 == 0 ? 0 : 0xFFFFFFFFU);
            }
        }
        EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image.get(), 700));
        reference::mosaic(*expected, 700);
        EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    }
}

// 4200 x 4100 x 255 does not fit 32 bits.
TEST(Mosaic, SumsOfHugeBlocksDoNotWrap) {
    const DibPtr image = testing_support::plainImage(4200, 4100, 24, 0xFFFFFF);
    setPixelValue(*image, 0, 0, 0);
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image.get(), 4200));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xFEFEFEU);
    EXPECT_EQ(pixelValue(*image, 4199, 4099), 0xFEFEFEU);
}

TEST(Mosaic, BlockSizesThatDoNothing) {
    const DibPtr image = randomImage(4, 4, 24, 1);
    const DibPtr before(image->Clone());
    ProgressLog log;
    for (const int blockSize : {0, -1, INT_MIN}) {
        EXPECT_FALSE(DibEffectMozaic(ProgressLog::callback, &log, image.get(), blockSize));
    }
    EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &log, image.get(), 1));
    DibStream empty;
    EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &log, &empty, 1));
    EXPECT_TRUE(log.fractions.empty());
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
}

TEST(Mosaic, Refusals) { testing_support::expectRefusals(mosaicOf(2), kAll); }

TEST(Mosaic, OneBlockOverTheWholeImage) {
    const DibPtr indexed = randomImage(5, 4, 8, 2);
    setPixelValue(*indexed, 0, 0, 77);
    ProgressLog log;
    EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &log, indexed.get(), 9));
    EXPECT_EQ(log.fractions, std::vector<float>{0.25F});
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) EXPECT_EQ(pixelValue(*indexed, x, y), 77U);
    }

    const DibPtr direct = blankImage(2, 2, 32);
    setPixelValue(*direct, 0, 0, 0x10203041);
    setPixelValue(*direct, 1, 1, 0x30201003);
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, direct.get(), 2));
    EXPECT_EQ(pixelValue(*direct, 0, 0), 0x10101011U);  // 0x41 + 0x03 over 4 is 0x11
    EXPECT_EQ(pixelValue(*direct, 1, 0), 0x10101011U);

    const DibPtr small = blankImage(2, 2, 24);
    setPixelValue(*small, 0, 0, 0x102030);
    setPixelValue(*small, 1, 1, 0x302013);
    ProgressLog once;
    EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &once, small.get(), 9));
    EXPECT_EQ(once.fractions, std::vector<float>{0.5F});
    for (int i = 0; i < 4; ++i) EXPECT_EQ(pixelValue(*small, i % 2, i / 2), 0x101010U);
}

TEST(Mosaic, AveragesAreTruncated) {
    const DibPtr image = blankImage(3, 1, 24);
    setPixelValue(*image, 0, 0, 0x000001);
    setPixelValue(*image, 1, 0, 0x040002);
    setPixelValue(*image, 2, 0, 0x123456);
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image.get(), 2));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x020001U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0x020001U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 0x123456U);
}

TEST(Mosaic, SixteenBitPixelsLoseBit15) {
    const DibPtr image = blankImage(1, 1, 16);
    setPixelValue(*image, 0, 0, 0xFFFE);
    EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, image.get(), 2));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x7FFEU);
}

TEST(Mosaic, FractionsCountTheFirstRowOfEachRowOfBlocks) {
    for (const int depth : kAll) {
        const DibPtr image = randomImage(6, 10, depth, 3);
        ProgressLog log;
        EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &log, image.get(), 4));
        EXPECT_EQ(log.fractions, (std::vector<float>{0.1F, 0.5F, 0.9F}));
    }
}

TEST(Mosaic, CancelKeepsFinishedRowsOfBlocks) {
    for (const int depth : kAll) {
        for (const int height : {10, -10}) {
            for (int cancelAt = 0; cancelAt < 3; ++cancelAt) {
                const DibPtr image = randomImage(6, height, depth, 3);
                const DibPtr before(image->Clone());
                const DibPtr full(image->Clone());
                EXPECT_TRUE(DibEffectMozaic(nullptr, nullptr, full.get(), 4));
                ProgressLog log;
                log.cancelAt = cancelAt;
                EXPECT_FALSE(DibEffectMozaic(ProgressLog::callback, &log, image.get(), 4));
                EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(cancelAt) + 1);
                for (int y = 0; y < 10; ++y) {
                    DibStream& expected = y / 4 <= cancelAt ? *full : *before;
                    for (int x = 0; x < 6; ++x) {
                        EXPECT_EQ(pixelValue(*image, x, y), pixelValue(expected, x, y));
                    }
                }
            }
        }
    }
}

TEST(Mosaic, FailingAllocations) {
    EXPECT_GT(testing_support::expectSurvivesFailingAllocations(mosaicOf(3), kAll), 6);
}

TEST(Mosaic, RecordOverload) {
    testing_support::expectRecordOverload(mosaicOf(3), DibEffectMozaic, DEMozaicInfo{0, 3});
}

}  // namespace
