#include <DibStream.h>
#include <gtest/gtest.h>

#include <climits>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(Scroll, WholeTurnsLeaveTheImage) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(6, 4, depth, 1);
        const DibPtr before(dib->Clone());
        for (const auto& [dx, dy] : {std::pair{6, 0}, {-6, 0}, {0, 4}, {0, -4}, {60, -40}, {0, 0}}) {
            EXPECT_TRUE(dib->Scroll(dx, dy));
            EXPECT_TRUE(sameImage(*dib, *before)) << dx << ' ' << dy;
        }
    }
}

TEST(Scroll, LeftByOneBringsTheFirstColumnToTheRight) {
    const DibPtr dib = blankImage(4, 1, 8);
    for (int x = 0; x < 4; ++x) dib->Buffer[x] = static_cast<unsigned char>(x);
    EXPECT_TRUE(dib->Scroll(-1, 0));
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{1, 2, 3, 0}));
}

TEST(Scroll, DownByOneBringsTheLastRowToTheTop) {
    for (const int height : {3, -3}) {
        const DibPtr dib = blankImage(1, height, 8);
        for (int y = 0; y < 3; ++y) dib->ScanLine(y)[0] = static_cast<unsigned char>(10 * y);
        EXPECT_TRUE(dib->Scroll(0, 1));
        EXPECT_EQ(dib->ScanLine(0)[0], 20);
        EXPECT_EQ(dib->ScanLine(1)[0], 0);
        EXPECT_EQ(dib->ScanLine(2)[0], 10);
        EXPECT_TRUE(dib->Scroll(0, -2));
        EXPECT_EQ(dib->ScanLine(0)[0], 10);
    }
}

TEST(Scroll, BitsTurnWithinTheirRow) {
    const DibPtr dib = blankImage(10, -1, 1);
    dib->Buffer[0] = 0b10110000;
    dib->Buffer[1] = 0b01111111;  // two pixels, six fill bits
    EXPECT_TRUE(dib->Scroll(3, 0));
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{0b00110110, 0, 0, 0}));
    EXPECT_TRUE(dib->Scroll(-3, 0));
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{0b10110000, 0b01000000, 0, 0}));
}

TEST(Scroll, PositiveAmountsMoveRightAndDownInBothRowOrders) {
    for (const int height : {3, -3}) {
        const DibPtr dib = randomImage(4, height, 24, 2);
        const DibPtr before(dib->Clone());
        EXPECT_TRUE(dib->Scroll(1, 1));
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 4; ++x) {
                EXPECT_EQ(pixelValue(*dib, (x + 1) % 4, (y + 1) % 3), pixelValue(*before, x, y));
            }
        }
    }
}

TEST(Scroll, FillBytesStayWithTheirRowAndFillBitsAreCleared) {
    const DibPtr eight = blankImage(3, -1, 8);
    const unsigned char bytes[] = {1, 2, 3, 99};
    std::copy(std::begin(bytes), std::end(bytes), eight->Buffer);
    EXPECT_TRUE(eight->Scroll(1, 0));
    EXPECT_EQ(testing_support::pixelBytes(*eight), (std::vector<unsigned char>{3, 1, 2, 99}));

    const DibPtr four = blankImage(3, -1, 4);
    const unsigned char nibbles[] = {0x12, 0x39, 0x99, 0x99};
    std::copy(std::begin(nibbles), std::end(nibbles), four->Buffer);
    EXPECT_TRUE(four->Scroll(1, 0));
    EXPECT_EQ(testing_support::pixelBytes(*four), (std::vector<unsigned char>{0x31, 0x20, 0, 0}));
}

TEST(Scroll, HalfEmptyImagesAreRefused) {
    DibStream empty;
    EXPECT_FALSE(empty.Scroll(1, 1));
    unsigned char byte = 0;
    empty.SetBuffer(&byte, 0);
    EXPECT_FALSE(empty.Scroll(1, 1));
    const DibPtr zero = blankImage(2, 2, 8);
    zero->Header->biWidth = 0;
    EXPECT_FALSE(zero->Scroll(1, 1));
    zero->Header->biWidth = 2;
    zero->Header->biHeight = 0;
    EXPECT_FALSE(zero->Scroll(1, 1));
}

TEST(Scroll, UnknownDepthsMoveRowsOnly) {
    const DibPtr dib = blankImage(4, -2, 8);
    for (int i = 0; i < 8; ++i) dib->Buffer[i] = static_cast<unsigned char>(i);
    dib->Header->biBitCount = 7;
    EXPECT_TRUE(dib->Scroll(1, 1));
    dib->Header->biBitCount = 8;
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{4, 5, 6, 7, 0, 1, 2, 3}));
}

TEST(Scroll, WorksInBorrowedMemory) {
    const DibPtr owner = randomImage(5, 5, 16, 3);
    DibStream dib;
    dib.SetDib(owner->Header, 0, owner->Buffer, 0);
    const std::uint32_t first = pixelValue(*owner, 0, 0);
    EXPECT_TRUE(dib.Scroll(2, 2));
    EXPECT_EQ(dib.Buffer, owner->Buffer);
    EXPECT_EQ(pixelValue(*owner, 2, 2), first);
}

TEST(Scroll, EqualsThePlainLoopsForEveryInt) {
    const int amounts[] = {0, 1, -1, 2, 5, -7, 16, 33, INT_MAX, INT_MIN};
    forEachImage([&](DibStream& dib) {
        const reference::Image image(dib);
        for (const int dx : amounts) {
            for (const int dy : amounts) {
                expectSame(
                    dib, [=](DibStream& d) { return d.Scroll(dx, dy); }, reference::scroll(image, dx, dy),
                    "scroll");
            }
        }
    });
}

TEST(Scroll, EveryAllocationMayFail) {
    for (const int depth : kDepths) {
        EXPECT_EQ(expectSurvivesFailures(8, 4, depth, 0, [](DibStream& d) { return d.Scroll(3, 2); }), 1);
    }
}

}  // namespace
}  // namespace geometry_test
