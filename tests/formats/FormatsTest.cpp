// The table of file formats.
#include "formats/Formats.h"

#include <set>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using formats::FileFormat;

TEST(Formats, EveryRowIsComplete) {
    std::set<std::string_view> names;
    std::set<std::string_view> extensions;
    for (const FileFormat* format : formats::allFormats()) {
        const DibFormat& info = format->info;
        SCOPED_TRACE(info.name);
        EXPECT_TRUE(names.insert(info.name).second);
        EXPECT_NE(info.title[0], '\0');
        ASSERT_NE(info.mimeTypes, nullptr);
        EXPECT_NE(info.mimeTypes[0], nullptr);
        EXPECT_NE(info.readDepths, 0U);
        // Formats for the door alone have no classic functions.
        const bool isOfDoorAlone = format->load == nullptr;
        EXPECT_EQ(format->save == nullptr, info.writeDepths == 0 || isOfDoorAlone);
        // Only the formats that AppKit knows go through the classic functions.
        EXPECT_NE(format->probe, nullptr);
        EXPECT_NE(format->read, nullptr);
        EXPECT_EQ(format->write == nullptr, info.writeDepths == 0);
        ASSERT_NE(info.extensions, nullptr);
        ASSERT_NE(info.extensions[0], nullptr);
        for (const char* const* extension = info.extensions; *extension != nullptr; ++extension) {
            EXPECT_TRUE(extensions.insert(*extension).second) << *extension;
            EXPECT_EQ(formats::formatOfExtension(*extension), format);
        }
    }
    EXPECT_EQ(names, (std::set<std::string_view>{"bmp", "tga", "ppm", "tim", "iff", "hdr", "psd", "png",
                                                 "jpeg", "tiff", "exr", "dds", "webp", "gif"}));
}

TEST(Formats, ExtensionsInLettersOfAnySize) {
    EXPECT_EQ(formats::formatOfExtension("TiFf"), &formats::kTiffFormat);
    EXPECT_EQ(formats::formatOfExtension(""), nullptr);
    EXPECT_EQ(formats::formatOfExtension("tgaa"), nullptr);
    EXPECT_EQ(formats::formatOfExtension("tg"), nullptr);
}

TEST(Formats, ComposeKnowsSevenExtensions) {
    std::set<std::string_view> known;
    for (const FileFormat* format : formats::allFormats()) {
        for (const char* const* extension = format->composeExtensions;
             extension != nullptr && *extension != nullptr; ++extension) {
            EXPECT_EQ(formats::composeFormatOfExtension(*extension), format);
            known.insert(*extension);
        }
    }
    EXPECT_EQ(known, (std::set<std::string_view>{"bmp", "ppm", "pgm", "tga", "png", "jpg", "iff"}));
    EXPECT_EQ(formats::composeFormatOfExtension("PNG"), &formats::kPngFormat);
    EXPECT_EQ(formats::composeFormatOfExtension("tiff"), nullptr);
}

TEST(Formats, FilesAreRecognizedByTheirFirstBytes) {
    const auto formatOf = [](const std::string& text) -> std::string_view {
        const Bytes bytes = bytesOf(text);
        const FileFormat* format = formats::formatOfContent(bytes);
        return format != nullptr ? format->info.name : "";
    };
    EXPECT_EQ(formatOf("BM1234"), "bmp");
    for (const char* kind : {"P1\n", "P2 ", "P3\t", "P4\r", "P5#", "P6\n", "P7\n", "PF\n", "Pf\n"})
        EXPECT_EQ(formatOf(kind), "ppm");
    for (const char* other : {"P0\n", "P8\n", "P5", "P5x", "Pg\n"}) EXPECT_EQ(formatOf(other), "");
    EXPECT_EQ(formatOf(std::string("\x10\0\0\0\x09\0\0\0", 8)), "tim");
    EXPECT_EQ(formatOf(std::string("\x10\0\0\0\x10\0\0\0", 8)), "");
    EXPECT_EQ(formatOf("FORM1234ILBM"), "iff");
    EXPECT_EQ(formatOf("FORM1234ILB"), "");
    EXPECT_EQ(formatOf("#?RADIANCE\n"), "hdr");
    EXPECT_EQ(formatOf("#?RGBE\n"), "hdr");
    EXPECT_EQ(formatOf("8BPS"), "psd");
    EXPECT_EQ(formatOf("\x89PNG\r\n\x1A\n"), "png");
    EXPECT_EQ(formatOf("\xFF\xD8\xFF"), "jpeg");
    for (const std::string& start : {std::string("II*\0", 4), std::string("MM\0*", 4),
                                     std::string("II+\0", 4), std::string("MM\0+", 4)}) {
        EXPECT_EQ(formatOf(start), "tiff");
    }
    EXPECT_EQ(formatOf("\x76\x2F\x31\x01"), "exr");
    EXPECT_EQ(formatOf("DDS "), "dds");
    EXPECT_EQ(formatOf("RIFF1234WEBPVP8 "), "webp");
    EXPECT_EQ(formatOf("RIFF1234WAVE"), "");
    EXPECT_EQ(formatOf("RIFF1234WEB"), "");
    EXPECT_EQ(formatOf("GIF87a"), "gif");
    EXPECT_EQ(formatOf("GIF89a"), "gif");
    EXPECT_EQ(formatOf("GIF88a"), "");
    EXPECT_EQ(formatOf(""), "");
}

// The savers of the rows notice what the classic ones do not.
TEST(Formats, SaversSayWhetherTheWholeFileWasWritten) {
    for (const FileFormat* format : formats::allFormats()) {
        if (format->save == nullptr) continue;
        for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
            SCOPED_TRACE(std::string(format->info.name) + " " + std::to_string(bitCount));
            const DibPtr image = testing_support::randomImage(70, 50, bitCount, 3);
            const TemporaryFile file("." + std::string(format->info.extensions[0]));
            EXPECT_TRUE(format->save(file.path(), image.get(), nullptr, nullptr));
            DibStream loaded;
            EXPECT_TRUE(format->load(file.path(), &loaded, nullptr, nullptr));
            EXPECT_EQ(loaded.Header->biWidth, format == &formats::kTimFormat && bitCount == 4 ? 72 : 70);
            EXPECT_FALSE(format->save("/nonexistent/file", image.get(), nullptr, nullptr));
        }
    }
    for (const FileFormat* format : {&formats::kBmpFormat, &formats::kTgaFormat, &formats::kPpmFormat,
                                     &formats::kTimFormat, &formats::kIlbmFormat}) {
        for (const int side : {1, 300}) {
            SCOPED_TRACE(format->info.name);
            const DibPtr image = testing_support::randomImage(side, side, 24, 3);
            const auto save = [&](const char* path) {
                return format->save(path, image.get(), nullptr, nullptr);
            };
            forEveryDeadFile(save, [&](bool saved, const char*) {
                EXPECT_FALSE(saved);
                EXPECT_EQ(image->ErrorCode, 5);
            });
        }
    }
}

}  // namespace
}  // namespace codec_test
