#include <DibStream.h>
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "geometry/AreaRows.h"
#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

struct Target {
    int width;
    int height;
};
constexpr Target kTargets[] = {{1, 1},  {1, 9},   {9, 1},   {2, 3},   {5, 4},
                               {8, 24}, {32, 24}, {33, 50}, {150, 7}, {5, -3}};

// One row of 24 bits with the given blue values.
DibPtr blueRow(const std::vector<int>& blues) {
    DibPtr dib = blankImage(static_cast<int>(blues.size()), 1, 24);
    for (std::size_t x = 0; x < blues.size(); ++x) {
        setPixelValue(*dib, static_cast<int>(x), 0, static_cast<std::uint32_t>(blues[x]));
    }
    return dib;
}
std::vector<int> blues(DibStream& dib) {
    std::vector<int> values;
    for (int x = 0; x < dib.Header->biWidth; ++x) values.push_back(static_cast<int>(pixelValue(dib, x, 0)));
    return values;
}
// One column of 24 bits from the first buffer row on.
DibPtr blueColumn(const std::vector<int>& blues) {
    DibPtr dib = blankImage(1, -static_cast<int>(blues.size()), 24);
    for (std::size_t y = 0; y < blues.size(); ++y) {
        setPixelValue(*dib, 0, static_cast<int>(y), static_cast<std::uint32_t>(blues[y]));
    }
    return dib;
}

TEST(Resize, SameSizeKeepsTheBuffer) {
    const DibPtr dib = randomImage(6, -4, 24, 1);
    const unsigned char* buffer = dib->Buffer;
    EXPECT_TRUE(dib->Resize(6, 4, DibStream::DIB_RESIZE_INTEGRAL));
    EXPECT_TRUE(dib->Resize(6, 4, static_cast<DibStream::DIB_RESIZE_METHOD>(7)));
    EXPECT_EQ(dib->Buffer, buffer);
}

TEST(Resize, RefusesUnknownMethods) {
    const DibPtr dib = randomImage(6, 4, 24, 1);
    for (const int method : {2, -1, 100}) {
        EXPECT_FALSE(dib->Resize(5, 5, static_cast<DibStream::DIB_RESIZE_METHOD>(method)));
    }
    EXPECT_EQ(dib->Header->biWidth, 6);
    EXPECT_EQ(dib->ErrorCode, 0);
}

TEST(Resize, HalvesOnlyExactHalves) {
    // Halving averages four pixels; the bilinear method would return the last column for width 1.
    const DibPtr exact = blankImage(2, 2, 24);
    setPixelValue(*exact, 0, 0, 100);
    EXPECT_TRUE(exact->Resize(1, 1, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_EQ(pixelValue(*exact, 0, 0), 25U);

    const DibPtr odd = randomImage(5, 4, 24, 2);
    const DibPtr expected(odd->Clone());
    EXPECT_TRUE(odd->Resize(2, 2, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_TRUE(expected->ResizeBilinear(2, 2));
    EXPECT_TRUE(sameImage(*odd, *expected));
}

TEST(Resize, IndexedHalvesRunTheChosenMethod) {
    const DibPtr dib = randomImage(8, 8, 8, 3);
    const DibPtr expected(dib->Clone());
    EXPECT_FALSE(DibPtr(dib->Clone())->ResizeHalf());
    EXPECT_TRUE(dib->Resize(4, 4, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_TRUE(expected->ResizeBilinear(4, 4));
    EXPECT_TRUE(sameImage(*dib, *expected));
}

TEST(Resize, ExactHalvesOfDeepImagesNeedNoMethod) {
    for (const int depth : {24, 32}) {
        const DibPtr dib = blankImage(2, -2, depth);
        setPixelValue(*dib, 1, 1, 200);
        EXPECT_TRUE(dib->Resize(1, 1, static_cast<DibStream::DIB_RESIZE_METHOD>(7)));
        EXPECT_EQ(dib->Header->biWidth, 1);
        EXPECT_EQ(dib->Header->biHeight, -1);
        EXPECT_EQ(pixelValue(*dib, 0, 0), 50U);
    }
    const DibPtr indexed = blankImage(2, 2, 8);
    EXPECT_FALSE(indexed->Resize(1, 1, static_cast<DibStream::DIB_RESIZE_METHOD>(7)));
    EXPECT_EQ(indexed->Header->biWidth, 2);
    EXPECT_EQ(indexed->ErrorCode, 0);
}

// The method needs other memory than the halving, so it may succeed where that failed; then nothing failed.
TEST(Resize, HalvingThatFailsForMemoryLeavesItToTheMethod) {
    const auto resized = [](long failing, int method, int before) {
        const DibPtr dib = blankImage(2, 1, 24);
        EXPECT_TRUE(dib->ChangeSize(2, 2, 0x0000C8));
        dib->ErrorCode = before;
        bool done = false;
        {
            const testing_support::FailNthAllocation fail(failing);
            done = dib->Resize(1, 1, static_cast<DibStream::DIB_RESIZE_METHOD>(method));
        }
        return std::tuple(done, dib->ErrorCode, dib->Header->biWidth);
    };
    EXPECT_EQ(resized(0, 0, 0), std::tuple(true, 0, 1));
    EXPECT_EQ(resized(0, 1, 7), std::tuple(true, 7, 1));
    EXPECT_EQ(resized(0, 7, 0), std::tuple(false, 2, 2)) << "no method to go on with";
    EXPECT_EQ(resized(1000, 7, 5), std::tuple(true, 5, 1));
}

TEST(Resize, HalfEmptyImagesAreRefused) {
    DibStream empty;
    unsigned char byte = 0;
    EXPECT_FALSE(empty.Resize(1, 1, DibStream::DIB_RESIZE_BILINEAR));
    empty.SetBuffer(&byte, 0);
    EXPECT_FALSE(empty.Resize(1, 1, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_FALSE(empty.ResizeHalf());
    EXPECT_FALSE(empty.ResizeBilinear(1, 1));
    EXPECT_FALSE(empty.ResizeIntegral(1, 1));
    EXPECT_FALSE(empty.ChangeSize(1, 1, 0));
    const DibPtr headerOnly = blankImage(2, 2, 24);
    headerOnly->BufferFree();
    EXPECT_FALSE(headerOnly->Resize(2, 2, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_FALSE(headerOnly->ResizeHalf());
    EXPECT_FALSE(headerOnly->ResizeBilinear(1, 1));
    EXPECT_FALSE(headerOnly->ResizeIntegral(1, 1));
    EXPECT_FALSE(headerOnly->ChangeSize(1, 1, 0));
}

TEST(Resize, ImpossibleSizesLeaveTheImage) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(5, 4, depth, 4);
        const DibPtr before(dib->Clone());
        for (const Target size :
             {Target{0, 4}, {5, 0}, {0, 0}, {-5, 4}, {5, INT32_MIN}, {INT32_MAX, INT32_MAX}}) {
            dib->ErrorCode = 0;
            EXPECT_FALSE(dib->ResizeBilinear(size.width, size.height));
            EXPECT_EQ(dib->ErrorCode, 2);
            EXPECT_FALSE(dib->ResizeIntegral(size.width, size.height));
            EXPECT_FALSE(dib->ChangeSize(size.width, size.height, 1));
            EXPECT_FALSE(dib->Resize(size.width, size.height, DibStream::DIB_RESIZE_BILINEAR));
            EXPECT_TRUE(sameImage(*dib, *before));
        }
    }
}

TEST(Resize, UnsupportedDepthsAreRefused) {
    const DibPtr dib = blankImage(4, 4, 24);
    dib->Header->biBitCount = 12;
    EXPECT_FALSE(dib->ResizeHalf());
    EXPECT_FALSE(dib->ResizeBilinear(2, 2));
    EXPECT_FALSE(dib->ResizeIntegral(2, 2));
    EXPECT_FALSE(dib->ChangeSize(2, 2, 0));
    EXPECT_EQ(dib->ErrorCode, 0);
    EXPECT_EQ(dib->Header->biWidth, 4);
}

TEST(Resize, ReleasesOnlyOwnedPixels) {
    const DibPtr owner = randomImage(4, 4, 32, 6);
    DibStream dib;
    dib.SetDib(owner->CreateHeader(4, 4, 32), 6, owner->Buffer, 0);
    EXPECT_TRUE(dib.ResizeHalf());
    EXPECT_EQ(dib.BufferOwner, 6U);
    EXPECT_NE(dib.Buffer, owner->Buffer);
    EXPECT_EQ(pixelValue(*owner, 0, 0), pixelValue(*randomImage(4, 4, 32, 6), 0, 0));
}

TEST(ResizeHalf, TruncatesAndDropsOddEdges) {
    const DibPtr dib = blankImage(3, -3, 32);
    setPixelValue(*dib, 0, 0, 0x01020304);
    setPixelValue(*dib, 1, 0, 0x01020304);
    setPixelValue(*dib, 0, 1, 0x01020304);
    setPixelValue(*dib, 1, 1, 0x00000000);
    setPixelValue(*dib, 2, 0, 0xFFFFFFFF);
    setPixelValue(*dib, 0, 2, 0xFFFFFFFF);
    EXPECT_TRUE(dib->ResizeHalf());
    EXPECT_EQ(dib->Header->biWidth, 1);
    EXPECT_EQ(dib->Header->biHeight, -1);
    EXPECT_EQ(pixelValue(*dib, 0, 0), 0x00010203U);
}

TEST(ResizeHalf, DropsTheLastBufferRowWhichIsThePicturesTop) {
    const DibPtr dib = blankImage(2, 3, 24);
    setPixelValue(*dib, 0, 0, 0xFFFFFF);
    setPixelValue(*dib, 0, 1, 40);
    EXPECT_TRUE(dib->ResizeHalf());
    EXPECT_EQ(dib->Header->biHeight, 1);
    EXPECT_EQ(pixelValue(*dib, 0, 0), 10U);
}

TEST(ResizeHalf, OnePixelCannotBeHalved) {
    const DibPtr dib = randomImage(1, 4, 24, 1);
    EXPECT_FALSE(dib->ResizeHalf());
    EXPECT_EQ(dib->ErrorCode, 2);
    EXPECT_EQ(dib->Header->biWidth, 1);
}

TEST(ResizeBilinear, WeightsFollowTheSmoothStep) {
    // Positions 0, 1/3, 2/3, 1 of two pixels: weights 3f^2 - 2f^3 give 66 and 189 of 256, and the last is
    // forced.
    const DibPtr dib = blueRow({0, 255});
    EXPECT_TRUE(dib->ResizeBilinear(4, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{0, 255 * 66 / 256, 255 * 189 / 256, 255}));
}

TEST(ResizeBilinear, WidthOneIsTheLastColumnAndHeightOneTheLastBufferRow) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(5, 3, depth, 9);
        const std::uint32_t topRight = pixelValue(*dib, 4, 0);
        EXPECT_TRUE(dib->ResizeBilinear(1, 1));
        EXPECT_EQ(pixelValue(*dib, 0, 0), topRight) << depth;
    }
}

TEST(ResizeBilinear, EdgeColumnsStayWhenGrowing) {
    const DibPtr dib = randomImage(7, 1, 24, 10);
    const DibPtr grown(dib->Clone());
    EXPECT_TRUE(grown->ResizeBilinear(23, 1));
    EXPECT_EQ(pixelValue(*grown, 0, 0), pixelValue(*dib, 0, 0));
    EXPECT_EQ(pixelValue(*grown, 22, 0), pixelValue(*dib, 6, 0));
}

TEST(ResizeBilinear, OnePixelFillsAnySize) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(1, 1, depth, 11);
        const std::uint32_t pixel = pixelValue(*dib, 0, 0);
        EXPECT_TRUE(dib->ResizeBilinear(5, 4));
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) EXPECT_EQ(pixelValue(*dib, x, y), pixel) << depth;
        }
    }
}

TEST(ResizeBilinear, IndexedPixelsSwitchWhereTheWeightPassesOneHalf) {
    const DibPtr dib = blankImage(2, 1, 8);
    setPixelValue(*dib, 0, 0, 10);
    setPixelValue(*dib, 1, 0, 20);
    EXPECT_TRUE(dib->ResizeBilinear(5, 1));
    // At exactly one half the weight of the first pixel is 128, which is not below 128.
    EXPECT_EQ(blues(*dib), (std::vector<int>{10, 10, 10, 20, 20}));
}

TEST(ResizeBilinear, NegativeHeightCountsAbsolute) {
    const DibPtr up = randomImage(4, 4, 24, 12);
    const DibPtr down = randomImage(4, -4, 24, 12);
    EXPECT_TRUE(up->ResizeBilinear(3, -2));
    EXPECT_TRUE(down->ResizeBilinear(3, 2));
    EXPECT_EQ(up->Header->biHeight, 2);
    EXPECT_EQ(down->Header->biHeight, -2);
}

TEST(ResizeIntegral, ThreeColumnsIntoTwo) {
    const DibPtr dib = blueRow({10, 100, 201});
    EXPECT_TRUE(dib->ResizeIntegral(2, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{(10 * 256 + 100 * 128) / 384, (100 * 128 + 201 * 256) / 384}));
}

TEST(ResizeIntegral, TwoColumnsIntoFourAreCopied) {
    const DibPtr dib = blueRow({7, 250});
    EXPECT_TRUE(dib->ResizeIntegral(4, 1));
    EXPECT_EQ(blues(*dib), (std::vector<int>{7, 7, 250, 250}));
}

TEST(ResizeIntegral, RowsAreAveragedLikeColumns) {
    const DibPtr dib = blueColumn({10, 100, 201});
    EXPECT_TRUE(dib->ResizeIntegral(1, 2));
    EXPECT_EQ(pixelValue(*dib, 0, 0), (10U * 256 + 100 * 128) / 384);
    EXPECT_EQ(pixelValue(*dib, 0, 1), (100U * 128 + 201 * 256) / 384);
}

TEST(ResizeIntegral, TruncatesBetweenThePasses) {
    // Columns first: rows become (0 + 1) / 2 = 0 and (1 + 1) / 2 = 1, then 0.
    const DibPtr dib = blankImage(2, -2, 24);
    setPixelValue(*dib, 1, 0, 1);
    setPixelValue(*dib, 0, 1, 1);
    setPixelValue(*dib, 1, 1, 2);
    EXPECT_TRUE(dib->ResizeIntegral(1, 1));
    EXPECT_EQ(pixelValue(*dib, 0, 0), 0U);
}

TEST(ResizeIntegral, OtherDepthsGetTheSizeAndZeros) {
    for (const int depth : {1, 4, 8, 16}) {
        const DibPtr dib = randomImage(9, 5, depth, 13);
        EXPECT_TRUE(dib->Resize(4, 6, DibStream::DIB_RESIZE_INTEGRAL));
        EXPECT_EQ(dib->Header->biWidth, 4);
        EXPECT_EQ(dib->Header->biHeight, 6);
        for (const unsigned char byte : testing_support::pixelBytes(*dib)) EXPECT_EQ(byte, 0);
    }
}

// Both neighbours of every exact quotient, for every total; between them the quotient cannot change, because
// multiplying by a positive constant and truncating are monotone.
TEST(ResizeIntegral, DivisionByMultiplicationIsExact) {
    for (std::int32_t total = 1; total < static_cast<std::int32_t>(dib::kExactTotal); ++total) {
        const float inverse = 1.0F / static_cast<float>(total);
        for (std::int32_t quotient = 0; quotient < 256; ++quotient) {
            ASSERT_EQ(dib::divideExactly(quotient * total, inverse), quotient) << total;
            ASSERT_EQ(dib::divideExactly(quotient * total + total - 1, inverse), quotient) << total;
        }
    }
}

TEST(ResizeIntegral, LongSpansAreAveragedExactly) {
    for (const int depth : {24, 32}) {
        const DibPtr wide = randomImage(70001, 2, depth, 14);
        expectSame(
            *wide, [](DibStream& d) { return d.ResizeIntegral(3, 1); },
            reference::resizeIntegral(reference::Image(*wide), 3, 1), "long rows");
        const DibPtr tall = randomImage(2, -70001, depth, 15);
        expectSame(
            *tall, [](DibStream& d) { return d.ResizeIntegral(1, 3); },
            reference::resizeIntegral(reference::Image(*tall), 1, 3), "long columns");
    }
}

TEST(ChangeSize, WiderAndLowerKeepsTheMiddle) {
    const DibPtr dib = randomImage(4, -4, 32, 16);
    const DibPtr before(dib->Clone());
    EXPECT_TRUE(dib->ChangeSize(6, 2, 255));
    for (int y = 0; y < 2; ++y) {
        EXPECT_EQ(pixelValue(*dib, 0, y), 255U);
        EXPECT_EQ(pixelValue(*dib, 5, y), 255U);
        for (int x = 0; x < 4; ++x) EXPECT_EQ(pixelValue(*dib, 1 + x, y), pixelValue(*before, x, y + 1));
    }
}

TEST(ChangeSize, FillValuesByDepth) {
    struct Case {
        int depth;
        std::uint32_t fill;
        std::uint32_t pixel;
        unsigned char lastByte;
    };
    for (const Case& c : {Case{1, 0, 0, 0},
                          {1, 256, 1, 255},
                          {4, 0x1B, 11, 0xBB},
                          {8, 0x1FE, 0xFE, 0xFE},
                          {16, 0x1BEEF, 0xBEEF, 0xBE},
                          {24, 0x99112233, 0x112233, 0},
                          {32, 0x99112233, 0x99112233, 0x99}}) {
        const DibPtr dib = randomImage(1, -1, c.depth, 17);
        EXPECT_TRUE(dib->ChangeSize(3, 1, c.fill));
        EXPECT_EQ(pixelValue(*dib, 0, 0), c.pixel) << c.depth;
        EXPECT_EQ(pixelValue(*dib, 2, 0), c.pixel) << c.depth;
        EXPECT_EQ(testing_support::pixelBytes(*dib).back(), c.lastByte) << c.depth;
    }
}

TEST(Resize, EqualsThePlainLoopsEverywhere) {
    atEveryLevel([] {
        forEachImage([](DibStream& dib) {
            const reference::Image image(dib);
            expectSame(
                dib, [](DibStream& d) { return d.ResizeHalf(); }, reference::resizeHalf(image), "half");
            for (const Target& t : kTargets) {
                const int w = t.width;
                const int h = t.height;
                expectSame(
                    dib, [=](DibStream& d) { return d.ResizeBilinear(w, h); },
                    reference::resizeBilinear(image, w, h), "bilinear");
                expectSame(
                    dib, [=](DibStream& d) { return d.ResizeIntegral(w, h); },
                    reference::resizeIntegral(image, w, h), "integral");
                expectSame(
                    dib, [=](DibStream& d) { return d.ChangeSize(w, h, 0xA1B2C3D4); },
                    reference::changeSize(image, w, h, 0xA1B2C3D4), "canvas");
                for (const int method : {0, 1}) {
                    if (h < 0 || (w == dib.Header->biWidth && h == image.rows())) continue;
                    const auto m = static_cast<DibStream::DIB_RESIZE_METHOD>(method);
                    expectSame(
                        dib, [=](DibStream& d) { return d.Resize(w, h, m); },
                        reference::resize(image, w, h, method), "resize");
                }
            }
        });
    });
}

TEST(Resize, LongRowsEqualThePlainLoops) {
    atEveryLevel([] {
        for (const int depth : {24, 32}) {
            const DibPtr dib = randomImage(1203, 7, depth, 18);
            const reference::Image image(*dib);
            expectSame(
                *dib, [](DibStream& d) { return d.ResizeHalf(); }, reference::resizeHalf(image), "half");
            for (const Target& t : {Target{1999, 9}, {445, 3}, {20, 2}, {17, 7}, {902, 5}}) {
                expectSame(
                    *dib, [&](DibStream& d) { return d.ResizeBilinear(t.width, t.height); },
                    reference::resizeBilinear(image, t.width, t.height), "bilinear");
                expectSame(
                    *dib, [&](DibStream& d) { return d.ResizeIntegral(t.width, t.height); },
                    reference::resizeIntegral(image, t.width, t.height), "integral");
            }
        }
    });
}

TEST(Resize, EveryAllocationMayFail) {
    using Operation = std::function<bool(DibStream&)>;
    const Operation operations[] = {
        [](DibStream& d) { return d.ResizeBilinear(5, 6); },
        [](DibStream& d) { return d.ResizeIntegral(5, 6); },
        [](DibStream& d) { return d.ChangeSize(5, 6, 1); },
    };
    for (const Operation& operation : operations) {
        for (const int depth : kDepths) {
            EXPECT_GE(expectSurvivesFailures(8, -8, depth, DIB_ERROR_MEMORY, operation), 1);
        }
    }
    EXPECT_EQ(
        expectSurvivesFailures(8, -8, 24, DIB_ERROR_MEMORY, [](DibStream& d) { return d.ResizeHalf(); }), 1);
}

// The header that these operations write announces a full table, so the block has to hold one.
TEST(Resize, ShortColorTablesGrow) {
    const auto expectGrown = [](int depth, std::size_t entries,
                                const std::function<bool(DibStream&)>& operate) {
        const DibPtr like = randomImage(6, 4, depth, 19);
        Borrowed borrowed(*like, entries);
        EXPECT_TRUE(operate(borrowed.dib));
        EXPECT_EQ(borrowed.dib.HeaderOwner, 6U);
        EXPECT_EQ(borrowed.dib.Header->biClrUsed, 1U << depth);
        const auto bytes = testing_support::headerBytes(borrowed.dib);
        EXPECT_EQ(bytes[40 + 4 * entries - 1], 4 * entries);
        EXPECT_EQ(bytes[40 + 4 * entries], 0);
        EXPECT_EQ(bytes.back(), 0);
    };
    for (const int depth : {4, 8}) {
        expectGrown(depth, 10, [](DibStream& d) { return d.ResizeBilinear(3, 2); });
        expectGrown(depth, 10, [](DibStream& d) { return d.ResizeIntegral(3, 2); });
        expectGrown(depth, 10, [](DibStream& d) { return d.ChangeSize(3, 2, 0); });
        expectGrown(depth, 10, [](DibStream& d) { return d.ClipCut(1, 1, 3, 2); });
    }
    expectGrown(1, 1, [](DibStream& d) { return d.ResizeBilinear(3, 2); });
}

TEST(Resize, TableBehindALongerHeaderStaysTheTable) {
    const DibPtr like = randomImage(6, 4, 4, 20);
    Borrowed borrowed(*like, 16, 108);
    EXPECT_TRUE(borrowed.dib.ResizeBilinear(3, 2));
    EXPECT_EQ(borrowed.dib.Header->biSize, 40U);
    const auto bytes = testing_support::headerBytes(borrowed.dib);
    for (std::size_t i = 0; i < 64; ++i) EXPECT_EQ(bytes[40 + i], i + 1);
}

}  // namespace
}  // namespace geometry_test
