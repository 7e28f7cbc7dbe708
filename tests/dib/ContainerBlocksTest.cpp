// The blocks of an image: borrowed and adopted ones, copies and grey tables.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "dib/ColorTable.h"
#include "tests/dib/ContainerSupport.h"
#include "tests/support/ByteFile.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace container_support {
namespace {

using testing_support::DibPtr;
using testing_support::liveAllocations;

TEST(ContainerBlocks, BorrowedBlocksAreNeverFreed) {
    HeaderBlock block(2, 1, 24);
    unsigned char pixels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const long before = liveAllocations();
    {
        DibStream dib;
        ASSERT_TRUE(dib.Create(2, 2, 24));
        EXPECT_FALSE(dib.SetDib(nullptr, 0, pixels, 0));
        EXPECT_FALSE(dib.SetDib(block.header(), 0, nullptr, 0));
        EXPECT_EQ(dib.HeaderOwner, 6U) << "nothing changed";
        EXPECT_TRUE(dib.SetDib(block.header(), 0, pixels, 0));
        EXPECT_EQ(liveAllocations(), before) << "the old blocks are gone";
        EXPECT_EQ(dib.Buffer, pixels);
        EXPECT_EQ(dib.ScanLine(0)[5], 6);
        dib.Clear();
        expectEmpty(dib);
        dib.SetDib(block.header(), 0, pixels, 0);
    }
    EXPECT_EQ(pixels[7], 8);
    EXPECT_EQ(block.header()->biWidth, 2);
}

TEST(ContainerBlocks, AdoptedBlocksAreFreedByAnyWordButZero) {
    const long before = liveAllocations();
    {
        DibStream dib;
        void* header = std::calloc(1, 40);
        void* pixels = std::calloc(1, 4);
        EXPECT_TRUE(dib.SetDib(header, 1, pixels, 0x80000000U));
        EXPECT_EQ(dib.HeaderOwner, 1U);
        EXPECT_EQ(dib.BufferOwner, 0x80000000U);
        EXPECT_TRUE(dib.SetBuffer(std::calloc(1, 9), 6));
        EXPECT_EQ(dib.BufferOwner, 6U);
        EXPECT_EQ(dib.Header, header);
        EXPECT_TRUE(dib.SetBuffer(nullptr, 0));
        EXPECT_EQ(dib.Buffer, nullptr);
    }
    EXPECT_EQ(liveAllocations(), before);
}

TEST(ContainerBlocks, CloneIsIndependent) {
    for (const int bits : testing_support::kDepths) {
        const DibPtr image = testing_support::randomImage(5, -3, bits, 1);
        image->ErrorCode = 8;
        image->AddRef();
        const DibPtr clone(image->Clone());
        image->Release();
        ASSERT_NE(clone, nullptr);
        EXPECT_TRUE(testing_support::sameImage(*image, *clone));
        EXPECT_EQ(clone->RefCount, 1U);
        EXPECT_EQ(clone->ErrorCode, 0);
        EXPECT_EQ(image->ErrorCode, 8);
        EXPECT_EQ(clone->HeaderOwner, 6U);
        EXPECT_EQ(clone->BufferOwner, 6U);
        EXPECT_NE(clone->Buffer, image->Buffer);
        EXPECT_NE(clone->Header, image->Header);
    }
}

TEST(ContainerBlocks, CloneOfHalfEmptyObjects) {
    DibStream dib;
    DibPtr clone(dib.Clone());
    ASSERT_NE(clone, nullptr);
    expectEmpty(*clone);
    ASSERT_TRUE(dib.Create(2, 2, 8));
    dib.BufferFree();
    clone.reset(dib.Clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone->Header, nullptr);
    EXPECT_EQ(clone->Buffer, nullptr);
    unsigned char pixels[4] = {};
    dib.HeaderFree();
    dib.SetBuffer(pixels, 0);
    clone.reset(dib.Clone());
    ASSERT_NE(clone, nullptr);
    expectEmpty(*clone);
    EXPECT_EQ(clone->ErrorCode, 0);
    EXPECT_EQ(dib.ErrorCode, 0);
    EXPECT_EQ(dib.Buffer, pixels);
}

TEST(ContainerBlocks, CloneAndCopyTakeTheAnnouncedTableAndPixels) {
    // 16 announced entries of 8 bits, and a pixel block of which only 4 bytes are announced.
    HeaderBlock block(4, 2, 8);
    block.header()->biClrUsed = 16;
    block.header()->biSizeImage = 4;
    std::memset(block.bytes + 40, 9, 64);
    unsigned char pixels[4] = {1, 2, 3, 4};
    DibStream dib;
    dib.SetDib(block.header(), 0, pixels, 0);
    DibPtr copies[] = {DibPtr(dib.Clone()), DibPtr(new DibStream)};
    ASSERT_TRUE(copies[1]->Copy(block.header(), pixels));
    for (const DibPtr& copy : copies) {
        const DibBGRA* table = dib::colorTable(copy->Header);
        EXPECT_EQ(copy->Header->biClrUsed, 16U);
        EXPECT_EQ(table[15].red, 9);
        EXPECT_EQ(table[16].red, 0) << "room for all 256, the rest zero";
        EXPECT_EQ(table[255].red, 0);
        EXPECT_EQ(testing_support::pixelBytes(*copy), (std::vector<unsigned char>{1, 2, 3, 4, 0, 0, 0, 0}));
    }
    // Deep images have a table when one is announced.
    HeaderBlock deep(1, 1, 24);
    deep.header()->biClrUsed = 2;
    deep.bytes[47] = 77;
    DibStream copy;
    ASSERT_TRUE(copy.Copy(deep.header(), pixels));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(copy.Header)[47], 77);
}

TEST(ContainerBlocks, LongHeadersAreUsedAsTheyAreAndCopiedShort) {
    HeaderBlock block(4, 1, 8);
    block.header()->biSize = 124;
    for (int i = 40; i < 124 + 1024; ++i) block.bytes[i] = static_cast<unsigned char>(i % 251);
    unsigned char pixels[4] = {};
    DibStream dib;
    dib.SetDib(block.header(), 0, pixels, 0);
    DibPtr copies[] = {DibPtr(dib.Clone()), DibPtr(new DibStream)};
    ASSERT_TRUE(copies[1]->Copy(block.header(), pixels));
    for (const DibPtr& copy : copies) {
        ASSERT_NE(copy, nullptr);
        const auto* bytes = reinterpret_cast<const unsigned char*>(copy->Header);
        EXPECT_EQ(std::memcmp(bytes, block.bytes, 40 + 1024), 0) << "40 bytes and the table's length";
        for (int i = 40 + 1024; i < 124 + 1024; ++i) EXPECT_EQ(bytes[i], 0) << i;
        copy->SetMonoPalette();
        expectGrey(*copy, 256, 1);
    }
    dib.SetMonoPalette();
    EXPECT_EQ(dib.Header, block.header());
    EXPECT_EQ(block.bytes[123], 123) << "the table starts after the long header";
    expectGrey(dib, 256, 1);
}

// Headers longer than any that files have are blocks of an application's own.
TEST(ContainerBlocks, TablesFollowHeadersOfAnyLength) {
    for (const std::uint32_t size : {40U, 41U, 125U, 1000U, 70001U}) {
        SCOPED_TRACE(size);
        std::vector<unsigned char> block(size + 1024, 0xEE);
        DibStream dib;
        BITMAPINFOHEADER header;
        ASSERT_TRUE(dib.SetBitmapInfo(header, 2, 1, 8));
        header.biSize = size;
        std::memcpy(block.data(), &header, 40);
        for (unsigned i = 0; i < 1024; ++i) block[size + i] = static_cast<unsigned char>(i / 4 + i % 4);
        unsigned char pixels[4] = {3, 200, 0, 0};
        dib.SetDib(block.data(), 0, pixels, 0);

        unsigned char* colors = dib.Create24Bit();
        EXPECT_EQ(std::vector<unsigned char>(colors, colors + 6),
                  (std::vector<unsigned char>{3, 4, 5, 200, 201, 202}));
        std::free(colors);
        const auto file = testing_support::writtenBytes([&](std::FILE* out) { dib.SaveFileInner(out); });
        ASSERT_EQ(file.size(), 54U + 1024 + 4);
        EXPECT_EQ(std::memcmp(file.data() + 54, block.data() + size, 1024), 0);
        EXPECT_TRUE(dib.Brighten(0.0F));
        EXPECT_EQ(std::vector<unsigned char>(block.data() + size + 4, block.data() + size + 8),
                  (std::vector<unsigned char>{0, 0, 0, 4}));
        dib.SetMonoPalette();
        EXPECT_EQ(static_cast<void*>(dib.Header), block.data());
        EXPECT_EQ(std::vector<unsigned char>(block.data() + size + 1016, block.data() + size + 1024),
                  (std::vector<unsigned char>{254, 254, 254, 0, 255, 255, 255, 0}));
        const DibPtr clone(dib.Clone());
        ASSERT_NE(clone, nullptr);
        EXPECT_EQ(clone->Header->biSize, size);
        clone->SetMonoPalette();
        expectGrey(*clone, 256, 1);
    }
}

// Lengths that no signed 32-bit number counts are damage.
TEST(ContainerBlocks, HeadersOfImpossibleLengthAreNotCopied) {
    HeaderBlock block(1, 1, 24);
    unsigned char pixels[4] = {};
    for (const std::uint32_t size : {0x80000000U, 0xFFFFFFFFU}) {
        block.header()->biSize = size;
        DibStream dib;
        EXPECT_FALSE(dib.Copy(block.header(), pixels));
        dib.SetDib(block.header(), 0, pixels, 0);
        EXPECT_EQ(dib.Clone(), nullptr);
        EXPECT_EQ(dib.ErrorCode, DIB_ERROR_MEMORY);
    }
}

// The header of a BMP file in memory.
TEST(ContainerBlocks, CopyTakesHeadersAtAnyAddress) {
    DibStream made;
    ASSERT_TRUE(made.Create(3, 2, 8));
    std::memset(made.Buffer, 77, 8);
    const auto file = testing_support::writtenBytes([&](std::FILE* out) { made.SaveFileInner(out); });
    for (const std::size_t shift : {0U, 1U, 2U, 3U}) {
        std::vector<unsigned char> moved(file.size() + 4);
        unsigned char* start = moved.data() + shift;
        std::memcpy(start, file.data(), file.size());
        DibStream copy;
        ASSERT_TRUE(copy.Copy(start + 14, start + 54 + 1024));
        EXPECT_EQ(testing_support::headerBytes(copy), testing_support::headerBytes(made));
        EXPECT_EQ(testing_support::pixelBytes(copy), std::vector<unsigned char>(8, 77));
    }
}

// Such numbers come from damaged blocks. The table is then taken from after the 40 bytes that every block
// has, and nothing beyond it is touched: the blocks here end with their tables.
TEST(ContainerBlocks, HeaderSizesBelow40CountAs40) {
    for (const std::uint32_t size : {0U, 12U, 39U}) {
        const DibPtr image = testing_support::randomImage(5, 3, 8, 1);
        const std::vector<unsigned char> pixels = testing_support::pixelBytes(*image);
        const auto* tableBytes = reinterpret_cast<const unsigned char*>(image->Header) + 40;
        const std::vector<unsigned char> table(tableBytes, tableBytes + 1024);
        image->Header->biSize = size;

        const DibPtr clone(image->Clone());
        DibStream copy;
        ASSERT_TRUE(copy.Copy(image->Header, image->Buffer));
        for (DibStream* like : {image.get(), clone.get(), &copy}) {
            EXPECT_EQ(like->Header->biSize, size);
            EXPECT_EQ(std::memcmp(dib::colorTable(like->Header), table.data(), 1024), 0);
            const DibPtr colors(like->Clone());
            ASSERT_TRUE(colors->ChangeBpp(24, 0));
            EXPECT_EQ(std::memcmp(colors->Pixel(4, 2), &table[4U * *like->Pixel(4, 2)], 3), 0);
            const DibPtr clip(like->ClipClone(1, 1, 3, 2));
            EXPECT_EQ(std::memcmp(dib::colorTable(clip->Header), table.data(), 1024), 0);
            const DibPtr smaller(like->Clone());
            ASSERT_TRUE(smaller->ChangeSize(2, 2, 0));
            EXPECT_EQ(smaller->Header->biSize, 40U);
            EXPECT_EQ(std::memcmp(dib::colorTable(smaller->Header), table.data(), 1024), 0);
            const auto file =
                testing_support::writtenBytes([&](std::FILE* out) { EXPECT_TRUE(like->SaveFileInner(out)); });
            ASSERT_EQ(file.size(), 54U + 1024 + pixels.size());
            EXPECT_EQ(std::memcmp(file.data() + 54, table.data(), 1024), 0);
            EXPECT_TRUE(like->Brighten(0.0F));
            like->SetMonoPalette();
            expectGrey(*like, 256, 1);
            EXPECT_EQ(like->Header->biWidth, 5);
        }
    }
}

TEST(ContainerBlocks, CopyFailsWithoutACode) {
    HeaderBlock block(4, 1, 24);
    unsigned char pixels[12] = {};
    DibStream dib;
    EXPECT_TRUE(dib.Copy(block.header(), pixels));
    EXPECT_EQ(dib.HeaderOwner, 6U);
    EXPECT_EQ(dib.BufferOwner, 6U);
    EXPECT_FALSE(dib.Copy(nullptr, pixels));
    expectEmpty(dib);
    EXPECT_FALSE(dib.Copy(block.header(), nullptr));
    block.header()->biWidth = -4;
    EXPECT_FALSE(dib.Copy(block.header(), pixels));
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.Buffer, nullptr);
    EXPECT_EQ(dib.HeaderOwner, 0U);
    EXPECT_EQ(dib.BufferOwner, 6U) << "beside a null block, which is never freed";
    EXPECT_EQ(dib.ErrorCode, 0);
    dib.Clear();
    EXPECT_EQ(dib.BufferOwner, 0U);
    dib.SetDib(block.header(), 0, pixels, 0);
    EXPECT_EQ(dib.Clone(), nullptr);
    EXPECT_EQ(dib.ErrorCode, DIB_ERROR_MEMORY);
}

// Sizes that no signed 32-bit number counts are damage, whatever memory there is for them.
TEST(ContainerBlocks, ImpossibleAnnouncementsAreNotCopied) {
    HeaderBlock block(4, 1, 8);
    unsigned char pixels[4] = {};
    const auto expectRefused = [&] {
        DibStream dib;
        EXPECT_FALSE(dib.Copy(block.header(), pixels));
        EXPECT_EQ(dib.Header, nullptr);
        EXPECT_EQ(dib.Buffer, nullptr);
        EXPECT_EQ(dib.ErrorCode, 0);
        dib.SetDib(block.header(), 0, pixels, 0);
        EXPECT_EQ(dib.Clone(), nullptr);
        EXPECT_EQ(dib.ErrorCode, DIB_ERROR_MEMORY);
    };
    for (const std::uint32_t bytes : {0x80000000U, 0xFFFFFFFFU}) {
        block.header()->biSizeImage = bytes;
        expectRefused();
    }
    block.header()->biSizeImage = 0;
    for (const std::uint32_t entries : {0x1FFFFFF6U, 0xFFFFFFFFU}) {
        block.header()->biClrUsed = entries;
        expectRefused();
    }
    block.header()->biClrUsed = 0x1FFFFFF5U;
    block.header()->biSize = 44;
    expectRefused();
}

TEST(ContainerBlocks, SetMonoPaletteWritesEveryEntry) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(2, 2, 4));
    dib.SetMonoPalette();
    expectGrey(dib, 16, 17);
    for (const int bits : {1, 8}) {
        ASSERT_TRUE(dib.Create(2, 2, bits));
        std::memset(dib::colorTable(dib.Header), 0x55, 4U << bits);
        dib.SetMonoPalette();
        expectGrey(dib, 1 << bits, bits == 1 ? 255 : 1);
    }
    for (const int bits : {16, 24, 32}) {
        ASSERT_TRUE(dib.Create(2, 2, bits));
        const auto before = testing_support::headerBytes(dib);
        dib.SetMonoPalette();
        EXPECT_EQ(testing_support::headerBytes(dib), before);
    }
    ASSERT_TRUE(dib.Create(2, 2, 8));
    dib.Header->biBitCount = 2;
    const auto before = testing_support::headerBytes(dib);
    dib.SetMonoPalette();
    EXPECT_EQ(testing_support::headerBytes(dib), before);
}

TEST(ContainerBlocks, SetMonoPaletteGrowsShortTables) {
    const auto makeShort = [] {
        auto* header = static_cast<BITMAPINFOHEADER*>(std::malloc(40 + 4));
        DibStream().SetBitmapInfo(*header, 1, 1, 8);
        header->biClrUsed = 1;
        return header;
    };
    DibStream* dib = nullptr;
    BITMAPINFOHEADER* block = nullptr;
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            dib = new DibStream;
            block = makeShort();
            dib->SetDib(block, 6, std::calloc(1, 4), 6);
        },
        [&] { dib->SetMonoPalette(); },
        [&](bool failureMet) {
            expectGrey(*dib, failureMet ? 1 : 256, 1);
            EXPECT_EQ(dib->Header->biClrUsed, 1U);
            if (failureMet) {
                EXPECT_EQ(dib->Header, block);
            }
            dib->Release();
        });
    EXPECT_EQ(failures, 1);
}

TEST(ContainerBlocks, SetMonoPaletteLeavesShortBorrowedBlocksAlone) {
    HeaderBlock block(1, 1, 4);
    block.header()->biClrUsed = 3;
    std::memset(block.bytes + 40, 9, 1024);
    unsigned char pixels[4] = {};
    DibStream dib;
    dib.SetDib(block.header(), 0, pixels, 0);
    dib.SetMonoPalette();
    EXPECT_NE(dib.Header, block.header());
    EXPECT_EQ(dib.HeaderOwner, 6U);
    EXPECT_EQ(dib.Header->biClrUsed, 3U);
    expectGrey(dib, 16, 17);
    for (int i = 40; i < 40 + 1024; ++i) ASSERT_EQ(block.bytes[i], 9);

    // A table that is announced whole is written where it is.
    block.header()->biClrUsed = 0;
    dib.SetDib(block.header(), 0, pixels, 0);
    dib.SetMonoPalette();
    EXPECT_EQ(dib.Header, block.header());
    expectGrey(dib, 16, 17);
    EXPECT_EQ(block.bytes[40 + 64], 9);
}

TEST(ContainerBlocks, CopiesSurviveEveryFailingAllocation) {
    const DibPtr image = testing_support::randomImage(5, 3, 8, 1);
    DibStream* clone = nullptr;
    EXPECT_EQ(testing_support::forEachFailingAllocation(
                  [&] { image->ErrorCode = 0; }, [&] { clone = image->Clone(); },
                  [&](bool failureMet) {
                      EXPECT_EQ(clone == nullptr, failureMet);
                      EXPECT_EQ(image->ErrorCode, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
                      if (clone != nullptr) clone->Release();
                  }),
              3);
    DibStream* copy = nullptr;
    bool copied = false;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> words;
    EXPECT_EQ(testing_support::forEachFailingAllocation(
                  [&] {
                      copy = new DibStream;
                      copy->Create(2, 2, 24);
                  },
                  [&] { copied = copy->Copy(image->Header, image->Buffer); },
                  [&](bool failureMet) {
                      EXPECT_EQ(copied, !failureMet);
                      EXPECT_EQ(copy->ErrorCode, 0);
                      EXPECT_EQ(copy->Header == nullptr, failureMet);
                      EXPECT_EQ(copy->Buffer == nullptr, failureMet);
                      words.push_back({copy->HeaderOwner, copy->BufferOwner});
                      copy->Release();
                  }),
              2);
    // A plain run, the header failing, the pixels failing, and the run that meets no failure.
    EXPECT_EQ(words, (std::vector<std::pair<std::uint32_t, std::uint32_t>>{{6, 6}, {6, 0}, {0, 6}, {6, 6}}));
}

}  // namespace
TEST(Container, FillBehindNewRowsIsBlank) {
    const testing_support::FillNewBlocks fill(0xEE);
    struct Size {
        int width, height, bitCount, bytesOfPixels;
    };
    for (const Size& size : {Size{33, 21, 24, 99}, Size{33, -21, 8, 33}, Size{3, 5, 16, 6}, Size{9, 4, 1, 2},
                             Size{4, 4, 8, 4}, Size{70001, 1001, 8, 70001}}) {
        DibStream dib;
        ASSERT_TRUE(dib.Create(size.width, size.height, size.bitCount));
        const std::size_t pitch = dib.GetPitch();
        const std::size_t rows = static_cast<std::size_t>(std::abs(size.height));
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t i = static_cast<std::size_t>(size.bytesOfPixels); i < pitch; ++i)
                ASSERT_EQ(dib.Buffer[row * pitch + i], 0) << size.width << " " << row << " " << i;
        }
    }
}

}  // namespace container_support
