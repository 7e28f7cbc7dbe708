#include <cstdlib>
#include <cstring>

#include "tests/formats/DoorCodecTest.h"

namespace door_test {
namespace {

using codec_test::ByteWriter;

ByteWriter timStart(unsigned flags) { return ByteWriter().le32(0x10).le32(flags); }

ByteWriter& block(ByteWriter& out, unsigned width, unsigned height) {
    return out.le32(12 + 2 * width * height).le16(320).le16(8).le16(width).le16(height);
}

constexpr std::size_t kBlockHeader = 12;

// 4 words of 16 bits in 3 rows.
Bytes words() {
    ByteWriter out = timStart(2);
    block(out, 4, 3);
    for (unsigned i = 0; i < 12; ++i) out.le16(0x1111 * i & 0x7FFF);
    return out.bytes;
}

// 8 x 2 pixels of 4 bits with `tables` tables; colour i of table t is 16 t + i.
Bytes indices(unsigned tables) {
    ByteWriter out = timStart(8);
    block(out, 16, tables);
    for (unsigned i = 0; i < 16 * tables; ++i) out.le16(i);
    return block(out, 2, 2).raw({0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE}).bytes;
}

// 5 x 2 pixels of 24 bits: 15 bytes in 8 words.
Bytes trueColors() {
    ByteWriter out = timStart(3);
    block(out, 8, 2);
    for (unsigned y = 0; y < 2; ++y) {
        for (unsigned i = 0; i < 15; ++i) out.u8(16 * y + i);
        out.u8(99);
    }
    return out.bytes;
}

TEST(TimDoor, EverySourceGivesOnePicture) {
    for (const Bytes& file : {words(), indices(1), trueColors()}) {
        expectOneFromEverySource(file, ".tim");
        expectLoadProgress(file, 4);
        EXPECT_GT(failEveryLoad(file), 1);
    }
}

TEST(TimDoor, ProbeReadsTheHeaders) {
    const Bytes file = indices(3);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_STREQ(info.format->name, "tim");
    EXPECT_EQ(info.width, 8);
    EXPECT_EQ(info.height, 2);
    EXPECT_EQ(info.storedBits, 4);
    EXPECT_EQ(info.pages, 3);
    EXPECT_STREQ(info.compression, "none");

    DibFileResult result;
    ByteWriter start = timStart(2);
    const Bytes empty = block(start, 0, 2).bytes;
    EXPECT_FALSE(DibProbeMemory(empty.data(), empty.size(), &info, nullptr, &result));
    EXPECT_STREQ(result.reason, "a picture of 0x2 pixels is empty");
}

TEST(TimDoor, PagesAreLookupTables) {
    DibLoadOptions options;
    for (int page = 0; page < 3; ++page) {
        options.page = page;
        const Opened load = opened(indices(3), options);
        ASSERT_TRUE(load.isLoaded);
        EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x01, 0x23, 0x45, 0x67}));
        const Bytes header = testing_support::headerBytes(*load.image);
        // Colour 1 of the table is 16 x page + 1: red in its lowest 5 bits.
        constexpr unsigned char kRed[] = {8, 140, 8};  // of 1, 17 and 1
        constexpr unsigned char kGreen[] = {0, 0, 8};
        EXPECT_EQ(header[44 + 2], kRed[page]) << page;
        EXPECT_EQ(header[44 + 1], kGreen[page]) << page;
    }
    options.page = 3;
    EXPECT_STREQ(opened(indices(3), options).result.reason, "there is no page 3: the file has 3");
}

TEST(TimDoor, TrueColorsAreRead) {
    const Opened load = opened(trueColors());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 24);
    EXPECT_EQ(load.image->Header->biWidth, 5);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0),
              (Bytes{2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12}));
    EXPECT_EQ(codec_test::rowBytes(*load.image, 1),
              (Bytes{18, 17, 16, 21, 20, 19, 24, 23, 22, 27, 26, 25, 30, 29, 28}));
}

TEST(TimDoor, CutFilesAreRefusedOrKept) {
    expectRowsOfCutFiles(words(), 8 + kBlockHeader, 8);
    expectRowsOfCutFiles(indices(1), 8 + kBlockHeader + 32 + kBlockHeader, 4);
}

TEST(TimDoor, ExtremeBytes) {
    for (const Bytes& file : {words(), indices(2), trueColors()})
        expectExtremeBytesAreSurvived(file, "x.tim");
}

TEST(TimDoor, ReasonsNameWhatIsWrong) {
    const Bytes mode = timStart(4).fill(20).bytes;
    EXPECT_STREQ(opened(mode).result.reason, "pixel mode 4 is not read");
    EXPECT_EQ(opened(mode).result.code, 7);
    Bytes cut = words();
    cut.resize(8 + kBlockHeader + 20);
    const Opened load = opened(cut);
    EXPECT_STREQ(load.result.reason, "the file ends before its pixels do (in row 3 of 3)");
    EXPECT_EQ(load.result.code, 4);
}

TEST(TimDoor, SavesFourEightSixteenAnd24BitsAsTheyAre) {
    for (const int bitCount : {4, 8, 16, 24}) {
        for (const int height : {3, -3}) {
            const DibPtr image = testing_support::randomImage(8, height, bitCount, 5);
            if (bitCount == 16) {
                for (int y = 0; y < 3; ++y)
                    for (int x = 0; x < 8; ++x)
                        testing_support::setPixelValue(*image, x, y,
                                                       testing_support::pixelValue(*image, x, y) & 0x7FFF);
            }
            expectSaves(*image, "tim", 4);
            EXPECT_GT(failEverySave(*image, "tim"), 1);
            if (height > 0) expectExactRoundTrip(*image, "tim");
        }
    }
}

TEST(TimDoor, SavedBytes) {
    const DibPtr image = testing_support::blankImage(3, 1, 4);
    for (int x = 0; x < 3; ++x) testing_support::setPixelValue(*image, x, 0, static_cast<unsigned>(x + 1));
    // What follows the last pixel of a row does not become a pixel of the file.
    image->Buffer[1] |= 0x0F;
    image->Buffer[2] = image->Buffer[3] = 0xEE;
    const Bytes bytes = saved(*image, "tim");
    ASSERT_EQ(bytes.size(), 8U + kBlockHeader + 32 + kBlockHeader + 2);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 20),
              (Bytes{0x10, 0, 0, 0, 8, 0, 0, 0, 44, 0, 0, 0, 0, 0, 0, 0, 16, 0, 1, 0}));
    EXPECT_EQ(Bytes(bytes.end() - 14, bytes.end()), (Bytes{14, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0x21, 0x03}));
}

TEST(TimDoor, OneAnd32BitsBecomeFourAnd24) {
    const DibPtr bits = testing_support::blankImage(8, 1, 1);
    bits->Buffer[0] = 0b10110001;
    DibFileResult result;
    const Opened four = opened(saved(*bits, "tim", &result));
    ASSERT_TRUE(four.isLoaded) << four.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*four.image, 0), (Bytes{0x10, 0x11, 0x00, 0x01}));
    EXPECT_EQ(notesOf(result), "1 bit a pixel becomes 4;");

    const DibPtr colors = testing_support::plainImage(2, 1, 32, 0x80332211);
    const Opened load = opened(saved(*colors, "tim", &result));
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x11, 0x22, 0x33, 0x11, 0x22, 0x33}));
    EXPECT_EQ(notesOf(result), "transparency is not kept;32 bits a pixel become 24;");
}

TEST(TimDoor, LossesAreNoted) {
    const auto losses = [](const DibStream& image) {
        DibFileResult result;
        DibSaveLosses(&image, "tim", nullptr, &result);
        return notesOf(result);
    };
    EXPECT_EQ(losses(*testing_support::plainImage(4, 1, 16, 1)), "");
    EXPECT_EQ(losses(*testing_support::plainImage(5, 1, 24, 1)), "");
    EXPECT_EQ(losses(*testing_support::plainImage(4, 1, 32, 0xFF000001)), "32 bits a pixel become 24;");
    const DibPtr odd = testing_support::blankImage(5, 1, 8);
    for (std::size_t i = 40; i < 40 + 1024; ++i) reinterpret_cast<unsigned char*>(odd->Header)[i] = 0;
    odd->Header->biClrUsed = 256;
    reinterpret_cast<unsigned char*>(odd->Header)[40] = 140;  // 17 of 31
    EXPECT_EQ(losses(*odd), "rows end with a word: the width of 5 becomes 6;");

    DibFileResult result;
    const DibPtr tall = testing_support::blankImage(1, 65536, 1);
    EXPECT_TRUE(saved(*tall, "tim", &result).empty());
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "TIM files hold at most 262140x65535 pixels of 4 bits");
    const DibPtr wide = testing_support::blankImage(262140, 1, 4);
    EXPECT_FALSE(saved(*wide, "tim").empty());
}

TEST(TimDoor, MetadataIsALoss) {
    const DibPtr image = testing_support::plainImage(4, 1, 16, 1);
    DibMetadata metadata;
    metadata.xResolution = 300;
    metadata.orientation = 6;
    DibSaveOptions options;
    options.metadata = &metadata;
    DibFileResult result;
    EXPECT_EQ(DibSaveLosses(image.get(), "tim", &options, &result), 2);
    EXPECT_EQ(notesOf(result), "the resolution is not kept;the orientation is not kept;");
    options.refusesLosses = true;
    options.format = "tim";
    DibBytes bytes;
    EXPECT_FALSE(DibSaveMemory(&bytes, image.get(), &options, &result));
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "the resolution is not kept");
}

Bytes savedWith(const DibStream& image, const DibMetadata& metadata, DibFileResult* result = nullptr) {
    DibSaveOptions options;
    options.format = "tim";
    options.metadata = &metadata;
    DibBytes bytes;
    EXPECT_TRUE(DibSaveMemory(&bytes, &image, &options, result));
    return {bytes.data, bytes.data + bytes.size};
}

// 4 words of 16 bits, of which the second and the last have the special bit, and four bytes after them.
Bytes specialWords() {
    ByteWriter out = timStart(0xABCD0002);
    block(out, 4, 1);
    return out.le16(0).le16(0x8000).le16(0x001F).le16(0x83E0).raw({1, 2, 3, 4}).bytes;
}

TEST(TimDoor, UnchangedFilesAreTheSameAgain) {
    ByteWriter greys = timStart(0);
    block(greys, 1, 1).raw({0x10, 0x32});
    ByteWriter widths = timStart(3);
    block(widths, 4, 1).raw({1, 2, 3, 4, 5, 6, 0, 0});
    // Two colours in a block that has room for more.
    ByteWriter few = timStart(8);
    few.le32(kBlockHeader + 8).le16(0).le16(480).le16(2).le16(1).le16(1).le16(2).le16(3).le16(4);
    block(few, 1, 1).raw({0x10, 0x32});
    for (const Bytes& file : {words(), indices(1), indices(3), trueColors(), specialWords(), greys.bytes,
                              widths.bytes, few.bytes}) {
        Bytes expected = file;
        if (file == trueColors()) expected[20 + 15] = expected[20 + 31] = 0;  // fill is not kept
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        DibFileResult result;
        EXPECT_EQ(savedWith(*load.image, load.result.metadata, &result), expected);
        EXPECT_EQ(notesOf(result), "");
    }
    DibLoadOptions options;
    options.page = 2;
    const Opened third = opened(indices(3), options);
    EXPECT_EQ(savedWith(*third.image, third.result.metadata), indices(3));
}

// 5 x 1 words at the position of the file, without special bits where they come from elsewhere.
TEST(TimDoor, OtherSizesKeepThePosition) {
    const Opened load = opened(words());
    const DibPtr wide = testing_support::plainImage(5, 1, 16, 0x7C01);
    ByteWriter expected = timStart(2);
    expected.le32(12 + 10).le16(320).le16(8).le16(5).le16(1);
    for (int i = 0; i < 5; ++i) expected.le16(0x041F);
    EXPECT_EQ(savedWith(*wide, load.result.metadata), expected.bytes);
}

TEST(TimDoor, ChangedPalettesReplaceTheFirstTable) {
    const Opened load = opened(indices(2));
    DibBGRA red = {0, 0, 255, 0};
    std::memcpy(reinterpret_cast<unsigned char*>(load.image->Header) + 40 + 4 * 3, &red, sizeof red);
    Bytes expected = indices(2);
    expected[8 + kBlockHeader + 2 * 3] = 31;
    EXPECT_EQ(savedWith(*load.image, load.result.metadata), expected);
}

TEST(TimDoor, OtherDepthsAndDamagedFramesAreWrittenAnew) {
    const Opened load = opened(words());
    const DibPtr pixels = testing_support::plainImage(4, 1, 24, 0x302010);
    DibFileResult result;
    EXPECT_EQ(savedWith(*pixels, load.result.metadata, &result), saved(*pixels, "tim"));
    EXPECT_EQ(notesOf(result), "the positions in video memory are not kept;");
    const Bytes frame(load.result.metadata.timFrame.data,
                      load.result.metadata.timFrame.data + load.result.metadata.timFrame.size);
    EXPECT_EQ(frame.size(), 8 + kBlockHeader);
    DibMetadata damaged;
    damaged.timFrame.data = static_cast<unsigned char*>(std::malloc(frame.size()));
    ASSERT_NE(damaged.timFrame.data, nullptr);
    std::memcpy(damaged.timFrame.data, frame.data(), frame.size());
    for (std::size_t size = 0; size < frame.size(); ++size) {
        damaged.timFrame.size = size;
        EXPECT_EQ(savedWith(*load.image, damaged), saved(*load.image, "tim")) << size;
    }
    EXPECT_GT(testing_support::forEachFailingAllocation(
                  [] {},
                  [&] {
                      DibSaveOptions options;
                      options.format = "tim";
                      options.metadata = &load.result.metadata;
                      DibBytes bytes;
                      DibSaveMemory(&bytes, load.image.get(), &options, &result);
                  },
                  [&](bool failureMet) { EXPECT_EQ(result.code, failureMet ? 2 : 0); }),
              2);
}

TEST(TimDoor, TransparencyIsStoredInTheSpecialBit) {
    DibLoadOptions options;
    options.alpha = DIB_ALPHA_STORED;
    const Opened load = opened(specialWords(), options);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    ASSERT_EQ(load.image->Header->biBitCount, 32);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255, 255, 0, 255, 0, 128}));
    DibFileResult result;
    EXPECT_EQ(savedWith(*load.image, load.result.metadata, &result), specialWords());
    EXPECT_EQ(notesOf(result), "");
    load.image->Buffer[8] = 1;
    EXPECT_EQ(savedWith(*load.image, load.result.metadata, &result), specialWords());
    EXPECT_EQ(notesOf(result), "colours keep 5 of 8 bits, and alpha 3 values;");

    // Without the option the bit is kept where images have no channel.
    const Opened plain = opened(specialWords());
    EXPECT_EQ(plain.image->Header->biBitCount, 16);
    EXPECT_EQ(codec_test::rowBytes(*plain.image, 0), (Bytes{0, 0, 0, 0x80, 0, 0x7C, 0xE0, 0x83}));

    ByteWriter table = timStart(8);
    block(table, 16, 1).le16(0).le16(0x8000).le16(0x7FFF).le16(0x801F).fill(24);
    const Bytes file = block(table, 1, 1).raw({0x10, 0x32}).bytes;
    const Opened colors = opened(file, options);
    ASSERT_TRUE(colors.isLoaded);
    EXPECT_EQ(codec_test::rowBytes(*colors.image, 0),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 255, 128}));
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, &options));
    EXPECT_EQ(info.bitCount, 32);
    EXPECT_TRUE(info.hasAlpha);
    EXPECT_EQ(info.paletteSize, 0);
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_EQ(info.bitCount, 4);
    EXPECT_FALSE(info.hasAlpha);
    EXPECT_EQ(info.paletteSize, 16);
    EXPECT_GT(failEveryLoad(file, options), 1);
}

TEST(TimDoor, SamplesShowTheirPictures) {
    int shown = 0;
    for (const testing_support::Sample& sample : testing_support::samplesOf("tim")) {
        const auto expected = testing_support::expectedPicture(sample);
        if (!expected) continue;
        const Opened load = opened(testing_support::readFileBytes(sample.path));
        ASSERT_TRUE(load.isLoaded) << sample.path << load.result.reason;
        EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*load.image), *expected, 1))
            << sample.path;
        ++shown;
    }
    if (shown == 0) GTEST_SKIP() << "no samples";
}

}  // namespace
}  // namespace door_test
