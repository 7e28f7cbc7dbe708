// Why decoders without reasons of their own refuse a file, in words.
#include "formats/diagnosis/Diagnosis.h"

#include <DibCodec.h>

#include <cstdint>
#include <initializer_list>
#include <string>

#include "formats/Formats.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
std::string textOf(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

std::string reasonOf(const TemporaryFile& file, formats::Diagnosis diagnose, int code) {
    const dib::FilePtr opened = dib::openForReading(file.path());
    formats::ByteReader reader(opened.get());
    return formats::whyRefused(reader, diagnose, code).text;
}

// The reason when the classic loader of the name's format refuses a file of these bytes.
std::string said(const std::string& bytes, const std::string& name) {
    const std::string extension = name.substr(name.find('.'));
    const TemporaryFile file(extension, bytesOf(bytes));
    const formats::FileFormat& format = *formats::formatOfExtension(extension.substr(1));
    DibStream image;
    image.ErrorCode = DIB_OK;
    EXPECT_FALSE(format.load(file.path(), &image, nullptr, nullptr)) << name;
    return reasonOf(file, format.diagnose, image.ErrorCode);
}

// A file of 33 x 21 pixels of 24 bits.
std::string savedBy(bool (*save)(const char*, DibStream*, DibProgressCallback, void*),
                    const char* extension) {
    const TemporaryFile file(extension);
    const auto image = testing_support::randomImage(33, 21, 24, 1);
    EXPECT_TRUE(save(file.path(), image.get(), nullptr, nullptr));
    return textOf(file.bytes());
}

struct Edit {
    std::size_t at;
    std::initializer_list<int> bytes;
};

std::string edited(std::string bytes, std::initializer_list<Edit> edits) {
    for (const Edit& edit : edits) {
        std::size_t at = edit.at;
        for (const int byte : edit.bytes) bytes.at(at++) = static_cast<char>(byte);
    }
    return bytes;
}

TEST(Diagnosis, Tim) {
    EXPECT_EQ(said("no TIM file", "a.tim"), "not a TIM file");
    EXPECT_EQ(said(std::string("\x10\0\0\0", 4), "a.tim"), "the file ends inside its header");
    EXPECT_EQ(said(std::string("\x10\0\0\0\2\0\0\0", 8), "a.tim"), "the file ends inside its header");
    EXPECT_EQ(said(std::string("\x10\0\0\0\4\0\0\0", 8), "a.tim"), "pixel mode 4 is not read");
    EXPECT_EQ(said(std::string("\x10\0\0\0\2\0\0\0", 8) + std::string(12, '\0'), "a.tim"),
              "a picture of 0x0 pixels is empty");
}

TEST(Diagnosis, PngAndJpeg) {
    const std::string png = savedBy(SavePNG, ".png");
    EXPECT_EQ(said("text", "a.png"), "not a PNG file");
    EXPECT_EQ(said(png.substr(0, 32), "a.png"), "the file ends inside its header");
    EXPECT_EQ(said(png.substr(0, 60), "a.png"), "the file ends inside its chunk \"IDAT\"");
    EXPECT_EQ(said(png.substr(0, 33), "a.png"), "the file ends before its last chunk (IEND)");
    EXPECT_EQ(said(edited(png, {{16, {1}}}), "a.png"), "the checksum of the chunk \"IHDR\" is wrong");
    EXPECT_EQ(said(png.substr(0, 33) + png.substr(png.size() - 12), "a.png"),
              "the pixels (IDAT) are missing");

    const std::string jpeg = savedBy(SaveJPEG, ".jpg");
    const std::size_t frame = jpeg.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    EXPECT_EQ(said("text", "a.jpg"), "not a JPEG file");
    for (const std::size_t length : {frame, frame + 1, frame + 2, frame + 9})
        EXPECT_EQ(said(jpeg.substr(0, length), "a.jpg"), "the file ends inside its header") << length;
    EXPECT_EQ(said(edited(jpeg, {{frame + 4, {12}}}), "a.jpg"), "12 bits per sample are not read");
    EXPECT_EQ(said(edited(jpeg, {{frame + 1, {0xC3}}}), "a.jpg"), "lossless JPEG is not read");
    EXPECT_EQ(said(edited(jpeg, {{frame + 5, {0, 0}}}), "a.jpg"), "a picture of 33x0 pixels is empty");
    EXPECT_EQ(said(edited(jpeg, {{frame, {0}}}), "a.jpg"), "the header is damaged");
}

TEST(Diagnosis, Tiff) {
    // A directory with the tags that matter; each value is a short one.
    const auto tiff = [](std::initializer_list<std::pair<int, int>> tags) {
        std::string bytes("II*\0\x8\0\0\0", 8);
        const auto put = [&bytes](int value) {
            bytes += static_cast<char>(value & 255);
            bytes += static_cast<char>(value >> 8);
        };
        put(static_cast<int>(tags.size()));
        for (const auto& [tag, value] : tags) {
            for (const int word : {tag, 3, 1, 0, value, 0}) put(word);
        }
        return said(bytes + std::string(4, '\0'), "a.tif");
    };
    EXPECT_EQ(said("text", "a.tif"), "not a TIFF file");
    EXPECT_EQ(said(std::string("II*\0\x8\0\0\0", 8), "a.tif"),
              "the file ends before its directory, without which no pixels are found");
    EXPECT_EQ(said(std::string("II*\0\x4\0\0\0", 8), "a.tif"),
              "the directory of the first picture lies outside of the file");
    EXPECT_EQ(said(std::string("MM\0*\0\0\0\x8\0\1", 10), "a.tif"), "the file ends inside its directory");
    EXPECT_EQ(tiff({{256, 4}}), "a picture of 4x0 pixels is empty");
    EXPECT_EQ(tiff({{256, 4}, {257, 4}, {258, 64}}), "64-bit integer samples are not read");
    EXPECT_EQ(tiff({{256, 4}, {257, 4}, {258, 16}, {262, 3}}), "16-bit palettes are not read");
    EXPECT_EQ(tiff({{256, 4}, {257, 4}, {258, 24}, {339, 3}}), "24-bit floats are not read");
    EXPECT_EQ(tiff({{256, 4}, {257, 4}, {258, 32}, {339, 6}}), "complex samples are not read");
    EXPECT_EQ(tiff({{256, 4}, {257, 4}, {258, 8}, {259, 5}, {262, 1}}),
              "the pixels (compression 5) are damaged, end too early or are of a kind that is not read");
}

// Without plug-ins the message says so instead.
TEST(Diagnosis, OfPluginFormatsReadsTheHeader) {
    const auto why = [](const std::string& bytes, formats::Diagnosis diagnose) {
        const TemporaryFile file(".refused", bytesOf(bytes));
        return reasonOf(file, diagnose, 0);
    };
    std::string dds = edited(std::string(128, '\0'),
                             {{0, {'D', 'D', 'S', ' ', 124}}, {12, {4}}, {16, {4}}, {76, {32}}, {80, {4}}});
    EXPECT_EQ(why("text", formats::diagnoseDds), "not a DDS file");
    EXPECT_EQ(why("DDS ", formats::diagnoseDds), "the file ends inside its header");
    EXPECT_EQ(why(edited(dds, {{4, {123}}}), formats::diagnoseDds), "the header is damaged");
    EXPECT_EQ(why(edited(dds, {{84, {113}}}), formats::diagnoseDds),
              "pixels of format code 113 are not read");
    EXPECT_EQ(why(edited(dds, {{84, {'R', 'G', 'B', 'G'}}}), formats::diagnoseDds),
              "pixels of format \"RGBG\" are not read");
    dds = edited(dds, {{84, {'D', 'X', '1', '0'}}});
    EXPECT_EQ(why(dds + std::string("\x0A\0\0\0", 4), formats::diagnoseDds),
              "pixels of format number 10 are not read");
    EXPECT_EQ(why(dds + std::string("\x47\0\0\0", 4), formats::diagnoseDds),
              "the file ends before its pixels do");
    EXPECT_EQ(why(edited(dds, {{80, {0x40}}, {84, {0, 0, 0, 0, 24}}}), formats::diagnoseDds),
              "pixels of format 24 bits with flags 64 and no masks are not read");

    const std::string exr("\x76\x2F\x31\x01\2\0\0\0", 8);
    const std::string window("dataWindow\0box2i\0\x10\0\0\0\0\0\0\0\0\0\0\0\3\0\0\0\3\0\0\0", 37);
    EXPECT_EQ(why("text", formats::diagnoseExr), "not an EXR file");
    EXPECT_EQ(why(exr, formats::diagnoseExr), "the file ends inside its header");
    EXPECT_EQ(why(edited(exr, {{5, {8}}}), formats::diagnoseExr), "deep pictures are not read");
    EXPECT_EQ(why(exr + window + std::string(1, '\0'), formats::diagnoseExr),
              "the list of channels is missing");
    EXPECT_EQ(why(exr + edited(window, {{30, {0xFF, 0x7F}}, {34, {0xFF, 0xFF, 3}}}), formats::diagnoseExr),
              "a picture of 8388356x67108612 pixels is too large");
    EXPECT_EQ(why(exr + window + std::string("channels\0chlist\0\x13\0\0\0Q\0................\0\0", 40),
                  formats::diagnoseExr),
              "the pixels are damaged or end too early, or the channels \"Q\" are not read");
}

TEST(Diagnosis, WithoutAReasonSaysWhatTheCodeSays) {
    const auto nothing = [](const formats::RefusedFile&) { return formats::Problem(); };
    const TemporaryFile refused(".refused", {'x'});
    EXPECT_EQ(reasonOf(refused, nothing, 2), "there is not enough memory for the picture");
    EXPECT_EQ(reasonOf(refused, nothing, 4), "the file ends before its pixels do");
    EXPECT_EQ(reasonOf(refused, nothing, 0), "the pixels are damaged or end too early");
    EXPECT_EQ(reasonOf(refused, nullptr, 6), "the pixels are damaged or end too early");
}

}  // namespace
}  // namespace codec_test
