// Probing and loading refuse a file with the same code and reason, in every format.
#include <cstring>
#include <initializer_list>

#include "tests/formats/DoorTest.h"
#include "tests/support/PsdBuilder.h"

namespace door_test {
namespace {

namespace fs = std::filesystem;
using codec_test::bytesOf;
using codec_test::TemporaryFile;

Bytes zeros(std::size_t count) { return Bytes(count, 0); }

struct Edit {
    std::size_t at;
    std::initializer_list<int> bytes;
};

Bytes edited(Bytes bytes, std::initializer_list<Edit> edits) {
    for (const Edit& edit : edits) {
        std::size_t at = edit.at;
        for (const int byte : edit.bytes) bytes.at(at++) = static_cast<unsigned char>(byte);
    }
    return bytes;
}

// A TIFF file of these tags, whose values are short.
Bytes tiffOf(std::initializer_list<std::pair<int, int>> tags) {
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0};
    const auto put = [&bytes](int word) {
        bytes.push_back(static_cast<unsigned char>(word & 255));
        bytes.push_back(static_cast<unsigned char>(word >> 8));
    };
    put(static_cast<int>(tags.size()));
    for (const auto& [tag, value] : tags) {
        for (const int word : {tag, 3, 1, 0, value, 0}) put(word);
    }
    bytes.insert(bytes.end(), 4, 0);
    return bytes;
}

// A file of each format that can be opened, as far as its header goes.
Bytes headerOf(const std::string& format) {
    if (format == "hdr") return bytesOf("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n....");
    if (format == "psd") return testing_support::PsdDocument().bytes();
    if (format == "dds") {
        return edited(zeros(132), {{0, {'D', 'D', 'S', ' ', 124}},
                                   {12, {1, 0, 0, 0, 1}},
                                   {76, {32, 0, 0, 0, 0x41, 0, 0, 0, 0, 0, 0, 0, 32}},
                                   {94, {255, 0, 0, 255, 0, 0, 255, 0, 0}}});
    }
    if (format == "exr")
        return bytesOf(std::string("\x76\x2F\x31\x01\2\0\0\0channels\0chlist\0\x13\0\0\0", 28));
    if (format == "gif") return bytesOf(std::string("GIF89a\1\0\1\0\0\0\0,\0\0\0\0\1\0\1\0\0", 23));
    if (format == "webp")
        return bytesOf(std::string("RIFF\x1C\0\0\0WEBPVP8L\x10\0\0\0/", 21) + std::string(15, '\0'));
    return saved(*testing_support::randomImage(5, 4, 24, 1), format.c_str());
}

class DoorProbe : public testing::Test {
protected:
    void SetUp() override { DibStream::SetDllFilePath(testing_support::builtPlugins().c_str()); }
    void TearDown() override { DibStream::SetDllFilePath(""); }

    static std::vector<const DibFormat*> formats() {
        std::vector<const DibFormat*> formats;
        for (const DibFormat* const* format = DibGetFormats(); *format != nullptr; ++format) {
            if (DibIsFormatAvailable(*format)) formats.push_back(*format);
        }
        return formats;
    }

    // What both calls say: "4 the file is empty".
    template <class Load, class Probe>
    static std::string said(const Load& load, const Probe& probe) {
        DibStream image;
        DibFileInfo info;
        DibFileResult loaded;
        DibFileResult probed;
        EXPECT_FALSE(load(&image, &loaded));
        EXPECT_FALSE(probe(&info, &probed));
        EXPECT_EQ(probed.code, loaded.code) << probed.reason;
        EXPECT_STREQ(probed.reason, loaded.reason);
        EXPECT_EQ(probed.format, loaded.format);
        return std::to_string(loaded.code) + " " + loaded.reason;
    }
    static std::string saidOf(const Bytes& bytes, const char* format) {
        const DibLoadOptions options = {.format = format};
        return said(
            [&](DibStream* image, DibFileResult* result) {
                return DibLoadMemory(bytes.data(), bytes.size(), image, &options, result);
            },
            [&](DibFileInfo* info, DibFileResult* result) {
                return DibProbeMemory(bytes.data(), bytes.size(), info, &options, result);
            });
    }
    static std::string saidOf(const std::string& path) {
        return said([&](DibStream* image,
                        DibFileResult* result) { return DibLoadFile(path.c_str(), image, nullptr, result); },
                    [&](DibFileInfo* info, DibFileResult* result) {
                        return DibProbeFile(path.c_str(), info, nullptr, result);
                    });
    }
};

TEST_F(DoorProbe, PathsFailAsInALoad) {
    const fs::path folder = fs::path(testing_support::temporaryPath()) / "probed";
    fs::remove_all(folder);
    fs::create_directory(folder);
    for (const DibFormat* format : formats()) {
        SCOPED_TRACE(format->name);
        const std::string extension = "." + std::string(format->extensions[0]);
        const TemporaryFile empty(extension, Bytes());
        EXPECT_EQ(saidOf(empty.path()), "4 the file is empty");
        EXPECT_EQ(saidOf((folder / ("absent" + extension)).string()),
                  "3 the file cannot be opened: No such file or directory");
        fs::create_directory(folder / ("folder" + extension));
        EXPECT_EQ(saidOf((folder / ("folder" + extension)).string()), "4 this is a folder, not a file");
    }
    fs::remove_all(folder);
}

// Where a probe fails, a load fails as well, for the same reason.
TEST_F(DoorProbe, CutFilesFailAsInALoad) {
    for (const DibFormat* format : formats()) {
        SCOPED_TRACE(format->name);
        const Bytes whole = headerOf(format->name);
        ASSERT_FALSE(whole.empty());
        const DibLoadOptions options = {.format = format->name};
        for (std::size_t length = 1; length < whole.size(); ++length) {
            const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            DibFileInfo info;
            DibFileResult result;
            if (DibProbeMemory(cut.data(), cut.size(), &info, &options, &result)) break;
            // Without its signature a file is of another kind.
            const bool isStart = length < 8 && (result.code == 6 || result.code == 7);
            EXPECT_TRUE(result.code == 4 || isStart) << length << ": " << result.code << " " << result.reason;
            EXPECT_EQ(saidOf(cut, format->name), std::to_string(result.code) + " " + result.reason);
        }
    }
}

TEST_F(DoorProbe, KindsThatAreNotReadFailAsInALoad) {
    const Bytes bmp = headerOf("bmp");
    EXPECT_EQ(saidOf(edited(bmp, {{30, {9}}}), "bmp"), "7 compression 9 is not known");
    EXPECT_EQ(saidOf(edited(bmp, {{14, {125}}}), "bmp"), "7 headers of 125 bytes are not read");
    EXPECT_EQ(saidOf(edited(bmp, {{0, {'X'}}}), "bmp"), "6 this is not a BMP file");
    EXPECT_EQ(saidOf(edited(bmp, {{18, {0}}}), "bmp"), "6 a picture of 0x4 pixels is empty");
    EXPECT_EQ(saidOf(edited(bmp, {{18, {255, 255, 255, 127}}, {22, {255, 255, 255, 127}}}), "bmp"),
              "2 a picture of 2147483647x2147483647 pixels is too large");
    const Bytes tga = headerOf("tga");
    EXPECT_EQ(saidOf(edited(tga, {{2, {32}}}), "tga"), "7 image type 32 is not known");
    EXPECT_EQ(saidOf(edited(tga, {{2, {0}}}), "tga"), "6 there is no picture in the file");
    EXPECT_EQ(saidOf(edited(tga, {{12, {0}}}), "tga"), "6 a picture of 0x4 pixels is empty");
    EXPECT_EQ(saidOf(bytesOf("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 9\nENDHDR\n"), "ppm"),
              "7 9 channels are not read");
    EXPECT_EQ(saidOf(bytesOf("P6\n2 x\n"), "ppm"), "6 the size is not two numbers");
    EXPECT_EQ(saidOf(bytesOf("P6\n2"), "ppm"), "4 the file ends inside its header");
    EXPECT_EQ(saidOf(bytesOf("P6\n2 2"), "ppm"), "4 the file ends inside its header");
    EXPECT_EQ(saidOf(bytesOf("P6\n0 2\n255\n"), "ppm"), "6 a picture of 0x2 pixels is empty");
    EXPECT_EQ(saidOf(edited(headerOf("tim"), {{4, {4}}}), "tim"), "7 pixel mode 4 is not read");
    EXPECT_EQ(saidOf(edited(headerOf("tim"), {{0, {0}}}), "tim"), "6 not a TIM file");
    const Bytes iff = headerOf("iff");
    EXPECT_EQ(saidOf(edited(iff, {{8, {'S'}}}), "iff"), "7 FORM files of type \"SLBM\" are not read");
    EXPECT_EQ(saidOf(edited(iff, {{0, {'L'}}}), "iff"), "6 not an IFF file");
    EXPECT_EQ(saidOf(edited(iff, {{30, {2}}}), "iff"), "7 compression 2 is not known");
    EXPECT_EQ(saidOf(bytesOf("#?RADIANCE\n\n-Y 1 +X 1\n...."), "hdr"),
              "7 the header has no line FORMAT=32-bit_rle_rgbe or FORMAT=32-bit_rle_xyze");
    const std::string hdr = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
    EXPECT_EQ(saidOf(bytesOf(hdr + "1 1\n...."), "hdr"), "6 the line of the size is missing or damaged");
    EXPECT_EQ(saidOf(bytesOf(hdr + "-Y 40000 +X 40000\n"), "hdr"),
              "2 a picture of 40000x40000 pixels is too large");
    EXPECT_EQ(saidOf(bytesOf("no picture\n\n"), "hdr"), "6 not a Radiance file");
    const Bytes psd = headerOf("psd");
    EXPECT_EQ(saidOf(edited(psd, {{0, {'X'}}}), "psd"), "6 not a PSD document");
    EXPECT_EQ(saidOf(edited(psd, {{5, {3}}}), "psd"), "7 version 3 is not known");
    EXPECT_EQ(saidOf(edited(psd, {{25, {6}}}), "psd"), "7 colour mode 6 is not known");
    EXPECT_EQ(saidOf(edited(psd, {{23, {1}}}), "psd"), "7 RGB documents of 1 bits are not read");
    EXPECT_EQ(saidOf(edited(psd, {{13, {0}}}), "psd"), "6 the document has no channels");
    EXPECT_EQ(saidOf(edited(psd, {{14, {1}}, {18, {1}}}), "psd"),
              "2 a picture of 16777221x16777220 pixels is too large");
    EXPECT_EQ(saidOf(edited(psd, {{21, {0}}}), "psd"), "6 a picture of 0x4 pixels is empty");
    EXPECT_EQ(saidOf(Bytes(psd.begin(), psd.begin() + 25), "psd"), "4 the file ends inside its header");
    EXPECT_EQ(saidOf(Bytes(psd.begin(), psd.begin() + 39), "psd"),
              "4 the file ends before its merged picture");
    EXPECT_EQ(saidOf(edited(headerOf("png"), {{16, {1}}}), "png"),
              "6 the checksum of the chunk \"IHDR\" is wrong");
    EXPECT_EQ(saidOf(bytesOf("no picture, but long enough to be one"), "png"), "6 not a PNG file");
    Bytes jpeg = headerOf("jpeg");
    const unsigned char frame[] = {0xFF, 0xC0};
    const auto at = std::search(jpeg.begin(), jpeg.end(), std::begin(frame), std::end(frame));
    ASSERT_NE(at, jpeg.end());
    *(at + 1) = 0xC3;
    EXPECT_EQ(saidOf(jpeg, "jpeg"), "7 lossless JPEG is not read");
    EXPECT_EQ(saidOf(bytesOf("no picture"), "jpeg"), "6 not a JPEG file");
    EXPECT_EQ(saidOf(tiffOf({{256, 4}, {257, 4}, {258, 64}}), "tiff"),
              "7 64-bit integer samples are not read");
    EXPECT_EQ(saidOf(tiffOf({{256, 4}}), "tiff"), "6 a picture of 4x0 pixels is empty");
    if (!DibIsFormatAvailable(DibFindFormat("dds"))) return;
    EXPECT_EQ(saidOf(edited(headerOf("dds"), {{80, {4, 0, 0, 0, 'X', 'X', 'X', 'X'}}}), "dds"),
              "7 pixels of format \"XXXX\" are not read");
    EXPECT_EQ(saidOf(edited(headerOf("dds"), {{4, {123}}}), "dds"), "6 the header is damaged");
    if (!DibIsFormatAvailable(DibFindFormat("exr"))) return;
    EXPECT_EQ(saidOf(edited(headerOf("exr"), {{4, {3}}}), "exr"), "7 version 3 is not known");
}

TEST_F(DoorProbe, EveryFailingAllocationIsCode2) {
    for (const DibFormat* format : formats()) {
        SCOPED_TRACE(format->name);
        const TemporaryFile file("." + std::string(format->extensions[0]), headerOf(format->name));
        const DibLoadOptions options = {.format = format->name};
        DibFileInfo info;
        DibLayers layers;
        DibFileResult result;
        bool isRead = false;
        const auto expectCode2 = [&](const auto& read) {
            read();
            const int code = result.code;  // some of the headers are not whole
            testing_support::forEachFailingAllocation([] {}, [&] { isRead = read(); },
                                                      [&](bool failureMet) {
                                                          EXPECT_EQ(isRead, result.code == 0);
                                                          EXPECT_EQ(result.code, failureMet ? 2 : code)
                                                              << result.reason;
                                                          result = {};
                                                          layers = {};
                                                      });
            return code;
        };
        const int code = expectCode2([&] { return DibProbeFile(file.path(), &info, &options, &result); });
        EXPECT_EQ(code == 0, info.width > 0);
        EXPECT_TRUE(code == 0 || format->plugin != nullptr);
        expectCode2([&] { return DibProbeLayers(file.path(), &layers, &options, &result); });
    }
}

// Of a good header the probe tells how the rows are packed.
TEST_F(DoorProbe, PackingsHaveNames) {
    const auto packing = [](const Bytes& bytes, const char* format) -> std::string {
        DibFileInfo info;
        const DibLoadOptions options = {.format = format};
        EXPECT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options));
        return info.compression;
    };
    const auto packed = [](const char* format, bool runLengths) {
        const DibPtr image = testing_support::plainImage(40, 30, 8, 7);
        const DibSaveOptions options = {.format = format, .runLengths = runLengths};
        DibBytes bytes;
        EXPECT_TRUE(DibSaveMemory(&bytes, image.get(), &options));
        return Bytes(bytes.data, bytes.data + bytes.size);
    };
    EXPECT_EQ(packing(packed("bmp", true), "bmp"), "rle8");
    EXPECT_EQ(packing(packed("bmp", false), "bmp"), "none");
    EXPECT_EQ(packing(packed("tga", true), "tga"), "rle");
    EXPECT_EQ(packing(packed("tga", false), "tga"), "none");
    EXPECT_EQ(packing(packed("iff", true), "iff"), "packbits");
    EXPECT_EQ(packing(packed("iff", false), "iff"), "none");
    EXPECT_EQ(packing(headerOf("ppm"), "ppm"), "none");
    EXPECT_EQ(packing(headerOf("hdr"), "hdr"), "none");
    EXPECT_EQ(packing(headerOf("png"), "png"), "deflate");
    EXPECT_EQ(packing(headerOf("jpeg"), "jpeg"), "dct");
    EXPECT_EQ(packing(headerOf("tiff"), "tiff"), "deflate");
    EXPECT_EQ(packing(headerOf("dds"), "dds"), "none");
}

}  // namespace
}  // namespace door_test
