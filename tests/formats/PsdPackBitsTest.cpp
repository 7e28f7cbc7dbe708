// PackBits rows and what is said about damaged ones.
#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

// Loads one grey row of packed bytes and gives what the log says of it.
std::string logOfRow(int width, int packedSize, const Bytes& packed, bool expectedResult, Bytes pixels = {}) {
    const Bytes data = ByteWriter().be16(1).be16(static_cast<std::uint32_t>(packedSize)).raw(packed).bytes;
    Load load(document(1, 8, 1, width, 1, data).bytes());
    EXPECT_EQ(load.result, expectedResult);
    EXPECT_EQ(load.code, kUntouched);
    if (expectedResult) {
        EXPECT_EQ(pixelsOf(*load.image), pixels);
    }
    return afterHeader(load.log);
}

TEST(PsdPackBits, Packets) {
    EXPECT_EQ(logOfRow(3, 4, {2, 5, 6, 7}, true, {5, 6, 7}), "");
    EXPECT_EQ(logOfRow(3, 2, {0xFE, 9}, true, {9, 9, 9}), "");
    EXPECT_EQ(logOfRow(3, 6, {0x80, 0, 1, 0x80, 0xFF, 2}, true, {1, 2, 2}), "");
    EXPECT_EQ(logOfRow(128, 2, {0x81, 4}, true, Bytes(128, 4)), "");
    Bytes literal(129, 8);
    literal[0] = 127;
    EXPECT_EQ(logOfRow(128, 129, literal, true, Bytes(128, 8)), "");
}

TEST(PsdPackBits, RowsOfTheWrongLength) {
    // Packets beyond the row count whole, and none of it is written past the row.
    EXPECT_EQ(logOfRow(3, 2, {0xFD, 9}, false), "invalid load bytes 4/3\n");
    EXPECT_EQ(logOfRow(3, 2, {0x81, 9}, false), "invalid load bytes 128/3\n");
    EXPECT_EQ(logOfRow(3, 6, {4, 1, 2, 3, 4, 5}, false), "invalid load bytes 5/3\n");
    // The end of the file inside the row: before a header, inside a literal, before the byte to repeat.
    EXPECT_EQ(logOfRow(3, 2, {}, false), "invalid load bytes 0/3\n");
    EXPECT_EQ(logOfRow(3, 2, {0, 1}, false), "invalid load bytes 1/3\n");
    EXPECT_EQ(logOfRow(3, 2, {0, 1, 1, 1}, false), "invalid load bytes 1/3\n");
    EXPECT_EQ(logOfRow(3, 2, {0, 1, 0xFF}, false), "invalid load bytes 1/3\n");
    EXPECT_EQ(logOfRow(3, 2, {0, 1, 0x80}, false), "invalid load bytes 1/3\n");
}

// Whatever is wrong with a packed document, a callback changes neither the picture nor what is said; it hears
// of the channels up to the one that is damaged.
TEST(PsdPackBits, DamageIsTheSameWithACallback) {
    PsdDocument packed;
    packed.channels = 4;
    packed.width = 40;
    packed.height = 6;
    packed.compression = PsdCompression::kPackBits;
    const Bytes good = packed.bytes();
    std::size_t heard[5] = {};
    for (std::size_t i = 38; i < good.size(); ++i) {
        for (const int change : {0x01, 0x80}) {
            Bytes bad = good;
            bad[i] ^= static_cast<unsigned char>(change);
            const Load plain(bad);
            ProgressLog progress;
            Load reported;
            reported.progress = &progress;
            reported.run(bad);
            ASSERT_EQ(reported.result, plain.result) << i;
            ASSERT_EQ(reported.log, plain.log) << i;
            ASSERT_EQ(testing_support::pixelBytes(*reported.image), testing_support::pixelBytes(*plain.image))
                << i;
            ASSERT_GE(progress.fractions.size(), 4U);
            if (!plain.result) ++heard[progress.fractions.size() - 4];
        }
    }
    EXPECT_EQ(heard[0], 3U);  // an unknown compression
    for (int channel = 1; channel <= 4; ++channel) EXPECT_GT(heard[channel], 20U);
}

TEST(PsdPackBits, RowsOfTheWrongPackedLength) {
    EXPECT_EQ(logOfRow(3, 5, {2, 5, 6, 7}, false), "invalid posotion 4/5\n");
    EXPECT_EQ(logOfRow(3, 3, {2, 5, 6, 7}, false), "invalid posotion 4/3\n");
    EXPECT_EQ(logOfRow(3, 65535, {0xFE, 7}, false), "invalid posotion 2/65535\n");
    // A no-operation after the last byte belongs to the next row.
    EXPECT_EQ(logOfRow(3, 5, {2, 5, 6, 7, 0x80}, false), "invalid posotion 4/5\n");
}

TEST(PsdPackBits, TableOfLengthsBeyondTheFile) {
    // 65535 channels of one row announce a table that is not there: the first row finds the end of the file.
    testing_support::resetLargestAllocation();
    const Load load(document(1, 8, 65535, 100, 1, {0, 1, 0, 2, 0xFE, 1}).bytes());
    EXPECT_FALSE(load.result);
    EXPECT_EQ(afterHeader(load.log), "invalid load bytes 0/100\n");
    EXPECT_LT(testing_support::largestAllocation(), 300000U);
}

}  // namespace
}  // namespace psd_test
