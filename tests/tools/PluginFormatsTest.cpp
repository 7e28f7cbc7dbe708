#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using PluginFormats = ToolTest;

// One pixel of 24 bits: blue 1, green 2, red 3.
std::string ddsBytes() {
    std::string bytes(128, '\0');
    const auto put = [&bytes](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> 8 * i);
    };
    bytes.replace(0, 4, "DDS ");
    put(4, 124);
    put(12, 1);
    put(16, 1);
    put(76, 32);
    put(80, 0x40);
    put(88, 24);
    put(92, 0xFF0000);
    put(96, 0xFF00);
    put(100, 0xFF);
    return bytes + "\1\2\3";
}

// A BMP file's pixels begin at byte 54 when there are no colours.
std::string pixelsOf(const std::string& file) { return readFile(file).substr(54); }

TEST_F(PluginFormats, ThePlugInsOfTheBuildAreFound) {
    writeFile("one.dds", ddsBytes());
    EXPECT_EQ(run({"run", "one.dds", "bpp:24", "out.bmp"}).errors, "");
    EXPECT_EQ(pixelsOf("out.bmp"), std::string("\1\2\3\0", 4));
    EXPECT_EQ(run({"run", "-", "bpp:24", "piped.bmp"}, ddsBytes()).errors, "") << "the content tells";
    EXPECT_EQ(readFile("piped.bmp"), readFile("out.bmp"));
    const std::string plugin = DIB_TOOL_TEST_PLUGINS "/vexlibdds.bundle";
    EXPECT_NE(run({"formats"}).output.find("       plug-in     " + plugin + "\n"), std::string::npos);
    EXPECT_NE(run({"formats", "dds"}).output.find("       decoded by  "), std::string::npos);
    const std::string info = run({"info", "one.dds"}).output;
    EXPECT_NE(info.find("dds"), std::string::npos) << info;
}

TEST_F(PluginFormats, AnotherFolderCanBeNamed) {
    writeFile("one.dds", ddsBytes());
    std::filesystem::create_directory("mine");
    const std::filesystem::path installed = DIB_TOOL_TEST_PLUGINS;
    std::filesystem::create_symlink(installed / "vexlibdds.bundle", "mine/vexlibdds.bundle");
    for (const char* folder : {"mine", "./mine/"}) {
        EXPECT_EQ(run({"run", "--plugins", folder, "one.dds", "bpp:24", "out.bmp"}).errors, "");
        EXPECT_EQ(pixelsOf("out.bmp"), std::string("\1\2\3\0", 4));
    }
    EXPECT_EQ(run({"info", "--plugins=mine", "one.dds"}).exitCode, 0);
}

TEST_F(PluginFormats, AMissingPlugInIsNamed) {
    writeFile("one.dds", ddsBytes());
    writeFile("one.exr", "\x76\x2F\x31\x01");
    for (const std::string name : {"dds", "exr"}) {
        const Result result = run({"run", "--plugins=nowhere", "one." + name, "out.bmp"});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_NE(result.errors.find("is missing: nowhere/vexlib" + name + ".bundle"), std::string::npos)
            << result.errors;
        EXPECT_FALSE(std::filesystem::exists("out.bmp"));
    }
    // Headers are read without a plug-in.
    EXPECT_EQ(run({"info", "--plugins=nowhere", "one.dds"}).exitCode, 0);
}

TEST_F(PluginFormats, ABrokenPlugInIsNoBrokenPicture) {
    const auto errorsOf = [](const std::string& name) {
        const Result result = run({"run", "--plugins=mine", "one." + name, "out.bmp"});
        EXPECT_EQ(result.exitCode, 3);
        return result.errors;
    };
    writeFile("one.dds", ddsBytes());
    writeFile("one.exr", "\x76\x2F\x31\x01");
    std::filesystem::create_directory("mine");
    writeFile("mine/vexlibdds.bundle", "no code");
    std::filesystem::create_symlink(std::filesystem::path(DIB_TOOL_TEST_PLUGINS) / "vexlibdds.bundle",
                                    "mine/vexlibexr.bundle");
    EXPECT_EQ(errorsOf("dds"),
              "dib: one.dds: load: the plug-in for dds files holds no code that can be loaded here: "
              "mine/vexlibdds.bundle (set its folder with --plugins)\n");
    EXPECT_EQ(errorsOf("exr"),
              "dib: one.exr: load: the plug-in for exr files describes dds files: mine/vexlibexr.bundle "
              "(set its folder with --plugins)\n");
    std::filesystem::remove("mine/vexlibdds.bundle");
    std::filesystem::create_directory("mine/vexlibdds.bundle");
    EXPECT_NE(errorsOf("dds").find("holds no code"), std::string::npos) << "an empty folder";
}

TEST_F(PluginFormats, BrokenFilesFail) {
    writeFile("one.dds", ddsBytes().substr(0, 130));
    EXPECT_EQ(run({"run", "one.dds", "out.bmp"}).exitCode, 3);
    writeFile("none.exr", "\x76\x2F\x31\x01 and nothing else");
    const Result result = run({"run", "none.exr", "out.bmp"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.errors.find("none.exr"), std::string::npos) << result.errors;
    EXPECT_FALSE(std::filesystem::exists("out.bmp"));
}

TEST_F(PluginFormats, AreListedAsReadOnly) {
    const auto list = nlohmann::json::parse(run({"formats", "--json"}).output);
    int found = 0;
    for (const auto& format : list["formats"]) {
        if (format.at("name") != "exr" && format.at("name") != "dds") continue;
        ++found;
        EXPECT_EQ(format.at("reads"), true);
        EXPECT_EQ(format.at("writes"), false);
        EXPECT_TRUE(format.at("plugin").at("library").is_string());
    }
    EXPECT_EQ(found, 2);
    EXPECT_EQ(run({"run", "in.bmp", "out.exr"}).exitCode, 2);
}

}  // namespace

}  // namespace tool_test
