// Reading BMP files: variants, what stands in memory, codes, run lengths and channel masks.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "tests/dib/BmpBytes.h"
#include "tests/support/Samples.h"

namespace bmp_bytes {
namespace {

using testing_support::pixelBytes;

// The pixel block of an 8-bit picture decoded from runs.
Bytes decoded(int width, int height, const Bytes& runs) {
    DibStream dib;
    EXPECT_TRUE(load(dib, BmpBytes{width, height, 8, runs, greyEntries(256), kRunLength8}.build()))
        << dib.ErrorCode;
    return pixelBytes(dib);
}

// The word that a 32-bit pixel becomes under the masks.
std::uint32_t masked(std::uint32_t word, const std::vector<std::uint32_t>& masks) {
    DibStream dib;
    Bytes pixel(4);
    dib::writeLe32(pixel.data(), word);
    EXPECT_TRUE(load(dib, BmpBytes{1, 1, 32, pixel, {}, kMasks, 0, 56, masks}.build())) << dib.ErrorCode;
    EXPECT_EQ(dib.Header->biCompression, 3U);
    return dib::readLe32(dib.Buffer);
}

TEST(BmpLoad, LiteralFile) {
    const Bytes file{'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0,  0,  0,                      //
                     40,  0,   0,  0, 2, 0, 0, 0, 2, 0, 0,  0,  1,  0,  24, 0, 0, 0, 0, 0,  //
                     99,  0,   0,  0, 3, 0, 0, 0, 4, 0, 0,  0,  0,  0,  0,  0, 5, 0, 0, 0,  //
                     1,   2,   3,  4, 5, 6, 0, 0, 7, 8, 9,  10, 11, 12, 0,  0};
    DibStream dib;
    dib.ErrorCode = 9;
    ASSERT_TRUE(load(dib, file));
    EXPECT_EQ(dib.ErrorCode, 0);
    EXPECT_EQ(dib.HeaderOwner, 6U);
    EXPECT_EQ(dib.BufferOwner, 6U);
    EXPECT_EQ(dib.Header->biSize, 40U);
    EXPECT_EQ(dib.Header->biWidth, 2);
    EXPECT_EQ(dib.Header->biHeight, 2);
    EXPECT_EQ(dib.Header->biPlanes, 1);
    EXPECT_EQ(dib.Header->biBitCount, 24);
    EXPECT_EQ(dib.Header->biCompression, 0U);
    EXPECT_EQ(dib.Header->biSizeImage, 16U);
    EXPECT_EQ(dib.Header->biXPelsPerMeter, 3);
    EXPECT_EQ(dib.Header->biYPelsPerMeter, 4);
    EXPECT_EQ(dib.Header->biClrUsed, 0U);
    EXPECT_EQ(dib.Header->biClrImportant, 0U);
    EXPECT_EQ(testing_support::pixelValue(dib, 0, 0), 0x090807U);
    EXPECT_EQ(testing_support::pixelValue(dib, 1, 1), 0x060504U);
}

TEST(BmpLoad, EveryDepthAndRowOrder) {
    for (const int bits : testing_support::kDepths) {
        for (const int height : {3, -3}) {
            const std::size_t entries = dib::addressableEntries(bits);
            const auto image = testing_support::randomImage(5, height, bits, 1);
            const Bytes table(reinterpret_cast<unsigned char*>(image->Header) + 40,
                              reinterpret_cast<unsigned char*>(image->Header) + 40 + 4 * entries);
            DibStream dib;
            ASSERT_TRUE(load(dib, BmpBytes{5, height, bits, pixelBytes(*image), table}.build()));
            EXPECT_EQ(dib.Header->biHeight, height);
            EXPECT_EQ(dib.Header->biClrUsed, entries);
            EXPECT_EQ(dib.Header->biClrImportant, entries);
            EXPECT_EQ(dib.Header->biSizeImage, pixelBytes(*image).size());
            EXPECT_EQ(pixelBytes(dib), pixelBytes(*image));
            EXPECT_TRUE(std::equal(table.begin(), table.end(),
                                   reinterpret_cast<const unsigned char*>(dib::colorTable(dib.Header))));
        }
    }
}

TEST(BmpLoad, ShortTablesAreFilledWithBlack) {
    DibStream dib;
    ASSERT_TRUE(load(dib, BmpBytes{1, 1, 8, Bytes(4), Bytes(64, 200), kUncompressed, 16}.build()));
    EXPECT_EQ(dib.Header->biClrUsed, 16U);
    EXPECT_EQ(dib.Header->biClrImportant, 16U);
    const DibBGRA* table = dib::colorTable(dib.Header);
    EXPECT_EQ(table[15].alpha, 200);
    for (int i = 16; i < 256; ++i)
        EXPECT_EQ(table[i].blue | table[i].green | table[i].red | table[i].alpha, 0);
}

TEST(BmpLoad, FlagsAcceptDepths) {
    for (const int bits : testing_support::kDepths) {
        const Bytes file = BmpBytes{1, 1, bits, Bytes(4), greyEntries(bits <= 8 ? 1U << bits : 0)}.build();
        const unsigned int bit = bits == 1 ? 1 : bits == 4 ? 2 : bits == 8 ? 4 : static_cast<unsigned>(bits);
        const unsigned int flag = bits == 16 ? 8 : bits == 24 ? 16 : bits == 32 ? 32 : bit;
        EXPECT_EQ(failureOf(file, flag), -1);
        EXPECT_EQ(failureOf(file, 63), -1);
        EXPECT_EQ(failureOf(file, 63 & ~flag), DIB_ERROR_MISMATCH);
        EXPECT_EQ(failureOf(file, 0), DIB_ERROR_MISMATCH);
    }
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 24, Bytes(4)}.build(), 4), DIB_ERROR_MISMATCH);
}

TEST(BmpLoad, RefusedVariants) {
    for (const int bits : {0, 2, 3, 12, 15, 33, 64, 30000, 65535}) {
        EXPECT_EQ(failureOf(BmpBytes{1, 1, bits, Bytes(16)}.build()), DIB_ERROR_UNSUPPORTED) << bits;
        EXPECT_EQ(failureOf(BmpBytes{1, 1, bits, Bytes(16)}.build(), 0), DIB_ERROR_UNSUPPORTED) << bits;
    }
    for (const std::uint32_t compression : {2U, 4U, 5U, 6U, 11U, 0x80000000U, 0xFFFFFFFFU}) {
        const Bytes file = BmpBytes{1, 1, 24, Bytes(4), {}, compression}.build();
        EXPECT_EQ(failureOf(file), DIB_ERROR_UNSUPPORTED) << compression;
        EXPECT_EQ(failureOf(file, 0), DIB_ERROR_UNSUPPORTED) << "compression is judged before the depth";
    }
    for (const std::uint32_t infoBytes : {0U, 12U, 39U, 125U, 0x80000000U, 0xFFFFFFFFU}) {
        Bytes file = BmpBytes{1, 1, 24, Bytes(400)}.build();
        patch32(file, 14, infoBytes);
        EXPECT_EQ(failureOf(file), DIB_ERROR_UNSUPPORTED) << infoBytes;
    }
    for (std::uint32_t infoBytes = 40; infoBytes <= 124; ++infoBytes) {
        EXPECT_EQ(failureOf(BmpBytes{1, 1, 24, Bytes(4), {}, 0, 0, infoBytes}.build()), -1) << infoBytes;
    }
    Bytes notBmp = BmpBytes{1, 1, 24, Bytes(4)}.build();
    notBmp[1] = 'A';
    EXPECT_EQ(failureOf(notBmp), DIB_ERROR_INVALID);
}

TEST(BmpLoad, MoreColorsThanTheDepthAddresses) {
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 1, Bytes(4), greyEntries(3), 0, 3}.build()), DIB_ERROR_INVALID);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 4, Bytes(4), greyEntries(17), 0, 17}.build()), DIB_ERROR_INVALID);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 8, Bytes(4), greyEntries(257), 0, 257}.build()), DIB_ERROR_INVALID);
    // Deeper images have no table, whatever the file announces; its entries are skipped by the offset.
    DibStream dib;
    ASSERT_TRUE(load(dib, BmpBytes{1, 1, 24, {1, 2, 3, 0}, greyEntries(300), 0, 300}.build()));
    EXPECT_EQ(dib.Header->biClrUsed, 0U);
    EXPECT_EQ(pixelBytes(dib), (Bytes{1, 2, 3, 0}));
}

TEST(BmpLoad, PixelsAtTheOffsetOrBehindTheTable) {
    BmpBytes bmp{1, 1, 8, {7, 0, 0, 0}, greyEntries(256)};
    bmp.announceOffset = false;
    DibStream dib;
    ASSERT_TRUE(load(dib, bmp.build()));
    EXPECT_EQ(dib.Buffer[0], 7);

    Bytes gap = bmp.build();
    gap.insert(gap.end(), {9, 9, 42, 0, 0, 0});
    patch32(gap, 10, static_cast<std::uint32_t>(gap.size() - 4));
    ASSERT_TRUE(load(dib, gap));
    EXPECT_EQ(dib.Buffer[0], 42);

    patch32(gap, 10, 0);
    ASSERT_TRUE(load(dib, gap));
    EXPECT_EQ(dib.Buffer[0], 7);
    patch32(gap, 10, 2);  // into the headers: odd, but nothing forbids it
    ASSERT_TRUE(load(dib, gap));
    for (const std::uint32_t offset :
         {static_cast<std::uint32_t>(gap.size() - 3), 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        patch32(gap, 10, offset);
        EXPECT_EQ(failureOf(gap), DIB_ERROR_READ) << offset;
    }
}

TEST(BmpLoad, StartsAtTheCurrentPositionWithAnAbsoluteOffset) {
    Bytes file(10, 0xEE);
    Bytes inner = BmpBytes{1, 1, 24, {1, 2, 3, 0}}.build();
    patch32(inner, 10, 64);
    file.insert(file.end(), inner.begin(), inner.end());
    const auto stream = testing_support::openBytes(file);
    std::fseek(stream.get(), 10, SEEK_SET);
    DibStream dib;
    ASSERT_TRUE(dib.LoadFileInner(stream.get(), 63));
    EXPECT_EQ(pixelBytes(dib), (Bytes{1, 2, 3, 0}));
}

TEST(BmpLoad, EmptyPictures) {
    for (const auto& [width, height] : {std::pair{5, 0}, {0, 0}}) {
        DibStream dib;
        ASSERT_TRUE(load(dib, BmpBytes{width, height, 24, {}}.build()));
        EXPECT_NE(dib.Header, nullptr);
        EXPECT_NE(dib.Buffer, nullptr);
        EXPECT_EQ(dib.GetImageSize(), 0);
    }
    for (const int height : {1, -5, INT_MAX, -INT_MAX}) {
        EXPECT_EQ(failureOf(BmpBytes{0, height, 24, {}}.build()), DIB_ERROR_MEMORY) << "rows without columns";
    }
}

TEST(BmpLoad, StreamsThatCannotSeek) {
    BmpBytes bmp{1, 1, 24, {1, 2, 3, 0}};
    for (const bool offset : {false, true}) {
        bmp.announceOffset = offset;
        const Bytes file = bmp.build();
        int ends[2];
        ASSERT_TRUE(testing_support::makePipe(ends));
        ASSERT_TRUE(testing_support::writeAll(ends[1], file.data(), file.size()));
        testing_support::closeDescriptor(ends[1]);
        const dib::FilePtr stream(testing_support::openDescriptor(ends[0], "rb"));
        DibStream dib;
        EXPECT_EQ(dib.LoadFileInner(stream.get(), 63), !offset);
        EXPECT_EQ(dib.ErrorCode, offset ? DIB_ERROR_READ : DIB_OK);
    }
}

TEST(BmpRunLength, EveryItem) {
    EXPECT_EQ(decoded(4, 2, {4, 9, 0, 0, 2, 5, 0, 1}), (Bytes{9, 9, 9, 9, 5, 5, 0, 0}))
        << "runs, end of line";
    EXPECT_EQ(decoded(8, 1, {0, 3, 1, 2, 3, 0, 2, 7}), (Bytes{1, 2, 3, 7, 7, 0, 0, 0})) << "odd literals";
    EXPECT_EQ(decoded(8, 1, {0, 4, 1, 2, 3, 4, 2, 7}), (Bytes{1, 2, 3, 4, 7, 7, 0, 0})) << "even literals";
    EXPECT_EQ(decoded(4, 3, {1, 8, 0, 2, 1, 2, 1, 6}), (Bytes{8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 6, 0}))
        << "delta";
    EXPECT_EQ(decoded(4, 1, {0, 1, 4, 9}), Bytes(4)) << "nothing after the end of the bitmap";
    EXPECT_EQ(decoded(4, 1, {0, 0, 4, 9}), Bytes(4)) << "nothing after the last row";
    EXPECT_EQ(decoded(4, 2, {0, 2, 0, 2, 4, 9}), Bytes(8)) << "a delta beyond the last row";
    EXPECT_EQ(decoded(4, 2, {1, 9}), (Bytes{9, 0, 0, 0, 0, 0, 0, 0})) << "no end of bitmap";
    EXPECT_EQ(decoded(4, 2, {}), Bytes(8)) << "no code at all";
}

TEST(BmpRunLength, RunsGoOnInTheNextRow) {
    EXPECT_EQ(decoded(3, 2, {6, 9}), (Bytes{9, 9, 9, 9, 9, 9, 0, 0}));
    EXPECT_EQ(decoded(3, 2, {0, 6, 1, 2, 3, 4, 5, 6}), (Bytes{1, 2, 3, 4, 5, 6, 0, 0}));
    EXPECT_EQ(decoded(3, 2, {6, 9, 0, 0, 1, 5}), (Bytes{9, 9, 9, 9, 5, 9, 0, 0})) << "one line further only";
}

TEST(BmpRunLength, WhatLeavesTheBlockIsDropped) {
    EXPECT_EQ(decoded(4, 1, {255, 9, 255, 8, 0, 5, 1, 2, 3, 4, 5, 0}), Bytes(4, 9));
    EXPECT_EQ(decoded(4, 2, {0, 2, 255, 1, 2, 9}), Bytes(8));
    EXPECT_EQ(decoded(4, 1, {0, 2, 3, 0, 0, 4, 1, 2, 3, 4}), (Bytes{0, 0, 0, 1}));
}

TEST(BmpRunLength, CodesThatEndEarly) {
    EXPECT_EQ(decoded(4, 1, {1, 9, 3}), (Bytes{9, 0, 0, 0}));
    EXPECT_EQ(decoded(4, 1, {1, 9, 0}), (Bytes{9, 0, 0, 0}));
    EXPECT_EQ(decoded(4, 1, {1, 9, 0, 2, 1}), (Bytes{9, 0, 0, 0}));
    EXPECT_EQ(decoded(4, 1, {0, 4, 1, 2}), (Bytes{1, 2, 0, 0}));
    EXPECT_EQ(decoded(4, 1, {0, 3, 1, 2, 3}), (Bytes{1, 2, 3, 0})) << "without the padding byte";
}

TEST(BmpRunLength, TopDownAndOtherDepths) {
    DibStream dib;
    ASSERT_TRUE(load(dib, BmpBytes{4, -2, 8, {4, 9, 0, 0, 4, 5}, greyEntries(256), kRunLength8}.build()));
    EXPECT_EQ(dib.Header->biHeight, -2);
    EXPECT_EQ(dib.Header->biCompression, 0U);
    EXPECT_EQ(dib.Header->biSizeImage, 8U);
    EXPECT_EQ(dib.ScanLine(0)[0], 9);
    EXPECT_EQ(dib.ScanLine(1)[0], 5);

    ASSERT_TRUE(load(dib, BmpBytes{1, 2, 24, {3, 9, 0, 0, 2, 5}, {}, kRunLength8}.build()));
    EXPECT_EQ(pixelBytes(dib), (Bytes{9, 9, 9, 0, 5, 5, 0, 0})) << "runs count bytes";
}

TEST(BmpMasks, ChannelsAreMovedToTheirPlaces) {
    EXPECT_EQ(masked(0x44332211, {0xFF, 0xFF00, 0xFF0000, 0}), 0xFF112233U);
    EXPECT_EQ(masked(0x44332211, {0xFF000000, 0xFF0000, 0xFF00, 0xFF}), 0x11443322U);
    EXPECT_EQ(masked(0x44332211, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}), 0x44332211U);
    EXPECT_EQ(masked(0x44332211, {0xFF0000, 0xFF00, 0xFF, 0}), 0xFF332211U);
    EXPECT_EQ(masked(0x44332211, {0xFF0000, 0xFF00, 0xFF, 0x80000000}), 0xFF332211U) << "no whole alpha byte";
    EXPECT_EQ(masked(0x00000FF0, {0xFF0, 0xFF0, 0x7F8, 0xFF0}), 0xFFFFFFFEU) << "shared and odd positions";
    for (unsigned shift = 0; shift <= 24; ++shift) {
        EXPECT_EQ(masked(0xA5U << shift, {255U << shift, 0xFF, 0xFF, 0}) >> 16 & 255, 0xA5U) << shift;
        EXPECT_EQ(masked(0xA5U << shift, {0xFF, 0xFF, 0xFF, 255U << shift}) >> 24, 0xA5U) << shift;
    }
}

TEST(BmpMasks, WholeImagesAtEveryKernelLevel) {
    const auto image = testing_support::randomImage(17, 5, 32, 3);
    Bytes swapped = pixelBytes(*image);
    for (std::size_t i = 0; i < swapped.size(); i += 4) std::swap(swapped[i], swapped[i + 2]);
    const Bytes file =
        BmpBytes{17, 5, 32, swapped, {}, kMasks, 0, 124, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}}.build();
    for (const auto level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        DibStream dib;
        EXPECT_TRUE(load(dib, file));
        EXPECT_EQ(pixelBytes(dib), pixelBytes(*image));
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(BmpMasks, Refused) {
    const std::vector<std::uint32_t> good{0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 32, Bytes(4), {}, kMasks, 0, 56, good}.build()), -1);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 32, Bytes(4), {}, kMasks, 0, 52, good}.build()), 7);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 32, Bytes(99), {}, kMasks, 0, 40, good}.build()), 7);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 16, Bytes(4), {}, kMasks, 0, 56, {0xF800, 0x7E0, 0x1F, 0}}.build()),
              7);
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 24, Bytes(4), {}, kMasks, 0, 56, good}.build()), 7);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (const std::uint32_t bad : {0U, 0x7FU, 0x1FFU, 0xFE000000U, 0x3FF00000U, 0xFFFFFFFFU, 0xF00FU}) {
            std::vector<std::uint32_t> masks = good;
            masks[channel] = bad;
            EXPECT_EQ(failureOf(BmpBytes{1, 1, 32, Bytes(4), {}, kMasks, 0, 56, masks}.build()), 7) << bad;
        }
    }
    EXPECT_EQ(failureOf(BmpBytes{1, 1, 16, {1, 2, 0, 0}}.build()), -1) << "16 bits without masks load";
}

}  // namespace
}  // namespace bmp_bytes
