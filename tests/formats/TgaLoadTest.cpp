#include "formats/Tga.h"

#include <cstring>

#include "tests/formats/CodecTest.h"
#include "tests/reference/CodecReference.h"

namespace codec_test {
namespace {

// The fields of a header that the tests vary.
struct Fields {
    unsigned type = 2;
    unsigned width = 2;
    unsigned height = 2;
    unsigned bitCount = 24;
    unsigned descriptor = 0;
    unsigned mapType = 0;
    unsigned mapEntries = 0;
    unsigned mapEntryBits = 0;
    unsigned idBytes = 0;
};

ByteWriter header(const Fields& f) {
    ByteWriter out;
    out.u8(f.idBytes).u8(f.mapType).u8(f.type).le16(7).le16(f.mapEntries).u8(f.mapEntryBits);
    out.le16(11).le16(12).le16(f.width).le16(f.height).u8(f.bitCount).u8(f.descriptor);
    return out.fill(f.idBytes, 'i');
}

Bytes tga(const Fields& f, const Bytes& rest) { return header(f).raw(rest).bytes; }

Loaded loadTga(const Fields& f, const Bytes& rest) { return load(LoadTGA, tga(f, rest)); }

Bytes counting(std::size_t count, unsigned first = 1) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(first + i);
    return bytes;
}

Bytes joined(const Bytes& a, const Bytes& b) { return ByteWriter().raw(a).raw(b).bytes; }

// A file of every accepted type, with its picture's rows in file order.
struct GoodFile {
    const char* name;
    Fields fields;
    Bytes rest;
};
std::vector<GoodFile> goodFiles() {
    return {
        {"raw mapped", {1, 2, 2, 8, 0, 1, 3, 24, 4}, joined(counting(9), {0, 1, 2, 0})},
        {"raw mapped to 32 bits", {1, 2, 2, 8, 0, 1, 2, 32}, joined(counting(8), {0, 1, 5, 255})},
        {"raw 16", {2, 3, 2, 16}, counting(12)},
        {"raw 24", {2, 3, 2, 24}, counting(18)},
        {"raw 24 with a map", {2, 3, 2, 24, 0, 1, 2, 32}, joined(counting(8, 100), counting(18))},
        {"raw 32", {2, 3, 2, 32, 0x20}, counting(24)},
        {"grey", {3, 3, 2, 8, 0x20}, counting(6)},
        {"packets mapped", {9, 3, 2, 8, 0x20, 1, 2, 24}, joined(counting(6), {0x83, 1, 0x01, 0, 1})},
        {"packets 16", {10, 3, 2, 16}, {0x83, 1, 2, 0x01, 3, 4, 5, 6}},
        {"packets 24", {10, 3, 2, 24}, {0x00, 9, 8, 7, 0x84, 1, 2, 3}},
        {"packets 32", {10, 3, 2, 32, 0x20, 1, 2, 16}, {1, 2, 3, 4, 0x85, 1, 2, 3, 4}},
    };
}

TEST(TgaLoad, EveryAcceptedType) {
    for (const GoodFile& file : goodFiles()) {
        const Loaded loaded = loadTga(file.fields, file.rest);
        EXPECT_TRUE(loaded.result) << file.name;
        EXPECT_EQ(loaded.code, 0) << file.name;
        ASSERT_NE(loaded.image->Header, nullptr) << file.name;
        EXPECT_EQ(loaded.image->Header->biWidth, static_cast<int>(file.fields.width)) << file.name;
    }
}

TEST(TgaLoad, TopOriginMakesTopDownImages) {
    const Loaded bottom = loadTga({2, 1, 2, 24, 0}, counting(6));
    ASSERT_TRUE(bottom.result);
    EXPECT_EQ(bottom.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*bottom.image, 1), (Bytes{1, 2, 3}));
    const Loaded top = loadTga({2, 1, 2, 24, 0x20}, counting(6));
    ASSERT_TRUE(top.result);
    EXPECT_EQ(top.image->Header->biHeight, -2);
    EXPECT_EQ(rowBytes(*top.image, 0), (Bytes{1, 2, 3}));
    // The first row of the file is the first of the block in both.
    EXPECT_EQ(std::memcmp(bottom.image->Buffer, top.image->Buffer, 3), 0);
}

TEST(TgaLoad, OnlyRawFilesAreTopDown) {
    for (GoodFile file : goodFiles()) {
        for (const unsigned descriptor : {0U, 0x20U}) {
            file.fields.descriptor = descriptor;
            const Loaded loaded = loadTga(file.fields, file.rest);
            ASSERT_TRUE(loaded.result) << file.name;
            const bool topDown = file.fields.type <= 3 && descriptor == 0x20;
            EXPECT_EQ(loaded.image->Header->biHeight, topDown ? -2 : 2) << file.name;
        }
    }
}

TEST(TgaLoad, OnlyTheTopBitOfTheDescriptorCounts) {
    const Loaded loaded = loadTga({2, 2, 1, 24, 0x1F}, counting(6));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biHeight, 1);
    EXPECT_EQ(rowBytes(*loaded.image, 0), counting(6));
}

TEST(TgaLoad, SixteenBitWordsAreKept) {
    const Loaded loaded = loadTga({2, 2, 1, 16}, {0x34, 0x92, 0xFF, 0xFF});
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 16);
    EXPECT_EQ(testing_support::pixelValue(*loaded.image, 0, 0), 0x9234U);
    EXPECT_EQ(testing_support::pixelValue(*loaded.image, 1, 0), 0xFFFFU);
}

TEST(TgaLoad, ColourMapOf24BitEntriesBecomesTheTable) {
    const Loaded loaded = loadTga({1, 2, 1, 8, 0, 1, 2, 24}, {1, 2, 3, 4, 5, 6, 1, 0});
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 8);
    EXPECT_EQ(loaded.image->Header->biClrUsed, 256U);
    const Bytes block = testing_support::headerBytes(*loaded.image);
    // The index of the first entry (7 in every file here) is not applied; other entries stay grey.
    EXPECT_EQ(Bytes(block.begin() + 40, block.begin() + 52), (Bytes{1, 2, 3, 0, 4, 5, 6, 0, 2, 2, 2, 0}));
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 0}));
}

TEST(TgaLoad, ColourMapOf32BitEntriesIsLookedUp) {
    const Loaded loaded = loadTga({1, 3, 1, 8, 0x20, 1, 2, 32}, joined(counting(8), {1, 5, 0}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 32);
    EXPECT_EQ(loaded.image->Header->biHeight, -1);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{5, 6, 7, 8, 0, 0, 0, 0, 1, 2, 3, 4}));
}

TEST(TgaLoad, LongColourMaps) {
    // 32-bit entries may be more than an index reaches.
    EXPECT_TRUE(loadTga({1, 1, 1, 8, 0, 1, 300, 32}, joined(counting(1200), {255})).result);
    EXPECT_TRUE(loadTga({1, 1, 1, 8, 0, 1, 256, 24}, joined(counting(768), {255})).result);
    for (const unsigned type : {1U, 9U}) {
        const Loaded loaded = loadTga({type, 1, 1, 8, 0, 1, 257, 24}, joined(counting(771), {0x00, 255}));
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, 6);
        EXPECT_EQ(loaded.image->Header, nullptr);
    }
}

TEST(TgaLoad, GreyHasTheGreyTable) {
    const Loaded loaded = loadTga({3, 3, 1, 8, 0, 1, 2, 24}, joined(counting(6, 50), {7, 8, 9}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{7, 8, 9}));
    EXPECT_EQ(testing_support::headerBytes(*loaded.image)[40 + 4 * 9], 9);
}

TEST(TgaLoad, IdentificationAndUnusedMapsAreSkipped) {
    for (const unsigned bits : {8U, 16U, 24U, 32U}) {
        const Loaded loaded =
            loadTga({2, 1, 1, 24, 0, 1, 3, bits, 255}, joined(counting(3 * bits / 8, 90), {1, 2, 3}));
        ASSERT_TRUE(loaded.result) << bits;
        EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 2, 3})) << bits;
    }
}

TEST(TgaLoad, MapsOf15BitEntriesAreNotSkipped) {
    const Loaded loaded = loadTga({2, 1, 1, 24, 0, 1, 2, 15}, {91, 92, 93, 94, 1, 2, 3});
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{91, 92, 93}));
}

TEST(TgaLoad, PacketsAlwaysMakeBottomUpImages) {
    const Bytes packets = {0x00, 1, 2, 3, 0x00, 4, 5, 6};
    const Loaded bottom = loadTga({10, 1, 2, 24, 0}, packets);
    ASSERT_TRUE(bottom.result);
    EXPECT_EQ(bottom.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*bottom.image, 1), (Bytes{1, 2, 3}));
    const Loaded top = loadTga({10, 1, 2, 24, 0x20}, packets);
    ASSERT_TRUE(top.result);
    EXPECT_EQ(top.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*top.image, 0), (Bytes{1, 2, 3}));
    EXPECT_EQ(rowBytes(*top.image, 1), (Bytes{4, 5, 6}));
}

TEST(TgaLoad, PacketsCrossRowsAndTheEnd) {
    const Loaded run = loadTga({10, 2, 3, 16, 0x20}, {0x01, 1, 1, 2, 2, 0x82, 3, 3, 0xFF, 4, 4});
    ASSERT_TRUE(run.result);
    EXPECT_EQ(rowBytes(*run.image, 0), (Bytes{1, 1, 2, 2}));
    EXPECT_EQ(rowBytes(*run.image, 1), (Bytes{3, 3, 3, 3}));
    EXPECT_EQ(rowBytes(*run.image, 2), (Bytes{3, 3, 4, 4}));
    // Raw pixels beyond the image are not read, so they may be missing.
    const Loaded raw = loadTga({10, 2, 2, 16, 0}, {0x7F, 1, 1, 2, 2, 3, 3, 4, 4});
    ASSERT_TRUE(raw.result);
    EXPECT_EQ(rowBytes(*raw.image, 1), (Bytes{1, 1, 2, 2}));
    EXPECT_EQ(rowBytes(*raw.image, 0), (Bytes{3, 3, 4, 4}));
}

TEST(TgaLoad, FailureTable) {
    DibStream image;
    expectNoFile(LoadTGA, LoadTGA, image, 3);

    const auto code = [](const Fields& f) { return loadTga(f, Bytes(4000, 1)).code; };
    for (const unsigned type : {0U, 4U, 5U, 6U, 7U, 8U, 11U, 32U, 255U}) {
        EXPECT_EQ(code({type, 2, 2, 8}), 1) << type;
    }
    EXPECT_EQ(code({1, 2, 2, 16, 0, 1, 2, 24}), 7);
    EXPECT_EQ(code({1, 2, 2, 8, 0, 0, 2, 24}), 7);
    for (const unsigned bits : {0U, 8U, 15U, 16U}) EXPECT_EQ(code({1, 2, 2, 8, 0, 1, 2, bits}), 7) << bits;
    for (const unsigned bits : {0U, 1U, 8U, 15U, 40U, 255U}) EXPECT_EQ(code({2, 2, 2, bits}), 7) << bits;
    for (const unsigned bits : {0U, 1U, 16U, 24U}) EXPECT_EQ(code({3, 2, 2, bits}), 7) << bits;
    EXPECT_EQ(code({9, 2, 2, 24, 0, 1, 2, 24}), 1);
    EXPECT_EQ(code({9, 2, 2, 8, 0, 0, 2, 24}), 1);
    for (const unsigned bits : {0U, 1U, 8U, 15U, 40U, 255U}) EXPECT_EQ(code({10, 2, 2, bits}), 1) << bits;
    for (const unsigned type : {1U, 2U, 3U, 9U, 10U}) {
        const Fields f{type, 2, 2, type == 2 || type == 10 ? 24U : 8U, 0, 1, 0x8000, 24};
        EXPECT_EQ(code(f), 6) << type;
    }
}

TEST(TgaLoad, MapsOfNegativeLengthAreJudgedLast) {
    // What the type refuses anyway keeps its code, and a map that skips nothing may have any length.
    EXPECT_EQ(loadTga({1, 2, 2, 16, 0, 1, 0x8000, 24}, Bytes(4000, 1)).code, 7);
    EXPECT_EQ(loadTga({2, 2, 2, 15, 0, 1, 0x8000, 24}, Bytes(4000, 1)).code, 7);
    EXPECT_EQ(loadTga({3, 2, 2, 16, 0, 1, 0x8000, 24}, Bytes(4000, 1)).code, 7);
    EXPECT_EQ(loadTga({9, 2, 2, 8, 0, 1, 0x8000, 32}, Bytes(4000, 1)).code, 1);
    EXPECT_EQ(loadTga({10, 2, 2, 8, 0, 1, 0x8000, 24}, Bytes(4000, 1)).code, 1);
    for (const unsigned bits : {24U, 32U}) {
        const Loaded loaded = loadTga({1, 2, 2, 8, 0, 1, 0xFFFF, bits}, Bytes(4000, 1));
        EXPECT_EQ(loaded.code, 6) << bits;
        EXPECT_EQ(loaded.image->Header, nullptr) << bits;
    }
    for (const unsigned type : {2U, 10U}) {
        const Loaded loaded = loadTga({type, 1, 1, 24, 0, 1, 0xFFFE, 15}, {0, 2, 3, 4});
        EXPECT_TRUE(loaded.result) << type;
        EXPECT_EQ(rowBytes(*loaded.image, 0), type == 2 ? (Bytes{0, 2, 3}) : (Bytes{2, 3, 4}));
    }
}

TEST(TgaLoad, PacketsWithAnotherMapThan24BitsLeaveTheNewImage) {
    const Loaded loaded = loadTga({9, 5, 4, 8, 0, 1, 2, 32}, Bytes(100, 1));
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, 1);
    ASSERT_NE(loaded.image->Header, nullptr);
    EXPECT_EQ(loaded.image->Header->biWidth, 5);
}

TEST(TgaLoad, SizesBelowOne) {
    for (const unsigned type : {2U, 10U}) {
        EXPECT_EQ(loadTga({type, 0, 2, 24}, Bytes(100)).code, 2);
        EXPECT_EQ(loadTga({type, 2, 0, 24}, Bytes(100)).code, 2);
        EXPECT_EQ(loadTga({type, 0xFFFF, 2, 24}, Bytes(100)).code, 2);
    }
    // No row is read, but the image is there.
    const Loaded raw = loadTga({2, 2, 0xFFFD, 24}, {});
    EXPECT_TRUE(raw.result);
    EXPECT_EQ(raw.image->Header->biHeight, -3);
    EXPECT_EQ(testing_support::pixelBytes(*raw.image), Bytes(24, 0));
    EXPECT_EQ(loadTga({2, 2, 0xFFFD, 24, 0x20}, {}).image->Header->biHeight, 3);
    EXPECT_TRUE(loadTga({1, 2, 0xFFFD, 8, 0, 1, 1, 32}, counting(4)).result);
    EXPECT_EQ(loadTga({10, 2, 0xFFFD, 24}, Bytes(100)).code, 6);
    EXPECT_EQ(loadTga({9, 2, 0xFFFD, 8, 0, 1, 1, 24}, Bytes(100)).code, 6);
}

TEST(TgaLoad, FailuresToldByTheHeaderKeepTheOldImage) {
    const DibPtr image = testing_support::randomImage(3, 3, 24, 1);
    const Bytes before = testing_support::pixelBytes(*image);
    const std::pair<Fields, int> refused[] = {
        {{0}, 1},
        {{11, 2, 2, 8}, 1},
        {{1, 2, 2, 16, 0, 1, 2, 24}, 7},
        {{1, 2, 2, 8, 0, 1, 257, 24}, 6},
        {{2, 2, 2, 15}, 7},
        {{2, 2, 2, 24, 0, 1, 0x8000, 24}, 6},
        {{3, 2, 2, 16}, 7},
        {{9, 2, 2, 8, 0, 0, 2, 24}, 1},
        {{9, 2, 2, 8, 0, 1, 257, 24}, 6},
        {{10, 2, 2, 8}, 1},
        {{10, 2, 0xFFFD, 24}, 6},
    };
    for (const auto& [fields, code] : refused) {
        EXPECT_FALSE(load(LoadTGA, tga(fields, Bytes(4000, 1)), *image));
        EXPECT_EQ(image->ErrorCode, code) << fields.type;
        EXPECT_EQ(testing_support::pixelBytes(*image), before) << fields.type;
    }
    EXPECT_FALSE(load(LoadTGA, Bytes(17, 2), *image));
    EXPECT_EQ(image->ErrorCode, 4);
    EXPECT_EQ(testing_support::pixelBytes(*image), before);
}

TEST(TgaLoad, ShortDataKeepsTheRowsBefore) {
    const Loaded raw = loadTga({2, 2, 3, 24}, counting(16));
    EXPECT_EQ(raw.code, 4);
    EXPECT_EQ(rowBytes(*raw.image, 2), (Bytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(rowBytes(*raw.image, 1), (Bytes{7, 8, 9, 10, 11, 12}));
    // Of the packets each whole pixel stays.
    const Loaded packets = loadTga({10, 2, 2, 16, 0x20}, {0x81, 1, 2, 0x01, 3, 4, 5});
    EXPECT_EQ(packets.code, 4);
    EXPECT_EQ(rowBytes(*packets.image, 0), (Bytes{1, 2, 1, 2}));
    EXPECT_EQ(rowBytes(*packets.image, 1)[0], 3);
    EXPECT_EQ(rowBytes(*packets.image, 1)[1], 4);
}

TEST(TgaLoad, PipesAreReadForward) {
    NEEDS_CALL_STREAMS();
    const Bytes file = tga({2, 2, 1, 24, 0, 1, 2, 32, 5}, joined(counting(8, 90), counting(6)));
    EndlessStream stream{{file.begin(), file.end()}, "x"};
    DibStream image;
    ASSERT_TRUE(LoadTGA(stream.open().get(), &image, nullptr, nullptr));
    EXPECT_EQ(rowBytes(image, 0), counting(6));
    // One that never ends is left when the picture is complete.
    for (const unsigned type : {2U, 10U}) {
        const Bytes head = tga({type, 2, 2, 24}, {});
        EndlessStream endless{{head.begin(), head.end()}, "x"};
        ASSERT_TRUE(LoadTGA(endless.open().get(), &image, nullptr, nullptr));
        EXPECT_EQ(rowBytes(image, 0), Bytes(6, 'x'));
    }
}

TEST(TgaLoad, EveryTruncationIsAShortRead) {
    for (const GoodFile& file : goodFiles()) {
        forEveryTruncation(tga(file.fields, file.rest), [&](const Bytes& cut, std::size_t length) {
            const Loaded loaded = load(LoadTGA, cut);
            EXPECT_FALSE(loaded.result) << file.name << " at " << length;
            EXPECT_EQ(loaded.code, 4) << file.name << " at " << length;
        });
    }
}

TEST(TgaLoad, EveryHeaderByteAtItsExtremes) {
    for (const GoodFile& file : goodFiles()) {
        forEveryExtremeByte(
            tga(file.fields, file.rest), 18, [&](const Bytes& damaged, std::size_t at, unsigned value) {
                const Loaded loaded = load(LoadTGA, damaged);
                EXPECT_EQ(loaded.result, loaded.code == 0) << file.name << " byte " << at << " = " << value;
            });
    }
}

TEST(TgaLoad, EnormousEmptyFilesFailAtOnce) {
    testing_support::resetLargestAllocation();
    EXPECT_EQ(loadTga({2, 32767, 16000, 32}, {1, 2, 3}).code, 4);
    EXPECT_EQ(loadTga({10, 32767, 16000, 32}, {0xFF, 2, 3, 4, 5}).code, 4);
    EXPECT_EQ(loadTga({10, 32767, 32767, 32}, {0xFF, 2, 3, 4, 5}).code, 2);
    EXPECT_LE(testing_support::largestAllocation(), 32767ULL * 16000 * 4);
}

TEST(TgaLoad, EveryFailingAllocation) {
    for (const GoodFile& good : goodFiles()) {
        EXPECT_GE(failEveryAllocation(LoadTGA, tga(good.fields, good.rest)), 2) << good.name;
    }
}

TEST(TgaLoad, NeverCallsTheCallback) {
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_TRUE(load(LoadTGA, tga({2, 2, 2, 24}, counting(12)), &log).result);
    EXPECT_TRUE(log.fractions.empty());
}

TEST(TgaLoad, RandomPacketsMatchThePlainDecoder) {
    testing_support::Random random(5);
    for (const testing_support::Size size : testing_support::kSizes) {
        for (const unsigned bitCount : {16U, 24U, 32U}) {
            for (const bool topFirst : {false, true}) {
                const std::size_t pixelBytes = bitCount / 8;
                Bytes packets;
                for (int pixels = size.width * size.height; pixels > 0;) {
                    const int count = random.between(1, random.below(4) == 0 ? 128 : 5);
                    const bool isRun = random.below(2) == 0;
                    packets.push_back(static_cast<unsigned char>((count - 1) | (isRun ? 0x80 : 0)));
                    const std::size_t values = isRun ? 1 : static_cast<std::size_t>(count);
                    for (std::size_t i = 0; i < values * pixelBytes; ++i) {
                        packets.push_back(static_cast<unsigned char>(random.next()));
                    }
                    pixels -= count;
                }
                const Loaded loaded =
                    loadTga({10, static_cast<unsigned>(size.width), static_cast<unsigned>(size.height),
                             bitCount, topFirst ? 0x20U : 0U},
                            packets);
                ASSERT_TRUE(loaded.result);
                const DibPtr expected =
                    testing_support::blankImage(size.width, size.height, static_cast<int>(bitCount));
                ASSERT_TRUE(reference::decodeTgaPackets(packets, topFirst, *expected));
                for (int y = 0; y < size.height; ++y) {
                    EXPECT_EQ(rowBytes(*loaded.image, y), rowBytes(*expected, y)) << bitCount << " row " << y;
                }
            }
        }
    }
}

}  // namespace
}  // namespace codec_test
