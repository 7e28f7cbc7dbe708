#include <DibStream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <vector>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(ClipCut, WholeTopDownImageBecomesBottomUp) {
    const DibPtr dib = randomImage(5, -3, 24, 1);
    const DibPtr before(dib->Clone());
    EXPECT_TRUE(dib->ClipCut(0, 0, 5, 3));
    EXPECT_EQ(dib->Header->biHeight, 3);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) EXPECT_EQ(pixelValue(*dib, x, y), pixelValue(*before, x, y));
    }
}

TEST(ClipCut, RefusedRectanglesLeaveTheImage) {
    const DibPtr dib = randomImage(5, 3, 8, 2);
    const DibPtr before(dib->Clone());
    const int refused[][4] = {{1, 0, 5, 3},
                              {0, 1, 5, 3},
                              {0, 0, 0, 3},
                              {0, 0, 5, 0},
                              {0, 0, -1, 1},
                              {INT_MAX, 0, 1, 1},
                              {0, INT_MAX, 1, 1},
                              {1, 0, INT_MAX, 1},
                              {0, 1, 1, INT_MAX},
                              {5, 0, 1, 1},
                              {INT_MAX, INT_MAX, INT_MAX, INT_MAX}};
    for (const auto& r : refused) {
        EXPECT_FALSE(dib->ClipCut(r[0], r[1], r[2], r[3]));
        EXPECT_EQ(dib->ClipClone(r[0], r[1], r[2], r[3]), nullptr);
    }
    EXPECT_TRUE(sameImage(*dib, *before));
    EXPECT_EQ(dib->ErrorCode, 0);
}

TEST(ClipCut, HalfEmptyImagesAreRefused) {
    DibStream empty;
    EXPECT_FALSE(empty.ClipCut(0, 0, 1, 1));
    EXPECT_EQ(empty.ClipClone(0, 0, 1, 1), nullptr);
    const DibPtr headerOnly = blankImage(2, 2, 24);
    headerOnly->BufferFree();
    EXPECT_FALSE(headerOnly->ClipCut(0, 0, 1, 1));
    EXPECT_EQ(headerOnly->ClipClone(0, 0, 1, 1), nullptr);
}

TEST(ClipCut, NegativeOriginReadsTheBytesBeforeAndZerosOutside) {
    // Two rows of four bytes in picture order.
    const DibPtr dib = blankImage(4, -2, 8);
    for (int i = 0; i < 8; ++i) dib->Buffer[i] = static_cast<unsigned char>(i + 1);
    const DibPtr left(dib->ClipClone(-2, 0, 4, 2));
    EXPECT_EQ(testing_support::pixelBytes(*left), (std::vector<unsigned char>{3, 4, 5, 6, 0, 0, 1, 2}));
    const DibPtr above(dib->ClipClone(0, -1, 4, 2));
    EXPECT_EQ(testing_support::pixelBytes(*above), (std::vector<unsigned char>{1, 2, 3, 4, 0, 0, 0, 0}));
    const DibPtr outside(dib->ClipClone(INT_MIN, INT_MIN, 4, 2));
    EXPECT_EQ(testing_support::pixelBytes(*outside), std::vector<unsigned char>(8, 0));
}

TEST(ClipCut, NegativeOriginAtFourBits) {
    const DibPtr dib = blankImage(4, -2, 4);
    const unsigned char bytes[] = {0x12, 0x34, 0xAB, 0xCD, 0x56, 0x78, 0x9A, 0xBC};
    std::copy(std::begin(bytes), std::end(bytes), dib->Buffer);
    using Row = std::vector<unsigned char>;
    const auto cloned = [&](int x, int y, int width) {
        return testing_support::pixelBytes(*DibPtr(dib->ClipClone(x, y, width, 1)));
    };
    const auto cut = [&](int x, int y, int width) {
        const DibPtr copy(dib->Clone());
        EXPECT_TRUE(copy->ClipCut(x, y, width, 1));
        return testing_support::pixelBytes(*copy);
    };
    // Whole bytes where the copy begins with one, pixel by pixel elsewhere.
    EXPECT_EQ(cloned(-2, 1, 4), (Row{0xCD, 0x56, 0x78, 0x9A}));
    EXPECT_EQ(cut(-2, 1, 4), (Row{0xCD, 0x56, 0, 0}));
    EXPECT_EQ(cloned(-1, 1, 3), (Row{0xD5, 0x60, 0, 0}));
    EXPECT_EQ(cut(-1, 1, 3), (Row{0xD5, 0x60, 0, 0}));
    EXPECT_EQ(cloned(-1, 0, 3), (Row{0x01, 0x20, 0, 0})) << "before the block";
    EXPECT_EQ(cut(-1, 0, 3), (Row{0x01, 0x20, 0, 0}));
    EXPECT_EQ(cut(-4, 0, 5), (Row{0x00, 0x00, 0x10, 0}));
}

TEST(ClipCut, NegativeOriginAtOneBit) {
    const DibPtr dib = blankImage(16, -2, 1);
    const unsigned char bytes[] = {0xF0, 0x0F, 0x00, 0x81, 0xA5, 0xFF, 0x00, 0x00};
    std::copy(std::begin(bytes), std::end(bytes), dib->Buffer);
    using Row = std::vector<unsigned char>;
    const auto expectRow = [&](int x, int y, int width, const Row& row) {
        const DibPtr clip(dib->ClipClone(x, y, width, 1));
        EXPECT_EQ(testing_support::pixelBytes(*clip), row) << x << ' ' << y;
        const DibPtr copy(dib->Clone());
        EXPECT_TRUE(copy->ClipCut(x, y, width, 1));
        EXPECT_EQ(testing_support::pixelBytes(*copy), row) << x << ' ' << y;
    };
    expectRow(-3, 1, 8, {0b00110100, 0, 0, 0});  // 001 of the row above, then 10100
    expectRow(-3, 0, 8, {0b00011110, 0, 0, 0});  // nothing, then 11110
    expectRow(-8, 1, 10, {0x81, 0b10000000, 0, 0});
    expectRow(-32, 1, 16, {0xF0, 0x0F, 0, 0});  // a whole row before
}

TEST(ClipCut, FillBytesComeFromTheBytesThatFollow) {
    const DibPtr dib = blankImage(4, -2, 8);
    for (int i = 0; i < 8; ++i) dib->Buffer[i] = static_cast<unsigned char>(i + 1);
    const DibPtr clip(dib->ClipClone(3, 0, 1, 2));
    EXPECT_EQ(testing_support::pixelBytes(*clip), (std::vector<unsigned char>{8, 0, 0, 0, 4, 5, 6, 7}));
}

TEST(ClipClone, OddNibblesMoveTogether) {
    const DibPtr dib = blankImage(6, 1, 4);
    dib->Buffer[0] = 0x12;
    dib->Buffer[1] = 0x34;
    dib->Buffer[2] = 0x56;
    dib->Buffer[3] = 0x78;
    const DibPtr odd(dib->ClipClone(1, 0, 3, 1));
    EXPECT_EQ(testing_support::pixelBytes(*odd), (std::vector<unsigned char>{0x23, 0x40, 0, 0}));
    const DibPtr even(dib->ClipClone(2, 0, 3, 1));
    EXPECT_EQ(testing_support::pixelBytes(*even), (std::vector<unsigned char>{0x34, 0x56, 0x78, 0}));
    EXPECT_TRUE(dib->ClipCut(2, 0, 3, 1));
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{0x34, 0x50, 0, 0}));
}

TEST(ClipClone, IsABottomUpObjectOfItsOwn) {
    const DibPtr dib = randomImage(5, -4, 8, 3);
    const DibPtr clip(dib->ClipClone(1, 1, 3, 2));
    EXPECT_EQ(clip->RefCount, 1U);
    EXPECT_EQ(clip->Header->biHeight, 2);
    EXPECT_EQ(clip->ErrorCode, 0);
    EXPECT_EQ(pixelValue(*clip, 0, 0), pixelValue(*dib, 1, 1));
    EXPECT_EQ(pixelValue(*clip, 2, 1), pixelValue(*dib, 3, 2));
}

TEST(ClipClone, CopiesTheAnnouncedEntries) {
    const DibPtr eight = randomImage(2, 2, 8, 4);
    Borrowed shortTable(*eight, 2);
    const DibPtr clip(shortTable.dib.ClipClone(0, 0, 1, 1));
    const auto bytes = testing_support::headerBytes(*clip);
    EXPECT_EQ(clip->Header->biClrUsed, 256U);
    EXPECT_EQ(bytes[40], 1);
    EXPECT_EQ(bytes[47], 8);
    EXPECT_EQ(bytes[48], 2);  // the grey ramp of a new image goes on

    const DibPtr four = randomImage(2, 2, 4, 5);
    Borrowed longTable(*four, 20);
    const DibPtr clip4(longTable.dib.ClipClone(0, 0, 1, 1));
    EXPECT_EQ(testing_support::headerBytes(*clip4).size(), 40U + 64);
    EXPECT_EQ(testing_support::headerBytes(*clip4).back(), 64);
}

TEST(ClipClone, NoAnnouncedLengthMeansTheWholeTable) {
    for (const int depth : {1, 4, 8}) {
        const DibPtr dib = randomImage(2, 2, depth, 6);
        auto* table = reinterpret_cast<DibBGRA*>(dib->Header + 1);
        const int last = (1 << depth) - 1;
        table[0] = {1, 2, 3, 4};
        table[last] = {5, 6, 7, 8};
        dib->Header->biClrUsed = 0;
        const DibPtr clip(dib->ClipClone(0, 0, 1, 1));
        EXPECT_EQ(clip->Header->biClrUsed, 1U << depth);
        const auto bytes = testing_support::headerBytes(*clip);
        ASSERT_EQ(bytes.size(), 40U + (4U << depth));
        EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 40, bytes.begin() + 44),
                  (std::vector<unsigned char>{1, 2, 3, 4}));
        EXPECT_EQ(std::vector<unsigned char>(bytes.end() - 4, bytes.end()),
                  (std::vector<unsigned char>{5, 6, 7, 8}));
    }
}

TEST(Clip, EqualsThePlainLoopsEverywhere) {
    forEachImage([](DibStream& dib) {
        const reference::Image image(dib);
        Random random(image.pixels[0] + 1U);
        for (int i = 0; i < 12; ++i) {
            const int x = random.between(-9, image.width);
            const int y = random.between(-3, image.rows());
            const int w = random.between(0, image.width - x + 1);
            const int h = random.between(0, image.rows() - y + 1);
            expectSame(
                dib, [=](DibStream& d) { return d.ClipCut(x, y, w, h); },
                reference::clipCut(image, x, y, w, h), "cut");
            const reference::Result expected = reference::clipClone(image, x, y, w, h);
            DibStream* clip = dib.ClipClone(x, y, w, h);
            ASSERT_EQ(clip != nullptr, expected.has_value());
            if (clip == nullptr) continue;
            EXPECT_TRUE(expected->equals(*clip))
                << x << ' ' << y << ' ' << w << ' ' << h << ' ' << image.depth;
            clip->Release();
        }
    });
}

TEST(Clip, EveryAllocationMayFail) {
    for (const int depth : kDepths) {
        EXPECT_EQ(expectSurvivesFailures(8, 4, depth, 0, [](DibStream& d) { return d.ClipCut(1, 1, 5, 2); }),
                  1);
        EXPECT_EQ(expectSurvivesFailures(8, 4, depth, 0,
                                         [](DibStream& d) {
                                             DibStream* clip = d.ClipClone(1, 1, 5, 2);
                                             if (clip != nullptr) clip->Release();
                                             return clip != nullptr;
                                         }),
                  3);
    }
}

}  // namespace
}  // namespace geometry_test
