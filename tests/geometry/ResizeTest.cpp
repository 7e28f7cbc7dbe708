#include <DibStream.h>
#include <gtest/gtest.h>

#include <tuple>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

constexpr Target kTargets[] = {{1, 1},  {1, 9},   {9, 1},   {2, 3},   {5, 4},
                               {8, 24}, {32, 24}, {33, 50}, {150, 7}, {5, -3}};

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

    // Not twice the size: the corners stay, nothing is averaged.
    const DibPtr corners = blankImage(5, -4, 24);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) setPixelValue(*corners, x, y, static_cast<std::uint32_t>(10 * y + x));
    }
    EXPECT_TRUE(corners->Resize(2, 2, DibStream::DIB_RESIZE_BILINEAR));
    EXPECT_EQ(pixelValue(*corners, 0, 0), 0U);
    EXPECT_EQ(pixelValue(*corners, 1, 0), 4U);
    EXPECT_EQ(pixelValue(*corners, 0, 1), 30U);
    EXPECT_EQ(pixelValue(*corners, 1, 1), 34U);

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

// The method needs other memory than the halving, so it may succeed where that failed. The code of the
// halving stays.
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
    EXPECT_EQ(resized(0, 0, 0), std::tuple(true, 2, 1));
    EXPECT_EQ(resized(0, 1, 7), std::tuple(true, 2, 1));
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

TEST(ResizeHalf, EveryChannelIsAveragedByItself) {
    const DibPtr dib = blankImage(2, -2, 32);
    setPixelValue(*dib, 0, 0, 0xFF000001);
    setPixelValue(*dib, 1, 0, 0xFF00FF02);
    setPixelValue(*dib, 0, 1, 0xFFFFFF03);
    setPixelValue(*dib, 1, 1, 0xFC000005);
    EXPECT_TRUE(dib->ResizeHalf());
    EXPECT_EQ(pixelValue(*dib, 0, 0), 0xFE3F7F02U);
}

TEST(ResizeHalf, OnePixelCannotBeHalved) {
    const DibPtr dib = randomImage(1, 4, 24, 1);
    EXPECT_FALSE(dib->ResizeHalf());
    EXPECT_EQ(dib->ErrorCode, 2);
    EXPECT_EQ(dib->Header->biWidth, 1);
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

}  // namespace
}  // namespace geometry_test
