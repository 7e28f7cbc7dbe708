#include "tests/formats/DoorCodecTest.h"
#include "tests/formats/IlbmTest.h"

namespace door_test {
namespace {

using codec_test::ByteWriter;
using ilbm_test::chunk;

Bytes bitmapHeader(unsigned width, unsigned height, unsigned planes, unsigned compression = 0,
                   unsigned masking = 0) {
    return chunk(
        "BMHD",
        ByteWriter().be16(width).be16(height).fill(4).u8(planes).u8(masking).u8(compression).fill(9).bytes);
}

Bytes form(const Bytes& chunks, const char* type = "ILBM") {
    return ByteWriter()
        .text("FORM")
        .be32(static_cast<unsigned>(chunks.size() + 4))
        .text(type)
        .raw(chunks)
        .bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    ByteWriter out;
    for (const Bytes& part : parts) out.raw(part);
    return out.bytes;
}

const Bytes kFourColors = chunk("CMAP", {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255});

// 9 x 3 pixels of 2 planes; a row of a plane has 2 bytes.
Bytes fourColors() {
    return form(
        joined({bitmapHeader(9, 3, 2), kFourColors,
                chunk("BODY", {0xF0, 0x80, 0xCC, 0x00, 0x00, 0x00, 0xFF, 0x80, 0xAA, 0x80, 0x55, 0x00})}));
}

// 16 x 4 pixels of 8 planes in one run a row.
Bytes packed() {
    ByteWriter body;
    for (unsigned y = 0; y < 4; ++y) body.u8(257 - 16).u8(0x11 * (y + 1));
    return form(joined({bitmapHeader(16, 4, 8, 1), chunk("BODY", body.bytes)}));
}

TEST(IlbmDoor, EverySourceGivesOnePicture) {
    for (const Bytes& file : {fourColors(), packed()}) {
        expectOneFromEverySource(file, ".iff");
        expectLoadProgress(file, 5);
        EXPECT_GT(failEveryLoad(file), 2);
    }
}

TEST(IlbmDoor, TextsAreNoted) {
    for (const char* name : {"NAME", "AUTH", "ANNO", "(c) "}) {
        const Bytes text = chunk(name, {'h', 'i'});
        const Bytes file = form(joined({bitmapHeader(8, 1, 1), text, chunk("BODY", {1, 0})}));
        EXPECT_EQ(notesOf(opened(file).result), "the texts of the file are not kept;") << name;
    }
    EXPECT_EQ(notesOf(opened(fourColors()).result), "");
}

TEST(IlbmDoor, CutFilesAreRefusedOrKept) {
    const std::size_t start = 12 + 28 + kFourColors.size() + 8;
    expectRowsOfCutFiles(fourColors(), start, 4);
    expectRowsOfCutFiles(packed(), 12 + 28 + 8, 2);
}

TEST(IlbmDoor, ExtremeBytes) {
    const Bytes view = chunk("CAMG", {0, 0, 8, 0x80});
    const Bytes held = form(joined({view, bitmapHeader(5, 1, 6), chunk("BODY", Bytes(12, 0x5A))}));
    const Bytes chunky = form(joined({bitmapHeader(3, 2, 8), chunk("BODY", Bytes(8, 7))}), "PBM ");
    for (const Bytes& file : {fourColors(), packed(), held, chunky})
        expectExtremeBytesAreSurvived(file, "x.iff");
}

TEST(IlbmDoor, IndicesAreThoseOfThePlanes) {
    const Opened load = opened(fourColors());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 4);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x33, 0x11, 0x22, 0x00, 0x10}));
    EXPECT_EQ(codec_test::rowBytes(*load.image, 1), (Bytes{0x22, 0x22, 0x22, 0x22, 0x20}));
    const Bytes header = testing_support::headerBytes(*load.image);
    EXPECT_EQ(Bytes(header.begin() + 40, header.begin() + 60),
              (Bytes{0, 0, 0, 0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(IlbmDoor, OnePlaneIsNotRotated) {
    const Opened load = opened(form(
        joined({bitmapHeader(9, 1, 1), chunk("CMAP", {1, 2, 3, 4, 5, 6}), chunk("BODY", {0x81, 0xFF})})));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 1);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x81, 0x80}));
    const Bytes header = testing_support::headerBytes(*load.image);
    EXPECT_EQ(Bytes(header.begin() + 40, header.end()), (Bytes{3, 2, 1, 0, 6, 5, 4, 0}));
}

TEST(IlbmDoor, WithoutColoursPicturesAreGrey) {
    const Opened load = opened(form(joined({bitmapHeader(8, 1, 3), chunk("BODY", {1, 0, 1, 0, 1, 0})})));
    ASSERT_TRUE(load.isLoaded);
    const Bytes header = testing_support::headerBytes(*load.image);
    EXPECT_EQ(header[40 + 4 * 7], 255);
    EXPECT_EQ(header[40 + 4 * 1], 36);
    EXPECT_EQ(header[40 + 4 * 8], 0);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 0, 0, 7}));
}

TEST(IlbmDoor, HeldColours) {
    // Values by pixel: colour 1, blue 15, red 8, green 1, colour 0; then the row ends.
    const unsigned values[] = {0x01, 0x1F, 0x28, 0x31, 0x00};
    Bytes body(12, 0);
    for (unsigned x = 0; x < 5; ++x) {
        for (unsigned plane = 0; plane < 6; ++plane)
            body[2 * plane] =
                static_cast<unsigned char>(body[2 * plane] | (values[x] >> plane & 1) << (7 - x));
    }
    const Bytes view = chunk("CAMG", {0, 0, 8, 0});
    const Bytes file = form(
        joined({view, bitmapHeader(5, 1, 6), chunk("CMAP", {1, 2, 3, 10, 20, 30}), chunk("BODY", body)}));
    expectOneFromEverySource(file, ".iff");
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0),
              (Bytes{30, 20, 10, 255, 20, 10, 255, 20, 136, 255, 17, 136, 3, 2, 1}));
}

TEST(IlbmDoor, HalfBrightColours) {
    Bytes colors(96, 0);
    colors[3] = 201;
    const Bytes file = form(joined({bitmapHeader(8, 1, 6), chunk("CMAP", colors),
                                    chunk("CAMG", {0, 0, 0, 0x80}), chunk("BODY", Bytes(12, 0xFF))}));
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(load.image->Header->biBitCount, 8);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), Bytes(8, 63));
    EXPECT_EQ(testing_support::headerBytes(*load.image)[40 + 4 * 33 + 2], 100);
}

TEST(IlbmDoor, ChunkyRowsHaveEvenLength) {
    const Bytes file = form(joined({bitmapHeader(3, 2, 8), chunk("BODY", {1, 2, 3, 9, 4, 5, 6, 9})}), "PBM ");
    expectOneFromEverySource(file, ".lbm");
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(codec_test::pixelsOf(*load.image), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(IlbmDoor, ThirtyTwoPlanesHaveAlpha) {
    Bytes body(64, 0);
    for (std::size_t plane = 0; plane < 8; ++plane) {
        body[2 * plane] = 0x80;         // red of the first pixel
        body[2 * (24 + plane)] = 0xC0;  // alpha of both
    }
    const Bytes file = form(joined({bitmapHeader(2, 1, 32), chunk("BODY", body)}));
    expectOneFromEverySource(file, ".iff");
    EXPECT_EQ(codec_test::pixelsOf(*opened(file).image), (Bytes{0, 0, 255, 255, 0, 0, 0, 255}));
}

TEST(IlbmDoor, OddChunksMayBeFilledOrNot) {
    for (const bool isFilled : {true, false}) {
        Bytes text = chunk("ANNO", {'T', 'E', 'X'});
        if (isFilled) text.push_back(0);
        const Opened load =
            opened(form(joined({bitmapHeader(8, 1, 1), text, kFourColors, chunk("BODY", {0xA5, 0})})));
        ASSERT_TRUE(load.isLoaded) << isFilled << load.result.reason;
        EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0xA5}));
    }
}

TEST(IlbmDoor, ResolutionIsRead) {
    const Opened load = opened(
        form(joined({bitmapHeader(8, 1, 1), chunk("DPI ", {0, 72, 0, 75}), chunk("BODY", {0xA5, 0})})));
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(load.result.metadata.xResolution, 72);
    EXPECT_EQ(load.result.metadata.yResolution, 75);
}

constexpr unsigned kMaskPlane = 1;
constexpr unsigned kTransparentColor = 2;

TEST(IlbmDoor, MasksBecomeAlpha) {
    // Two planes and a mask: indices 3 1 2 0 and so on, of which the first two and the last are visible.
    const Bytes indices = form(joined(
        {bitmapHeader(4, 1, 2, 0, kMaskPlane), kFourColors, chunk("BODY", {0xC0, 0, 0xA0, 0, 0xD0, 0})}));
    const Opened colors = opened(indices);
    ASSERT_TRUE(colors.isLoaded) << colors.result.reason;
    EXPECT_EQ(colors.image->Header->biBitCount, 32);
    EXPECT_EQ(codec_test::rowBytes(*colors.image, 0),
              (Bytes{255, 0, 0, 255, 0, 0, 255, 255, 0, 255, 0, 0, 0, 0, 0, 255}));
    EXPECT_EQ(notesOf(colors.result), "the mask became alpha, so colours replace the indices;");
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(indices.data(), indices.size(), &info));
    EXPECT_EQ(info.bitCount, 32);
    EXPECT_TRUE(info.hasAlpha);
    EXPECT_EQ(info.paletteSize, 0);
    EXPECT_GT(failEveryLoad(indices), 2);
    expectRowsOfCutFiles(
        form(joined({bitmapHeader(4, 3, 2, 0, kMaskPlane), kFourColors, chunk("BODY", Bytes(18, 0xFF))})),
        12 + 28 + kFourColors.size() + 8, 6);

    // 24 planes: red 1, green 2, blue 3 in the first pixel, red 255 in the second.
    ByteWriter body;
    for (unsigned plane = 0; plane < 24; ++plane) {
        const unsigned value = plane < 8 ? 1 : plane < 16 ? 2 : 3;
        body.u8((value >> plane % 8 & 1) << 7 | (plane < 8 ? 0x40U : 0)).u8(0);
    }
    body.u8(0x40).u8(0);
    const Opened wide =
        opened(form(joined({bitmapHeader(2, 1, 24, 0, kMaskPlane), chunk("BODY", body.bytes)})));
    ASSERT_TRUE(wide.isLoaded) << wide.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*wide.image, 0), (Bytes{3, 2, 1, 0, 0, 0, 255, 255}));
}

TEST(IlbmDoor, TransparentColorsAreAlphaWhenAskedFor) {
    Bytes header = bitmapHeader(4, 1, 2, 0, kTransparentColor);
    header[8 + 13] = 2;
    const Bytes file = form(joined({header, kFourColors, chunk("BODY", {0xC0, 0, 0xA0, 0})}));
    const Opened plain = opened(file);
    ASSERT_TRUE(plain.isLoaded) << plain.result.reason;
    EXPECT_EQ(plain.image->Header->biBitCount, 4);
    EXPECT_EQ(codec_test::rowBytes(*plain.image, 0), (Bytes{0x31, 0x20}));
    EXPECT_EQ(notesOf(plain.result), "the transparent colour 2 was ignored;");
    DibLoadOptions options;
    options.alpha = DIB_ALPHA_STORED;
    const Opened stored = opened(file, options);
    ASSERT_TRUE(stored.isLoaded);
    EXPECT_EQ(stored.image->Header->biBitCount, 32);
    EXPECT_EQ(codec_test::rowBytes(*stored.image, 0),
              (Bytes{255, 0, 0, 255, 0, 0, 255, 255, 0, 255, 0, 0, 0, 0, 0, 255}));
    // The same of bytes that are not spread over planes.
    Bytes chunky = bitmapHeader(4, 1, 8, 0, kTransparentColor);
    chunky[8 + 13] = 2;
    const Opened bytes =
        opened(form(joined({chunky, kFourColors, chunk("BODY", {3, 1, 2, 0})}), "PBM "), options);
    ASSERT_TRUE(bytes.isLoaded) << bytes.result.reason;
    EXPECT_EQ(testing_support::pixelBytes(*bytes.image), testing_support::pixelBytes(*stored.image));
}

TEST(IlbmDoor, ReasonsNameWhatIsWrong) {
    struct Case {
        Bytes file;
        const char* reason;
        int code;
    };
    Bytes cut = fourColors();
    cut.pop_back();
    const Case cases[] = {
        {form(chunk("BODY", {1, 2})), "the header chunk (BMHD) is missing", 6},
        {form(bitmapHeader(8, 1, 1)), "the pixels (BODY) are missing", 6},
        {form(joined({bitmapHeader(8, 1, 1, 2), chunk("BODY", {1, 2})})), "compression 2 is not known", 7},
        {form(joined({bitmapHeader(8, 1, 33), chunk("BODY", {1, 2})})), "33 bit planes are not read", 7},
        {form(joined({bitmapHeader(8, 1, 12), chunk("DCOL", {4, 4, 4, 0}), chunk("BODY", Bytes(12))})),
         "colours of 4, 4 and 4 planes are not read", 7},
        {form(joined({bitmapHeader(8, 0, 1), chunk("BODY", {1, 2})})), "a picture of 8x0 pixels is empty", 6},
        {cut, "the file ends before its pixels do (in row 3 of 3)", 4},
    };
    for (const Case& c : cases) {
        const Opened load = opened(c.file);
        EXPECT_FALSE(load.isLoaded);
        EXPECT_EQ(load.reason(), c.reason);
        EXPECT_EQ(load.result.code, c.code) << c.reason;
    }
}

TEST(IlbmDoor, ProbeReadsTheChunks) {
    DibFileInfo info;
    const Bytes file = packed();
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
    EXPECT_EQ(info.storedBits, 8);
    EXPECT_EQ(info.bitCount, 8);
    EXPECT_STREQ(info.compression, "packbits");
}

// Both ways of packing.
TEST(IlbmDoor, SavesOneFourEightAnd24BitsAsTheyAre) {
    for (const int bitCount : {1, 4, 8, 24}) {
        for (const int width : {1, 7, 16, 33}) {
            const DibPtr image = testing_support::randomImage(width, 3, bitCount, 5);
            expectExactRoundTrip(*image, "iff");
            const Opened load = opened(saved(*image, "iff"));
            if (bitCount <= 8) {
                Bytes expected = testing_support::headerBytes(*image);
                for (std::size_t i = 43; i < expected.size(); i += 4) expected[i] = 0;
                EXPECT_EQ(testing_support::headerBytes(*load.image), expected);
            }
            DibSaveOptions raw;
            raw.format = "iff";
            raw.runLengths = false;
            DibBytes bytes;
            ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &raw));
            const Opened unpacked = opened({bytes.data, bytes.data + bytes.size});
            ASSERT_TRUE(unpacked.isLoaded);
            EXPECT_TRUE(testing_support::sameImage(*unpacked.image, *load.image));
        }
        const DibPtr image = testing_support::randomImage(7, -3, bitCount, 5);
        expectSaves(*image, "iff", 4);
        EXPECT_GT(failEverySave(*image, "iff"), 2);
    }
}

TEST(IlbmDoor, SavedBytes) {
    const DibPtr image = testing_support::blankImage(17, 1, 1);
    image->Buffer[0] = 0xFF;
    image->Buffer[1] = 0xFF;
    image->Buffer[2] = 0xFF;  // of which one bit is a pixel
    const Bytes expected = form(joined({bitmapHeader(17, 1, 1, 1), chunk("CMAP", {0, 0, 0, 255, 255, 255}),
                                        chunk("BODY", {1, 0xFF, 0xFF, 1, 0x80, 0})}));
    Bytes bytes = saved(*image, "iff");
    ASSERT_GT(bytes.size(), 40U);
    // Square pixels, and the size of the page.
    EXPECT_EQ(Bytes(bytes.begin() + 34, bytes.begin() + 40), (Bytes{1, 1, 0, 17, 0, 1}));
    std::fill(bytes.begin() + 34, bytes.begin() + 40, static_cast<unsigned char>(0));
    EXPECT_EQ(Bytes(bytes.end() - 10, bytes.end() - 6), (Bytes{0, 0, 0, 5}));
    const Bytes body(bytes.end() - 6, bytes.end());
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 40), Bytes(expected.begin(), expected.begin() + 40));
    EXPECT_EQ(body, (Bytes{3, 0xFF, 0xFF, 0x80, 0, 0}));
}

TEST(IlbmDoor, LossesAreNoted) {
    const auto losses = [](const DibStream& image) {
        DibFileResult result;
        DibSaveLosses(&image, "iff", nullptr, &result);
        return notesOf(result);
    };
    EXPECT_EQ(losses(*testing_support::blankImage(5, 1, 1)), "");
    EXPECT_EQ(losses(*testing_support::plainImage(5, 1, 16, 1)), "16 bits a pixel become 24;");
    EXPECT_EQ(losses(*testing_support::plainImage(4, 1, 32, 0xFE000001)),
              "transparency is not kept;32 bits a pixel become 24;");
    DibFileResult result;
    EXPECT_TRUE(saved(*testing_support::blankImage(65536, 1, 1), "iff", &result).empty());
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "ILBM files hold at most 65535x65535 pixels");

    const Opened load = opened(saved(*testing_support::plainImage(2, 1, 32, 0x80332211), "iff"));
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x11, 0x22, 0x33, 0x11, 0x22, 0x33}));
}

TEST(IlbmDoor, ResolutionIsSaved) {
    const DibPtr image = testing_support::plainImage(5, 1, 8, 1);
    DibMetadata metadata;
    metadata.xResolution = 300;
    metadata.yResolution = 150;
    DibSaveOptions options;
    options.format = "iff";
    options.metadata = &metadata;
    options.refusesLosses = true;
    DibBytes bytes;
    ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &options));
    const Opened load = opened({bytes.data, bytes.data + bytes.size});
    EXPECT_EQ(load.result.metadata.xResolution, 300);
    EXPECT_EQ(load.result.metadata.yResolution, 150);
}

TEST(IlbmDoor, SamplesShowTheirPictures) {
    int shown = 0;
    for (const testing_support::Sample& sample : testing_support::samplesOf("ilbm")) {
        const Bytes bytes = testing_support::readFileBytes(sample.path);
        const Opened load = opened(bytes, named("x.iff"));
        EXPECT_TRUE(load.isLoaded || !load.reason().empty()) << sample.path;
        EXPECT_TRUE(load.isLoaded || !testing_support::isAgreedOn(sample)) << sample.path << load.reason();
        const auto expected = testing_support::expectedPicture(sample);
        if (!expected) continue;
        ASSERT_TRUE(load.isLoaded) << sample.path << load.reason();
        EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*load.image), *expected))
            << sample.path;
        ++shown;
    }
    if (shown == 0) GTEST_SKIP() << "no samples";
}

}  // namespace
}  // namespace door_test
