#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

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

TEST(ChangeSize, CountsBufferRowsInBothRowOrders) {
    for (const int sign : {1, -1}) {
        const DibPtr dib = blankImage(4, 4 * sign, 32);
        for (int i = 0; i < 16; ++i) dib->Buffer[4 * i] = static_cast<unsigned char>(100 + i);
        EXPECT_TRUE(dib->ChangeSize(6, 2, 255));
        EXPECT_EQ(dib->Header->biWidth, 6);
        EXPECT_EQ(dib->Header->biHeight, 2 * sign);
        const int blues[] = {255, 104, 105, 106, 107, 255, 255, 108, 109, 110, 111, 255};
        for (int i = 0; i < 12; ++i) {
            EXPECT_EQ(dib->Buffer[4 * i], blues[i]) << i;
            EXPECT_EQ(dib->Buffer[4 * i + 1], 0) << i;
            EXPECT_EQ(dib->Buffer[4 * i + 3], 0) << i;
        }
    }
}

TEST(ChangeSize, OddDifferencesLeaveTheExtraPixelBehind) {
    const DibPtr wider = blankImage(2, -1, 8);
    wider->Buffer[0] = 1;
    wider->Buffer[1] = 2;
    EXPECT_TRUE(wider->ChangeSize(5, 1, 9));
    EXPECT_EQ(testing_support::pixelBytes(*wider), (std::vector<unsigned char>{9, 1, 2, 9, 9, 9, 9, 9}));
    EXPECT_TRUE(wider->ChangeSize(2, 1, 0));
    EXPECT_EQ(testing_support::pixelBytes(*wider), (std::vector<unsigned char>{1, 2, 0, 0}));
    // Bits and nibbles move to odd places.
    const DibPtr bits = blankImage(3, -1, 1);
    bits->Buffer[0] = 0b10100000;
    EXPECT_TRUE(bits->ChangeSize(6, 1, 1));
    EXPECT_EQ(bits->Buffer[0], 0b11011111);
    const DibPtr nibbles = blankImage(2, -1, 4);
    nibbles->Buffer[0] = 0x12;
    EXPECT_TRUE(nibbles->ChangeSize(5, 1, 0xF));
    EXPECT_EQ(testing_support::pixelBytes(*nibbles), (std::vector<unsigned char>{0xF1, 0x2F, 0xFF, 0xFF}));
    const DibPtr lower = blankImage(1, -5, 8);
    for (int y = 0; y < 5; ++y) lower->Buffer[4 * y] = static_cast<unsigned char>(y);
    EXPECT_TRUE(lower->ChangeSize(1, 2, 0));
    EXPECT_EQ(lower->Buffer[0], 1);
    EXPECT_EQ(lower->Buffer[4], 2);
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

// The header that these operations write announces a full table, so the block has to hold one.
TEST(Canvas, ShortColorTablesGrow) {
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

// Neither the pixels nor the header are replaced when the longer table cannot be had.
TEST(Canvas, FailingGrowthLeavesTheBorrowedImage) {
    struct Case {
        int code;
        std::function<bool(DibStream&)> operate;
    };
    const Case cases[] = {{2, [](DibStream& d) { return d.ResizeBilinear(3, 2); }},
                          {2, [](DibStream& d) { return d.ResizeIntegral(3, 2); }},
                          {2, [](DibStream& d) { return d.ChangeSize(3, 2, 0); }},
                          {0, [](DibStream& d) { return d.ClipCut(1, 1, 3, 2); }}};
    const DibPtr like = randomImage(6, 4, 8, 19);
    const auto pixels = testing_support::pixelBytes(*like);
    for (const Case& c : cases) {
        std::optional<Borrowed> borrowed;
        bool done = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { borrowed.emplace(*like, 10); }, [&] { done = c.operate(borrowed->dib); },
            [&](bool failureMet) {
                EXPECT_EQ(done, !failureMet);
                EXPECT_EQ(borrowed->dib.ErrorCode, failureMet ? c.code : 0);
                if (failureMet) {
                    EXPECT_EQ(reinterpret_cast<unsigned char*>(borrowed->dib.Header), borrowed->header.get());
                    EXPECT_EQ(borrowed->dib.HeaderOwner, 0U);
                    EXPECT_EQ(borrowed->dib.Buffer, like->Buffer);
                    EXPECT_EQ(borrowed->dib.BufferOwner, 0U);
                    EXPECT_EQ(borrowed->dib.Header->biClrUsed, 10U);
                    EXPECT_EQ(borrowed->dib.Header->biWidth, 6);
                    EXPECT_EQ(borrowed->header[79], 40);
                }
                borrowed.reset();
            });
        EXPECT_GE(failures, 2) << "the pixels and the table";
        EXPECT_EQ(testing_support::pixelBytes(*like), pixels);
    }
}

TEST(Canvas, TableBehindALongerHeaderStaysTheTable) {
    const DibPtr like = randomImage(6, 4, 4, 20);
    Borrowed borrowed(*like, 16, 108);
    EXPECT_TRUE(borrowed.dib.ResizeBilinear(3, 2));
    EXPECT_EQ(borrowed.dib.Header->biSize, 40U);
    const auto bytes = testing_support::headerBytes(borrowed.dib);
    for (std::size_t i = 0; i < 64; ++i) EXPECT_EQ(bytes[40 + i], i + 1);
}

}  // namespace
}  // namespace geometry_test
