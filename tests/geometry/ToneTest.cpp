#include <DibStream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(UpDown, TurnsStorageAndKeepsThePicture) {
    for (const int height : {5, -5, 4, -4}) {
        const DibPtr dib = randomImage(3, height, 24, 1);
        const DibPtr before(dib->Clone());
        EXPECT_TRUE(dib->UpDown(height > 0));
        EXPECT_EQ(dib->Header->biHeight, -height);
        for (int y = 0; y < std::abs(height); ++y) {
            for (int x = 0; x < 3; ++x) EXPECT_EQ(pixelValue(*dib, x, y), pixelValue(*before, x, y));
        }
    }
}

TEST(UpDown, RowsChangePlacesInTheBlock) {
    for (const int height : {3, 2}) {
        const DibPtr dib = blankImage(1, height, 32);
        for (int i = 0; i < 4 * height; ++i) dib->Buffer[i] = static_cast<unsigned char>(i);
        EXPECT_TRUE(dib->UpDown(true));
        EXPECT_EQ(dib->Header->biHeight, -height);
        EXPECT_EQ(testing_support::pixelBytes(*dib),
                  height == 3 ? (std::vector<unsigned char>{8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3})
                              : (std::vector<unsigned char>{4, 5, 6, 7, 0, 1, 2, 3}));
    }
}

// Rows are exchanged in pieces: none may be left behind.
TEST(UpDown, LongRowsMoveWhole) {
    for (const int width : {511, 512, 513, 2048, 3000}) {
        const DibPtr dib = randomImage(width, 5, 32, 6);
        expectSame(
            *dib, [](DibStream& d) { return d.UpDown(true); },
            reference::upDown(reference::Image(*dib), true), "long rows");
    }
}

TEST(UpDown, SecondCallChangesNothing) {
    const DibPtr dib = randomImage(3, 4, 8, 2);
    EXPECT_TRUE(dib->UpDown(true));
    const DibPtr before(dib->Clone());
    EXPECT_TRUE(dib->UpDown(true));
    EXPECT_TRUE(sameImage(*dib, *before));
    EXPECT_TRUE(dib->UpDown(false));
    EXPECT_TRUE(dib->UpDown(false));
    EXPECT_EQ(dib->Header->biHeight, 4);
}

TEST(UpDown, HalfEmptyImages) {
    DibStream dib;
    EXPECT_FALSE(dib.UpDown(true));
    unsigned char byte = 0;
    dib.SetBuffer(&byte, 0);
    EXPECT_TRUE(dib.UpDown(true));
    EXPECT_FALSE(dib.UpDown(false));
}

TEST(UpDown, EqualsThePlainLoopsEverywhere) {
    forEachImage([](DibStream& dib) {
        const reference::Image image(dib);
        for (const bool topDown : {false, true}) {
            expectSame(
                dib, [=](DibStream& d) { return d.UpDown(topDown); }, reference::upDown(image, topDown),
                "rows");
        }
    });
}

TEST(UpDown, FailingAllocationIsCodeOne) {
    EXPECT_EQ(
        expectSurvivesFailures(3, 5, 24, DIB_ERROR_GENERAL, [](DibStream& d) { return d.UpDown(true); }), 1);
}

TEST(InvertTone, ComplementsEveryByteAndTwiceRestores) {
    atEveryLevel([] {
        forEachImage([](DibStream& dib) {
            const reference::Image image(dib);
            expectSame(
                dib, [](DibStream& d) { return d.InvertTone(); }, reference::invertTone(image), "once");
            expectSame(
                dib, [](DibStream& d) { return d.InvertTone() && d.InvertTone(); }, image, "twice");
        });
    });
}

TEST(InvertTone, IndexedImagesChangeTheirIndices) {
    const DibPtr dib = blankImage(3, 1, 4);
    dib->Buffer[0] = 0x5A;
    const auto header = testing_support::headerBytes(*dib);
    EXPECT_TRUE(dib->InvertTone());
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{0xA5, 255, 255, 255}));
    EXPECT_EQ(testing_support::headerBytes(*dib), header);
    EXPECT_TRUE(dib->InvertTone());
    EXPECT_EQ(testing_support::pixelBytes(*dib), (std::vector<unsigned char>{0x5A, 0, 0, 0}));
}

TEST(InvertTone, StopsAtTheAnnouncedSizeAndAtTheRows) {
    const DibPtr dib = blankImage(4, 2, 8);
    dib->Header->biSizeImage = 3;
    EXPECT_TRUE(dib->InvertTone());
    EXPECT_EQ(dib->Buffer[2], 255);
    EXPECT_EQ(dib->Buffer[3], 0);
    dib->Header->biSizeImage = 1000000;
    EXPECT_TRUE(dib->InvertTone());
    EXPECT_EQ(dib->Buffer[2], 0);
    EXPECT_EQ(dib->Buffer[7], 255);
    dib->Header->biSizeImage = 0x80000000U;  // negative
    EXPECT_TRUE(dib->InvertTone());
    EXPECT_EQ(dib->Buffer[7], 255);
}

TEST(InvertTone, HalfEmptyImages) {
    DibStream dib;
    EXPECT_FALSE(dib.InvertTone());
    unsigned char byte = 7;
    dib.SetBuffer(&byte, 0);
    EXPECT_TRUE(dib.InvertTone());
    EXPECT_EQ(byte, 7);
}

TEST(Brighten, DarkeningRoundsAndLighteningTruncates) {
    const auto changed = [](int value, float factor) {
        const DibPtr dib = blankImage(1, 1, 24);
        dib->Buffer[0] = static_cast<unsigned char>(value);
        EXPECT_TRUE(dib->Brighten(factor));
        return int{dib->Buffer[0]};
    };
    EXPECT_EQ(changed(255, 0.5F), 128);
    EXPECT_EQ(changed(1, 0.5F), 1);
    EXPECT_EQ(changed(255, 0), 0);
    EXPECT_EQ(changed(0, 2), 127);
    EXPECT_EQ(changed(255, 2), 255);
    EXPECT_EQ(changed(100, std::numeric_limits<float>::infinity()), 255);
    EXPECT_EQ(changed(200, 1), 200);
    // 1 - 1 / 1.5 in float lies below one third, so that 255 thirds end at 84.
    EXPECT_EQ(changed(0, 1.5F), 84);
    EXPECT_EQ(changed(100, 1.5F), 151);
    EXPECT_EQ(changed(255, 1.5F), 255);
    // Two thirds lie below themselves likewise: 169 of 170, and 1 of 2.
    EXPECT_EQ(changed(0, 3), 169);
    EXPECT_EQ(changed(100, 3), 203);
    EXPECT_EQ(changed(252, 3), 253);
    EXPECT_EQ(changed(254, 3), 254);
}

TEST(Brighten, RefusedFactorsAndDepths) {
    const DibPtr dib = randomImage(3, 2, 24, 3);
    const DibPtr before(dib->Clone());
    EXPECT_FALSE(dib->Brighten(-0.5F));
    EXPECT_FALSE(dib->Brighten(std::nanf("")));
    EXPECT_TRUE(sameImage(*dib, *before));

    const DibPtr sixteen = randomImage(3, 2, 16, 4);
    const DibPtr before16(sixteen->Clone());
    EXPECT_FALSE(sixteen->Brighten(0.5F));
    EXPECT_TRUE(sixteen->Brighten(1));
    EXPECT_TRUE(sameImage(*sixteen, *before16));

    DibStream empty;
    EXPECT_FALSE(empty.Brighten(1));
    unsigned char byte = 7;
    empty.SetBuffer(&byte, 0);
    EXPECT_TRUE(empty.Brighten(1));
    EXPECT_FALSE(empty.Brighten(2));
}

TEST(Brighten, IndexedImagesChangeTheirPaletteOnly) {
    const DibPtr dib = blankImage(2, 2, 8);
    DibBGRA* table = reinterpret_cast<DibBGRA*>(dib->Header + 1);
    table[255] = {255, 254, 1, 77};
    dib->Buffer[0] = 200;
    EXPECT_TRUE(dib->Brighten(0.5F));
    EXPECT_EQ(dib->Buffer[0], 200);
    EXPECT_EQ(table[255].blue, 128);
    EXPECT_EQ(table[255].green, 127);
    EXPECT_EQ(table[255].red, 1);
    EXPECT_EQ(table[255].alpha, 77);
}

TEST(Brighten, AlphaStaysAndFillBytesChange) {
    const DibPtr alpha = blankImage(1, 1, 32);
    setPixelValue(*alpha, 0, 0, 0x64646464);
    EXPECT_TRUE(alpha->Brighten(0.5F));
    EXPECT_EQ(pixelValue(*alpha, 0, 0), 0x64323232U);
    const DibPtr fill = blankImage(1, 1, 24);
    fill->Buffer[3] = 100;
    EXPECT_TRUE(fill->Brighten(0.5F));
    EXPECT_EQ(fill->Buffer[3], 50);
}

TEST(Brighten, NoAnnouncedLengthMeansTheWholeTable) {
    for (const int depth : {1, 4, 8}) {
        const DibPtr dib = blankImage(1, 1, depth);
        auto* table = reinterpret_cast<DibBGRA*>(dib->Header + 1);
        const int last = (1 << depth) - 1;
        table[0] = {9, 8, 7, 6};
        table[last] = {200, 101, 50, 40};
        dib->Header->biClrUsed = 0;
        EXPECT_TRUE(dib->Brighten(0.5F));
        EXPECT_EQ(table[0].blue, 5);
        EXPECT_EQ(table[0].green, 4);
        EXPECT_EQ(table[0].red, 4);
        EXPECT_EQ(table[0].alpha, 6);
        EXPECT_EQ(table[last].blue, 100) << depth;
        EXPECT_EQ(table[last].green, 51) << depth;
        EXPECT_EQ(table[last].red, 25) << depth;
        EXPECT_EQ(table[last].alpha, 40) << depth;
        EXPECT_EQ(dib->Header->biClrUsed, 0U);
    }
}

TEST(Brighten, ShortBorrowedTablesAreChangedWhereTheyAre) {
    const DibPtr like = blankImage(2, 2, 8);
    Borrowed borrowed(*like, 2);
    EXPECT_TRUE(borrowed.dib.Brighten(0.5F));
    EXPECT_EQ(borrowed.dib.HeaderOwner, 0U);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(borrowed.dib.Header), borrowed.header.get());
    const unsigned char darker[] = {1, 1, 2, 4, 3, 3, 4, 8};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(borrowed.header[40 + i], darker[i]) << i;

    Borrowed longHeader(*like, 1, 108);
    EXPECT_TRUE(longHeader.dib.Brighten(2));
    const unsigned char lighter[] = {128, 128, 129, 4};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(longHeader.header[108 + i], lighter[i]) << i;
    for (std::size_t i = 40; i < 108; ++i) EXPECT_EQ(longHeader.header[i], 0) << i;
}

TEST(Brighten, At24BitsTheAnnouncedBytesChange) {
    const auto changedBytes = [](std::uint32_t announced) {
        const DibPtr dib = blankImage(2, 2, 24);
        std::fill_n(dib->Buffer, 16, static_cast<unsigned char>(100));
        dib->Header->biSizeImage = announced;
        EXPECT_TRUE(dib->Brighten(0.5F));
        int changed = 0;
        while (changed < 16 && dib->Buffer[changed] == 50) ++changed;
        for (int i = changed; i < 16; ++i) EXPECT_EQ(dib->Buffer[i], 100) << announced;
        return changed;
    };
    EXPECT_EQ(changedBytes(0), 16);
    EXPECT_EQ(changedBytes(1), 1);
    EXPECT_EQ(changedBytes(5), 5);
    EXPECT_EQ(changedBytes(13), 13);
    EXPECT_EQ(changedBytes(1000), 16) << "no further than the rows";
    EXPECT_EQ(changedBytes(0x80000000U), 0);
}

TEST(Brighten, EqualsThePlainLoopsEverywhere) {
    forEachImage([](DibStream& dib) {
        const reference::Image image(dib);
        for (const float factor :
             {0.0F, 0.1F, 0.333F, 0.5F, 0.999F, 1.0F, 1.001F, 1.5F, 3.0F, 100.0F, 1e30F, -1.0F}) {
            expectSame(
                dib, [=](DibStream& d) { return d.Brighten(factor); }, reference::brighten(image, factor),
                "brighten");
        }
    });
}

}  // namespace
}  // namespace geometry_test
