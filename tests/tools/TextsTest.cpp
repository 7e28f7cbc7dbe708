#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/PeakMemory.h"
#include "tests/tools/Program.h"
#include "texts/Tables.h"
#include "tools/cli/Printable.h"

namespace tool_test {

namespace {

using Info = ToolTest;
using Texts = ToolTest;
using Completion = ToolTest;

nlohmann::json infoOf(const std::string& file) {
    const Result result = run({"info", "--json", file});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return nlohmann::json::parse(result.output)["files"][0];
}

TEST_F(Info, TellsWhatWasRead) {
    DibStream indexed;
    makePicture(indexed, 5, 3, 8);
    indexed.Header->biClrUsed = 16;
    ASSERT_TRUE(indexed.SaveToFile("indexed.bmp"));
    const Result text = run({"info", "in.bmp", "indexed.bmp"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(
        text.output,
        "in.bmp: bmp, 33x21 pixels, 24 bits, 3 channels, bottom-up, compression none\n"
        "indexed.bmp: bmp, 5x3 pixels, 8 bits, 1 channel, bottom-up, palette of 16, compression none\n");
    const nlohmann::json expected = nlohmann::json::parse(R"({"schema": 1, "files": [
        {"file": "in.bmp", "format": "bmp", "width": 33, "height": 21, "bitsPerPixel": 24,
         "storedBitsPerPixel": 24, "channels": 3, "alpha": false, "rowOrder": "bottom-up", "paletteSize": 0,
         "compression": "none", "pages": 1, "levels": 1, "orientation": 1, "resolution": null,
         "profileBytes": 0},
        {"file": "indexed.bmp", "format": "bmp", "width": 5, "height": 3, "bitsPerPixel": 8,
         "storedBitsPerPixel": 8, "channels": 1, "alpha": false, "rowOrder": "bottom-up", "paletteSize": 16,
         "compression": "none", "pages": 1, "levels": 1, "orientation": 1, "resolution": null,
         "profileBytes": 0}]})");
    EXPECT_EQ(nlohmann::json::parse(run({"info", "in.bmp", "indexed.bmp", "--json"}).output), expected);
}

TEST_F(Info, TellsRowOrderAndCompressionOfTheFile) {
    std::string topDown = readFile("in.bmp");
    const std::int32_t height = -21;
    std::copy_n(reinterpret_cast<const char*>(&height), 4, topDown.begin() + 22);
    writeFile("top-down.bmp", topDown);
    EXPECT_EQ(infoOf("top-down.bmp")["rowOrder"], "top-down");
    EXPECT_EQ(infoOf("top-down.bmp")["height"], 21);

    DibStream indexed;
    makePicture(indexed, 4, 1, 8);
    std::string packed = bmpBytes(indexed);
    packed[30] = 1;
    packed[34] = 4;
    packed.replace(packed.size() - 4, 4, {4, 7, 0, 1});
    writeFile("packed.bmp", packed);
    EXPECT_EQ(infoOf("packed.bmp")["compression"], "rle8");
}

TEST_F(Info, KeepsStrangeNamesInValidJson) {
    std::filesystem::copy("in.bmp", "a\"\\\n\xff.bmp");
    EXPECT_EQ(infoOf("a\"\\\n\xff.bmp")["file"], "a\"\\\n\xEF\xBF\xBD.bmp");
}

TEST_F(Info, KeepsControlCharactersOfNamesFromTheTerminal) {
    writeFile("a\n\x1B[31m.bmp", readFile("in.bmp"));
    EXPECT_EQ(run({"info", "a\n\x1B[31m.bmp"}).output.substr(0, 16), "a??[31m.bmp: bmp");
}

TEST_F(Info, ALineFeedInANameForgesNoLine) {
    EXPECT_EQ(run({"run", "no\ndib: all is well", "out.bmp"}).errors,
              "dib: no?dib: all is well: load: the file cannot be opened: No such file or directory\n");
    EXPECT_EQ(run({"info", "no\ndib: all is well"}).errors,
              "dib: no?dib: all is well: load: the file cannot be opened: No such file or directory\n");
    EXPECT_EQ(run({"run", "in.bmp", "bl\nur", "out.bmp"}).errors,
              "dib: no operation 'bl?ur'; did you mean 'blur'?\n");
    EXPECT_EQ(run({"c\nat"}).errors, "dib: no command or option 'c?at'\ndib: try `dib --help`\n");
    EXPECT_EQ(run({"run", "in.bmp", "a\nb/out.bmp"}).errors,
              "dib: a?b/out.bmp: save: the file cannot be created: No such file or directory\n");
}

TEST_F(Info, MarksOfDirectionAndEightBitControlsDoNotPass) {
    // Written "fdp.bmp" from right to left.
    const std::string turned =
        "\xE2\x80\xAE"
        "fdp.bmp";
    writeFile(turned, readFile("in.bmp"));
    EXPECT_EQ(run({"info", turned}).output.substr(0, 13), "?fdp.bmp: bmp");
    const std::string json = run({"info", "--json", turned}).output;
    EXPECT_NE(json.find("\"file\": \"\\u202efdp.bmp\""), std::string::npos) << json;
    EXPECT_EQ(nlohmann::json::parse(json)["files"][0]["file"], turned);
}

TEST(Printable, ReplacesWhatSteersATerminal) {
    EXPECT_EQ(tool::printable("a\n\r\t\x1B\x7F"
                              "b"),
              "a?????b");
    EXPECT_EQ(tool::printable("\xC2\x80\xC2\x9B\xC2\x9F\xC2\xA0"), "???\xC2\xA0");
    EXPECT_EQ(tool::printable("\x80\x9B\x9F\xA0\xFF"), "???\xA0\xFF");
    EXPECT_EQ(tool::printable("\xD8\x9C|\xE2\x80\x8E\xE2\x80\x8F|\xE2\x80\xA8\xE2\x80\xA9|"
                              "\xE2\x80\xAA\xE2\x80\xAE|\xE2\x81\xA6\xE2\x81\xA9|\xEF\xBB\xBF"),
              "?|??|??|??|??|?");
    const std::string foreign =
        "K\xC3\xA4se \xD8\xA7\xD9\x84 \xE2\x80\xA2\xE2\x81\xA5\xF0\x9F\x8E\xA8 \xE4\xB8\xAD";
    EXPECT_EQ(tool::printable(foreign), foreign);
    EXPECT_EQ(tool::printable("cut off \xE2\x80"), "cut off \xE2?");
    EXPECT_EQ(tool::printableJson("{\n\"\xC2\x9B\xE2\x80\xAE\"}\n"), "{\n\"\\u009b\\u202e\"}\n");
}

TEST_F(Info, TellsTheFileAndNotTheLoadedPicture) {
    // A PNG file of 16 bits a sample, with alpha, 300x150 dpi.
    const auto chunk = [](const std::string& kind, const std::string& data) {
        const std::string body = kind + data;
        const auto word = [](std::uint32_t value) {
            std::string bytes;
            for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
            return bytes;
        };
        std::uint32_t crc = 0xFFFFFFFF;
        for (const char c : body) {
            crc ^= static_cast<unsigned char>(c);
            for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
        }
        return word(static_cast<std::uint32_t>(data.size())) + body + word(~crc);
    };
    const std::string head("\0\0\0\3\0\0\0\2\x10\6\0\0\0", 13);
    const std::string dots("\0\0\x2E\x23\0\0\x17\x12\1", 9);
    writeFile("deep.png", "\x89PNG\r\n\x1A\n" + chunk("IHDR", head) + chunk("pHYs", dots) +
                              chunk("IDAT", "pixels are not read") + chunk("IEND", ""));
    EXPECT_EQ(run({"info", "deep.png"}).output,
              "deep.png: png, 3x2 pixels, 32 bits (64 in the file), 4 channels, alpha, "
              "compression deflate, "
              "300x150 dpi\n");
    EXPECT_EQ(infoOf("deep.png")["storedBitsPerPixel"], 64);
}

TEST_F(Info, RefusesPartsThatTheFileDoesNotHave) {
    ASSERT_EQ(run({"run", "in.bmp", "a.png"}).exitCode, 0);
    for (const char* part : {"page", "level", "layer"}) {
        const std::string option = std::string("--") + part + "=5";
        const Result result = run({"info", option, "a.png"});
        EXPECT_EQ(result.exitCode, 3) << part;
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, run({"run", option, "a.png", "out.bmp"}).errors);
    }
    EXPECT_EQ(run({"info", "--page=5", "a.png"}).errors,
              "dib: a.png: load: there is no page 5: the file has 1\n");
}

// Grey with alpha, which loads as colours.
TEST_F(Info, TellsTheChannelsOfTheFile) {
    writeFile("ga.pam",
              "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n\1\2\3\4");
    EXPECT_EQ(infoOf("ga.pam")["channels"], 2);
    EXPECT_EQ(infoOf("ga.pam")["bitsPerPixel"], 32);
    DibStream grey;
    makePicture(grey, 5, 3, 8);
    ASSERT_TRUE(grey.SaveToFile("grey.bmp"));
    for (const char* format : {"jpg", "png", "tif", "tga"}) {
        const std::string file = std::string("grey.") + format;
        EXPECT_EQ(run({"run", "grey.bmp", "grey", "bpp:8,grey", file}).exitCode, 0);
        EXPECT_EQ(infoOf(file)["channels"], 1) << file;
        EXPECT_EQ(run({"run", "in.bmp", "other." + std::string(format)}).exitCode, 0);
        EXPECT_EQ(infoOf("other." + std::string(format))["channels"], 3) << format;
    }
    EXPECT_EQ(run({"run", "in.bmp", "bpp:32", "alpha.png"}).exitCode, 0);
    EXPECT_EQ(infoOf("alpha.png")["channels"], 4);
}

// Pixels at (640, 256) of video memory, their palette at (16, 480).
TEST_F(Info, TellsPlacesOfTimFiles) {
    std::string file("\x10\0\0\0\x08\0\0\0\x2C\0\0\0\x10\0\xE0\x01\x10\0\1\0", 20);
    file += std::string(32, '\7');
    file += std::string("\x10\0\0\0\x80\x02\0\1\1\0\2\0", 12) + std::string(4, '\1');
    writeFile("a.tim", file);
    const nlohmann::json info = infoOf("a.tim");
    EXPECT_EQ(info["videoMemory"], nlohmann::json::parse(R"({"x": 640, "y": 256})"));
    EXPECT_EQ(info["paletteMemory"], nlohmann::json::parse(R"({"x": 16, "y": 480})"));
    EXPECT_EQ(run({"info", "a.tim"}).output,
              "a.tim: tim, 4x2 pixels, 4 bits, 1 channel, palette of 16, compression none, video "
              "memory at 640,256, its palette at 16,480\n");
    EXPECT_FALSE(infoOf("in.bmp").contains("videoMemory"));
}

TEST_F(Info, SpeaksOfOneBit) {
    EXPECT_EQ(run({"run", "in.bmp", "bpp:1", "out.bmp"}).exitCode, 0);
    EXPECT_EQ(run({"info", "out.bmp"}).output,
              "out.bmp: bmp, 33x21 pixels, 1 bit, 1 channel, bottom-up, palette of 2, compression none\n");
}

TEST_F(Info, GoesOnAfterABadFile) {
    writeFile("bad.bmp", "BM");
    const Result result = run({"info", "bad.bmp", "in.bmp", "missing.bmp"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "in.bmp: bmp, 33x21 pixels, 24 bits, 3 channels, bottom-up, compression none\n");
    EXPECT_EQ(result.errors,
              "dib: bad.bmp: load: the file ends inside its header\n"
              "dib: missing.bmp: load: the file cannot be opened: No such file or directory\n");
    EXPECT_EQ(nlohmann::json::parse(run({"info", "--json", "bad.bmp"}).output)["files"],
              nlohmann::json::array());
}

// Pixels are neither decoded nor allocated, so a file of a few bytes will do.
TEST_F(Info, OfAHundredFilesReadsHeadersAlone) {
    std::string header = readFile("in.bmp").substr(0, 54);
    const std::int32_t side = 10000;
    std::copy_n(reinterpret_cast<const char*>(&side), 4, header.begin() + 18);
    std::copy_n(reinterpret_cast<const char*>(&side), 4, header.begin() + 22);
    Program::Words words = {"info"};
    std::string expected;
    for (int i = 100; i < 200; ++i) {
        words.push_back("large" + std::to_string(i) + ".bmp");
        writeFile(words.back(), header);
        expected +=
            words.back() + ": bmp, 10000x10000 pixels, 24 bits, 3 channels, bottom-up, compression none\n";
    }
    const Result result = run(words, "", [] {
        const rlimit memory = {400 << 20, 400 << 20};  // a picture takes 300 MB
        if (testing_support::kMeasuresMemory) setrlimit(RLIMIT_AS, &memory);
        const rlimit seconds = {10, 10};
        setrlimit(RLIMIT_CPU, &seconds);
    });
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, expected);
}

TEST_F(Info, TellsThePicturesOfAFolder) {
    namespace fs = std::filesystem;
    fs::create_directories("folder/inner.png");
    const Result nothing = run({"info", "folder"});
    EXPECT_EQ(nothing.output, "");
    EXPECT_EQ(nothing.errors,
              "dib: folder: load: the folder holds no pictures; 1 folder inside was left out\n");
    EXPECT_EQ(nothing.exitCode, 3);
    fs::create_directory("folder/inner.png/none");
    EXPECT_EQ(run({"info", "folder/inner.png/none"}).errors,
              "dib: folder/inner.png/none: load: the folder holds no pictures\n");
    EXPECT_EQ(run({"info", "missing/"}).exitCode, 3);
    fs::copy("in.bmp", "folder/second");
    fs::copy("in.bmp", "folder/inner.png/third.bmp");
    fs::create_symlink("../in.bmp", "folder/first.bmp");
    writeFile("folder/notes.txt", "no picture");
    ASSERT_EQ(mkfifo("folder/pipe.bmp", 0600), 0);
    EXPECT_EQ(run({"run", "in.bmp", "bpp:8", "folder/z \x1B.png"}).errors, "");
    const Result result = run({"info", "in.bmp", "folder"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output,
              "in.bmp: bmp, 33x21 pixels, 24 bits, 3 channels, bottom-up, compression none\n"
              "format size         bits  compression  file\n"
              "bmp    33x21        24    none         folder/first.bmp\n"
              "bmp    33x21        24    none         folder/second\n"
              "png    33x21        8     deflate      folder/z ?.png\n");
    const nlohmann::json json = nlohmann::json::parse(run({"info", "--json", "folder/"}).output)["files"];
    ASSERT_EQ(json.size(), 3U);
    EXPECT_EQ(json[0]["file"], "folder/first.bmp");
    EXPECT_EQ(json[2]["bitsPerPixel"], 8);

    // A name that promises a picture.
    writeFile("folder/bad.PGM", "no picture");
    const Result bad = run({"info", "folder"});
    EXPECT_EQ(bad.exitCode, 3);
    EXPECT_EQ(std::ranges::count(bad.output, '\n'), 4);
    EXPECT_TRUE(bad.errors.starts_with("dib: folder/bad.PGM: load: ")) << bad.errors;
    EXPECT_EQ(std::ranges::count(bad.errors, '\n'), 1);
}

TEST_F(Info, ReadsStandardInput) {
    const Result result = run({"info", "-"}, readFile("in.bmp"));
    EXPECT_EQ(result.output, "-: bmp, 33x21 pixels, 24 bits, 3 channels, bottom-up, compression none\n");
}

TEST_F(Info, TellsTheFormatByContentBeforeTheName) {
    std::filesystem::copy("in.bmp", "picture.txt");
    EXPECT_EQ(infoOf("picture.txt")["format"], "bmp");
}

TEST_F(Texts, HelpAndVersionGoToStandardOutput) {
    const Result version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.output, "dib " DIB_PROJECT_VERSION "\n");
    for (const Program::Words& words :
         {Program::Words{"--help"}, {"help"}, {"run", "--help"}, {"help", "run"}}) {
        const Result help = run(words);
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.errors, "");
        EXPECT_NE(help.output.find("Usage: dib"), std::string::npos) << help.output;
    }
    const std::string runHelp = run({"run", "--help"}).output;
    EXPECT_NE(runHelp.find("dib run [OPTIONS] INPUT [OPERATION]... OUTPUT"), std::string::npos) << runHelp;
    for (const DibOperation* operation : texts::operations()) {
        EXPECT_NE(runHelp.find(texts::description(*operation, DIB_DESCRIBE_SYNOPSIS)), std::string::npos);
    }
}

TEST_F(Texts, ManPageIsCleanAndWhole) {
    const Result man = run({"man"});
    EXPECT_EQ(man.exitCode, 0);
    for (const DibOperation* operation : texts::operations()) {
        std::string title = ".SS ";
        for (const char c : std::string_view(operation->name))
            title += c == '-' ? std::string("\\-") : std::string(1, c);
        EXPECT_NE(man.output.find(title), std::string::npos) << operation->name;
    }
    EXPECT_NE(man.output.find("\\fBgallery\\fR INPUT FOLDER\n"), std::string::npos);
    if (!isInstalled("mandoc")) GTEST_SKIP() << "mandoc is not installed";
    writeFile("dib.1", man.output);
    const int status = std::system("mandoc -Tlint dib.1 > lint.txt 2>&1");
    EXPECT_EQ(readFile("lint.txt"), "");
    EXPECT_EQ(status, 0);
}

// What bash offers when the line ends where it is.
Program::Words offered(const std::string& line) {
    writeFile("ask.sh",
              "source ./dib.bash\nCOMP_LINE=$1 COMP_POINT=${#1}\n_dib 2>/dev/null\nprintf '%s\\n' "
              "\"${COMPREPLY[@]}\"\n");
    EXPECT_EQ(std::system(
                  ("PATH='" + programFolder() + "':$PATH bash ask.sh '" + line + "' > offered.txt").c_str()),
              0);
    Program::Words words;
    std::string word;
    for (const char c : readFile("offered.txt")) {
        if (c == '\n') {
            words.push_back(std::exchange(word, {}));
        } else {
            word += c;
        }
    }
    return words;
}

TEST_F(Completion, IsAnsweredByTheProgram) {
    const auto answer = [](Program::Words words) {
        words.insert(words.begin(), "__complete");
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.output;
    };
    EXPECT_EQ(answer({"ru"}), "words\nrun\tApplies operations to a picture, from left to right\n");
    EXPECT_EQ(answer({"--v"}), "words\n--version\n");
    EXPECT_EQ(answer({"completion", ""}), "words\nbash\nzsh\nfish\n");
    EXPECT_EQ(answer({"cat", ""}), "words\n");
    EXPECT_EQ(answer({"ops", "cro"}), "words\ncrop\tKeeps a rectangle of the picture.\n");
    EXPECT_EQ(answer({"formats", "pn"}), "words\npng\tPNG\n");
    EXPECT_EQ(answer({"info", "in"}), "files\n");
    EXPECT_EQ(answer({"run", "in.bmp", "cr"}), "files\ncrop:\tKeeps a rectangle of the picture.\n");
    EXPECT_EQ(answer({"run", "in.bmp", "half"}),
              "files\nhalf\tHalves the picture exactly, each pixel the mean of four; a side of 1 stays.\n");
    EXPECT_EQ(answer({"run", "in.bmp", "blur:2,"}),
              "words\nblur:2,radius=\tpixels on each side\n"
              "blur:2,wrap=\taxes on which the picture repeats instead of ending at its edge; xy is both\n"
              "blur:2,classic\texactly as the classic function does it, whatever the palette and alpha\n");
    EXPECT_EQ(answer({"run", "in.bmp", "blur:2,wrap="}),
              "words\nblur:2,wrap=none\nblur:2,wrap=x\tleft and right edges meet\n"
              "blur:2,wrap=y\ttop and bottom edges meet\n");
    EXPECT_EQ(answer({"info", "--from=t"}), "words\n--from=tga\n--from=tim\n--from=tiff\n");
    EXPECT_EQ(answer({"info", "--js"}), "words\n--json\tPrints JSON\n");
}

TEST_F(Completion, BashAsksTheProgram) {
    if (!isInstalled("bash")) GTEST_SKIP() << "bash is not installed";
    writeFile("dib.bash", run({"completion", "bash"}).output);
    ASSERT_EQ(std::system("bash -n dib.bash"), 0);
    EXPECT_EQ(offered("dib ru"), Program::Words{"run"});
    EXPECT_EQ(offered("dib completion z"), Program::Words{"zsh"});
    EXPECT_EQ(offered("dib help bp"), Program::Words{"bpp"});
    EXPECT_EQ(offered("dib run in.bmp bp"), Program::Words{"bpp:"});
    EXPECT_EQ(offered("dib run i"), (Program::Words{"invert", "in.bmp"}));
    // The line editor breaks words at ':' and '=', so the offers are what follows.
    EXPECT_EQ(offered("dib run in.bmp bpp:1"), (Program::Words{"1", "16"}));
    EXPECT_EQ(offered("dib run in.bmp bpp:8,me"), Program::Words{"8,method="});
    EXPECT_EQ(offered("dib run in.bmp bpp:8,method=m"), Program::Words{"median"});
    EXPECT_EQ(offered("dib run --prog"), Program::Words{"--progress="});
    EXPECT_EQ(offered("dib run --progress=a"), (Program::Words{"auto", "always"}));
    EXPECT_EQ(offered("dib info --from=b"), Program::Words{"bmp"});
}

TEST_F(Completion, ZshAndFishScriptsParse) {
    for (const char* shell : {"zsh", "fish"}) {
        const Result script = run({"completion", shell});
        EXPECT_EQ(script.exitCode, 0);
        EXPECT_NE(script.output.find(" __complete "), std::string::npos);
        if (!isInstalled(shell)) continue;
        writeFile("script", script.output);
        EXPECT_EQ(std::system((std::string(shell) + " -n script").c_str()), 0) << shell;
    }
}

}  // namespace

}  // namespace tool_test
