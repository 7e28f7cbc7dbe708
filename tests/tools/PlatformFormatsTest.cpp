#include <DibCodec.h>
#include <DibPSDLoader.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

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
            EXPECT_EQ(run({"run", "in.bmp", depth, "bpp:24", "expected.bmp"}).errors, "");
            const std::string back = as24Bits(file);
            if (row.isExact) {
                EXPECT_EQ(back, readFile("expected.bmp")) << row.extension << " " << depth;
            }
        }
    }
}

TEST_F(PlatformFormats, EightBitsStayEightBits) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:8,method=median", "indexed.bmp"}).errors, "");
    for (const std::string file : {"out.png", "out.tif"}) {
        EXPECT_EQ(run({"run", "--strict", "indexed.bmp", file}).errors, "");
        EXPECT_EQ(json::parse(run({"info", "--json", file}).output)[0]["bitsPerPixel"], 8);
        EXPECT_EQ(run({"run", "--strict", file, "back.bmp"}).errors, "");
        EXPECT_EQ(readFile("back.bmp"), readFile("indexed.bmp")) << file;
    }
}

TEST_F(PlatformFormats, TheContentTellsWhatAFileIs) {
    for (const Row& row : kRows) {
        EXPECT_EQ(run({"run", "--to=" + row.format, "in.bmp", "unnamed"}).exitCode, 0);
        EXPECT_EQ(run({"run", "unnamed", "back.bmp"}).exitCode, 0) << row.format;
        // Also where the name says another thing.
        std::filesystem::rename("unnamed", "misnamed.tga");
        EXPECT_EQ(run({"run", "misnamed.tga", "back.bmp"}).exitCode, 0) << row.format;
        const json info = json::parse(run({"info", "--json", "misnamed.tga"}).output)[0];
        EXPECT_EQ(info["format"], row.format);
        EXPECT_EQ(info["width"], picture_.Header->biWidth);
        EXPECT_EQ(info["height"], picture_.Header->biHeight);
        EXPECT_EQ(info["bitsPerPixel"], picture_.Header->biBitCount);
        EXPECT_EQ(info["rowOrder"], "bottom-up");
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
    const json formats = json::parse(run({"formats", "--json"}).output);
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
