#include <sys/resource.h>

#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/PsdBuilder.h"
#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using nlohmann::json;
using testing_support::PsdDocument;

class Layers : public ToolTest {
protected:
    // Three layers, one of them empty, with names that would like to be elsewhere.
    void SetUp() override {
        ToolTest::SetUp();
        auto& first = document_.addLayer({1, -2, 3, 4}, {-1, 0, 1, 2});
        first.key = "mul ";
        first.opacity = 128;
        first.name = "../../etc/passwd";
        document_.addLayer({0, 0, 0, 0}, {}).name = "Empty";
        auto& last = document_.addLayer({0, 0, 2, 2}, {0, -2}, testing_support::PsdRectangle{1, 2, 3, 5});
        last.name = "\x1b[31m\n";
        last.key = "none";
        last.flags = 2;
        write();
    }
    void write() {
        const auto bytes = document_.bytes();
        writeFile("in.psd", std::string(bytes.begin(), bytes.end()));
    }

    PsdDocument document_;
};

TEST_F(Layers, AreTold) {
    const Result text = run({"info", "in.psd"});
    EXPECT_EQ(text.exitCode, 0) << text.errors;
    EXPECT_EQ(text.output,
              "in.psd: psd, 5x4 pixels, 24 bits, 3 channels, compression none\n"
              "  RGB, 8 bits per channel, 3 layers\n"
              "  layer 0 \"../../etc/passwd\": 6x2 at -2,1, multiply, opacity 128, visible\n"
              "  layer 1 \"Empty\": 0x0 at 0,0, normal, opacity 255, visible\n"
              "  layer 2 \"?[31m?\": 2x2 at 0,0, unknown, opacity 255, hidden, mask 3x2 at 2,1\n");

    const json info = json::parse(run({"info", "--json", "in.psd"}).output)["files"][0];
    EXPECT_EQ(info["colorMode"], "RGB");
    EXPECT_EQ(info["compression"], "none");
    EXPECT_EQ(info["bitsPerChannel"], 8);
    EXPECT_EQ(info["channels"], 3);
    EXPECT_EQ(
        info["layers"][0],
        json::parse(R"({"name": "../../etc/passwd", "kind": "plain", "group": null, "blendMode": "multiply",
        "opacity": 128, "visible": true, "clipped": false, "mask": null, "secondMask": null,
        "rectangle": {"left": -2, "top": 1, "right": 4, "bottom": 3}})"));
    EXPECT_EQ(info["layers"][2]["visible"], false);
    EXPECT_EQ(info["layers"][2]["mask"], json::parse(R"({"left": 2, "top": 1, "right": 5, "bottom": 3})"));
}

TEST_F(Layers, AreChosenByNumberOrName) {
    EXPECT_EQ(run({"run", "--layer", "0", "in.psd", "number.bmp"}).errors, "");
    EXPECT_EQ(run({"run", "--layer=../../etc/passwd", "in.psd", "name.bmp"}).errors, "");
    EXPECT_EQ(readFile("number.bmp"), readFile("name.bmp"));
    EXPECT_NE(run({"info", "number.bmp"}).output.find(" 6x2 pixels"), std::string::npos);
    const Result unknown = run({"run", "--layer", "Sky", "in.psd", "out.bmp"});
    EXPECT_EQ(unknown.exitCode, 3);
    EXPECT_EQ(unknown.errors, "dib: in.psd: load: the file has no layer \"Sky\"\n");
    EXPECT_EQ(run({"info", "--page=first", "in.psd"}).errors,
              "dib: in.psd: load: there is no page \"first\": pages of psd files have no names\n");
    EXPECT_EQ(run({"run", "--level=-1", "in.psd", "out.bmp"}).exitCode, 2);
    // The second picture of a step is a whole one.
    EXPECT_EQ(run({"run", "--layer=0", "in.psd", "compose:number.bmp", "out.bmp"}).errors, "");
}

TEST_F(Layers, CanBeTooMany) {
    EXPECT_EQ(run({"run", "--limit=layers:2", "in.psd", "out.bmp"}).errors,
              "dib: in.psd: load: the picture of 5x4 pixels needs 3 layers; the limit of layers is 2 "
              "(--limit=layers)\n");
    EXPECT_EQ(run({"run", "--limit=layers:3", "in.psd", "out.bmp"}).errors, "");
}

TEST_F(Layers, AFailedSaveSaysSo) {
    const auto limited = [] {
        const rlimit limit = {96, 96};  // room for the message, which goes to a file too
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const Result coded = run({"layers", "in.psd", "out", "--to=bmp"}, "", limited);
    EXPECT_EQ(coded.exitCode, 4);
    EXPECT_EQ(coded.errors,
              "dib: out/000-______etc_passwd.bmp: save: the file cannot be written: File too large\n");
    EXPECT_EQ(filesHere(), (std::vector<std::string>{"in.bmp", "in.psd"}));
}

TEST_F(Layers, AreWrittenUnderHarmlessNames) {
    const Result result = run({"layers", "in.psd", "deep/out", "--to=bmp"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    const json manifest = json::parse(readFile("deep/out/manifest.json"));
    EXPECT_EQ(manifest["document"], "in.psd");
    EXPECT_EQ(manifest["width"], 5);
    EXPECT_EQ(manifest["height"], 4);
    ASSERT_EQ(manifest["layers"].size(), 3U);
    EXPECT_EQ(manifest["layers"][0]["file"], "000-______etc_passwd.bmp");
    EXPECT_EQ(manifest["layers"][0]["rectangle"]["left"], -2);
    EXPECT_EQ(manifest["layers"][1]["file"], nullptr);
    EXPECT_EQ(manifest["layers"][2]["file"], "002-__31m_.bmp");
    EXPECT_EQ(manifest["layers"][2]["maskFile"], "002-__31m_-mask.bmp");
    DibStream layer;
    ASSERT_TRUE(layer.LoadFromFile("deep/out/000-______etc_passwd.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(layer.Header->biWidth, 6);
    EXPECT_EQ(layer.Header->biHeight, 2);
    EXPECT_EQ(layer.Header->biBitCount, 32);
    // The alpha of the first pixel is the first byte of the first channel.
    EXPECT_EQ(layer.Pixel(0, 0)[3], document_.layers[0].channels[0].plane[0]);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator("deep/out"))
        files += entry.is_regular_file();
    EXPECT_EQ(files, 4);
}

TEST_F(Layers, ThatCannotBeReadAreStillTold) {
    const auto& plane = document_.layers[0].channels[0].plane;
    std::string bytes = readFile("in.psd");
    const std::size_t data = bytes.find(std::string(2, '\0') + std::string(plane.begin(), plane.end()));
    ASSERT_NE(data, std::string::npos);
    bytes[data + 1] = 7;
    writeFile("in.psd", bytes);
    const Result told = run({"info", "in.psd"});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_NE(told.output.find("3 layers\n  layer 0 "), std::string::npos);
    const Result result = run({"layers", "in.psd", "out"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "dib: in.psd: layer 0: load: the compression 7 of the pixels is not known\n");
    EXPECT_FALSE(std::filesystem::exists("out"));
}

TEST_F(Layers, OfGreyDocumentsAreGrey) {
    document_ = {};
    document_.mode = 1;
    document_.channels = 1;
    document_.addLayer({0, 0, 1, 2}, {0}).name = "one";
    document_.layers[0].channels[0].plane = {10, 200};
    write();
    ASSERT_EQ(run({"layers", "in.psd", "out", "--to=bmp"}).errors, "");
    DibStream layer;
    ASSERT_TRUE(layer.LoadFromFile("out/000-one.bmp", DibStream::DIB_ACCEPT_ALL));
    ASSERT_EQ(layer.Header->biBitCount, 32);
    const unsigned char expected[] = {10, 10, 10, 255, 200, 200, 200, 255};
    EXPECT_EQ(std::memcmp(layer.ScanLine(0), expected, sizeof expected), 0);
}

TEST_F(Layers, ThatEndTooEarlyAreCounted) {
    document_ = {};
    document_.depth = 16;
    const std::string section(
        "\0\0\0\0\0\0\0\0"
        "8BIMLr16\0\0\0\4\0\2..",
        24);
    document_.layerSection = testing_support::PsdBytes(section.begin(), section.end());
    write();
    const json info = json::parse(run({"info", "--json", "in.psd"}).output)["files"][0];
    EXPECT_EQ(info["layerCount"], 2);
    EXPECT_EQ(info["layers"].size(), 1U);
    const Result result = run({"layers", "in.psd", "out"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "dib: in.psd: load: the layers are damaged or end too early\n");
    EXPECT_FALSE(std::filesystem::exists("out"));
}

// Masks are pictures of their own; groups have none.
TEST_F(Layers, HaveMasksGroupsAndUnicodeNames) {
    document_ = {};
    document_.isLarge = true;
    document_.depth = 16;
    document_.compression = testing_support::PsdCompression::kZipPredicted;
    document_.layerBlock = "Lr16";
    auto& end = document_.addLayer({}, {});
    end.additional = testing_support::psdBlock("lsct", {0, 0, 0, 3});
    auto& masked = document_.addLayer({0, 0, 2, 2}, {0, 1, 2, -2}, testing_support::PsdRectangle{1, 2, 3, 5});
    masked.secondMask = testing_support::PsdRectangle{0, 0, 1, 1};
    masked.channels.push_back({-3, {0x80, 0x00}});
    masked.additional = testing_support::psdUnicodeName(u"\u5C42 A");
    auto& group = document_.addLayer({}, {});
    group.name = "Group";
    group.additional = testing_support::psdBlock("lsct", {0, 0, 0, 1});
    write();
    ASSERT_EQ(run({"layers", "in.psd", "out", "--to=bmp"}).errors, "");
    const json layers = json::parse(readFile("out/manifest.json"))["layers"];
    EXPECT_EQ(layers[0]["kind"], "group-end");
    EXPECT_EQ(layers[0]["file"], nullptr);
    EXPECT_EQ(layers[1]["name"], "\u5C42 A");
    EXPECT_EQ(layers[1]["group"], 2);
    EXPECT_EQ(layers[1]["file"], "001-__A.bmp");
    EXPECT_EQ(layers[1]["maskFile"], "001-__A-mask.bmp");
    EXPECT_EQ(layers[1]["secondMaskFile"], "001-__A-mask2.bmp");
    EXPECT_EQ(layers[2]["kind"], "group");
    DibStream mask;
    ASSERT_TRUE(mask.LoadFromFile("out/001-__A-mask2.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(mask.Header->biWidth, 1);
    EXPECT_EQ(*mask.ScanLine(0), 128);
    EXPECT_NE(run({"info", "in.psd"}).output.find("in layer 2, mask 3x2 at 2,1, second mask 1x1 at 0,0\n"),
              std::string::npos);
}

TEST_F(Layers, MistakesAreTold) {
    EXPECT_EQ(run({"layers", "in.bmp", "out"}).exitCode, 3);
    EXPECT_EQ(run({"layers", "missing.psd", "out"}).exitCode, 3);
    EXPECT_EQ(run({"layers", "in.psd", "out", "--to=psd"}).exitCode, 2);
    EXPECT_EQ(run({"layers", "in.psd", "out", "--to=nothing"}).exitCode, 2);
    EXPECT_EQ(run({"layers", "in.psd"}).exitCode, 2);
    writeFile("file", "");
    const Result blocked = run({"layers", "in.psd", "file"});
    EXPECT_EQ(blocked.exitCode, 4);
    EXPECT_EQ(readFile("file"), "");
}

}  // namespace

}  // namespace tool_test
