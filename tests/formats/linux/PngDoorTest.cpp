// PNG files through DibFile.h.
#include <zlib.h>

#include "tests/formats/PlatformDoorTest.h"

namespace door_test {
namespace {

using testing_support::randomImage;

Bytes chunk(const char* name, const Bytes& data) {
    Bytes named(name, name + 4);
    named.insert(named.end(), data.begin(), data.end());
    codec_test::ByteWriter out;
    out.be32(static_cast<unsigned>(data.size())).raw(named);
    out.be32(static_cast<unsigned>(crc32(0, named.data(), static_cast<unsigned>(named.size()))));
    return out.bytes;
}

// A file of one row for each vector, without filters.
Bytes pngOf(unsigned width, unsigned depth, unsigned type, const std::vector<Bytes>& rows,
            const std::vector<Bytes>& chunks = {}) {
    Bytes pixels;
    for (const Bytes& row : rows) {
        pixels.push_back(0);
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    Bytes packed(compressBound(pixels.size()));
    uLongf length = packed.size();
    compress(packed.data(), &length, pixels.data(), pixels.size());
    packed.resize(length);
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    const auto add = [&](const Bytes& more) { file.insert(file.end(), more.begin(), more.end()); };
    codec_test::ByteWriter header;
    header.be32(width).be32(static_cast<unsigned>(rows.size()));
    header.u8(depth).u8(type).u8(0).u8(0).u8(0);
    add(chunk("IHDR", header.bytes));
    for (const Bytes& one : chunks) add(one);
    add(chunk("IDAT", packed));
    add(chunk("IEND", {}));
    return file;
}

TEST(PngDoor, EveryDepthKeepsItsPixels) {
    for (const auto& [width, height] : testing_support::kSizes) {
        for (const int rows : {height, -height}) {
            for (const int bitCount : {1, 4, 8, 24, 32}) {
                const DibPtr image = randomImage(width, rows, bitCount, 5);
                expectSamePixelsFrom(*image, "png");
            }
        }
    }
}

// Strict readers refuse a file for one wrong sum, that of the empty last chunk included.
TEST(PngDoor, EveryChunkHasItsCheckSum) {
    const Bytes last = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};
    for (const int bitCount : {1, 4, 8, 24, 32}) {
        const Bytes file = saved(*randomImage(23, 9, bitCount, 5), "png");
        ASSERT_GT(file.size(), 8 + last.size());
        EXPECT_EQ(Bytes(file.end() - 12, file.end()), last) << bitCount;
        std::size_t at = 8;
        for (; at + 12 <= file.size();) {
            const auto be32 = [&](std::size_t i) {
                return unsigned{file[i]} << 24 | unsigned{file[i + 1]} << 16 | unsigned{file[i + 2]} << 8 |
                       file[i + 3];
            };
            const unsigned length = be32(at);
            ASSERT_LE(length, file.size() - at - 12);
            EXPECT_EQ(be32(at + 8 + length), crc32(0, &file[at + 4], length + 4)) << bitCount << " at " << at;
            at += 12 + length;
        }
        EXPECT_EQ(at, file.size());
    }
}

TEST(PngDoor, PalettesKeepOrderAndUnusedColors) {
    for (const auto& [bitCount, colors] : {std::pair{1, 2}, {4, 16}, {4, 5}, {8, 256}, {8, 17}}) {
        const DibPtr image = paletteImage(19, 7, bitCount, colors);
        const Opened load = opened(saved(*image, "png"));
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        ASSERT_EQ(load.image->Header->biBitCount, bitCount);
        expectSameColors(*load.image, *image);
        for (int y = 0; y < 7; ++y)
            EXPECT_EQ(codec_test::rowBytes(*load.image, y), codec_test::rowBytes(*image, y));
        EXPECT_EQ(load.result.noteCount, 0);
    }
}

TEST(PngDoor, IndicesBeyondTheTableAreBlack) {
    const DibPtr image = paletteImage(4, 1, 8, 3);
    testing_support::setPixelValue(*image, 2, 0, 9);
    const Opened load = opened(saved(*image, "png"));
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(load.image->Header->biClrUsed, 10U);
    EXPECT_EQ(testing_support::pixelValue(*load.image, 2, 0), 9U);
    EXPECT_EQ(tableOf(*load.image)[9].red, 0);
}

TEST(PngDoor, GreyTablesBecomeGreyFiles) {
    for (const int bitCount : {1, 8}) {
        const DibPtr image = testing_support::blankImage(9, 2, bitCount);
        const Bytes file = saved(*image, "png");
        EXPECT_EQ(file[24], bitCount);
        EXPECT_EQ(file[25], 0);
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded);
        EXPECT_EQ(load.image->Header->biBitCount, bitCount);
        expectSameColors(*load.image, *image);
    }
}

TEST(PngDoor, TwoBitsBecomeFour) {
    const Opened grey = opened(pngOf(5, 2, 0, {{0b00011011, 0b11000000}}));
    ASSERT_TRUE(grey.isLoaded) << grey.result.reason;
    EXPECT_EQ(grey.image->Header->biBitCount, 4);
    EXPECT_EQ(codec_test::rowBytes(*grey.image, 0), (Bytes{0x01, 0x23, 0x30}));
    EXPECT_EQ(grey.image->Header->biClrUsed, 4U);
    EXPECT_EQ(tableOf(*grey.image)[2].green, 170);
    const Bytes colors = chunk("PLTE", {1, 2, 3, 4, 5, 6, 7, 8, 9});
    const Opened palette = opened(pngOf(5, 2, 3, {{0b00011010, 0b01000000}}, {colors}));
    ASSERT_TRUE(palette.isLoaded) << palette.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*palette.image, 0), (Bytes{0x01, 0x22, 0x10}));
    EXPECT_EQ(palette.image->Header->biClrUsed, 3U);
    EXPECT_EQ(tableOf(*palette.image)[2].red, 7);
}

TEST(PngDoor, TransparentPalettesBecome32BitsAndOpaqueOnesStay) {
    const Bytes colors = chunk("PLTE", {1, 2, 3, 4, 5, 6});
    const Opened clear = opened(pngOf(2, 8, 3, {{0, 1}}, {colors, chunk("tRNS", {128})}));
    ASSERT_TRUE(clear.isLoaded) << clear.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*clear.image, 0), (Bytes{3, 2, 1, 128, 6, 5, 4, 255}));
    EXPECT_EQ(clear.note(0), "the palette has transparency: its indices became 32-bit colours");
    const Opened opaque = opened(pngOf(2, 8, 3, {{0, 1}}, {colors, chunk("tRNS", {255, 255})}));
    ASSERT_TRUE(opaque.isLoaded);
    EXPECT_EQ(opaque.image->Header->biBitCount, 8);
    EXPECT_EQ(opaque.result.noteCount, 0);
}

DibLoadOptions keepingPalettes() {
    DibLoadOptions options;
    options.keepsPalette = true;
    return options;
}

TEST(PngDoor, TransparentPalettesStayOnRequest) {
    const Bytes colors = chunk("PLTE", {1, 2, 3, 4, 5, 6, 7, 8, 9});
    const Bytes file = pngOf(5, 2, 3, {{0b00011010, 0b01000000}}, {colors, chunk("tRNS", {128, 0})});
    const Opened load = opened(file, keepingPalettes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 4);
    EXPECT_EQ(load.image->Header->biClrUsed, 3U);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x01, 0x22, 0x10}));
    EXPECT_EQ(bytesOf(load.result.metadata.paletteAlpha), (Bytes{128, 0}));
    EXPECT_EQ(load.result.noteCount, 0);
    expectOneFromEverySource(file, ".png", keepingPalettes());
    EXPECT_GT(failEveryLoad(file, keepingPalettes()), 3);

    // The same file again: palette, order, unused colours and transparency.
    DibFileResult result;
    const Bytes again = savedWith(*load.image, "png", load.result.metadata, &result);
    EXPECT_EQ(result.noteCount, 0);
    const Opened second = opened(again, keepingPalettes());
    EXPECT_TRUE(samePixels(*second.image, *load.image));
    expectSameColors(*second.image, *load.image);
    EXPECT_EQ(bytesOf(second.result.metadata.paletteAlpha), (Bytes{128, 0}));
    // And what is seen is the same.
    EXPECT_TRUE(samePixels(*opened(again).image, *opened(file).image));
    EXPECT_EQ(opened(again).image->Header->biBitCount, 32);
}

TEST(PngDoor, GreyWithATransparentLevelStaysOnRequest) {
    const Bytes file = pngOf(4, 8, 0, {{0, 3, 200, 255}}, {chunk("tRNS", {0, 3})});
    const Opened shown = opened(file);
    EXPECT_EQ(codec_test::rowBytes(*shown.image, 0),
              (Bytes{0, 0, 0, 255, 3, 3, 3, 0, 200, 200, 200, 255, 255, 255, 255, 255}));
    const Opened load = opened(file, keepingPalettes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0, 3, 200, 255}));
    EXPECT_EQ(bytesOf(load.result.metadata.paletteAlpha), (Bytes{255, 255, 255, 0}));
    const Bytes again = savedWith(*load.image, "png", load.result.metadata);
    EXPECT_TRUE(samePixels(*opened(again).image, *shown.image));
}

TEST(PngDoor, OtherFormatsSayThatTheyLoseTransparencyOfPalettes) {
    const DibPtr image = paletteImage(4, 2, 8, 5);
    DibMetadata metadata;
    metadata.paletteAlpha = bytesFor({255, 0});
    for (const DibFormat* format : writableFormats()) {
        DibFileResult result;
        DibSaveOptions options;
        options.metadata = &metadata;
        DibSaveLosses(image.get(), format->name, &options, &result);
        EXPECT_EQ(notesOf(result).find("the transparency of the palette is not kept") != std::string::npos,
                  std::string(format->name) != "png")
            << format->name;
    }
    // Opaque tables are none, and images without a table need none.
    metadata.paletteAlpha = bytesFor({255, 255});
    DibFileResult result;
    savedWith(*image, "tiff", metadata, &result);
    EXPECT_EQ(result.noteCount, 0);
    metadata.paletteAlpha = bytesFor({0});
    savedWith(*randomImage(3, 3, 24, 1), "tiff", metadata, &result);
    EXPECT_EQ(result.noteCount, 0);
}

TEST(PngDoor, ExifMayStandBehindThePixels) {
    const DibPtr image = randomImage(9, 7, 24, 3);
    const Bytes block = chunk("eXIf", exifWith(6));
    for (const bool hasText : {false, true}) {
        Bytes file = saved(*image, "png");
        const auto end = file.end() - 12;
        const Bytes text = chunk("tEXt", {'a', 0, 'e', 'X', 'I', 'f'});
        Bytes more = block;
        if (hasText) more.insert(more.end(), text.begin(), text.end());
        file.insert(end, more.begin(), more.end());
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(load.image->Header->biWidth, 7);
        EXPECT_EQ(bytesOf(load.result.metadata.exif), exifWith(6));
        DibFileInfo info;
        DibFileResult result;
        ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, nullptr, &result));
        EXPECT_EQ(info.width, 7);
        EXPECT_EQ(info.height, 9);
        EXPECT_EQ(result.metadata.orientation, 6);
        EXPECT_GT(failEveryLoad(file), 4);
        // Damage there does the pixels no harm.
        file[file.size() - 14 - (hasText ? text.size() : 0)] ^= 1;
        const Opened damaged = opened(file);
        ASSERT_TRUE(damaged.isLoaded) << damaged.result.reason;
        EXPECT_EQ(damaged.result.metadata.exif.size, 0U);
        EXPECT_TRUE(samePixels(*damaged.image, *image));
    }
}

TEST(PngDoor, SixteenBitsASampleAreReduced) {
    const Opened load = opened(pngOf(2, 16, 0, {{0x12, 0x34, 0xFF, 0xFF}}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0), (Bytes{0x12, 0xFF}));
    EXPECT_EQ(load.note(0), "16 bits a sample became 8");
}

TEST(PngDoor, EverySourceGivesOnePicture) {
    for (const int bitCount : {1, 4, 8, 24, 32}) {
        const Bytes file = saved(*randomImage(20, 9, bitCount, 3), "png");
        expectOneFromEverySource(file, ".png");
        expectLoadProgress(file, 9);
        EXPECT_GT(failEveryLoad(file), 3);
    }
}

TEST(PngDoor, SavesEverywhereAndCancels) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        const DibPtr image = randomImage(20, 9, bitCount, 3);
        expectSaves(*image, "png", 9);
        EXPECT_GT(failEverySave(*image, "png"), 3);
    }
}

TEST(PngDoor, LevelsPackTheSamePixels) {
    const DibPtr image = randomImage(64, 48, 24, 3);
    std::size_t before = SIZE_MAX;
    for (const int level : {0, -1, 4, 9}) {
        DibSaveOptions options;
        options.format = "png";
        options.compressionLevel = level;
        DibBytes bytes;
        ASSERT_TRUE(DibSaveMemory(&bytes, image.get(), &options));
        const Opened load = opened(bytesOf(bytes));
        ASSERT_TRUE(load.isLoaded) << level;
        EXPECT_TRUE(samePixels(*load.image, *image)) << level;
        before = std::min(before, bytes.size);
    }
    EXPECT_LT(before, 64U * 48 * 3 + 1000);
}

// More than one band, chunk and block of the packing.
TEST(PngDoor, LargePicturesKeepTheirPixels) {
    for (const int bitCount : {8, 24, 32}) {
        const DibPtr image = randomImage(700, 500, bitCount, 11);
        expectSamePixelsFrom(*image, "png");
        const DibPtr plain = testing_support::plainImage(1500, 700, bitCount, 0xFF000055);
        expectSamePixelsFrom(*plain, "png");
    }
}

TEST(PngDoor, MetadataIsCarried) {
    const DibPtr image = randomImage(9, 7, 24, 3);
    DibMetadata metadata;
    metadata.xResolution = 300;
    metadata.yResolution = 150;
    metadata.colorProfile = bytesFor(profileFor("RGB "));
    metadata.exif = bytesFor(exifWith(6));
    const Bytes file = savedWith(*image, "png", metadata);
    const Opened load = opened(file);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_NEAR(load.result.metadata.xResolution, 300, 0.02);
    EXPECT_NEAR(load.result.metadata.yResolution, 150, 0.02);
    EXPECT_EQ(bytesOf(load.result.metadata.colorProfile), profileFor("RGB "));
    // The picture is upright, so the block says so, too.
    EXPECT_EQ(bytesOf(load.result.metadata.exif), exifWith(1));
    EXPECT_TRUE(samePixels(*load.image, *image));
    EXPECT_GT(failEveryLoad(file), 5);

    metadata.orientation = 6;
    const Opened turned = opened(savedWith(*image, "png", metadata));
    ASSERT_TRUE(turned.isLoaded);
    EXPECT_EQ(turned.image->Header->biWidth, 7);
    EXPECT_EQ(turned.image->Header->biHeight, 9);
    EXPECT_EQ(turned.result.metadata.orientation, 1);

    // A profile for other pixels is left out.
    DibFileResult result;
    const Bytes grey = savedWith(*testing_support::blankImage(2, 2, 8), "png", metadata, &result);
    EXPECT_EQ(notesOf(result), "the colour profile is not kept: it is not for grey pixels;");
    EXPECT_EQ(opened(grey).result.metadata.colorProfile.size, 0U);
}

// A file with a chunk of metadata that nobody has checked.
Opened openedWithProfile(const Bytes& profile) {
    Bytes data = {'I', 'C', 'C', 0, 0};
    uLongf length = compressBound(profile.size());
    data.resize(5 + length);
    compress(data.data() + 5, &length, profile.data(), profile.size());
    data.resize(5 + length);
    return opened(pngOf(1, 8, 2, {{1, 2, 3}}, {chunk("iCCP", data)}));
}

// Returns whether the profile is kept. Losses say so, and so do loads of files that have it all the same.
bool expectProfileIsKeptOrNoted(const Bytes& profile) {
    DibMetadata metadata;
    metadata.colorProfile = bytesFor(profile);
    DibFileResult result;
    const Opened load = opened(savedWith(*randomImage(3, 2, 24, 3), "png", metadata, &result));
    const bool isKept = load.result.metadata.colorProfile.size > 0;
    EXPECT_EQ(notesOf(result).find("the colour profile is not kept") == std::string::npos, isKept)
        << notesOf(result);
    const Opened unchecked = openedWithProfile(profile);
    EXPECT_TRUE(unchecked.isLoaded);
    EXPECT_EQ(unchecked.result.metadata.colorProfile.size > 0, isKept);
    EXPECT_EQ(notesOf(unchecked.result),
              isKept ? "" : "the colour profile was left out: it is damaged or not for these pixels;");
    return isKept;
}

TEST(PngDoor, ProfilesThatAreNotKeptAreNoted) {
    Bytes good = profileFor("RGB ");
    good[0] = good[1] = 0;
    good[128 + 3] = 1;
    const Bytes tag = {'d', 'e', 's', 'c', 0, 0, 0, 144, 0, 0, 0, 12};
    std::copy(tag.begin(), tag.end(), good.begin() + 132);
    ASSERT_TRUE(expectProfileIsKeptOrNoted(good));
    int refused = 0;
    for (std::size_t at = 0; at < 144; ++at) {
        for (const int value : {0, 1, 4, 255}) {
            SCOPED_TRACE(testing::Message() << "byte " << at << " is " << value);
            Bytes changed = good;
            changed[at] = static_cast<unsigned char>(value);
            refused += expectProfileIsKeptOrNoted(changed) ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 60);
    Bytes cut = good;
    cut.pop_back();
    EXPECT_FALSE(expectProfileIsKeptOrNoted(cut));
    cut[2] = static_cast<unsigned char>(cut.size() >> 8);
    cut[3] = static_cast<unsigned char>(cut.size());
    EXPECT_TRUE(expectProfileIsKeptOrNoted(cut));
    cut[8] = 4;
    EXPECT_FALSE(expectProfileIsKeptOrNoted(cut));
    EXPECT_FALSE(expectProfileIsKeptOrNoted(Bytes(good.begin(), good.begin() + 131)));
}

TEST(PngDoor, ExifBlocksThatAreNotKeptAreNoted) {
    for (const Bytes& block : {Bytes{'I'}, Bytes{'I', 'M'}, Bytes{'E', 'x', 'i', 'f', 0, 0}}) {
        DibMetadata metadata;
        metadata.exif = bytesFor(block);
        metadata.orientation = 6;
        DibFileResult result;
        const Opened load = opened(savedWith(*randomImage(3, 2, 24, 3), "png", metadata, &result));
        EXPECT_EQ(notesOf(result), "the EXIF block is not kept: it names no byte order;");
        EXPECT_EQ(load.image->Header->biWidth, 2) << "the orientation is kept";
        const Opened unchecked = opened(pngOf(1, 8, 2, {{1, 2, 3}}, {chunk("eXIf", block)}));
        EXPECT_TRUE(unchecked.isLoaded);
        EXPECT_EQ(notesOf(unchecked.result), "the EXIF block is damaged and was left out;");
    }
}

TEST(PngDoor, ProbeReadsTheHeaders) {
    const Bytes file = saved(*paletteImage(5, 3, 4, 11), "png");
    DibFileInfo info;
    DibFileResult result;
    ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, nullptr, &result)) << result.reason;
    EXPECT_EQ(info.width, 5);
    EXPECT_EQ(info.height, 3);
    EXPECT_EQ(info.bitCount, 4);
    EXPECT_EQ(info.storedBits, 4);
    EXPECT_EQ(info.paletteSize, 11);
    EXPECT_FALSE(info.hasAlpha);
    EXPECT_STREQ(info.compression, "deflate");
    const Bytes alpha = saved(*randomImage(5, 3, 32, 1), "png");
    ASSERT_TRUE(DibProbeMemory(alpha.data(), alpha.size(), &info));
    EXPECT_EQ(info.storedBits, 32);
    EXPECT_TRUE(info.hasAlpha);
}

TEST(PngDoor, ProbesKnowTransparentColors) {
    const Bytes colors = chunk("PLTE", {1, 2, 3, 4, 5, 6});
    struct {
        Bytes file;
        bool hasAlpha;
    } const kCases[] = {
        {pngOf(2, 8, 3, {{0, 1}}, {colors, chunk("tRNS", {128})}), true},
        {pngOf(2, 8, 3, {{0, 1}}, {colors, chunk("tRNS", {255, 255})}), false},
        {pngOf(2, 8, 3, {{0, 1}}, {colors}), false},
        {pngOf(2, 8, 0, {{0, 3}}, {chunk("tRNS", {0, 3})}), true},
        {pngOf(2, 8, 0, {{0, 3}}), false},
    };
    const DibLoadOptions indices = keepingPalettes();
    for (const auto& [file, hasAlpha] : kCases) {
        DibFileInfo info;
        ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info, &indices));
        EXPECT_EQ(info.bitCount, 8);
        EXPECT_EQ(info.hasAlpha, hasAlpha);
        ASSERT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
        EXPECT_EQ(info.bitCount, hasAlpha ? 32 : 8);
        EXPECT_EQ(info.hasAlpha, hasAlpha);
    }
}

TEST(PngDoor, CutFilesAreRefusedOrKeepRows) {
    const DibPtr image = randomImage(40, 60, 24, 9);
    const Bytes file = saved(*image, "png");
    int kept = 0;
    for (std::size_t length = 33; length + 16 < file.size(); length += 97) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded) << length;
        EXPECT_NE(refused.result.code, 0);
        EXPECT_NE(refused.result.reason[0], '\0');
        const Opened load = opened(cut, keepingDamaged());
        if (!load.isLoaded) continue;
        ++kept;
        int keptRows = 0;
        const std::string note = load.note(0);
        ASSERT_EQ(std::sscanf(note.c_str() + note.find(": "), ": %d of 60 rows were read", &keptRows), 1)
            << note;
        const std::string place = keptRows < 60 ? " (in row " + std::to_string(keptRows + 1) + " of 60)" : "";
        EXPECT_NE(refused.reason().find(place), std::string::npos) << length << refused.reason();
        EXPECT_LT(keptRows, 60) << length;
        int rows = 0;
        while (rows < 60 && codec_test::rowBytes(*load.image, rows) == codec_test::rowBytes(*image, rows))
            ++rows;
        EXPECT_GE(rows + 2, static_cast<int>((length - 33) * 60 / file.size()) - 8) << length;
        for (int y = rows + 1; y < 60; ++y)
            EXPECT_EQ(codec_test::rowBytes(*load.image, y), Bytes(120, 0)) << y;
    }
    EXPECT_GT(kept, 30);
}

TEST(PngDoor, AMissingEndMarkIsNoted) {
    const DibPtr image = randomImage(40, 60, 24, 9);
    DibMetadata metadata;
    metadata.exif = bytesFor(exifWith(1));
    for (const Bytes& file : {saved(*image, "png"), savedWith(*image, "png", metadata)}) {
        for (const std::size_t missing : {1U, 4U, 5U, 12U}) {
            const Bytes cut(file.begin(), file.end() - static_cast<std::ptrdiff_t>(missing));
            const Opened load = opened(cut);
            ASSERT_TRUE(load.isLoaded) << missing << load.result.reason;
            EXPECT_TRUE(samePixels(*load.image, *image)) << missing;
            EXPECT_EQ(notesOf(load.result), "the file ends without its end mark; all rows were read;");
            EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_WARNING);
        }
        EXPECT_EQ(opened(file).result.noteCount, 0);
    }
}

TEST(PngDoor, WrongChecksumsAreRefusedOrKept) {
    const DibPtr image = randomImage(8, 6, 24, 9);
    Bytes file = saved(*image, "png");
    file[file.size() - 13] ^= 1;  // of the pixels
    const Opened refused = opened(file);
    EXPECT_FALSE(refused.isLoaded);
    EXPECT_STREQ(refused.result.reason, "the checksum of the chunk \"IDAT\" is wrong (in row 6 of 6)");
    const Opened kept = opened(file, keepingDamaged());
    ASSERT_TRUE(kept.isLoaded);
    EXPECT_TRUE(samePixels(*kept.image, *image));
    EXPECT_EQ(kept.note(0), "a checksum of the pixels is wrong: 6 of 6 rows were read");
}

// Limits hold for what a damaged header announces, before memory is taken.
TEST(PngDoor, LimitsHoldForDamagedHeaders) {
    Bytes file = pngOf(2, 8, 0, {{1, 2}});
    file[16] = 4;  // 67108866 columns
    DibLoadOptions options = keepingDamaged();
    options.mostPixels = 1000;
    const Opened load = opened(file, options);
    EXPECT_FALSE(load.isLoaded);
    EXPECT_EQ(load.result.code, 8);
    EXPECT_STREQ(load.result.reason,
                 "the picture of 67108866x1 pixels needs 67108866 pixels; the limit of pixels is 1000");
}

TEST(PngDoor, LossesAreNoted) {
    for (const int bitCount : {1, 4, 8, 24, 32})
        EXPECT_EQ(lossesOf(*randomImage(3, 3, bitCount, 1), "png"), "") << bitCount;
    EXPECT_EQ(lossesOf(*randomImage(3, 3, 16, 1), "png"), "16 bits a pixel become 24;");
}

}  // namespace
}  // namespace door_test
