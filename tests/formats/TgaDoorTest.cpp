#include <cstring>

#include "tests/formats/TgaDoorTest.h"

namespace door_test {
namespace {

using testing_support::blankImage;
using testing_support::randomImage;

DibBGRA colorAt(DibStream& image, unsigned index) {
    return reinterpret_cast<const DibBGRA*>(image.Header + 1)[index];
}

TEST(TgaDoor, EverySourceGivesOnePicture) {
    for (const Bytes& file :
         {tga({}, counting(12)), tga({3, 3, 2, 8, 0x20}, counting(6)), tga({11, 3, 2, 8}, {0x85, 7}),
          tga({1, 2, 2, 8, 0, 2, 24}, joined(counting(6), {0, 1, 1, 0})),
          tga({1, 2, 2, 16, 0, 2, 24}, joined(counting(6), {0, 0, 1, 0, 1, 0, 0, 0})),
          tga({10, 3, 2, 32, 8}, {0x85, 1, 2, 3, 4})}) {
        expectOneFromEverySource(file, ".tga", named(kName));
        expectLoadProgress(file, 3, named(kName));
        EXPECT_GE(failEveryLoad(file, named(kName)), 1);
    }
}

TEST(TgaDoor, HeadersWithoutANameAreRecognized) {
    EXPECT_TRUE(opened(tga({}, counting(12))).isLoaded);
    EXPECT_TRUE(opened(tga({11, 3, 2, 8}, {0x85, 7})).isLoaded);
    EXPECT_FALSE(opened(tga({7, 3, 2, 8}, {0x85, 7})).isLoaded);
    EXPECT_FALSE(opened(tga({2, 3, 2, 17}, counting(30))).isLoaded);
    EXPECT_TRUE(opened(tga({1, 3, 2, 8, 0, 2, 15}, counting(10, 0))).isLoaded);
    EXPECT_TRUE(opened(tga({2, 3, 2, 32, 0x3F}, counting(24))).isLoaded);
    EXPECT_FALSE(opened(tga({2, 3, 2, 32, 0x40}, counting(24))).isLoaded);
    const Bytes mapped24 = tga({1, 3, 2, 24, 0, 2, 24}, counting(30));
    for (const Bytes& file : {Bytes(40, 'a'), mapped24})
        EXPECT_EQ(opened(file).reason(), "the format of the file is not known");
}

TEST(TgaDoor, OnlyGreysAreCalledGrey) {
    const auto colors = [](const Fields& fields) {
        DibFileInfo info;
        const Bytes file = tga(fields, counting(12));
        EXPECT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
        return std::string(info.colors);
    };
    EXPECT_EQ(colors({3, 2, 2, 8}), "grey");
    EXPECT_EQ(colors({2, 2, 2, 24}), "");
    EXPECT_EQ(colors({1, 2, 2, 8, 0, 2, 24}), "");
}

TEST(TgaDoor, OriginsAreHonoured) {
    EXPECT_EQ(shown(tga({}, counting(12)), 24), Bytes({7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(shown(tga({.descriptor = 0x20}, counting(12)), 24), counting(12));
    EXPECT_EQ(shown(tga({.descriptor = 0x30}, counting(12)), 24),
              Bytes({4, 5, 6, 1, 2, 3, 10, 11, 12, 7, 8, 9}));
    EXPECT_EQ(shown(tga({10, 3, 1, 16, 0x10}, {2, 1, 2, 3, 4, 5, 6}), 16), Bytes({5, 6, 3, 4, 1, 2}));
}

TEST(TgaDoor, GreysComeInPacketsAndWithAlpha) {
    EXPECT_EQ(shown(tga({11, 3, 2, 8, 0x20}, {0x81, 9, 3, 1, 2, 3, 4}), 8), Bytes({9, 9, 1, 2, 3, 4}));
    EXPECT_EQ(colorAt(*openedTga(tga({11, 3, 2, 8}, {0x85, 7})).image, 7).green, 7);
    EXPECT_EQ(shown(tga({3, 2, 1, 16, 8}, {1, 2, 3, 4}), 32), Bytes({1, 1, 1, 2, 3, 3, 3, 4}));
    EXPECT_EQ(shown(tga({3, 2, 1, 16, 0}, {1, 2, 3, 4}), 8), Bytes({1, 3}));
}

TEST(TgaDoor, MapsOfEveryKind) {
    // 31 of 31 is 255, 1 of 31 is 8.
    const Bytes words = ByteWriter().le16(31 << 10 | 1).le16(1 << 5).bytes;
    for (const unsigned bits : {15U, 16U}) {
        const Opened load = openedTga(tga({1, 2, 1, 8, 0, 2, bits}, joined(words, {1, 0})));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(shownRows(*load.image), Bytes({1, 0}));
        EXPECT_EQ(load.image->Header->biClrUsed, 2U);
        EXPECT_EQ(colorAt(*load.image, 0).red, 255);
        EXPECT_EQ(colorAt(*load.image, 0).blue, 8);
        EXPECT_EQ(colorAt(*load.image, 1).green, 8);
        EXPECT_EQ(colorAt(*load.image, 2).red, 0);
    }
    // The first entry is that of index 5.
    const Opened load = openedTga(tga({9, 3, 1, 8, 0, 2, 24, 5}, {1, 2, 3, 4, 5, 6, 0x80, 5, 1, 6, 7}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(shownRows(*load.image), Bytes({5, 6, 7}));
    EXPECT_EQ(load.image->Header->biClrUsed, 7U);
    EXPECT_EQ(colorAt(*load.image, 5).red, 3);
    EXPECT_EQ(colorAt(*load.image, 4).red, 0);
    EXPECT_EQ(colorAt(*load.image, 6).blue, 4);
}

// No image has a table of more than 256 colours.
TEST(TgaDoor, IndicesOf16BitsBecomeColours) {
    // Entries 300 and 301; 7 has none.
    const Bytes map = {1, 2, 3, 4, 5, 6};
    const Bytes indices = {45, 1, 44, 1, 7, 0};
    const Bytes colors = {4, 5, 6, 1, 2, 3, 0, 0, 0};
    EXPECT_EQ(shown(tga({1, 3, 1, 16, 0, 2, 24, 300}, joined(map, indices)), 24), colors);
    EXPECT_EQ(shown(tga({1, 3, 1, 15, 0, 2, 24, 300}, joined(map, indices)), 24), colors);
    EXPECT_EQ(shown(tga({9, 3, 1, 16, 0, 2, 24, 300}, joined(map, {0x81, 45, 1, 0, 44, 1})), 24),
              Bytes({4, 5, 6, 4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(shown(tga({1, 3, 1, 16, 0x10, 2, 24, 300}, joined(map, indices)), 24),
              Bytes({0, 0, 0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(shown(tga({1, 2, 1, 16, 8, 2, 32}, {1, 2, 3, 4, 5, 6, 7, 8, 1, 0, 0, 0}), 32),
              Bytes({5, 6, 7, 8, 1, 2, 3, 4}));
    const Bytes words = ByteWriter().le16(31 << 10 | 1).bytes;
    EXPECT_EQ(shown(tga({1, 1, 1, 16, 0, 1, 15}, joined(words, {0, 0})), 24), Bytes({8, 0, 255}));
    const Bytes file = tga({1, 3, 1, 16, 0, 2, 24, 300}, joined(map, indices));
    EXPECT_EQ(openedTga(file).note(0), "indices of 16 bits became the colours of the map");
    EXPECT_EQ(openedTga(tga({1, 3, 1, 24, 0, 2, 24}, map)).reason(), "indices of 24 bits are not read");
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_EQ(info.bitCount, 24);
    EXPECT_EQ(info.storedBits, 16);
    EXPECT_EQ(info.paletteSize, 0);
}

TEST(TgaDoor, BlackAndWhiteHasEightPixelsAByte) {
    const Bytes file = tga({3, 9, 2, 1, 0x20}, {0xA5, 0x80, 0x0F, 0x00});
    EXPECT_EQ(shown(file, 1), Bytes({0xA5, 0x80, 0x0F, 0x00}));
    EXPECT_EQ(colorAt(*openedTga(file).image, 1).red, 255);
    expectOneFromEverySource(file, ".tga", named(kName));
    EXPECT_EQ(openedTga(tga({11, 9, 2, 1}, {})).reason(), "packed or mirrored pixels of 1 bit are not read");
}

// Tables of images have no alpha. A map without any keeps its indices.
TEST(TgaDoor, MapsWithAlphaAreLookedUp) {
    const Bytes alpha = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(shown(tga({9, 2, 1, 8, 0, 2, 32}, joined(alpha, {1, 1, 0})), 32),
              Bytes({5, 6, 7, 8, 1, 2, 3, 4}));
    EXPECT_EQ(openedTga(tga({1, 2, 1, 8, 0, 2, 32}, joined(alpha, {1, 0}))).note(0),
              "the colour map has alpha, so its colours replace the indices");
    EXPECT_EQ(shown(tga({1, 2, 1, 8, 0, 2, 32}, {1, 2, 3, 255, 5, 6, 7, 255, 1, 0}), 8), Bytes({1, 0}));
    EXPECT_EQ(shown(tga({1, 2, 1, 8, 0, 2, 32}, {1, 2, 3, 0, 5, 6, 7, 0, 1, 0}), 8), Bytes({1, 0}));
}

// The pixels come in blocks, whose fourth bytes may be of different kinds.
TEST(TgaDoor, FourthBytesThatMeanNothingBecomeOpaqueInEveryBlock) {
    constexpr std::size_t kBands = 4;
    constexpr std::size_t kBandPixels = 256 * 256;  // 256 KiB
    const struct {
        unsigned char fourth[kBands];
        int notes;
    } kCases[] = {{{0, 0, 0, 0}, 0},   {{255, 255, 255, 255}, 0}, {{255, 255, 0, 255}, 1},
                  {{0, 255, 0, 0}, 1}, {{255, 255, 255, 254}, 1}, {{0, 0, 0, 1}, 1},
                  {{7, 0, 255, 9}, 1}};
    for (const auto& row : kCases) {
        Bytes pixels(4 * kBands * kBandPixels);
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] =
                i % 4 == 3 ? row.fourth[i / 4 / kBandPixels] : static_cast<unsigned char>(i / 4 * 5 + i % 4);
        const Opened load = openedTga(tga({2, 256, kBands * 256, 32, 0x20}, pixels));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(load.result.noteCount, row.notes);
        for (std::size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
        EXPECT_TRUE(shownRows(*load.image) == pixels);
    }
}

TEST(TgaDoor, AlphaIsThatOfTheHeaderOrTheFooter) {
    const Bytes pixels = {1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes opaque = {1, 2, 3, 255, 5, 6, 7, 255};
    const Bytes announced = tga({2, 2, 1, 32, 8}, pixels);
    const Bytes silent = tga({2, 2, 1, 32, 0}, pixels);
    EXPECT_EQ(shown(announced, 32), pixels);
    EXPECT_EQ(shown(silent, 32), opaque);
    EXPECT_EQ(openedTga(silent).note(0),
              "the header announces no alpha, so the fourth byte of the pixels was ignored");
    EXPECT_EQ(openedTga(tga({2, 1, 1, 32, 0}, {1, 2, 3, 0})).result.noteCount, 0);
    EXPECT_EQ(shown(withFooter(silent, 3), 32), pixels);
    EXPECT_EQ(shown(withFooter(silent, 2), 32), opaque);
    EXPECT_EQ(shown(withFooter(announced, 1), 32), opaque);
    EXPECT_EQ(shown(withFooter(announced, 0), 32), pixels);
    // 1 x 255 / 4 is 63.75.
    EXPECT_EQ(shown(withFooter(announced, 4), 32), Bytes({64, 128, 191, 4, 159, 191, 223, 8}));
    DibLoadOptions stored = named(kName);
    stored.alpha = DIB_ALPHA_STORED;
    EXPECT_EQ(shownRows(*opened(silent, stored).image), pixels);
}

TEST(TgaDoor, WordsWithAnAlphaBit) {
    const Bytes words = ByteWriter().le16(0xFFFF).le16(31).bytes;
    EXPECT_EQ(shown(tga({2, 2, 1, 16, 0}, words), 16), words);
    EXPECT_EQ(shown(tga({2, 2, 1, 16, 1}, words), 32), Bytes({255, 255, 255, 255, 255, 0, 0, 0}));
    EXPECT_EQ(shown(tga({2, 2, 1, 15, 0}, words), 16), words);
}

TEST(TgaDoor, SizesHaveNoSign) {
    const Bytes file = tga({10, 65535, 40000, 24}, {});
    DibFileInfo info;
    const DibLoadOptions options = named(kName);
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, &options));
    EXPECT_EQ(info.width, 65535);
    EXPECT_EQ(info.height, 40000);
    EXPECT_STREQ(info.compression, "rle");
}

TEST(TgaDoor, TextsOfTheExtensionAreaAreNoted) {
    Bytes file = withFooter(tga({2, 2, 1, 24}, counting(6)), 0);
    EXPECT_EQ(openedTga(file).result.noteCount, 0);
    const std::size_t area = 21 + 6;
    for (const std::size_t text : {area + 2, area + 43}) {  // the author, the comment
        Bytes named = file;
        named[text] = 'x';
        EXPECT_EQ(openedTga(named).note(0), "the texts of the file are not kept");
    }
}

TEST(TgaDoor, RowsOfCutFilesAreKept) {
    const Bytes file = tga({2, 2, 3, 24, 0x20}, counting(18));
    DibLoadOptions keeping = keepingDamaged();
    keeping.name = kName;
    for (std::size_t length = 21; length < file.size(); ++length) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        const int rows = static_cast<int>(length - 21) / 6;
        EXPECT_EQ(openedTga(cut).reason(), rows == 0 ? "the file ends before its pixels do"
                                                     : "the file ends before its pixels do (in row " +
                                                           std::to_string(rows + 1) + " of 3)");
        const Opened kept = opened(cut, keeping);
        ASSERT_EQ(kept.isLoaded, rows > 0);
        if (rows == 0) continue;
        EXPECT_EQ(codec_test::rowBytes(*kept.image, rows - 1),
                  counting(6, static_cast<unsigned>(6 * rows - 5)));
        EXPECT_EQ(codec_test::rowBytes(*kept.image, 2).back(), 0);
    }
    const Opened packed = opened(tga({10, 2, 2, 24, 0x20}, {0x81, 1, 2, 3, 1, 4, 5, 6}), keeping);
    ASSERT_TRUE(packed.isLoaded);
    EXPECT_EQ(shownRows(*packed.image), Bytes({1, 2, 3, 1, 2, 3, 4, 5, 6, 0, 0, 0}));
    EXPECT_EQ(packed.note(0), "the file ends before its pixels do: 1 of 2 rows were read");
}

TEST(TgaDoor, RefusalsSayWhy) {
    const auto reason = [](const Fields& fields) { return openedTga(tga(fields, {})).reason(); };
    EXPECT_EQ(openedTga(Bytes(5)).reason(), "the file ends inside its header");
    EXPECT_EQ(reason({0}), "there is no picture in the file");
    EXPECT_EQ(reason({32}), "image type 32 is not known");
    EXPECT_EQ(reason({1, 1, 1, 8}), "the colour map is missing");
    EXPECT_EQ(reason({2, 1, 1, 17}), "true-colour pixels of 17 bits are not read");
    EXPECT_EQ(reason({3, 1, 1, 24}), "grey pixels of 24 bits are not read");
    EXPECT_EQ(reason({1, 1, 1, 8, 0, 1, 17}), "colour maps of 17-bit entries are not read");
    EXPECT_EQ(reason({1, 1, 1, 8, 0, 1, 24}), "the file ends inside its colour map");
    EXPECT_EQ(reason({2, 0, 1, 24}), "a picture of 0x1 pixels is empty");
}

TEST(TgaDoor, EveryDamagedHeaderIsHarmless) {
    int loaded = 0;
    for (const Bytes& file : {withFooter(tga({10, 3, 2, 32, 8}, {0x85, 1, 2, 3, 4}), 4),
                              tga({9, 2, 2, 8, 0, 2, 32}, joined(counting(8), {0x83, 1}))}) {
        codec_test::forEveryExtremeByte(file, 60, [&](const Bytes& damaged, std::size_t, unsigned) {
            DibLoadOptions options = keepingDamaged();
            options.name = kName;
            const Opened load = opened(damaged, options);
            loaded += load.isLoaded ? 1 : 0;
            EXPECT_EQ(load.isLoaded, load.result.reason[0] == '\0');
        });
        codec_test::forEveryTruncation(file, [](const Bytes& cut, std::size_t) {
            EXPECT_EQ(openedTga(cut).isLoaded, openedTga(cut).result.code == 0);
        });
    }
    EXPECT_GT(loaded, 100);
}

// Saving.

Bytes savedWith(const DibStream& image, bool runLengths) {
    DibSaveOptions options;
    options.format = "tga";
    options.runLengths = runLengths;
    DibBytes bytes;
    DibFileResult result;
    EXPECT_TRUE(DibSaveMemory(&bytes, &image, &options, &result)) << result.reason;
    return {bytes.data, bytes.data + bytes.size};
}

const Bytes kFooter = ByteWriter().le32(0).le32(0).text("TRUEVISION-XFILE.").u8(0).bytes;

TEST(TgaDoor, SavedPacketsStayInTheirRows) {
    const DibPtr image = testing_support::plainImage(200, 2, 24, 0x030201);
    Bytes expected = {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 200, 0, 2, 0, 24, 0};
    for (int y = 0; y < 2; ++y) expected = joined(expected, {0xFF, 1, 2, 3, 0x80 | 71, 1, 2, 3});
    EXPECT_EQ(savedWith(*image, true), joined(expected, kFooter));
    EXPECT_EQ(savedWith(*image, false).size(), 18U + 1200 + 26);
    const DibPtr noise = randomImage(200, 2, 24, 3);
    EXPECT_EQ(savedWith(*noise, true), savedWith(*noise, false));
}

TEST(TgaDoor, EveryDepthAndRowOrderComesBack) {
    for (const int bits : testing_support::kDepths) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const bool runLengths : {false, true}) {
                const DibPtr image =
                    randomImage(size.width, runLengths ? -size.height : size.height, bits, 5);
                // Some runs, some pixels of their own.
                for (int i = 0; i < size.width * size.height; ++i) {
                    if (i % 7 < 4)
                        testing_support::setPixelValue(*image, i % size.width, i / size.width,
                                                       0x01010101U & UINT32_MAX >> (32 - bits));
                }
                if (bits == 16) {
                    for (int i = 0; i < size.width * size.height; ++i)
                        testing_support::setPixelValue(
                            *image, i % size.width, i / size.width,
                            testing_support::pixelValue(*image, i % size.width, i / size.width) & 0x7FFF);
                }
                const Opened load = openedTga(savedWith(*image, runLengths));
                ASSERT_TRUE(load.isLoaded) << load.result.reason;
                ASSERT_EQ(load.image->Header->biBitCount, std::max(bits, 8));
                for (int i = 0; i < size.width * size.height; ++i) {
                    ASSERT_EQ(testing_support::pixelValue(*load.image, i % size.width, i / size.width),
                              testing_support::pixelValue(*image, i % size.width, i / size.width))
                        << bits << " " << i;
                }
                if (bits > 8) continue;
                EXPECT_EQ(load.image->Header->biClrUsed, 1U << bits);
                for (unsigned i = 0; i < 1U << bits; ++i) {
                    EXPECT_EQ(colorAt(*load.image, i).red, colorAt(*image, i).red);
                    EXPECT_EQ(colorAt(*load.image, i).blue, colorAt(*image, i).blue);
                }
            }
        }
    }
}

TEST(TgaDoor, GreyRampsNeedNoMap) {
    const DibPtr image = blankImage(3, 1, 8);
    EXPECT_EQ(savedWith(*image, false),
              joined({0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 1, 0, 8, 0, 0, 0, 0}, kFooter));
    EXPECT_EQ(savedWith(*image, true)[2], 11);
    image->Header->biClrUsed = 200;
    EXPECT_EQ(savedWith(*image, false)[2], 1);
    EXPECT_EQ(savedWith(*image, false)[5], 200);
}

TEST(TgaDoor, LossesAreNamed) {
    const auto losses = [](const DibStream& image) {
        DibFileResult result;
        DibSaveLosses(&image, "tga", nullptr, &result);
        return notesOf(result) + result.reason;
    };
    EXPECT_EQ(losses(*randomImage(2, 2, 1, 1)), "1 bit a pixel becomes 8;");
    EXPECT_EQ(losses(*randomImage(2, 2, 4, 1)), "4 bits a pixel become 8;");
    for (const int bits : {8, 16, 24, 32}) EXPECT_EQ(losses(*randomImage(2, 2, bits, 1)), "");
    const DibPtr wide = blankImage(65536, 1, 8);
    EXPECT_EQ(losses(*wide), "TGA files hold 65535 pixels a side at most; the picture has 65536x1");
    DibFileResult result;
    EXPECT_TRUE(saved(*wide, "tga", &result).empty());
    EXPECT_EQ(result.code, 8);
    EXPECT_FALSE(saved(*blankImage(65535, 1, 8), "tga").empty());
}

TEST(TgaDoor, SavingCancelsAndAllocationsFail) {
    for (const int bits : testing_support::kDepths) {
        const DibPtr image = testing_support::plainImage(33, -20, bits, 0x01010101);
        expectSaves(*image, "tga", 20);
        EXPECT_GE(failEverySave(*image, "tga"), 2);
    }
}

}  // namespace
}  // namespace door_test
