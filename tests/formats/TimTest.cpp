#include "formats/Tim.h"

#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

ByteWriter timStart(unsigned flags) { return ByteWriter().le32(0x10).le32(flags); }

// A block header whose length fits the size, plus `extra` bytes.
ByteWriter& block(ByteWriter& out, unsigned width, unsigned height, unsigned extra = 0) {
    return out.le32(12 + 2 * width * height + extra).le16(320).le16(8).le16(width).le16(height);
}

Bytes tim16(unsigned width, unsigned height, const std::vector<unsigned>& words) {
    ByteWriter out = timStart(2);
    block(out, width, height);
    for (const unsigned word : words) out.le16(word);
    return out.bytes;
}

// An image of 2 words by 2 rows with a lookup block of the given colours.
Bytes timMapped(unsigned mode, const std::vector<unsigned>& colors, const Bytes& pixels) {
    ByteWriter out = timStart(mode | 8);
    block(out, static_cast<unsigned>(colors.size()), 1);
    for (const unsigned color : colors) out.le16(color);
    return block(out, 2, 2).raw(pixels).bytes;
}

std::vector<Bytes> goodFiles() {
    return {tim16(3, 2, {1, 2, 3, 4, 5, 6}), timMapped(1, {0x7FFF, 31}, {0, 1, 0, 1, 1, 1, 0, 0}),
            timMapped(0, {0x7FFF, 31, 1, 2}, {0x10, 0x32, 0x11, 0x33, 0, 1, 2, 3})};
}

TEST(TimLoad, WordsExchangeRedAndBlueTopRowFirst) {
    const Loaded loaded = load(LoadTIM, tim16(2, 2, {0x001F, 0x7C00, 0x03E0, 0xFFFF}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.code, kUntouched);
    DibStream& image = *loaded.image;
    EXPECT_EQ(image.Header->biBitCount, 16);
    EXPECT_EQ(image.Header->biHeight, 2);
    EXPECT_EQ(testing_support::pixelValue(image, 0, 0), 0x7C00U);
    EXPECT_EQ(testing_support::pixelValue(image, 1, 0), 0x001FU);
    EXPECT_EQ(testing_support::pixelValue(image, 0, 1), 0x03E0U);
    EXPECT_EQ(testing_support::pixelValue(image, 1, 1), 0x7FFFU);  // the 16th bit is dropped
}

TEST(TimLoad, EightBitsKeepTheirBytes) {
    const Loaded loaded = load(LoadTIM, timMapped(1, {0x001F, 0xFFE1}, {1, 2, 3, 4, 5, 6, 7, 8}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 8);
    EXPECT_EQ(loaded.image->Header->biWidth, 4);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{5, 6, 7, 8}));
    const Bytes header = testing_support::headerBytes(*loaded.image);
    ASSERT_EQ(header.size(), 40U + 1024);
    EXPECT_EQ(Bytes(header.begin() + 40, header.begin() + 52),
              (Bytes{0, 0, 0xF8, 0, 0xF8, 0xF8, 8, 0, 0, 0, 0, 0}));
}

TEST(TimLoad, FourBitsExchangeTheirNibbles) {
    const Loaded loaded = load(LoadTIM, timMapped(0, {1, 2, 3}, {0x21, 0x43, 0x65, 0x87, 0, 0, 0, 0xF0}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 4);
    EXPECT_EQ(loaded.image->Header->biWidth, 8);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{0, 0, 0, 0x0F}));
    EXPECT_EQ(testing_support::headerBytes(*loaded.image).size(), 40U + 64);
}

TEST(TimLoad, LookupBlocksAreLeftByTheirLength) {
    // A longer block than its colours need, and one of more colours than a table holds.
    ByteWriter padded = timStart(9);
    block(padded, 1, 1, 6).le16(31).raw({9, 9, 9, 9, 9, 9});
    const Loaded loaded = load(LoadTIM, block(padded, 1, 1).raw({1, 2}).bytes);
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 2}));

    ByteWriter large = timStart(9);
    block(large, 256, 2);
    for (unsigned i = 0; i < 512; ++i) large.le16(i);
    const Loaded cut = load(LoadTIM, block(large, 1, 1).raw({3, 4}).bytes);
    ASSERT_TRUE(cut.result);
    EXPECT_EQ(rowBytes(*cut.image, 0), (Bytes{3, 4}));
    EXPECT_EQ(testing_support::headerBytes(*cut.image)[40 + 4 * 255 + 2], 0xF8);
}

TEST(TimLoad, LookupBlockBesideWordsIsSkipped) {
    ByteWriter out = timStart(2 | 8);
    block(out, 2, 1).le16(1).le16(2);
    const Loaded loaded = load(LoadTIM, block(out, 1, 1).le16(0x1F).bytes);
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(testing_support::pixelValue(*loaded.image, 0, 0), 0x7C00U);
}

TEST(TimLoad, FourBitsTakeTheFirst16Colours) {
    const Loaded loaded = load(
        LoadTIM, timMapped(0, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x7C00, 31, 31}, Bytes(8, 0)));
    ASSERT_TRUE(loaded.result);
    const Bytes header = testing_support::headerBytes(*loaded.image);
    ASSERT_EQ(header.size(), 40U + 64);
    EXPECT_EQ(Bytes(header.begin() + 40, header.begin() + 44), (Bytes{0, 0, 8, 0}));
    EXPECT_EQ(Bytes(header.begin() + 100, header.end()), (Bytes{0xF8, 0, 0, 0}));
}

TEST(TimLoad, LookupBlocksOfPipesAreLeftByTheirLength) {
    NEEDS_CALL_STREAMS();
    for (const unsigned height : {1U, 2U}) {
        ByteWriter out = timStart(9);
        block(out, 256, height, 6).fill(512 * height, 1).fill(6, 9);
        block(out, 1, 1).raw({3, 4});
        EndlessStream stream{{out.bytes.begin(), out.bytes.end()}, "x"};
        DibStream image;
        ASSERT_TRUE(LoadTIM(stream.open().get(), &image, nullptr, nullptr));
        EXPECT_EQ(rowBytes(image, 0), (Bytes{3, 4}));
    }
}

TEST(TimLoad, WithoutLookupTheTableIsGrey) {
    for (const unsigned mode : {0U, 1U}) {
        ByteWriter out = timStart(mode);
        const Loaded loaded = load(LoadTIM, block(out, 1, 1).raw({1, 2}).bytes);
        ASSERT_TRUE(loaded.result);
        const Bytes header = testing_support::headerBytes(*loaded.image);
        EXPECT_EQ(header[40 + 4 * 3 + 1], mode == 0 ? 51 : 3);
    }
}

TEST(TimLoad, FailureTable) {
    DibStream image;
    expectNoFile(LoadTIM, LoadTIM, image, 3);
    EXPECT_EQ(load(LoadTIM, {}).code, 6);
    EXPECT_EQ(load(LoadTIM, {0x10, 1, 0, 0, 2, 0, 0, 0}).code, 6);
    for (const unsigned mode : {3U, 4U, 5U, 6U, 7U, 15U}) {
        const Loaded loaded = load(LoadTIM, timStart(mode).fill(100, 1).bytes);
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, 7) << mode;
    }
    EXPECT_EQ(load(LoadTIM, tim16(0, 2, {})).code, 2);
    EXPECT_EQ(load(LoadTIM, tim16(2, 0, {})).code, 2);
}

TEST(TimLoad, EveryTruncationIsReadWithZeros) {
    for (const Bytes& file : goodFiles()) {
        const Loaded whole = load(LoadTIM, file);
        ASSERT_TRUE(whole.result);
        forEveryTruncation(file, [&](const Bytes& cut, std::size_t length) {
            const Loaded loaded = load(LoadTIM, cut);
            EXPECT_EQ(loaded.result, loaded.image->Header != nullptr) << length;
            if (!loaded.result) return;
            Bytes padded = cut;
            padded.resize(file.size());
            const Loaded expected = load(LoadTIM, padded);
            ASSERT_EQ(loaded.image->Header->biHeight, expected.image->Header->biHeight) << length;
            for (int y = 0; y < loaded.image->Header->biHeight; ++y) {
                EXPECT_EQ(rowBytes(*loaded.image, y), rowBytes(*expected.image, y)) << length;
            }
        });
    }
}

TEST(TimLoad, EnormousEmptyFilesReturnAtOnce) {
    ByteWriter out = timStart(2);
    out.le32(20).le16(0).le16(0).le16(65535).le16(16000);
    ASSERT_EQ(out.bytes.size(), 20U);
    testing_support::resetLargestAllocation();
    const Loaded loaded = load(LoadTIM, out.bytes);
    EXPECT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biWidth, 65535);
    EXPECT_EQ(loaded.image->ScanLine(8000)[77], 0);
    EXPECT_LE(testing_support::largestAllocation(), 65536ULL * 2 * 16000);
    out.bytes[18] = 0xFF;
    out.bytes[19] = 0xFF;
    EXPECT_EQ(load(LoadTIM, out.bytes).code, 2);
}

TEST(TimLoad, EveryHeaderByteAtItsExtremes) {
    for (const Bytes& file : goodFiles()) {
        forEveryExtremeByte(file, 36, [](const Bytes& damaged, std::size_t at, unsigned value) {
            const Loaded loaded = load(LoadTIM, damaged);
            EXPECT_EQ(loaded.result, loaded.image->Header != nullptr) << at << " = " << value;
        });
    }
}

TEST(TimLoad, EveryFailingAllocation) {
    for (const Bytes& bytes : goodFiles()) EXPECT_EQ(failEveryAllocation(LoadTIM, bytes), 2);
}

TEST(TimLoad, EveryKernelLevelReadsTheSame) {
    testing_support::Random random(3);
    std::vector<unsigned> words(131 * 3);
    for (unsigned& word : words) word = random.next() & 0xFFFF;
    const Bytes bytes = tim16(131, 3, words);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const Loaded loaded = load(LoadTIM, bytes);
        ASSERT_TRUE(loaded.result);
        for (int i = 0; i < 131 * 3; ++i) {
            const unsigned word = words[static_cast<std::size_t>(i)];
            const unsigned expected = (word & 31) << 10 | (word & 0x3E0) | (word >> 10 & 31);
            ASSERT_EQ(testing_support::pixelValue(*loaded.image, i % 131, i / 131), expected) << i;
        }
    }
}

// Saving.

Bytes saveTim(DibStream& image) {
    return testing_support::writtenBytes([&](std::FILE* file) { SaveTIM(file, &image, nullptr, nullptr); });
}

TEST(TimSave, WordsExchangeRedAndBlueAndLoseTheirTopBit) {
    for (const int height : {2, -2}) {
        const DibPtr image = testing_support::blankImage(1, height, 16);
        testing_support::setPixelValue(*image, 0, 0, 0xFC01);
        testing_support::setPixelValue(*image, 0, 1, 0x03E0);
        image->ErrorCode = kUntouched;
        ByteWriter expected;
        expected.le32(0x10).le32(2).le32(16).le16(0).le16(0).le16(1).le16(2).le16(0x041F).le16(0x03E0);
        EXPECT_EQ(saveTim(*image), expected.bytes);
        EXPECT_EQ(image->ErrorCode, kUntouched);
        const Loaded loaded = load(LoadTIM, expected.bytes);
        EXPECT_EQ(testing_support::pixelValue(*loaded.image, 0, 0), 0x7C01U);
    }
}

TEST(TimSave, EightBitsAlwaysWrite256Colours) {
    const DibPtr image = testing_support::randomImage(3, 2, 8, 3);
    image->Header->biClrUsed = 16;
    auto* table = reinterpret_cast<unsigned char*>(image->Header) + 40;
    const Bytes color = {0xF8, 0x08, 0x10, 0};
    std::copy(color.begin(), color.end(), table + 4 * 15);
    const Bytes file = saveTim(*image);
    ASSERT_EQ(file.size(), 8U + 524 + 12 + 2 * 4);
    const ByteWriter head = ByteWriter().le32(0x10).le32(9).le32(524).le32(0).le16(256).le16(1);
    EXPECT_TRUE(std::equal(head.bytes.begin(), head.bytes.end(), file.begin()));
    EXPECT_EQ(file[20 + 30] | file[20 + 31] << 8, 2 | 1 << 5 | 31 << 10);
    EXPECT_EQ(Bytes(file.begin() + 20 + 32, file.begin() + 20 + 512), Bytes(480, 0));
    ByteWriter block;
    block.le32(12 + 8).le32(0).le16(2).le16(2);
    // Odd rows are filled up by their own fill byte.
    for (int y = 0; y < 2; ++y) block.raw(Bytes(image->ScanLine(y), image->ScanLine(y) + 4));
    EXPECT_EQ(Bytes(file.begin() + 20 + 512, file.end()), block.bytes);
}

TEST(TimSave, FourBitsOfOddWidthBecomeWholeWords) {
    const DibPtr image = testing_support::randomImage(5, 3, 4, 3);
    const Bytes file = saveTim(*image);
    ASSERT_EQ(file.size(), 8U + 44 + 12 + 3 * 4);
    const ByteWriter head = ByteWriter().le32(0x10).le32(8).le32(44).le32(0).le16(16).le16(1);
    EXPECT_TRUE(std::equal(head.bytes.begin(), head.bytes.end(), file.begin()));
    const Loaded loaded = load(LoadTIM, file);
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biWidth, 8);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) {
            EXPECT_EQ(testing_support::pixelValue(*loaded.image, x, y),
                      testing_support::pixelValue(*image, x, y));
        }
    }
}

TEST(TimSave, OtherDepthsAreTruncatedTo16Bits) {
    for (const int bitCount : {1, 24, 32}) {
        const DibPtr image = testing_support::randomImage(5, -3, bitCount, 3);
        const Bytes file = saveTim(*image);
        EXPECT_EQ(file[4], 2);
        EXPECT_EQ(image->Header->biBitCount, bitCount);
        const Loaded loaded = load(LoadTIM, file);
        ASSERT_TRUE(loaded.result);
        EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*loaded.image),
                                                 testing_support::pictureOf(*image), 8));
    }
}

TEST(TimSave, OtherDepthsKeepTheUpperBitsOfTheirColours) {
    for (const int bitCount : {24, 32}) {
        const DibPtr image = testing_support::blankImage(1, 1, bitCount);
        testing_support::setPixelValue(*image, 0, 0, 0x0F87FF);  // red 15, green 135, blue 255
        ByteWriter expected = timStart(2);
        expected.le32(14).le32(0).le16(1).le16(1).le16(1 | 16 << 5 | 31 << 10);
        EXPECT_EQ(saveTim(*image), expected.bytes);
    }
}

TEST(TimSave, WidthsKeepTheirLow16BitsAndHeightsTheirRows) {
    const DibPtr wide = testing_support::blankImage(65538, 2, 16);
    testing_support::setPixelValue(*wide, 1, 0, 0x7C00);
    testing_support::setPixelValue(*wide, 0, 1, 0x001F);
    ByteWriter expected = timStart(2);
    expected.le32(20).le32(0).le16(2).le16(2).le16(0).le16(0x001F).le16(0x7C00).le16(0);
    EXPECT_EQ(saveTim(*wide), expected.bytes);
    const Bytes high = saveTim(*testing_support::blankImage(1, -65537, 16));
    ByteWriter head = timStart(2);
    head.le32(65537 * 2 + 12).le32(0).le16(1).le16(1);
    ASSERT_EQ(high.size(), 20U + 65537 * 2);
    EXPECT_TRUE(std::equal(head.bytes.begin(), head.bytes.end(), high.begin()));
}

TEST(TimSave, EveryDepthAndSizeComesBack) {
    for (const int bitCount : {4, 8, 16}) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const int height : {size.height, -size.height}) {
                const DibPtr image = testing_support::randomImage(size.width, height, bitCount, 5);
                const Loaded loaded = load(LoadTIM, saveTim(*image));
                ASSERT_TRUE(loaded.result);
                const std::uint32_t mask = bitCount == 16 ? 0x7FFF : 0xFFFF;
                for (int y = 0; y < size.height; ++y) {
                    for (int x = 0; x < size.width; ++x) {
                        ASSERT_EQ(testing_support::pixelValue(*loaded.image, x, y),
                                  testing_support::pixelValue(*image, x, y) & mask);
                    }
                }
            }
        }
    }
}

TEST(TimSave, AnswersFalseWhateverHappens) {
    const DibPtr image = testing_support::randomImage(2, 2, 16, 1);
    image->ErrorCode = kUntouched;
    expectWritten(SaveTIM, SaveTIM, *image, saveTim(*image), false);
    forEveryDeadFile([&](const char* path) { return SaveTIM(path, image.get(), nullptr, nullptr); },
                     [](bool saved, const char* path) { EXPECT_FALSE(saved) << path; });
    EXPECT_EQ(image->ErrorCode, kUntouched);
    expectNoFile(SaveTIM, SaveTIM, *image, 3);
}

TEST(TimSave, NothingToSaveLeavesTheIdentifier) {
    DibStream empty;
    EXPECT_EQ(saveTim(empty), (Bytes{0x10, 0, 0, 0}));
    EXPECT_EQ(empty.ErrorCode, 2);
    const DibPtr image = testing_support::randomImage(2, 2, 16, 1);
    image->BufferFree();
    EXPECT_EQ(saveTim(*image), (Bytes{0x10, 0, 0, 0}));
    EXPECT_EQ(image->ErrorCode, 2);
}

TEST(TimSave, EveryFailingAllocation) {
    for (const int bitCount : {8, 24}) {
        const int failures = failEverySave(
            {5, 4}, bitCount,
            [](std::FILE* file, DibStream* image) {
                SaveTIM(file, image, nullptr, nullptr);
                return false;
            },
            [](const SaveAttempt& attempt, bool failureMet) {
                EXPECT_EQ(attempt.image->ErrorCode, failureMet ? 2 : 0);
                EXPECT_EQ(std::ftell(attempt.file.get()) == 4, failureMet);
            });
        EXPECT_GE(failures, 1);
    }
}

}  // namespace
}  // namespace codec_test
