#include "tests/formats/BmpDoorTest.h"

namespace door_test {
namespace {

const Bytes kThreeColors = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0};  // blue, green, red, unused
const Bytes kTwoRows24 = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};

// 2 x 2 pixels of 24 bits.
Bytes small24(int height = 2) {
    return bmp({.width = 2, .height = height, .pixels = kTwoRows24, .pixelsPerMeter = 2835});
}

TEST(BmpLoad, EverySourceGivesOnePicture) {
    for (const Bytes& file : {small24(), small24(-2),
                              bmp({.width = 3,
                              .height = 1,
                              .bits = 8,
                              .colors = 3,
                              .table = kThreeColors,
                              .pixels = {2, 1, 0, 0}}),
                              bmp({.width = 4, .height = 1, .bits = 16, .pixels = {1, 2, 3, 4, 5, 6, 7, 8}}),
                              bmp({.headerBytes = 12, .width = 2, .height = 2, .pixels = kTwoRows24})}) {
        expectOneFromEverySource(file, ".bmp");
        expectLoadProgress(file, 3);
        EXPECT_GT(failEveryLoad(file), 1);
    }
}

TEST(BmpLoad, RowOrderIsThatOfTheFile) {
    EXPECT_EQ(shown(small24(), 24), Bytes({7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(shown(small24(-2), 24), Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(opened(small24(-2)).image->Header->biHeight, -2);
}

TEST(BmpLoad, ProbeReadsTheHeaders) {
    const Bytes file = bmp({.width = 3,
                            .height = -5,
                            .bits = 8,
                            .compression = 1,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixelsPerMeter = 3937});
    DibFileInfo info;
    DibFileResult result;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, nullptr, &result)) << result.reason;
    EXPECT_STREQ(info.format->name, "bmp");
    EXPECT_EQ(info.width, 3);
    EXPECT_EQ(info.height, 5);
    EXPECT_EQ(info.bitCount, 8);
    EXPECT_EQ(info.storedBits, 8);
    EXPECT_EQ(info.paletteSize, 3);
    EXPECT_TRUE(info.isTopDown);
    EXPECT_FALSE(info.hasAlpha);
    EXPECT_STREQ(info.compression, "rle8");
    EXPECT_NEAR(result.metadata.xResolution, 99.9998, 0.0001);
}

TEST(BmpLoad, IndicesBeyondThePaletteAreBlack) {
    const Opened load = opened(bmp(
        {.width = 4, .height = 1, .bits = 8, .colors = 3, .table = kThreeColors, .pixels = {0, 2, 3, 255}}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biClrUsed, 3U);
    EXPECT_EQ(shownBytes(*load.image), Bytes({0, 2, 3, 255}));
    const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
    EXPECT_EQ(table[2].blue, 7);
    EXPECT_EQ(table[2].red, 9);
    for (int i = 3; i < 256; ++i) EXPECT_EQ(table[i].blue + table[i].green + table[i].red, 0) << i;
}

TEST(BmpLoad, PalettesOfEveryHeaderHaveTheirOwnEntries) {
    const Bytes rgb = {1, 2, 3, 4, 5, 6};
    const Bytes rgbx = {1, 2, 3, 0, 4, 5, 6, 0};
    for (unsigned length : {12U, 16U, 20U, 40U, 52U, 56U, 64U, 66U, 108U, 124U}) {
        const Bytes file = bmp({.headerBytes = length,
                                .width = 9,
                                .height = 1,
                                .bits = 1,
                                .table = length == 12 ? rgb : rgbx,
                                .pixels = {0x81, 0x80, 0, 0}});
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << length << ": " << load.result.reason;
        const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
        EXPECT_EQ(table[1].red, 6) << length;
        EXPECT_EQ(shownBytes(*load.image), Bytes({0x81, 0x80})) << length;
    }
}

// Some files have fewer colours than their depth, which only the start of the pixels tells.
TEST(BmpLoad, PalettesEndWhereThePixelsStart) {
    const Opened load = opened(bmp({.headerBytes = 12,
                                    .width = 4,
                                    .height = 1,
                                    .bits = 8,
                                    .table = {1, 2, 3, 4, 5, 6},
                                    .pixels = {0, 1, 0, 1}}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biClrUsed, 2U);
    const Opened none = opened(bmp({.width = 4, .height = 1, .bits = 8, .pixels = {0, 1, 0, 1}}));
    ASSERT_TRUE(none.isLoaded) << none.result.reason;
    EXPECT_EQ(none.note(0), "there is no palette, so indices were taken for greys");
    EXPECT_EQ(none.image->Header->biClrUsed, 256U);
}

TEST(BmpLoad, TwoBitsBecomeFour) {
    const Bytes file = bmp({.width = 5,
                            .height = 1,
                            .bits = 2,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = {0x1B, 0x80, 0, 0}});
    EXPECT_EQ(shown(file, 4), Bytes({0x01, 0x23, 0x20}));
    expectOneFromEverySource(file, ".bmp");
}

TEST(BmpLoad, RunsOf8Bits) {
    const Bytes pixels = {3, 7, 0, 3, 1, 2, 3, 0, 0, 0, 0, 2, 1, 1, 2, 9, 0, 1};
    const Bytes expected = {0, 0, 0, 0, 0, 0, 7, 7, 7, 1, 2, 3};
    BmpParts parts = {.width = 6,
                      .height = 2,
                      .bits = 8,
                      .compression = 1,
                      .colors = 3,
                      .table = kThreeColors,
                      .pixels = pixels};
    EXPECT_EQ(shown(bmp(parts), 8), expected);
    parts.height = -2;
    EXPECT_EQ(shown(bmp(parts), 8), Bytes({7, 7, 7, 1, 2, 3, 0, 0, 0, 0, 0, 0}));
    parts.height = 3;
    EXPECT_EQ(shown(bmp(parts), 8), Bytes({0, 9, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 7, 7, 1, 2, 3}));
}

TEST(BmpLoad, RunsOf4Bits) {
    const Bytes pixels = {5, 0x12, 0, 3, 0x34, 0x50, 0, 0, 3, 0x67, 0, 1};
    const BmpParts parts = {.width = 9,
                            .height = 2,
                            .bits = 4,
                            .compression = 2,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = pixels};
    EXPECT_EQ(shown(bmp(parts), 4), Bytes({0x67, 0x60, 0, 0, 0, 0x12, 0x12, 0x13, 0x45, 0}));
}

TEST(BmpLoad, RunsOf24Bits) {
    const Bytes pixels = {2, 1, 2, 3, 0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 0, 1};
    const BmpParts parts = {
        .headerBytes = 64, .width = 5, .height = 2, .bits = 24, .compression = 4, .pixels = pixels};
    EXPECT_EQ(shown(bmp(parts), 24), Bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,
                                            1, 2, 3, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    expectOneFromEverySource(bmp(parts), ".bmp");
}

// Encoders exist that never end a line.
TEST(BmpLoad, RunsContinueInTheNextRow) {
    const BmpParts parts = {.width = 3,
                            .height = 3,
                            .bits = 8,
                            .compression = 1,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = {5, 1, 0, 4, 2, 3, 4, 5}};
    EXPECT_EQ(shown(bmp(parts), 8), Bytes({3, 4, 5, 1, 1, 2, 1, 1, 1}));
    BmpParts nibbles = {.width = 3,
                        .height = 2,
                        .bits = 4,
                        .compression = 2,
                        .colors = 3,
                        .table = kThreeColors,
                        .pixels = {6, 0x12}};
    EXPECT_EQ(shown(bmp(nibbles), 4), Bytes({0x21, 0x20, 0x12, 0x10}));
}

TEST(BmpLoad, RunsThatLeaveTheirRowOrThePictureAreNotedOnce) {
    const std::string noted = "run-length data pass the end of a row or of the picture;";
    const struct {
        Bytes pixels;
        bool isNoted;
    } cases[] = {
        {{3, 7, 0, 0, 3, 8, 0, 0, 0, 1}, false},
        {{3, 7, 0, 0, 3, 8, 0, 1}, false},
        {{3, 7, 0, 0, 3, 8, 0, 0}, false},                   // ends without an end code
        {{1, 7, 0, 2, 1, 1, 1, 8, 0, 0, 0, 1}, false},       // a delta inside
        {{4, 7, 0, 0, 2, 8, 0, 0, 0, 1}, true},              // a run past its row
        {{5, 7, 5, 8, 0, 1}, true},                          // and another
        {{2, 7, 0, 3, 1, 2, 3, 0, 0, 0, 0, 1}, true},        // literals
        {{1, 7, 0, 2, 3, 0, 0, 0, 3, 8, 0, 1}, true},        // a delta past its row
        {{1, 7, 0, 2, 0, 3, 0, 1}, true},                    // and below the last row
        {{3, 7, 0, 0, 3, 8, 0, 0, 3, 9, 0, 0, 0, 1}, true},  // a third row of two
    };
    for (const auto& [pixels, isNoted] : cases) {
        const Opened load = opened(bmp({.width = 3,
                                        .height = 2,
                                        .bits = 8,
                                        .compression = 1,
                                        .colors = 3,
                                        .table = kThreeColors,
                                        .pixels = pixels}));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(notesOf(load.result), isNoted ? noted : "") << pixels.size();
        EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_WARNING);
    }
}

TEST(BmpLoad, RunsThatEndEarlyAreDamage) {
    const Bytes file = bmp({.width = 2,
                            .height = 3,
                            .bits = 8,
                            .compression = 1,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = {2, 7, 0, 0, 1, 8}});
    EXPECT_EQ(opened(file).reason(), "the run-length data end early (in row 2 of 3)");
    const Opened kept = opened(file, keepingDamaged());
    ASSERT_TRUE(kept.isLoaded);
    EXPECT_EQ(kept.note(0), "the run-length data end early: 1 of 3 rows were read");
    EXPECT_EQ(shownBytes(*kept.image), Bytes({0, 0, 8, 0, 7, 7}));
}

TEST(BmpLoad, MasksOfEveryWidthAreScaledAndRounded) {
    // 5, 6 and 5 bits: 255 v / 31 and 255 v / 63, rounded.
    const Bytes words = ByteWriter()
                            .le16(0xF800 | 0x07E0 | 0x001F)
                            .le16(1 << 11 | 1 << 5 | 1)
                            .le16(15 << 11 | 31 << 5 | 16)
                            .le16(0)
                            .bytes;
    const Bytes shownWords = {255, 255, 255, 8, 4, 8, 132, 125, 123, 0, 0, 0};
    for (unsigned length : {40U, 52U, 64U, 108U}) {
        const Bytes file = bmp({.headerBytes = length,
                                .width = 4,
                                .height = 1,
                                .bits = 16,
                                .compression = 3,
                                .masks = masks(0xF800, 0x07E0, 0x001F),
                                .pixels = words});
        if (length == 64) continue;  // masks follow: below
        EXPECT_EQ(shown(file, 24), shownWords) << length;
        EXPECT_EQ(opened(file).note(0), "pixels of 16 bits became 24");
    }
    // 10 bits each and two of alpha.
    const Bytes deep = ByteWriter().le32(0xC0000000U | 1023U << 20 | 512U << 10 | 2).le32(0x40000000).bytes;
    const Bytes file = bmp({.headerBytes = 124,
                            .width = 2,
                            .height = 1,
                            .bits = 32,
                            .compression = 3,
                            .masks = masks(0x3FF00000, 0x000FFC00, 0x3FF, 0xC0000000),
                            .pixels = deep});
    EXPECT_EQ(shown(file, 32), Bytes({0, 128, 255, 255, 0, 0, 0, 85}));
    EXPECT_EQ(opened(file).note(0), "channels of 10 bits became 8");
}

TEST(BmpLoad, MasksFollowShortHeaders) {
    const Bytes pixel = {0x11, 0x22, 0x33, 0x44};
    const auto file = [&](unsigned length, unsigned compression, const Bytes& channels) {
        return bmp({.headerBytes = length,
                    .width = 1,
                    .height = 1,
                    .bits = 32,
                    .compression = compression,
                    .masks = channels,
                    .pixels = pixel});
    };
    EXPECT_EQ(shown(file(40, 3, masks(0xFF, 0xFF00, 0xFF0000)), 32), Bytes({0x33, 0x22, 0x11, 255}));
    EXPECT_EQ(shown(file(40, 6, masks(0xFF, 0xFF00, 0xFF0000, 0xFF000000)), 32),
              Bytes({0x33, 0x22, 0x11, 0x44}));
    EXPECT_EQ(shown(file(56, 3, masks(0xFF00, 0xFF0000, 0xFF000000, 0xFF)), 32),
              Bytes({0x44, 0x33, 0x22, 0x11}));
    EXPECT_EQ(shown(file(108, 3, masks(0xFF0000, 0xFF00, 0xFF, 0xFF000000)), 32), pixel);
    // Without a blue mask there is no blue; without any the usual ones are meant.
    EXPECT_EQ(shown(file(52, 3, masks(0xFF, 0xFF00, 0)), 32), Bytes({0, 0x22, 0x11, 255}));
    EXPECT_EQ(shown(file(52, 3, masks(0, 0, 0)), 32), pixel);
}

// Pixels where masks belong share bits, or have none at all.
TEST(BmpLoad, PixelsMayFollowWithoutMasks) {
    const Bytes words = ByteWriter().le16(0x7FFF).le16(0x1234).le16(0x7FFF).le16(0).bytes;
    BmpParts parts = {.width = 2, .height = 2, .bits = 16, .compression = 3, .pixels = words};
    EXPECT_EQ(shown(bmp(parts), 16), Bytes({0xFF, 0x7F, 0, 0, 0xFF, 0x7F, 0x34, 0x12}));
    EXPECT_EQ(opened(bmp(parts)).note(0), "there are no channel masks, so the usual ones were taken");
    parts.height = -3;
    parts.pixels = Bytes(12);
    EXPECT_EQ(shown(bmp(parts), 16), Bytes(12));
    // Masks stay masks where the file says that the pixels begin there, or nowhere.
    Bytes file = bmp({.width = 1,
                      .height = 1,
                      .bits = 16,
                      .compression = 3,
                      .masks = masks(0xF800, 0x7E0, 0x1F),
                      .pixels = {0xFF, 0xFF, 0, 0}});
    for (const unsigned char start : Bytes{54, 0}) {
        file[10] = start;
        EXPECT_EQ(shown(file, 24), Bytes({255, 255, 255})) << start;
    }
}

TEST(BmpLoad, WordsOf555StayAndTheirAlphaShows) {
    const Bytes words = ByteWriter().le16(0xFFFF).le16(0x1234).bytes;
    EXPECT_EQ(shown(bmp({.width = 2, .height = 1, .bits = 16, .pixels = words}), 16), words);
    EXPECT_EQ(shown(bmp({.headerBytes = 52,
                         .width = 2,
                         .height = 1,
                         .bits = 16,
                         .compression = 3,
                         .masks = masks(0x7C00, 0x3E0, 0x1F),
                         .pixels = words}),
                    16),
              words);
    EXPECT_EQ(shown(bmp({.headerBytes = 108,
                         .width = 2,
                         .height = 1,
                         .bits = 16,
                         .compression = 3,
                         .masks = masks(0x7C00, 0x3E0, 0x1F, 0x8000),
                         .pixels = words}),
                    32),
              Bytes({255, 255, 255, 255, 165, 140, 33, 0}));
}

TEST(BmpLoad, MasksOf24Bits) {
    const Bytes pixels = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0, 0};
    EXPECT_EQ(shown(bmp({.headerBytes = 52,
                         .width = 2,
                         .height = 1,
                         .compression = 3,
                         .masks = masks(0xFF, 0xFF00, 0xFF0000),
                         .pixels = pixels}),
                    24),
              Bytes({0x56, 0x34, 0x12, 0xBC, 0x9A, 0x78}));
}

TEST(BmpLoad, BitmapsWithoutAFileHeader) {
    EXPECT_EQ(shown(bmp({.width = 2, .height = 2, .pixels = kTwoRows24, .hasFileHeader = false}), 24),
              Bytes({7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
    const Bytes mapped = bmp({.width = 4,
                              .height = 1,
                              .bits = 8,
                              .colors = 3,
                              .table = kThreeColors,
                              .pixels = {2, 1, 0, 0},
                              .hasFileHeader = false});
    EXPECT_EQ(shown(mapped, 8), Bytes({2, 1, 0, 0}));
    EXPECT_EQ(
        shown(bmp({.headerBytes = 12, .width = 2, .height = 2, .pixels = kTwoRows24, .hasFileHeader = false}),
              24, named("x.dib"))
            .size(),
        12U);
}

TEST(BmpLoad, TheFirstBitmapOfAnArray) {
    Bytes file = ByteWriter().text("BA").le32(40).le32(0).le32(0).raw(small24()).bytes;
    file[14 + 10] = 14 + 54;
    EXPECT_EQ(shown(file, 24), shown(small24(), 24));
}

TEST(BmpLoad, ColorProfilesAreCarried) {
    Bytes file = bmp({.headerBytes = 124, .width = 2, .height = 2, .pixels = kTwoRows24});
    const Bytes profile = {'i', 'c', 'c', '!'};
    const auto put = [&](std::size_t at, unsigned value) {
        for (std::size_t i = 0; i < 4; ++i) file[14 + at + i] = static_cast<unsigned char>(value >> 8 * i);
    };
    put(56, 0x4D424544);
    put(112, 124 + 16);
    put(116, 4);
    const Opened none = opened(file);  // announced, but not there
    ASSERT_TRUE(none.isLoaded);
    EXPECT_EQ(none.result.metadata.colorProfile.size, 0U);
    file.insert(file.end(), profile.begin(), profile.end());
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    ASSERT_EQ(load.result.metadata.colorProfile.size, 4U);
    EXPECT_EQ(Bytes(load.result.metadata.colorProfile.data, load.result.metadata.colorProfile.data + 4),
              profile);
}

TEST(BmpLoad, RowsOfCutFilesAreKept) {
    const Bytes file =
        bmp({.width = 2, .height = -3, .pixels = {1,  2,  3, 4, 5,  6,  0,  0,  7,  8,  9, 10,
                                                  11, 12, 0, 0, 13, 14, 15, 16, 17, 18, 0, 0}});
    // The last fill may be missing.
    EXPECT_EQ(shown(Bytes(file.begin(), file.end() - 2), 24), shown(file, 24));
    for (std::size_t length = 54; length < file.size() - 2; ++length) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        const int rows = static_cast<int>(length - 54) / 8;
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded);
        EXPECT_EQ(refused.result.code, 4);
        EXPECT_EQ(refused.reason(), rows == 0 ? "the file ends before its pixels do"
                                              : "the file ends before its pixels do (in row " +
                                                    std::to_string(rows + 1) + " of 3)");
        const Opened kept = opened(cut, keepingDamaged());
        ASSERT_EQ(kept.isLoaded, rows > 0);
        if (rows == 0) continue;
        EXPECT_EQ(codec_test::rowBytes(*kept.image, 0), Bytes({1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(codec_test::rowBytes(*kept.image, 1)[3], rows > 1 || length > 54 + 8 + 3 ? 10 : 0);
        EXPECT_EQ(codec_test::rowBytes(*kept.image, 2)[5], 0);
    }
}

TEST(BmpLoad, RefusalsSayWhy) {
    const auto reason = [](const BmpParts& parts) { return opened(bmp(parts)).reason(); };
    EXPECT_EQ(reason({.headerBytes = 128, .width = 1, .height = 1}), "headers of 128 bytes are not read");
    EXPECT_EQ(reason({.width = -1, .height = -1}), "a width of -1 is impossible");
    EXPECT_EQ(reason({.width = 536870911, .height = -8}), "a picture of 536870911x8 pixels is too large");
    EXPECT_EQ(reason({.width = 0, .height = 1}), "a picture of 0x1 pixels is empty");
    EXPECT_EQ(reason({.width = 100000, .height = 100000}), "a picture of 100000x100000 pixels is too large");
    EXPECT_EQ(reason({.width = 1, .height = 1, .bits = 64}), "64 bits per pixel are not read");
    EXPECT_EQ(reason({.width = 1, .height = 1, .bits = 24, .compression = 1}),
              "run lengths of 8 bits do not fit pixels of 24");
    EXPECT_EQ(reason({.width = 1, .height = 1, .bits = 8, .compression = 3}),
              "masks do not fit pixels of 8 bits");
    EXPECT_EQ(reason({.width = 1, .height = 1, .compression = 9}), "compression 9 is not known");
    EXPECT_EQ(reason({.width = 9, .height = 1, .bits = 1, .compression = 3}), "Huffman codes are not read");
    EXPECT_EQ(opened({'B', 'M', 0, 0}).reason(), "the file ends inside its header");
    Bytes cut = bmp({.width = 4, .height = 1, .bits = 8, .colors = 3, .table = kThreeColors, .pixels = {}});
    cut.pop_back();
    EXPECT_EQ(opened(cut).reason(), "the file ends inside its palette");
}

// A few bytes that announce a large picture take little memory, run lengths as well.
TEST(BmpLoad, LargeAnnouncementsTakeNoMemory) {
    const Bytes runs = bmp({.width = 30000,
                            .height = 30000,
                            .bits = 8,
                            .compression = 1,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = {0, 1}});
    const Opened load = opened(runs);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biWidth, 30000);
    EXPECT_FALSE(opened(bmp({.width = 20000, .height = 20000})).isLoaded);
}

TEST(BmpLoad, TextWithTheNameOfABitmapIsNone) {
    const Opened load =
        opened(codec_test::bytesOf("Dear reader, this is not a picture."), named("letter.bmp"));
    EXPECT_EQ(load.reason(), "this is not a BMP file");
    EXPECT_EQ(load.result.code, 6);
}

TEST(BmpLoad, EveryDamagedHeaderIsHarmless) {
    const Bytes file = bmp({.headerBytes = 124,
                            .width = 3,
                            .height = 2,
                            .bits = 8,
                            .compression = 1,
                            .colors = 3,
                            .table = kThreeColors,
                            .pixels = {3, 1, 0, 0, 0, 3, 1, 2, 0, 0, 0, 1}});
    int loaded = 0;
    codec_test::forEveryExtremeByte(file, 160, [&](const Bytes& damaged, std::size_t at, unsigned value) {
        for (const DibLoadOptions& options : {DibLoadOptions(), keepingDamaged()}) {
            const Opened load = opened(damaged, options);
            loaded += load.isLoaded ? 1 : 0;
            EXPECT_EQ(load.isLoaded, load.result.reason[0] == '\0') << at << " " << value;
        }
    });
    EXPECT_GT(loaded, 100);
    codec_test::forEveryTruncation(file, [](const Bytes& cut, std::size_t) {
        EXPECT_EQ(opened(cut).isLoaded, opened(cut).result.code == 0);
    });
}

}  // namespace
}  // namespace door_test
