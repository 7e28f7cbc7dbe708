#include <DibCodec.h>
#include <DibFile.h>
#include <DibPSDLoader.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "dib/ColorTable.h"
#include "tests/support/PsdBuilder.h"
#include "tests/support/TestImages.h"
#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using nlohmann::json;

struct Row {
    std::string format;
    std::string extension;
    bool isExact;
    std::string start;
};
const Row kRows[] = {
    {"png", "png", true, "\x89PNG"},         {"jpeg", "jpg", false, "\xFF\xD8\xFF"},
    {"jpeg", "jpeg", false, "\xFF\xD8\xFF"}, {"tiff", "tif", true, "II*"},
    {"tiff", "tiff", true, "II*"},
};

using PlatformFormats = ToolTest;

/// The picture as a BMP file, which its depth does not change.
std::string as24Bits(const std::string& file) {
    EXPECT_EQ(run({"run", file, "bpp:24", "back.bmp"}).errors, "");
    return readFile("back.bmp");
}

TEST_F(PlatformFormats, KeepThePicture) {
    for (const Row& row : kRows) {
        const std::string file = "out." + row.extension;
        EXPECT_EQ(run({"run", "in.bmp", file}).errors, "");
        EXPECT_EQ(readFile(file).substr(0, row.start.size()), row.start);
        const std::string back = as24Bits(file);
        ASSERT_EQ(back.size(), readFile("in.bmp").size());
        if (row.isExact) {
            EXPECT_EQ(back, readFile("in.bmp")) << row.extension;
        }
    }
}

TEST_F(PlatformFormats, EveryDepthIsWritten) {
    for (const Row& row : kRows) {
        for (const char* depth : {"bpp:1", "bpp:4", "bpp:8", "bpp:16", "bpp:24", "bpp:32"}) {
            const std::string file = "out." + row.extension;
            EXPECT_EQ(run({"run", "in.bmp", depth, file}).errors, "") << row.extension << " " << depth;
            // Files hold the colours of 16 bits in the whole range of a byte, PPM files among them.
            EXPECT_EQ(run({"run", "in.bmp", depth, "expected.ppm"}).errors, "");
            const std::string back = as24Bits(file);
            if (row.isExact) {
                EXPECT_EQ(back, as24Bits("expected.ppm")) << row.extension << " " << depth;
            }
        }
    }
}

TEST_F(PlatformFormats, EightBitsStayEightBits) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:8,method=median", "indexed.bmp"}).errors, "");
    for (const std::string file : {"out.png", "out.tif"}) {
        EXPECT_EQ(run({"run", "--strict", "indexed.bmp", file}).errors, "");
        EXPECT_EQ(json::parse(run({"info", "--json", file}).output)["files"][0]["bitsPerPixel"], 8);
        EXPECT_EQ(run({"run", "--strict", file, "back.bmp"}).errors, "");
        EXPECT_EQ(readFile("back.bmp"), readFile("indexed.bmp")) << file;
    }
}

/// A PNG file with a colour table: pixel x, y has index (2 x + y) % `colors`, index 1 is half transparent and
/// index 2 not seen at all.
void makeTransparentPng(const std::string& name, int bitCount, int colors) {
    const testing_support::DibPtr image = testing_support::blankImage(9, 6, bitCount);
    for (int i = 0; i < colors; ++i) {
        dib::colorTable(image->Header)[i] = {static_cast<unsigned char>(50 * i),
                                             static_cast<unsigned char>(255 - 30 * i),
                                             static_cast<unsigned char>(7 * i), 0};
    }
    image->Header->biClrUsed = static_cast<unsigned>(colors);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 9; ++x)
            testing_support::setPixelValue(*image, x, y, static_cast<unsigned>((2 * x + y) % colors));
    }
    DibMetadata metadata;
    metadata.paletteAlpha.data = static_cast<unsigned char*>(std::malloc(3));
    metadata.paletteAlpha.size = 3;
    std::memcpy(metadata.paletteAlpha.data, "\xFF\x80\x00", 3);
    DibSaveOptions options;
    options.metadata = &metadata;
    ASSERT_TRUE(DibSaveFile(name.c_str(), image.get(), &options));
}

TEST_F(PlatformFormats, TransparentPalettesAreAlpha) {
    makeTransparentPng("clear.png", 4, 5);
    EXPECT_EQ(run({"info", "clear.png"}).output,
              "clear.png: png, 9x6 pixels, 4 bits, 1 channel, alpha, palette of 5, compression deflate\n");
    EXPECT_EQ(json::parse(run({"info", "--json", "clear.png"}).output)["files"][0]["alpha"], true);
    ASSERT_EQ(run({"run", "in.bmp", "colors:5", "opaque.png"}).exitCode, 0);
    EXPECT_EQ(json::parse(run({"info", "--json", "opaque.png"}).output)["files"][0]["alpha"], false);
}

// What the step itself has to say stays apart from what is said of its second picture.
TEST_F(PlatformFormats, StepsKeepTheirNotesBesideThoseOfTheSecondPicture) {
    makeTransparentPng("clear.png", 4, 5);
    const std::string outside = "dib: in.bmp: warning: overlay: the second picture lies outside the first\n";
    const Program::Words words = {"run", "in.bmp", "overlay:clear.png,x=200", "out.bmp"};
    EXPECT_EQ(run(words).errors, outside);
    Program::Words verbose = words;
    verbose.emplace_back("--verbose");
    EXPECT_EQ(run(verbose).errors,
              "dib: clear.png: overlay: loss: the palette has transparency: its indices became 32-bit "
              "colours\n" +
                  outside);
    writeFile("deep.pgm", "P5\n1 1\n65535\n\1\2");
    EXPECT_EQ(run({"run", "in.bmp", "overlay:deep.pgm,x=200", "out.bmp", "--verbose"}).errors,
              "dib: deep.pgm: overlay: loss: samples of 16 bits became 8\n" + outside);
}

struct Opened {
    explicit Opened(const std::string& file, bool keepsPalette = true) {
        DibLoadOptions options;
        options.keepsPalette = keepsPalette;
        EXPECT_TRUE(DibLoadFile(file.c_str(), &image, &options, &result)) << result.reason;
        const DibBytes& bytes = result.metadata.paletteAlpha;
        alpha.assign(bytes.data, bytes.data + bytes.size);
    }
    DibStream image;
    DibFileResult result;
    std::vector<int> alpha;
};

TEST_F(PlatformFormats, PngPalettesKeepTheirTransparency) {
    for (const auto& [bitCount, colors] : {std::pair(4, 5), std::pair(8, 6)}) {
        SCOPED_TRACE(bitCount);
        makeTransparentPng("in.png", bitCount, colors);
        Opened in("in.png");
        ASSERT_EQ(in.image.Header->biBitCount, bitCount);
        ASSERT_EQ(in.alpha, (std::vector{255, 128, 0}));
        EXPECT_EQ(run({"info", "in.png"}).output, "in.png: png, 9x6 pixels, " + std::to_string(bitCount) +
                                                      " bits, 1 channel, alpha, palette of " +
                                                      std::to_string(colors) + ", compression deflate\n");

        EXPECT_EQ(run({"run", "--strict", "in.png", "out.png"}).errors, "");
        Opened out("out.png");
        EXPECT_EQ(out.alpha, in.alpha);
        EXPECT_TRUE(testing_support::sameImage(out.image, in.image));

        writeFile("filtered.png", run({"run", "--strict", "-", "-"}, readFile("in.png")).output);
        EXPECT_EQ(readFile("filtered.png"), readFile("out.png"));

        EXPECT_EQ(run({"run", "--strict", "in.png", "crop:1,2,5x3", "scroll:1,0", "out.png"}).errors, "");
        Opened cut("out.png");
        EXPECT_EQ(cut.alpha, in.alpha);
        EXPECT_EQ(cut.image.Header->biBitCount, bitCount);
        ASSERT_EQ(cut.image.Header->biWidth, 5);
        ASSERT_EQ(std::abs(cut.image.Header->biHeight), 3);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 5; ++x) {
                EXPECT_EQ(testing_support::pixelValue(cut.image, (x + 1) % 5, y),
                          testing_support::pixelValue(in.image, 1 + x, 2 + y));
            }
        }
    }
}

TEST_F(PlatformFormats, PngPalettesBecomeColoursWhereTheirTransparencyCannotStay) {
    makeTransparentPng("in.png", 8, 6);
    Opened wide("in.png", false);
    ASSERT_EQ(wide.image.Header->biBitCount, 32);
    const testing_support::DibPtr brighter(wide.image.Clone());
    ASSERT_TRUE(brighter->Brighten(2));
    const std::pair<Program::Words, DibStream*> kCases[] = {
        {{"run", "in.png", "out.tif"}, &wide.image},
        {{"run", "in.png", "scroll:0,0", "out.bmp"}, &wide.image},
        {{"run", "in.png", "scroll:0,0", "brighten:2", "out.png"}, brighter.get()},
    };
    for (const auto& [words, expected] : kCases) {
        EXPECT_EQ(run(words).errors, "");
        Opened out(words.back());
        ASSERT_EQ(out.image.Header->biBitCount, 32) << words.back();
        ASSERT_EQ(out.image.Header->biWidth, 9);
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 9; ++x)
                EXPECT_EQ(testing_support::pixelValue(out.image, x, y),
                          testing_support::pixelValue(*expected, x, y));
        }
    }
}

TEST_F(PlatformFormats, InfoTellsGreysFromPalettes) {
    const auto told = [](const std::string& file) {
        const std::string text = run({"info", file}).output;
        return text.substr(0, text.find(", compression"));
    };
    for (const char* file : {"grey.png", "grey.jpg", "grey.tif", "grey.pgm", "grey.tga"}) {
        EXPECT_EQ(run({"run", "in.bmp", "bpp:8", file}).errors, "");
        const std::string order = std::string_view(file).ends_with("tga") ? ", bottom-up" : "";
        const std::string format = json::parse(run({"info", "--json", file}).output)["files"][0]["format"];
        EXPECT_EQ(told(file),
                  std::string(file) + ": " + format + ", 33x21 pixels, 8 bits, 1 channel" + order + ", grey");
        EXPECT_EQ(json::parse(run({"info", "--json", file}).output)["files"][0]["paletteSize"], 0);
    }
    EXPECT_EQ(run({"run", "in.bmp", "bpp:1", "ink.png"}).errors, "");
    EXPECT_EQ(told("ink.png"), "ink.png: png, 33x21 pixels, 1 bit, 1 channel, grey");
    for (const char* file : {"few.png", "few.tif"}) {
        EXPECT_EQ(run({"run", "in.bmp", "bpp:8,method=median", file}).errors, "");
        EXPECT_NE(told(file).find(", 1 channel, palette of 256"), std::string::npos) << told(file);
    }
}

TEST_F(PlatformFormats, InfoTellsTheUprightPictureAndTheStoredOne) {
    DibMetadata metadata;
    metadata.orientation = 6;
    metadata.xResolution = 300;
    metadata.yResolution = 150;
    DibSaveOptions options;
    options.metadata = &metadata;
    DibStream image;
    makePicture(image, 33, 21, 24);
    ASSERT_TRUE(DibSaveFile("turned.jpg", &image, &options));
    EXPECT_TRUE(
        run({"info", "turned.jpg"})
            .output.starts_with("turned.jpg: jpeg, 21x33 pixels upright (33x21 in the file), 24 bits"));
    EXPECT_TRUE(run({"info", "turned.jpg"}).output.ends_with(", 150x300 dpi, orientation 6\n"));
    metadata.orientation = 3;
    ASSERT_TRUE(DibSaveFile("turned.jpg", &image, &options));
    EXPECT_TRUE(run({"info", "turned.jpg"}).output.starts_with("turned.jpg: jpeg, 33x21 pixels, 24 bits"));
}

TEST_F(PlatformFormats, TheContentTellsWhatAFileIs) {
    for (const Row& row : kRows) {
        EXPECT_EQ(run({"run", "--to=" + row.format, "in.bmp", "unnamed"}).exitCode, 0);
        EXPECT_EQ(run({"run", "unnamed", "back.bmp"}).exitCode, 0) << row.format;
        // Also where the name says another thing.
        std::filesystem::rename("unnamed", "misnamed.tga");
        EXPECT_EQ(run({"run", "misnamed.tga", "back.bmp"}).exitCode, 0) << row.format;
        const json info = json::parse(run({"info", "--json", "misnamed.tga"}).output)["files"][0];
        EXPECT_EQ(info["format"], row.format);
        EXPECT_EQ(info["width"], picture_.Header->biWidth);
        EXPECT_EQ(info["height"], picture_.Header->biHeight);
        EXPECT_EQ(info["bitsPerPixel"], picture_.Header->biBitCount);
        EXPECT_TRUE(info["rowOrder"].is_null());
    }
}

TEST_F(PlatformFormats, FilterFromInputToOutput) {
    for (const Row& row : kRows) {
        const Result encoded = run({"run", "--to=" + row.format, "-", "-"}, readFile("in.bmp"));
        EXPECT_EQ(encoded.errors, "");
        EXPECT_EQ(encoded.output.substr(0, row.start.size()), row.start);
        const Result decoded =
            run({"run", "--from=" + row.format, "--to=bmp", "-", "bpp:24", "-"}, encoded.output);
        EXPECT_EQ(decoded.errors, "");
        // The output's format is the input's where nothing else is said.
        const Result again = run({"run", "-", "-"}, encoded.output);
        EXPECT_EQ(again.output.substr(0, row.start.size()), row.start);
        if (row.isExact) {
            EXPECT_EQ(decoded.output, readFile("in.bmp")) << row.format;
            EXPECT_EQ(again.output, encoded.output) << row.format;
        }
    }
    EXPECT_EQ(filesHere(), (std::vector<std::string>{"in.bmp"}));
}

TEST_F(PlatformFormats, AreListed) {
    const json formats = json::parse(run({"formats", "--json"}).output)["formats"];
    for (const Row& row : kRows) {
        const auto found =
            std::ranges::find_if(formats, [&](const json& f) { return f["name"] == row.format; });
        ASSERT_NE(found, formats.end()) << row.format;
        EXPECT_EQ((*found)["reads"], true);
        EXPECT_EQ((*found)["writes"], true);
        const json& extensions = (*found)["extensions"];
        EXPECT_NE(std::ranges::find(extensions, json(row.extension)), extensions.end()) << row.extension;
    }
}

TEST_F(PlatformFormats, BrokenFilesFail) {
    for (const Row& row : kRows) {
        const std::string file = "in." + row.extension;
        EXPECT_EQ(run({"run", "in.bmp", "out." + row.extension}).exitCode, 0);
        writeFile(file, readFile("out." + row.extension).substr(0, 60));
        const Result result = run({"run", file, "back.bmp"});
        EXPECT_EQ(result.exitCode, 3) << row.extension;
        EXPECT_EQ(result.errors.substr(0, 5 + file.size() + 8), "dib: " + file + ": load: ");
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << "one line, none of the codec's";
        EXPECT_EQ(run({"run", "--from=" + row.format, "in.bmp", "back.bmp"}).exitCode, 3);
    }
}

TEST_F(PlatformFormats, AFullDiskIsNoticed) {
    for (const Row& row : kRows) {
        const std::string file = "out." + row.extension;
        writeFile(file, "old");
        const Result result = run({"run", "in.bmp", file}, "", [] {
            const rlimit limit = {90, 90};
            setrlimit(RLIMIT_FSIZE, &limit);
        });
        EXPECT_EQ(result.exitCode, 4) << row.extension;
        EXPECT_EQ(result.errors.substr(0, 5 + file.size() + 8), "dib: " + file + ": save: ");
        EXPECT_EQ(readFile(file), "old");
        EXPECT_EQ(filesHere(), (std::vector<std::string>{"in.bmp", file}));
        std::filesystem::remove(file);
        EXPECT_EQ(run({"run", "--to=" + row.format, "in.bmp", "/dev/full"}).exitCode, 4);
    }
}

TEST_F(PlatformFormats, LayersBecomePngFiles) {
    testing_support::PsdDocument document;
    document.addLayer({0, 0, 3, 4}, {-1, 0, 1, 2}).name = "one";
    const auto bytes = document.bytes();
    writeFile("in.psd", std::string(bytes.begin(), bytes.end()));
    DibPSDLoader loader;
    loader.EnableLayer(true);
    ASSERT_TRUE(loader.Load("in.psd"));
    int left = 0;
    int top = 0;
    const testing_support::DibPtr layer(loader.GetLayerImage(0, left, top));
    for (const std::string to : {"", "--to=png", "--to=tiff"}) {
        Program::Words words = {"layers", "in.psd", "layers"};
        if (!to.empty()) words.insert(words.begin() + 1, to);
        EXPECT_EQ(run(words).errors, "");
        int files = 0;
        for (const auto& entry : std::filesystem::directory_iterator("layers")) {
            if (entry.path().filename() == "manifest.json") continue;
            EXPECT_EQ(entry.path().extension().string(), to == "--to=tiff" ? ".tif" : ".png");
            const Result info = run({"info", entry.path().string()});
            EXPECT_NE(info.output.find("4x3 pixels, 32 bits"), std::string::npos)
                << info.output << info.errors;
            DibStream picture;
            ASSERT_TRUE(LoadPNG(entry.path().c_str(), &picture, nullptr, nullptr));
            EXPECT_TRUE(testing_support::sameImage(picture, *layer));
            ++files;
        }
        EXPECT_EQ(files, 1);
        std::filesystem::remove_all("layers");
    }
}

}  // namespace

}  // namespace tool_test
