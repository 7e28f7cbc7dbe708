// Damaged TIFF files through DibFile.h: what can be decoded is kept, and nothing else is said to be there.
#include <DibCodec.h>
#include <tiffio.h>

#include "dib/Bytes.h"
#include "tests/formats/PlatformDoorTest.h"
#include "tests/formats/TiffBuilder.h"

namespace door_test {
namespace {

using codec_test::TiffBuilder;
using testing_support::randomImage;

// A code below 128 is followed by as many bytes and one, others by a byte that is repeated 257 - code times.
constexpr unsigned kPackBits = 32773;

// Most programs write the directory last, where a cut loses it. This moves the pixels after it.
Bytes withPixelsLast(Bytes file) {
    const std::size_t directory = dib::readLe32(&file[4]);
    const std::size_t entries = dib::readLe16(&file[directory]);
    const auto moved = static_cast<std::uint32_t>(file.size() - 8);
    for (std::size_t entry = directory + 2, i = 0; i < entries; ++i, entry += 12) {
        if (dib::readLe16(&file[entry]) != TIFFTAG_STRIPOFFSETS) continue;
        const std::size_t count = dib::readLe32(&file[entry + 4]);
        const std::size_t offsets = count > 1 ? dib::readLe32(&file[entry + 8]) : entry + 8;
        EXPECT_EQ(dib::readLe16(&file[entry + 2]), 4);
        for (std::size_t k = 0; k < count; ++k) {
            unsigned char* offset = &file[offsets + 4 * k];
            dib::writeLe32(offset, dib::readLe32(offset) + moved);
        }
    }
    const Bytes pixels(file.begin() + 8, file.begin() + static_cast<std::ptrdiff_t>(directory));
    file.insert(file.end(), pixels.begin(), pixels.end());
    return file;
}

Bytes cutTo(const Bytes& file, std::size_t length) {
    return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)};
}

// The tags of a picture whose samples lie side by side.
void describe(TIFF* tiff, unsigned width, unsigned height, unsigned bits, unsigned samples,
              unsigned photometric, unsigned compression) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
}

Bytes tiffOf(const DibStream& image, DibTiffCompression compression) {
    DibSaveOptions options;
    options.format = "tiff";
    options.tiffCompression = compression;
    DibBytes bytes;
    return DibSaveMemory(&bytes, &image, &options) ? bytesOf(bytes) : Bytes();
}

TEST(TiffDamage, RowsOfCutStripsAreCountedAsTheyAreThere) {
    const DibPtr image = randomImage(30, 40, 24, 9);
    const Bytes plain = tiffOf(*image, DIB_TIFF_NONE);
    const std::size_t pixels = plain.size() - 40 * 90;
    ASSERT_TRUE(opened(plain).isLoaded);
    for (const std::size_t length : {std::size_t{1}, std::size_t{89}, std::size_t{90}, std::size_t{91},
                                     std::size_t{1571}, std::size_t{3599}}) {
        const Bytes cut = cutTo(plain, pixels + length);
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded);
        const std::size_t rows = length / 90;
        const std::string row = rows > 0 ? " (in row " + std::to_string(rows + 1) + " of 40)" : "";
        EXPECT_EQ(refused.result.reason, "the file ends in strip 1 of 1" + row);
        const Opened kept = opened(cut, keepingDamaged());
        EXPECT_EQ(kept.isLoaded, rows > 0) << length;
        if (!kept.isLoaded) {
            EXPECT_EQ(kept.reason(), "the file ends in strip 1 of 1: no row could be read");
            continue;
        }
        EXPECT_EQ(kept.note(0),
                  "the file ends in strip 1 of 1: " + std::to_string(rows) + " of 40 rows were read");
        for (int y = 0; y < 40; ++y) {
            EXPECT_EQ(codec_test::rowBytes(*kept.image, y),
                      y < static_cast<int>(rows) ? codec_test::rowBytes(*image, y) : Bytes(90, 0))
                << y;
        }
    }
}

// However rows are packed: those that are counted are right, the others are 0, and most of what is there is
// found.
TEST(TiffDamage, PackedRowsAreKeptUpToTheCut) {
    const DibPtr image = randomImage(300, 600, 24, 9);  // three strips
    for (const DibTiffCompression compression :
         {DIB_TIFF_DEFLATE, DIB_TIFF_LZW, DIB_TIFF_PACKBITS, DIB_TIFF_NONE}) {
        const Bytes file = tiffOf(*image, compression);
        ASSERT_TRUE(opened(file).isLoaded);
        for (const std::size_t part : {5U, 25U, 50U, 75U, 99U}) {
            const Bytes cut = cutTo(file, file.size() * part / 100);
            EXPECT_EQ(opened(cut).result.code, 4);
            const Opened kept = opened(cut, keepingDamaged());
            ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
            int rows = 0;
            const std::string note = kept.note(0);
            ASSERT_EQ(std::sscanf(note.c_str() + note.find(": "), ": %d of 600 rows were read", &rows), 1)
                << note;
            EXPECT_GE(rows, static_cast<int>(part) * 6 - 20) << note;
            EXPECT_LE(rows, static_cast<int>(part) * 6 + 6) << note;
            for (int y = 0; y < 600; ++y) {
                ASSERT_EQ(codec_test::rowBytes(*kept.image, y),
                          y < rows ? codec_test::rowBytes(*image, y) : Bytes(900, 0))
                    << y;
            }
        }
    }
}

TEST(TiffDamage, StripsBehindADamagedOneAreKept) {
    TiffBuilder builder(4, 6, 8, 1, 1, {7, 1, 2, 3, 4, 5, 6, 7, 8});
    builder.set(278, {2}).set(259, {kPackBits});
    builder.pieces.push_back({3, 9, 10, 11, 12});  // of 8 bytes
    builder.pieces.push_back({7, 17, 18, 19, 20, 21, 22, 23, 24});
    const Bytes file = builder.bytes();
    const Opened refused = opened(file);
    EXPECT_STREQ(refused.result.reason, "strip 2 of 3 is damaged (in row 3 of 6)");
    const Opened kept = opened(file, keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_EQ(notesOf(kept.result), "strip 2 of 3 is damaged: 5 of 6 rows were read;");
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 2), (Bytes{9, 10, 11, 12}));
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 3), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 4), (Bytes{17, 18, 19, 20}));
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 5), (Bytes{21, 22, 23, 24}));
}

// Dark numbers for light pixels: what is not there is 0 all the same.
TEST(TiffDamage, LostRowsAreZeroOfEveryKind) {
    TiffBuilder builder(2, 3, 8, 1, 0, {1, 1, 2});
    builder.set(259, {kPackBits});
    const Opened kept = opened(builder.bytes(), keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_EQ(kept.note(0), "strip 1 of 1 is damaged: 1 of 3 rows were read");
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 0)[0], 254);
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 1)[0], 0);
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 2)[0], 0);
}

TEST(TiffDamage, TilesAndPlanesAreKeptOneByOne) {
    TiffBuilder tiled(32, 16, 8, 1, 1, {0x81, 7, 0x81, 7});  // 128 bytes each
    tiled.tiles(16, 16).set(259, {kPackBits});
    tiled.pieces.push_back({0xB1, 9});  // five rows of sixteen
    EXPECT_STREQ(opened(tiled.bytes()).result.reason, "tile 2 of 2 is damaged (in row 6 of 16)");
    const Opened tiles = opened(tiled.bytes(), keepingDamaged());
    ASSERT_TRUE(tiles.isLoaded) << tiles.result.reason;
    EXPECT_EQ(tiles.note(0), "tile 2 of 2 is damaged: 5 of 16 rows were read");
    for (int y = 0; y < 16; ++y) {
        const Bytes row = codec_test::rowBytes(*tiles.image, y);
        EXPECT_EQ(row[15], 7) << y;
        EXPECT_EQ(row[16], y < 5 ? 9 : 0) << y;
    }

    TiffBuilder planar(2, 4, 8, 3, 2, {0xF9, 1});  // 8 bytes
    planar.set(284, {2}).set(259, {kPackBits});
    planar.pieces.push_back({0xFB, 2});  // three rows of four
    planar.pieces.push_back({0xF9, 3});
    const Opened planes = opened(planar.bytes(), keepingDamaged());
    ASSERT_TRUE(planes.isLoaded) << planes.result.reason;
    EXPECT_EQ(planes.note(0), "strip 2 of 3 is damaged: 3 of 4 rows were read");
    EXPECT_EQ(codec_test::rowBytes(*planes.image, 2)[1], 2);
    EXPECT_EQ(codec_test::rowBytes(*planes.image, 3), (Bytes{3, 0, 1, 3, 0, 1}));
}

TEST(TiffDamage, ALostDirectoryIsNamed) {
    const DibPtr image = randomImage(30, 40, 32, 9);
    const codec_test::TemporaryFile saved(".tif");
    ASSERT_TRUE(SaveTIFF(saved.path(), image.get(), nullptr, nullptr));  // pixels first
    const Bytes file = saved.bytes();
    for (const std::size_t length : {std::size_t{200}, std::size_t{4808}}) {
        const Opened kept = opened(cutTo(file, length), keepingDamaged());
        EXPECT_FALSE(kept.isLoaded);
        EXPECT_STREQ(kept.result.reason,
                     "the file ends before its directory, without which no pixels are found");
    }
    for (const Bytes& cut : {cutTo(file, 4820), cutTo(tiffOf(*image, DIB_TIFF_NONE), 40)}) {
        EXPECT_STREQ(opened(cut, keepingDamaged()).result.reason, "the file ends inside its directory");
    }
}

// Packings that this library reads and does not write. All rows are in one strip.
TEST(TiffDamage, RowsOfForeignPackingsAreKeptUpToTheCut) {
    constexpr int kHeight = 800;
    Bytes pixels(std::size_t{300} * 3 * kHeight);
    testing_support::Random random(5);
    for (unsigned char& byte : pixels) byte = static_cast<unsigned char>(random.next());
    for (const auto& [compression, least] : {std::pair(COMPRESSION_ZSTD, 145), {COMPRESSION_LZMA, 390}}) {
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0) continue;
        const codec_test::TemporaryFile saved(".tif");
        TIFF* tiff = TIFFOpen(saved.path(), "wl");
        describe(tiff, 300, kHeight, 8, 3, PHOTOMETRIC_RGB, static_cast<unsigned>(compression));
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kHeight);
        TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        TIFFClose(tiff);
        const Bytes file = withPixelsLast(saved.bytes());
        const Opened whole = opened(file);
        ASSERT_TRUE(whole.isLoaded) << whole.result.reason;
        // The pixels are there twice.
        const Opened kept = opened(cutTo(file, file.size() * 3 / 4), keepingDamaged());
        ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
        int rows = 0;
        ASSERT_EQ(std::sscanf(kept.note(0).c_str(), "the file ends in strip 1 of 1: %d of 800", &rows), 1)
            << kept.note(0);
        EXPECT_GE(rows, least);
        EXPECT_LE(rows, 401);
        for (int y = 0; y < kHeight; ++y) {
            ASSERT_EQ(codec_test::rowBytes(*kept.image, y),
                      y < rows ? codec_test::rowBytes(*whole.image, y) : Bytes(900, 0))
                << y;
        }
    }
}

// Pieces packed as JPEG, of which the library decodes something whatever happens.
Bytes jpegTiff() {
    const codec_test::TemporaryFile file(".tif");
    TIFF* tiff = TIFFOpen(file.path(), "wl");
    describe(tiff, 64, 256, 8, 3, PHOTOMETRIC_YCBCR, COMPRESSION_JPEG);
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 128);
    for (unsigned y = 0; y < 256; ++y) {
        unsigned char row[64 * 3];
        for (unsigned i = 0; i < sizeof row; ++i) row[i] = static_cast<unsigned char>(i * i * y * 7 % 253);
        TIFFWriteScanline(tiff, row, y, 0);
    }
    TIFFClose(tiff);
    return file.bytes();
}

TEST(TiffDamage, JpegPiecesAreKeptUpToTheCut) {
    const Bytes file = withPixelsLast(jpegTiff());
    const Opened whole = opened(file);
    ASSERT_TRUE(whole.isLoaded) << whole.result.reason;
    EXPECT_EQ(whole.image->Header->biBitCount, 24);
    for (const std::size_t missing : {file.size() / 8, file.size() / 6}) {
        const Bytes cut = cutTo(file, file.size() - missing);
        EXPECT_STREQ(opened(cut).result.reason, "the file ends in strip 2 of 2 (in row 129 of 256)");
        const Opened kept = opened(cut, keepingDamaged());
        ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
        int rows = 0;
        ASSERT_EQ(std::sscanf(kept.note(0).c_str(), "the file ends in strip 2 of 2: %d of 256", &rows), 1);
        EXPECT_GT(rows, 144);
        EXPECT_LT(rows, 240);
        for (int y = 0; y < 256; ++y) {
            EXPECT_EQ(codec_test::rowBytes(*kept.image, y),
                      y < rows ? codec_test::rowBytes(*whole.image, y) : Bytes(192, 0))
                << y;
        }
    }
    Bytes broken = file;
    std::fill(broken.end() - 300, broken.end() - 290, static_cast<unsigned char>(0xFF));
    EXPECT_STREQ(opened(broken).result.reason, "strip 2 of 2 is damaged (in row 129 of 256)");
}

// Rows that repeat each other in part, so that damage changes how many bytes come of a stream.
DibPtr patternImage(int width, int height) {
    DibPtr image = testing_support::blankImage(width, height, 24);
    testing_support::Random random(7);
    for (int y = 0; y < height; ++y) {
        unsigned char* row = image->ScanLine(y);
        for (int i = 0; i < 3 * width; ++i)
            row[i] = static_cast<unsigned char>(3 * i + 5 * y + static_cast<int>(random.next() % 4));
    }
    return image;
}

TEST(TiffDamage, NoDamagedByteOfADeflateStreamPassesForPixels) {
    const DibPtr image = patternImage(31, 19);
    const Bytes file = tiffOf(*image, DIB_TIFF_DEFLATE);
    ASSERT_TRUE(samePixels(*opened(file).image, *image));
    int refused = 0;
    for (std::size_t at = file.size() / 4; at < file.size(); ++at) {
        Bytes damaged = file;
        damaged[at] ^= 0x5A;
        const Opened load = opened(damaged);
        if (load.isLoaded) {
            EXPECT_TRUE(samePixels(*load.image, *image)) << at;
            continue;
        }
        ++refused;
        EXPECT_EQ(load.reason().find("strip 1 of 1 is damaged"), 0U) << at << load.reason();
        const Opened kept = opened(damaged, keepingDamaged());
        EXPECT_EQ((kept.isLoaded ? kept.note(0) : kept.reason()).find("strip 1 of 1 is damaged: "), 0U) << at;
    }
    EXPECT_GT(refused, 700);
}

// The sum, the last byte of the codes, and more.
TEST(TiffDamage, RowsOfDeflateStreamsAreCountedUpToTheCut) {
    const DibPtr image = patternImage(71, 43);
    const Bytes file = tiffOf(*image, DIB_TIFF_DEFLATE);
    for (std::size_t missing = 1; missing <= 40; ++missing) {
        const Opened kept = opened(cutTo(file, file.size() - missing), keepingDamaged());
        ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
        int rows = 0;
        ASSERT_EQ(std::sscanf(kept.note(0).c_str(), "the file ends in strip 1 of 1: %d of 43", &rows), 1)
            << kept.note(0);
        EXPECT_GE(rows, 41) << missing;
        for (int y = 0; y < 43; ++y) {
            EXPECT_EQ(codec_test::rowBytes(*kept.image, y),
                      y < rows ? codec_test::rowBytes(*image, y) : Bytes(213, 0))
                << missing << " " << y;
        }
    }
}

struct DeflateKind {
    std::uint32_t width = 0, height = 0;
    unsigned bits = 8, samples = 1, predictor = 1;
    const char* mode = "wl";
    unsigned format = SAMPLEFORMAT_UINT;
    unsigned fillOrder = FILLORDER_MSB2LSB;
    std::uint32_t tileSide = 0;  // else all rows are in one strip
    unsigned compression = COMPRESSION_ADOBE_DEFLATE;
};

struct DeflateFile {
    Bytes bytes;
    std::size_t end;  // of the last piece
};

DeflateFile deflateTiff(const DeflateKind& kind) {
    const codec_test::TemporaryFile saved(".tif");
    TIFF* tiff = TIFFOpen(saved.path(), kind.mode);
    describe(tiff, kind.width, kind.height, kind.bits, kind.samples,
             kind.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK, kind.compression);
    if (kind.samples > 3) {
        const std::vector<std::uint16_t> extra(kind.samples - 3, EXTRASAMPLE_UNSPECIFIED);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data());
    }
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.format);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, kind.fillOrder);
    if (kind.compression == COMPRESSION_ADOBE_DEFLATE) TIFFSetField(tiff, TIFFTAG_PREDICTOR, kind.predictor);
    const std::uint32_t side = kind.tileSide;
    if (side > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, side);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, side);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kind.height);
    }
    const std::size_t pixelBits = std::size_t{kind.bits} * kind.samples;
    const std::size_t pieceBytes =
        side > 0 ? side * side * pixelBits / 8 : (kind.width * pixelBits + 7) / 8 * kind.height;
    testing_support::Random random(5);
    for (std::uint32_t i = 0; i < (side > 0 ? TIFFNumberOfTiles(tiff) : 1); ++i) {
        Bytes piece(pieceBytes);
        for (std::size_t k = 0; k < pieceBytes; ++k)
            piece[k] = static_cast<unsigned char>(k / 7 + random.next() % 4);
        const auto bytes = static_cast<tmsize_t>(pieceBytes);
        side > 0 ? TIFFWriteEncodedTile(tiff, i, piece.data(), bytes)
                 : TIFFWriteEncodedStrip(tiff, i, piece.data(), bytes);
    }
    TIFFClose(tiff);
    tiff = TIFFOpen(saved.path(), "r");
    const std::uint32_t last = side > 0 ? TIFFNumberOfTiles(tiff) - 1 : 0;
    const std::uint64_t end = TIFFGetStrileOffset(tiff, last) + TIFFGetStrileByteCount(tiff, last);
    TIFFClose(tiff);
    return {saved.bytes(), static_cast<std::size_t>(end)};
}

// However the library turns the bytes of a stream into samples.
TEST(TiffDamage, SumsOfDeflateStreamsAreCheckedInEveryLayout) {
    const DeflateKind kinds[] = {
        {.width = 21, .height = 9, .bits = 1, .samples = 1, .predictor = 1},
        {.width = 21, .height = 9, .bits = 4, .samples = 1, .predictor = 1, .mode = "wb"},
        {.width = 21, .height = 9, .bits = 8, .samples = 3, .predictor = 1},
        {.width = 21, .height = 9, .bits = 8, .samples = 3, .predictor = 2},
        {.width = 21, .height = 9, .bits = 16, .samples = 3, .predictor = 1, .mode = "wb"},
        {.width = 21, .height = 9, .bits = 16, .samples = 3, .predictor = 2},
        {.width = 21, .height = 9, .bits = 16, .samples = 1, .predictor = 2, .mode = "wb"},
        {.width = 21, .height = 9, .bits = 32, .samples = 3, .predictor = 2, .mode = "wb"},
        {.width = 21,
         .height = 9,
         .bits = 32,
         .samples = 1,
         .predictor = 3,
         .mode = "wb",
         .format = SAMPLEFORMAT_IEEEFP},
        {.width = 21, .height = 9, .bits = 8, .samples = 1, .predictor = 2, .fillOrder = FILLORDER_LSB2MSB},
        {.width = 700, .height = 520, .bits = 8, .samples = 3, .predictor = 2},  // read row by row
    };
    for (const DeflateKind& kind : kinds) {
        const auto [file, end] = deflateTiff(kind);
        const std::string name =
            std::to_string(kind.bits) + " bits " + kind.mode + " predictor " + std::to_string(kind.predictor);
        const Opened whole = opened(file);
        ASSERT_TRUE(whole.isLoaded) << name << whole.result.reason;
        for (const std::size_t behind : {std::size_t{1}, std::size_t{3}}) {
            Bytes damaged = file;
            damaged[end - behind] ^= 0x5A;
            EXPECT_EQ(opened(damaged).reason().find("strip 1 of 1 is damaged"), 0U) << name;
        }
    }
    DeflateFile tiled =
        deflateTiff({.width = 40, .height = 30, .bits = 8, .samples = 3, .predictor = 2, .tileSide = 32});
    EXPECT_TRUE(opened(tiled.bytes).isLoaded) << opened(tiled.bytes).reason();
    tiled.bytes[tiled.end - 1] ^= 1;
    EXPECT_EQ(opened(tiled.bytes).reason(), "tile 2 of 2 is damaged");
}

TEST(TiffDamage, DeflateStreamsGiveTheRowsOfRawPieces) {
    for (const unsigned bits : {8U, 16U, 32U}) {
        for (const unsigned samples : {1U, 3U, 4U, 5U}) {
            DeflateKind kinds[] = {{.predictor = 1},
                                   {.predictor = 2},
                                   {.predictor = 2, .tileSide = 16},
                                   {.predictor = 1, .mode = "wb", .tileSide = 16},
                                   {.predictor = 2, .mode = "wb"}};
            for (DeflateKind& kind : kinds) {
                kind.width = 21;
                kind.height = 9;
                kind.bits = bits;
                kind.samples = samples;
                const Opened packed = opened(deflateTiff(kind).bytes);
                kind.compression = COMPRESSION_NONE;
                const Opened raw = opened(deflateTiff(kind).bytes);
                ASSERT_TRUE(raw.isLoaded) << raw.reason();
                ASSERT_TRUE(packed.isLoaded) << packed.reason();
                EXPECT_EQ(codec_test::pixelsOf(*packed.image), codec_test::pixelsOf(*raw.image))
                    << bits << ' ' << samples << ' ' << kind.predictor << kind.mode << kind.tileSide;
            }
        }
    }
}

// A last strip may hold more rows than the picture has.
TEST(TiffDamage, LongerDeflateStreamsAreWhole) {
    const Bytes two = deflateTiff({.width = 21, .height = 12, .bits = 8, .samples = 3, .predictor = 2}).bytes;
    Bytes longer = two;
    const std::size_t entries = dib::readLe32(&two[4]) + 2;
    for (std::size_t entry = entries; longer[entry] != 0 || longer[entry + 1] != 0; entry += 12) {
        if (dib::readLe16(&longer[entry]) == TIFFTAG_IMAGELENGTH) longer[entry + 8] = 9;
        if (dib::readLe16(&longer[entry]) == TIFFTAG_ROWSPERSTRIP) longer[entry + 8] = 9;
    }
    const Opened load = opened(longer);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biHeight, 9);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 8), codec_test::rowBytes(*opened(two).image, 8));
}

TEST(TiffDamage, FailingAllocationsAreCode2) {
    const DibPtr image = randomImage(30, 40, 24, 9);
    for (const DibTiffCompression compression : {DIB_TIFF_LZW, DIB_TIFF_DEFLATE}) {
        Bytes file = tiffOf(*image, compression);
        EXPECT_GT(failEveryLoad(cutTo(file, file.size() - 300), keepingDamaged()), 3);
        file[file.size() - 300] ^= 0x5A;
        EXPECT_GT(failEveryLoad(file, keepingDamaged()), 3);
    }
}

}  // namespace
}  // namespace door_test
