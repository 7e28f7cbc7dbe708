#include "effects/EffectFrame.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::randomImage;

TEST(EffectEdges, ClearBitClamps) {
    EXPECT_EQ(dib::getLoopX(-5, 10, 0), 0);
    EXPECT_EQ(dib::getLoopX(12, 10, 0), 9);
    EXPECT_EQ(dib::getLoopX(0, 10, 0), 0);
    EXPECT_EQ(dib::getLoopX(9, 10, 0), 9);
    EXPECT_EQ(dib::getLoopX(10, 10, 0), 9);
    EXPECT_EQ(dib::getLoopX(INT_MIN, 10, 0), 0);
    EXPECT_EQ(dib::getLoopX(INT_MAX, 10, 0), 9);
    EXPECT_EQ(dib::getLoopY(-5, 10, 0), 0);
    EXPECT_EQ(dib::getLoopY(12, 10, 0), 9);
}

TEST(EffectEdges, SetBitWraps) {
    EXPECT_EQ(dib::getLoopX(-10, 10, 1), 0);
    EXPECT_EQ(dib::getLoopX(-1, 10, 1), 9);
    EXPECT_EQ(dib::getLoopX(23, 10, 1), 3);
    EXPECT_EQ(dib::getLoopX(10, 10, 1), 0);
    EXPECT_EQ(dib::getLoopX(-11, 10, 1), 9);
    EXPECT_EQ(dib::getLoopX(5, 1, 1), 0);
    EXPECT_EQ(dib::getLoopX(-5, 1, 1), 0);
    EXPECT_EQ(dib::getLoopY(-1, 10, 2), 9);
    EXPECT_EQ(dib::getLoopY(23, 10, 2), 3);
}

TEST(EffectEdges, EveryIntIsExact) {
    EXPECT_EQ(dib::getLoopX(INT_MIN, 10, 1), 2);  // 2147483648 mod 10 is 8
    EXPECT_EQ(dib::getLoopX(INT_MAX, 10, 1), 7);
    EXPECT_EQ(dib::getLoopY(INT_MIN, 3, 2), 1);  // 2147483648 mod 3 is 2
    EXPECT_EQ(dib::getLoopX(INT_MIN, INT_MAX, 1), INT_MAX - 1);
    EXPECT_EQ(dib::getLoopX(INT_MAX, INT_MAX, 1), 0);
    EXPECT_EQ(dib::getLoopX(5, 0, 1), 0);
}

TEST(EffectEdges, EachAxisHasItsOwnBitAndOthersAreIgnored) {
    EXPECT_EQ(dib::getLoopX(-1, 10, ~1U), 0);
    EXPECT_EQ(dib::getLoopY(-1, 10, ~2U), 0);
    EXPECT_EQ(dib::getLoopX(-1, 10, ~0U), 9);
    EXPECT_EQ(dib::getLoopY(-1, 10, ~0U), 9);
}

TEST(EffectFrame, RowTableHoldsTheRowsFromTheTop) {
    for (const int height : {6, -6}) {
        const DibPtr image = randomImage(5, height, 24, 1);
        const dib::RowTable rows = dib::initRow(*image);
        dib::Raster raster;
        ASSERT_TRUE(dib::admitImage(image.get(), raster));
        for (int y = 0; y < 6; ++y) {
            EXPECT_EQ(rows[static_cast<std::size_t>(y)], image->ScanLine(y));
            EXPECT_EQ(raster.row(y), image->ScanLine(y));
        }
        EXPECT_EQ(raster.rowBytes, 16U);
        EXPECT_EQ(raster.pixelBytes(), 15U);
    }
    DibStream empty;
    EXPECT_NE(dib::initRow(empty), nullptr);
}

TEST(EffectFrame, ImagesWithoutPixelsStillReportTheirRows) {
    const DibPtr image = blankImage(1, 3, 8);
    image->Header->biWidth = 0;
    ProgressLog log;
    EXPECT_TRUE(DibEffectMozaic(ProgressLog::callback, &log, image.get(), 2));
    EXPECT_EQ(log.fractions, (std::vector<float>{1.0F / 3, 1.0F}));
}

TEST(EffectFrame, DepthsReadAndWriteTheirPixels) {
    for (const int depth : testing_support::kDepths) {
        const DibPtr image = randomImage(11, 2, depth, 9);
        const DibPtr blank = blankImage(11, 2, depth);
        const bool known =
            dib::withDepth<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
                depth, [&](auto kind) {
                    using Depth = decltype(kind);
                    for (int x = 0; x < 11; ++x) {
                        const std::uint32_t value = testing_support::pixelValue(*image, x, 1);
                        EXPECT_EQ(Depth::get(image->ScanLine(1), x), value);
                        Depth::put(blank->ScanLine(1), x, value);
                        EXPECT_EQ(testing_support::pixelValue(*blank, x, 1), value);
                        if constexpr (Depth::kBits >= 8) {
                            const std::uint32_t kept = Depth::kBits == 16 ? value & 0x7FFF : value;
                            EXPECT_EQ(Depth::join(Depth::split(value)), kept);
                        }
                    }
                    return true;
                });
        EXPECT_TRUE(known);
    }
    EXPECT_FALSE((dib::withDepth<dib::Depth8, dib::Depth24>(32, [](auto) { return true; })));
}

}  // namespace
