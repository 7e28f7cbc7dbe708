// Why the classic loaders refuse a file, in words.
#include "formats/diagnosis/Diagnosis.h"

#include <DibCodec.h>

#include <cstdint>
#include <initializer_list>
#include <string>

#include "formats/Formats.h"
#include "tests/formats/CodecTest.h"
#include "tests/support/PsdBuilder.h"

namespace codec_test {
namespace {

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
std::string textOf(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// The reason when the classic loader of the name's format refuses a file of these bytes.
std::string said(const std::string& bytes, const std::string& name) {
    const std::string extension = name.substr(name.find('.'));
    const TemporaryFile file(extension, bytesOf(bytes));
    const formats::FileFormat& format = *formats::formatOfExtension(extension.substr(1));
    DibStream image;
    image.ErrorCode = DIB_OK;
    EXPECT_FALSE(format.load(file.path(), &image, nullptr, nullptr)) << name;
    return formats::whyRefused(file.path(), format.diagnose, image.ErrorCode);
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

TEST(Diagnosis, Bmp) {
    const std::string good = savedBy(formats::kBmpFormat.save, ".bmp");
    const auto bmp = [&good](std::initializer_list<Edit> edits) {
        return said(edited(good, edits), "a.bmp");
    };
    EXPECT_EQ(said("", "a.bmp"), "the file is empty");
    EXPECT_EQ(said("BM", "a.bmp"), "the file ends inside its header");
    EXPECT_EQ(said(good.substr(0, 53), "a.bmp"), "the file ends inside its header");
    EXPECT_EQ(said(good.substr(0, good.size() - 1), "a.bmp"), "the file ends before its pixels do");
    EXPECT_EQ(bmp({{0, {'X'}}}), "not a BMP file");
    EXPECT_EQ(bmp({{1, {'A'}}}), "arrays of OS/2 bitmaps are not read");
    EXPECT_EQ(bmp({{14, {12}}}), "headers of 12 bytes are not read");
    EXPECT_EQ(bmp({{14, {125}}}), "headers of 125 bytes are not read");
    EXPECT_EQ(bmp({{28, {2}}}), "2 bits per pixel are not read");
    EXPECT_EQ(bmp({{30, {2}}}), "4-bit run-length pixels are not read");
    EXPECT_EQ(bmp({{30, {3}}}), "channel masks at 24 bits are not read");
    EXPECT_EQ(bmp({{28, {32}}, {30, {3}}}), "channel masks behind a header of 40 bytes are not read");
    EXPECT_EQ(bmp({{14, {56}}, {28, {32}}, {30, {3}}}),
              "channel masks other than 8 bits in a row are not read");
    EXPECT_EQ(bmp({{30, {4}}}), "JPEG pixels are not read");
    EXPECT_EQ(bmp({{30, {5}}}), "PNG pixels are not read");
    EXPECT_EQ(bmp({{14, {64}}, {30, {3}}}), "Huffman-coded pixels are not read");
    EXPECT_EQ(bmp({{14, {64}}, {30, {4}}}), "24-bit run-length pixels are not read");
    EXPECT_EQ(bmp({{30, {6}}}), "masks with alpha (compression 6) are not read");
    EXPECT_EQ(bmp({{30, {9}}}), "compression 9 is not known");
    EXPECT_EQ(bmp({{28, {1}}, {46, {3}}}), "a palette of 3 colours is too long for 1 bit");
    EXPECT_EQ(bmp({{18, {0xFF, 0xFF, 0, 0}}, {22, {0xFF, 0xFF, 0, 0}}}),
              "a picture of 65535x65535 pixels is too large");
    EXPECT_EQ(bmp({{18, {0xFF, 0xFF, 0xFF, 0xFF}}}), "a picture of -1x21 pixels is impossible");
    EXPECT_EQ(bmp({{18, {0}}}), "a picture of 0x21 pixels is empty");
}

// Every number that the header of a TGA file has, one pixel wide and high.
std::string tga(int type, int bitCount, int mapType = 0, int mapEntries = 0, int entryBits = 0) {
    return edited(std::string(18, '\0'), {{1, {mapType, type}},
                                          {5, {mapEntries & 255, mapEntries >> 8, entryBits}},
                                          {12, {1, 0, 1, 0, bitCount}}});
}

TEST(Diagnosis, Tga) {
    EXPECT_EQ(said("short", "a.tga"), "the file ends inside its header");
    EXPECT_EQ(said(tga(0, 24), "a.tga"), "there is no picture in the file");
    EXPECT_EQ(said(tga(11, 8), "a.tga"), "run-length grey is not read");
    EXPECT_EQ(said(tga(32, 24), "a.tga"), "image type 32 is not known");
    EXPECT_EQ(said(tga(3, 16), "a.tga"), "grey pixels of 16 bits are not read");
    EXPECT_EQ(said(tga(10, 15), "a.tga"), "true-colour pixels of 15 bits are not read");
    EXPECT_EQ(said(tga(1, 16, 1, 4, 24), "a.tga"), "colour-mapped pixels of 16 bits are not read");
    EXPECT_EQ(said(tga(1, 8), "a.tga"), "the colour map is missing");
    EXPECT_EQ(said(tga(1, 8, 1, 4, 16), "a.tga"), "colour maps of 16-bit entries are not read");
    EXPECT_EQ(said(tga(9, 8, 1, 4, 32), "a.tga"),
              "colour maps of 32-bit entries are not read beside run-length pixels");
    EXPECT_EQ(said(tga(1, 8, 1, 300, 24), "a.tga"), "a colour map of 300 entries is not read");
    EXPECT_EQ(said(edited(tga(2, 24), {{12, {0, 0x80}}}), "a.tga"),
              "a picture of 32768x1 pixels is too large");
    EXPECT_EQ(said(tga(2, 24), "a.tga"), "the file ends before its pixels do");
    EXPECT_EQ(said(tga(10, 24), "a.tga"), "the file ends before its pixels do");
}

TEST(Diagnosis, PpmAndTim) {
    EXPECT_EQ(said("P4\n1 1\n\1", "a.ppm"), "bitmaps (P4) are not read");
    EXPECT_EQ(said("PX\n", "a.ppm"), "not a PPM or PGM file");
    EXPECT_EQ(said("P6\r\n1 1\n255\nabc", "a.ppm"), "the first line must be P6 alone");
    EXPECT_EQ(said("P6\n# a comment\n", "a.ppm"), "the file ends inside its header");
    EXPECT_EQ(said("P5\n3\n3\n255\n", "a.pgm"), "the line of the size does not hold two numbers");
    EXPECT_EQ(said("P5\n-3 3\n255\n", "a.pgm"), "a picture of -3x3 pixels is impossible");
    EXPECT_EQ(said("P6\n2 2\n255\nabc", "a.ppm"), "the file ends before its pixels do");
    EXPECT_EQ(said("no TIM file", "a.tim"), "not a TIM file");
    EXPECT_EQ(said(std::string("\x10\0\0\0\3\0\0\0", 8), "a.tim"), "pixels of 24 bits are not read");
    EXPECT_EQ(said(std::string("\x10\0\0\0\4\0\0\0", 8), "a.tim"), "pixel mode 4 is not read");
    EXPECT_EQ(said(std::string("\x10\0\0\0\2\0\0\0", 8), "a.tim"), "a picture of 0x0 pixels is empty");
}

TEST(Diagnosis, Iff) {
    const auto iff = [](const std::string& chunks, const std::string& type = "ILBM") {
        return said(std::string("FORM\0\0\1\0", 8) + type + chunks, "a.iff");
    };
    const auto header = [](int planes, int compression) {
        std::string chunk("BMHD\0\0\0\x14\0\2\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 28);
        chunk[16] = static_cast<char>(planes);
        chunk[18] = static_cast<char>(compression);
        return chunk;
    };
    EXPECT_EQ(said("picture", "a.iff"), "not an IFF file");
    EXPECT_EQ(said("FOR4....CIMG", "a.iff"), "IFF files of kind \"FOR4\" are not read");
    EXPECT_EQ(iff("", "PBM "), "FORM files of type \"PBM \" are not read");
    EXPECT_EQ(iff(""), "the header chunk (BMHD) is missing");
    EXPECT_EQ(iff(std::string("BMHD\0\0\0\4....", 12)), "the header chunk (BMHD) is too short");
    EXPECT_EQ(iff(header(8, 2)), "compression 2 is not known");
    EXPECT_EQ(iff(header(25, 0)), "25 bit planes are not read");
    EXPECT_EQ(iff(header(8, 0)), "the pixels (BODY) are missing");
    EXPECT_EQ(iff(header(8, 0) + std::string("BODY\0\0\0\x40", 8)), "the file ends before its pixels do");
    EXPECT_EQ(iff(header(8, 0) + std::string("ANNO\0\0\0\1a\0BODY\0\0\0\x40", 18)),
              "fill bytes after chunks of odd length are not read");
}

TEST(Diagnosis, Radiance) {
    const std::string start = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
    EXPECT_EQ(said("text", "a.hdr"), "not a Radiance file");
    EXPECT_EQ(said("#?RADIANCE\nFORMAT=", "a.hdr"), "the file ends inside its header");
    EXPECT_EQ(said("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n....", "a.hdr"),
              "pixels in XYZ are not read");
    EXPECT_EQ(said("#?RADIANCE\n\n-Y 1 +X 1\n....", "a.hdr"),
              "the header has no line FORMAT=32-bit_rle_rgbe");
    EXPECT_EQ(said(start + "+Y 1 +X 1\n....", "a.hdr"), "pixels in another order than -Y +X are not read");
    EXPECT_EQ(said(start + "1 1\n....", "a.hdr"), "the line of the size is missing");
    EXPECT_EQ(said(start + "-Y 40000 +X 40000\n", "a.hdr"), "a picture of 40000x40000 pixels is too large");
    EXPECT_EQ(said(start + "-Y 1 +X 2\n....", "a.hdr"), "the file ends before its pixels do");
    EXPECT_EQ(said(start + "-Y 1 +X 3\n....\1\1\1\2", "a.hdr"), "old run-length pixels are not read");
    EXPECT_EQ(said(start + std::string("-Y 1 +X 8\n\2\2\0\x8\xFF", 15), "a.hdr"),
              "the run-length pixels are damaged or end too early");
}

TEST(Diagnosis, Documents) {
    const testing_support::PsdDocument document;
    const auto bytes = document.bytes();
    const std::string good(bytes.begin(), bytes.end());
    const auto psd = [&good](std::initializer_list<Edit> edits) {
        return said(edited(good, edits), "a.psd");
    };
    EXPECT_EQ(said("8BP", "a.psd"), "not a PSD document");
    EXPECT_EQ(psd({{5, {3}}}), "version 3 is not known");
    EXPECT_EQ(psd({{25, {6}}}), "colour mode 6 is not known");
    EXPECT_EQ(psd({{23, {1}}}), "RGB documents of 1 bits are not read");
    EXPECT_EQ(psd({{14, {1}}, {18, {1}}}), "a picture of 16777221x16777220 pixels is too large");
    EXPECT_EQ(said(good.substr(0, 39), "a.psd"), "the file ends before its merged picture");
}

TEST(Diagnosis, PngAndJpeg) {
    const std::string png = savedBy(SavePNG, ".png");
    EXPECT_EQ(said("text", "a.png"), "not a PNG file");
    EXPECT_EQ(said(png.substr(0, 60), "a.png"), "the file ends inside its chunk \"IDAT\"");
    EXPECT_EQ(said(png.substr(0, 33), "a.png"), "the file ends before its last chunk (IEND)");
    EXPECT_EQ(said(edited(png, {{16, {1}}}), "a.png"), "the checksum of the chunk \"IHDR\" is wrong");
    EXPECT_EQ(said(png.substr(0, 33) + png.substr(png.size() - 12), "a.png"),
              "the pixels (IDAT) are missing");

    const std::string jpeg = savedBy(SaveJPEG, ".jpg");
    const std::size_t frame = jpeg.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    EXPECT_EQ(said("text", "a.jpg"), "not a JPEG file");
    EXPECT_EQ(said(jpeg.substr(0, frame), "a.jpg"), "the file ends inside its header");
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
        return formats::whyRefused(file.path(), diagnose, 0);
    };
    std::string dds = edited(std::string(128, '\0'),
                             {{0, {'D', 'D', 'S', ' ', 124}}, {12, {4}}, {16, {4}}, {76, {32}}, {80, {4}}});
    EXPECT_EQ(why("text", formats::diagnoseDds), "not a DDS file");
    EXPECT_EQ(why("DDS ", formats::diagnoseDds), "the file ends inside its header");
    EXPECT_EQ(why(edited(dds, {{76, {31}}}), formats::diagnoseDds), "the header is damaged");
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
    const auto nothing = [](const formats::RefusedFile&) { return std::string(); };
    const TemporaryFile refused(".refused", {'x'});
    EXPECT_EQ(formats::whyRefused(refused.path(), nothing, 2), "there is not enough memory for the picture");
    EXPECT_EQ(formats::whyRefused(refused.path(), nothing, 4), "the file ends before its pixels do");
    EXPECT_EQ(formats::whyRefused(refused.path(), nothing, 0), "the pixels are damaged or end too early");
    EXPECT_EQ(formats::whyRefused("absent", nothing, 0), "the file cannot be opened");
}

}  // namespace
}  // namespace codec_test
