// Texts, XMP packets and what files say beside them, from file to file through DibFile.h.
#include <tiffio.h>
#include <zlib.h>

#include "tests/formats/PlatformDoorTest.h"

namespace door_test {
namespace {

using std::string_literals::operator""s;
using testing_support::randomImage;

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
std::string textOf(const DibBytes& bytes) { return {reinterpret_cast<const char*>(bytes.data), bytes.size}; }

Bytes chunk(const char* name, const std::string& data) {
    const std::string named = name + data;
    codec_test::ByteWriter out;
    out.be32(static_cast<unsigned>(data.size())).raw(bytesOf(named));
    const Bytes checked = bytesOf(named);
    out.be32(static_cast<unsigned>(crc32(0, checked.data(), static_cast<unsigned>(checked.size()))));
    return out.bytes;
}

std::string deflated(const std::string& text) {
    std::string packed(compressBound(text.size()), '\0');
    uLongf length = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(text.data()),
             text.size());
    packed.resize(length);
    return packed;
}

// A file with chunks in front of the pixels and behind them.
Bytes pngWith(const std::vector<Bytes>& before, const std::vector<Bytes>& after = {}) {
    constexpr std::ptrdiff_t kHeaderEnd = 33;
    constexpr std::ptrdiff_t kEndBytes = 12;
    Bytes file = saved(*randomImage(5, 3, 24, 1), "png");
    const auto insert = [&](const std::vector<Bytes>& chunks, std::ptrdiff_t at) {
        for (auto one = chunks.rbegin(); one != chunks.rend(); ++one)
            file.insert(file.begin() + at, one->begin(), one->end());
    };
    insert(after, static_cast<std::ptrdiff_t>(file.size()) - kEndBytes);
    insert(before, kHeaderEnd);
    return file;
}

// A file with markers behind its first one.
Bytes jpegWith(const std::vector<std::pair<unsigned, std::string>>& markers) {
    constexpr std::ptrdiff_t kStart = 20;
    Bytes file = saved(*randomImage(5, 3, 24, 1), "jpeg");
    codec_test::ByteWriter out;
    for (const auto& [marker, data] : markers) {
        out.u8(0xFF).u8(marker).be16(static_cast<unsigned>(data.size() + 2)).raw(bytesOf(data));
    }
    file.insert(file.begin() + kStart, out.bytes.begin(), out.bytes.end());
    return file;
}

std::string notesOfPng(const std::vector<Bytes>& chunks) { return notesOf(opened(pngWith(chunks)).result); }

bool contains(const Bytes& file, const std::string& text) {
    const Bytes wanted = bytesOf(text);
    return std::search(file.begin(), file.end(), wanted.begin(), wanted.end()) != file.end();
}

const std::string kTexts =
    "Title\0Harbour\0Author\0Ren\xC3\xA9\0Description\0\xE2\x84\xA6 at noon\0Comment\0packed\0"s;

TEST(MetadataTexts, PngFilesKeepAllOfThem) {
    const Bytes file = pngWith({chunk("tEXt", "Title\0Harbour"s), chunk("tEXt", "Author\0Ren\xE9"s),
                                chunk("iTXt", "Description\0\0\0en\0\0\xE2\x84\xA6 at noon"s)},
                               {chunk("zTXt", "Comment\0\0"s + deflated("packed"))});
    Opened load = opened(file);
    for (int copies = 0; copies < 2; ++copies) {
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(textOf(load.result.metadata.texts), kTexts);
        EXPECT_EQ(notesOf(load.result), "");
        DibFileResult result;
        const Bytes copy = savedWith(*load.image, "png", load.result.metadata, &result);
        EXPECT_EQ(notesOf(result), "");
        EXPECT_TRUE(contains(copy, "tEXtAuthor\0Ren\xE9"s));
        EXPECT_TRUE(contains(copy, "iTXtDescription\0\0\0\0\0\xE2\x84\xA6 at noon"s));
        load = opened(copy);
    }
}

TEST(MetadataTexts, DamagedOnesAreLeftOut) {
    Bytes text = chunk("zTXt", "Comment\0\0"s + deflated("packed"));
    text[text.size() - 1] ^= 1;
    const Opened load = opened(pngWith({text, chunk("tEXt", "Title\0Harbour"s)}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(textOf(load.result.metadata.texts), "Title\0Harbour\0"s);
    EXPECT_EQ(notesOf(load.result), "a text of the file is damaged and was left out;");
}

TEST(MetadataTexts, JpegFilesKeepComments) {
    const Opened load = opened(jpegWith({{0xFE, "Ren\xE9"}, {0xFE, "\xE2\x84\xA6"}}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(textOf(load.result.metadata.texts), "Comment\0Ren\xC3\xA9\0Comment\0\xE2\x84\xA6\0"s);
    EXPECT_EQ(notesOf(load.result), "");
    for (const char* format : {"jpeg", "png"}) {
        const Opened copy = opened(savedWith(*load.image, format, load.result.metadata));
        EXPECT_EQ(textOf(copy.result.metadata.texts), textOf(load.result.metadata.texts)) << format;
    }
}

TEST(MetadataTexts, FilesWithoutRoomNoteTheLoss) {
    DibMetadata metadata;
    metadata.texts = bytesFor(bytesOf("Title\0Harbour\0Comment\0noon\0"s));
    metadata.xmp = bytesFor(bytesOf("<x/>"s));
    const auto losses = [&](const char* format) {
        DibSaveOptions options;
        options.metadata = &metadata;
        DibFileResult result;
        DibSaveLosses(randomImage(4, 4, 24, 1).get(), format, &options, &result);
        return notesOf(result);
    };
    EXPECT_EQ(losses("png"), "");
    EXPECT_EQ(losses("jpeg"),
              "pixels change a little, as JPEG packs them (quality 90);the text \"Title\" is not kept;");
    EXPECT_EQ(losses("tiff"), "the text \"Title\" is not kept;the text \"Comment\" is not kept;");
    for (const char* format : {"bmp", "tga", "ppm", "tim", "iff"})
        EXPECT_EQ(losses(format), "the texts are not kept;the XMP packet is not kept;") << format;
    metadata.texts = bytesFor(bytesOf("Two  spaces\0a\0"s + std::string(80, 'k') + "\0b\0Fine\0c\0"s));
    EXPECT_EQ(losses("png"),
              "the text \"Two  spaces\" is not kept;the text \"" + std::string(60, 'k') + "\" is not kept;");
    metadata.texts = bytesFor(bytesOf("Comment\0"s + std::string(65534, 'x') + "\0"s));
    metadata.xmp = bytesFor(Bytes(65505, 'x'));
    EXPECT_EQ(losses("jpeg"),
              "pixels change a little, as JPEG packs them (quality 90);the XMP packet of 65505 bytes is not "
              "kept: it is too long;the text \"Comment\" is not kept;");
}

TEST(MetadataTexts, OthersThanPairsAreRefused) {
    for (const std::string& block : {"Title\0Harbour"s, "Title\0"s, "Title\0Ren\xE9\0"s}) {
        DibMetadata metadata;
        metadata.texts = bytesFor(bytesOf(block));
        DibFileResult result;
        EXPECT_TRUE(savedWith(*randomImage(4, 4, 24, 1), "png", metadata, &result).empty());
        EXPECT_EQ(result.code, 8);
        EXPECT_STREQ(result.reason, "texts must be pairs of texts in UTF-8, each ended by NUL");
    }
}

TEST(MetadataTexts, XmpGoesFromEveryFormatToEveryOther) {
    const std::string packet = "<?xpacket begin='\xEF\xBB\xBF'?><x:xmpmeta/>";
    DibMetadata metadata;
    metadata.xmp = bytesFor(bytesOf(packet));
    const DibPtr image = randomImage(9, 7, 24, 3);
    for (const char* from : {"jpeg", "png", "tiff"}) {
        const Opened first = opened(savedWith(*image, from, metadata));
        ASSERT_TRUE(first.isLoaded) << first.result.reason;
        EXPECT_EQ(textOf(first.result.metadata.xmp), packet) << from;
        EXPECT_EQ(first.result.metadata.texts.size, 0U);
        for (const char* to : {"jpeg", "png", "tiff"}) {
            const Opened second = opened(savedWith(*first.image, to, first.result.metadata));
            EXPECT_EQ(textOf(second.result.metadata.xmp), packet) << from << " to " << to;
        }
    }
    metadata.xmp = bytesFor(Bytes(65504, 'x'));
    EXPECT_EQ(opened(savedWith(*image, "jpeg", metadata)).result.metadata.xmp.size, 65504U);
}

std::string be32(std::initializer_list<unsigned> numbers) {
    codec_test::ByteWriter out;
    for (const unsigned number : numbers) out.be32(number);
    return {out.bytes.begin(), out.bytes.end()};
}

TEST(MetadataTexts, ChunksThatAreNotKeptAreNoted) {
    const Bytes standard = chunk("gAMA", be32({45455}));
    const Bytes linear = chunk("gAMA", be32({100000}));
    const Bytes primaries = chunk("cHRM", be32({31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000}));
    const Bytes wide = chunk("cHRM", be32({31270, 32900, 70800, 29200, 17000, 79700, 13100, 4600}));
    EXPECT_EQ(notesOfPng({standard, primaries, chunk("tIME", "\x07\xEA\1\1\0\0\0"s)}), "");
    EXPECT_EQ(notesOfPng({linear, wide}),
              "the gamma of the file is not kept;the primary colours of the file are not kept;");
    EXPECT_EQ(notesOfPng({chunk("sRGB", "\0"s), linear, wide}), "");
    EXPECT_EQ(notesOfPng({chunk("oFFs", be32({1, 2}) + "\0"s), chunk("prVt", "abc"), chunk("prVt", "d")}),
              "chunks of the file are not kept: oFFs prVt;");
    EXPECT_EQ(notesOfPng({chunk("acTL", be32({1, 0})), chunk("fcTL", std::string(26, '\0'))}),
              "of an animation the first picture is shown;");
    EXPECT_EQ(notesOf(opened(pngWith({}, {chunk("prVt", "abc")})).result),
              "chunks of the file are not kept: prVt;");
}

TEST(MetadataTexts, MarkersThatAreNotKeptAreNoted) {
    EXPECT_EQ(notesOf(opened(jpegWith({{0xED, "Resources 3.0\0rest"s}, {0xE3, "Other"}})).result),
              "data of other programs are not kept (APP13 Resources);");
    EXPECT_EQ(notesOf(opened(jpegWith({{0xE2, "MPF\0"s}})).result),
              "data of other programs are not kept (APP2 MPF);");
    EXPECT_EQ(notesOf(opened(jpegWith({{0xEB, "\1\2"}})).result),
              "data of other programs are not kept (APP11);");
}

TEST(MetadataTexts, TagsThatAreNotKeptAreNoted) {
    const codec_test::TemporaryFile file(".tif");
    for (const char* mode : {"w", "w8"}) {
        TIFF* tiff = TIFFOpen(file.path(), mode);
        ASSERT_NE(tiff, nullptr);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 2);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_DOCUMENTNAME, "Harbour");
        TIFFSetField(tiff, TIFFTAG_PHOTOSHOP, 4, "abcd");
        TIFFSetField(tiff, TIFFTAG_RICHTIFFIPTC, 1, "efgh");
        const unsigned char row[2] = {1, 2};
        TIFFWriteScanline(tiff, const_cast<unsigned char*>(row), 0, 0);
        TIFFClose(tiff);
        const bool isUsual = std::string(mode) == "w";
        const Opened load = opened(file.bytes());
        EXPECT_EQ(notesOf(load.result),
                  isUsual ? "the IPTC block is not kept;tags of the file are not kept: 34377;"
                          : "the IPTC block is not kept;tags of the file are not kept: 269 34377;");
        EXPECT_EQ(contains(bytesOf(textOf(load.result.metadata.exif)), "Harbour\0"s), isUsual);
    }
}

TEST(MetadataTexts, FailingAllocationsAreCode2) {
    const std::string packet = "http://ns.adobe.com/xap/1.0/\0<x/>"s;
    EXPECT_GT(failEveryLoad(pngWith({chunk("tEXt", "Title\0Harbour"s), chunk("iTXt", "A\0\0\0\0\0b"s)})), 5);
    EXPECT_GT(failEveryLoad(jpegWith({{0xFE, "noon"}, {0xE1, packet}})), 5);
    DibMetadata metadata;
    metadata.texts = bytesFor(bytesOf(kTexts));
    metadata.xmp = bytesFor(bytesOf("<x/>"s));
    const DibPtr image = randomImage(9, 7, 24, 3);
    EXPECT_GT(failEveryLoad(savedWith(*image, "tiff", metadata)), 5);
    for (const char* format : {"png", "jpeg", "tiff"}) {
        DibSaveOptions options;
        options.format = format;
        options.metadata = &metadata;
        DibBytes bytes;
        DibFileResult result;
        bool isSaved = false;
        const int failed = testing_support::forEachFailingAllocation(
            [] {}, [&] { isSaved = DibSaveMemory(&bytes, image.get(), &options, &result); },
            [&](bool failureMet) {
                EXPECT_EQ(isSaved, !failureMet);
                EXPECT_EQ(result.code, failureMet ? 2 : 0) << result.reason;
                bytes = {};
            });
        EXPECT_GT(failed, 2) << format;
    }
}

TEST(MetadataTexts, DamagedFilesDoNoHarm) {
    expectExtremeBytesAreSurvived(pngWith({chunk("tEXt", "Title\0Harbour"s), chunk("iTXt", "A\0\0\0\0\0b"s)}),
                                  "a.png");
    expectExtremeBytesAreSurvived(jpegWith({{0xFE, "noon"}, {0xED, "Resources 3.0\0"s}}), "a.jpg");
}

}  // namespace
}  // namespace door_test
