// Options that say how pictures are opened and saved, and what the program says of losses and mistakes.
#include <algorithm>
#include <filesystem>

#include "tests/tools/Program.h"
#include "tools/cli/Suggestion.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using KeepDamaged = ToolTest;
using Limit = ToolTest;
using Mistakes = ToolTest;
using Quality = ToolTest;
using Strict = ToolTest;
using Suggestions = ToolTest;

TEST_F(Limit, RefusesLargerInputs) {
    const std::string start = "dib: in.bmp: load: the picture of 33x21 pixels needs ";
    const std::pair<std::string, std::string> kCases[] = {
        {"pixels:692", "693 pixels; the limit of pixels is 692 (--limit=pixels)"},
        {"bytes:2K,pixels:1M", "2100 bytes; the limit of bytes is 2000 (--limit=bytes)"},
    };
    for (const auto& [limit, need] : kCases) {
        const Result result = run({"run", "--limit=" + limit, "in.bmp", "out.bmp"});
        EXPECT_EQ(result.exitCode, 3) << limit;
        EXPECT_EQ(result.errors, start + need + "\n");
        EXPECT_FALSE(fs::exists("out.bmp"));
    }
    for (const std::string limit : {"pixels:693", "pixels:1K", "bytes:3K,layers:1", "pixels:18G", "layers:0"})
        EXPECT_EQ(run({"run", "--limit", limit, "in.bmp", "out.bmp"}).errors, "") << limit;
}

TEST_F(Limit, MistakesAreNamed) {
    const std::string number = " is not a whole number of 1 or more, optionally with K, M or G\n";
    const std::string count = " is not a whole number of 0 or more, optionally with K, M or G\n";
    const std::string part = " is not pixels:N, bytes:N or layers:N\n";
    const std::pair<std::string, std::string> kCases[] = {
        {"pixels:1T", "'1T'" + number},    {"pixels:0", "'0'" + number},
        {"bytes:", "''" + number},         {"bytes:-1", "'-1'" + number},
        {"layers:1.5K", "'1.5K'" + count}, {"bytes:20000000000G", "'20000000000G'" + number},
        {"100M", "'100M'" + part},         {"rows:5", "'rows:5'" + part},
    };
    for (const auto& [limit, message] : kCases) {
        const Result result = run({"run", "--limit=" + limit, "in.bmp", "out.bmp"});
        EXPECT_EQ(result.exitCode, 2) << limit;
        EXPECT_EQ(result.errors, "dib: --limit: " + message);
    }
}

TEST(Suggestion, IsTheNearestWord) {
    const std::vector<std::string> words = {"blur", "soften", "sharpen", "gaussian", "ripple"};
    EXPECT_EQ(tool::suggestion("blurx", words), "; did you mean 'blur'?");
    EXPECT_EQ(tool::suggestion("bulr", words), "; did you mean 'blur'?");
    EXPECT_EQ(tool::suggestion("blu", words), "; did you mean 'blur'?");
    EXPECT_EQ(tool::suggestion("gauss", words), "; did you mean 'gaussian'?");
    EXPECT_EQ(tool::suggestion("shapren", words), "; did you mean 'sharpen'?");
    EXPECT_EQ(tool::suggestion("softer", words), "; did you mean 'soften'?");
    EXPECT_EQ(tool::suggestion("zoom", words), "");
    EXPECT_EQ(tool::suggestion("zoom", words, "; sorry"), "; sorry");
    EXPECT_EQ(tool::suggestion("", words), "");
    EXPECT_EQ(tool::suggestion("bl", words), "");
    EXPECT_EQ(tool::suggestion(std::string(100000, 'b'), words), "");
}

TEST_F(Suggestions, AreMadeForEveryKindOfName) {
    const std::pair<Program::Words, std::string> kCases[] = {
        {{"run", "in.bmp", "bulr:2", "out.bmp"}, "no operation 'bulr'; did you mean 'blur'?\n"},
        {{"run", "in.bmp", "blur:2,warp=x", "out.bmp"},
         "blur: no parameter 'warp'; did you mean 'wrap'? (usage: blur:RADIUS[,wrap=none|x|y][,classic])\n"},
        {{"run", "--to=pngg", "in.bmp", "out"}, "no format 'pngg'; did you mean 'png'?\n"},
        {{"run", "--to=tif2", "in.bmp", "out"}, "no format 'tif2'; did you mean 'tiff'?\n"},
        {{"run", "--from=PNGG", "in.bmp", "out"}, "no format 'PNGG'; did you mean 'png'?\n"},
        {{"run", "in.bmp", "out.pgn"}, "out.pgn: no format has this extension; did you mean '.png'?\n"},
        {{"run", "in.bmp", "folder.x/out.JPGE"},
         "folder.x/out.JPGE: no format has this extension; did you mean '.jpeg'?\n"},
        {{"run", "in.bmp", "out"}, "out: no format has this extension; use --to\n"},
        {{"ops", "blurx"}, "no operation 'blurx'; did you mean 'blur'?\n"},
        {{"ops", "blur", "zoom"}, "no operation 'zoom'; `dib ops` lists them\n"},
        {{"formats", "pgn"}, "no format 'pgn'; did you mean 'png'?\n"},
        {{"completion", "bahs"},
         "completion: SHELL: 'bahs' is not one of bash, zsh, fish; did you mean 'bash'?\n"
         "dib: try `dib --help`\n"},
        {{"run", "--progress=alwayz", "in.bmp", "out.bmp"},
         "run: --progress: 'alwayz' is not one of auto, always, never; did you mean 'always'?\n"
         "dib: try `dib --help`\n"},
        {{"run", "--limit=pixel:3", "in.bmp", "out.bmp"},
         "--limit: 'pixel:3' is not pixels:N, bytes:N or layers:N; did you mean 'pixels'?\n"},
        {{"layers", "a.psd", "folder", "more"},
         "layers: there is no place for 'more'\ndib: try `dib --help`\n"},
        {{}, "a command is required\ndib: try `dib --help`\n"},
        {{"--hlep"}, "no command or option '--hlep'; did you mean '--help'?\ndib: try `dib --help`\n"},
        {{"run", "in.bmp", ""}, "run: INPUT and OUTPUT are required\n"},
        {{"run", "", "out.bmp"}, "run: INPUT and OUTPUT are required\n"},
        {{"gallery", "--side=239", "in.bmp", "folder"},
         "gallery: --side: '239' is not a whole number from 240 to 1024\ndib: try `dib --help`\n"},
        {{"gallery"}, "gallery: INPUT is required\ndib: try `dib --help`\n"},
        {{"help", "gallry"}, "no operation or command 'gallry'; did you mean 'gallery'?\n"},
        {{"rnu", "in.bmp", "out.bmp"},
         "no command or option 'rnu'; did you mean 'run'?\ndib: try `dib --help`\n"},
        {{"run", "--stric", "in.bmp", "out.bmp"},
         "run: no option '--stric'; did you mean '--strict'?\ndib: try `dib --help`\n"},
        {{"info", "--jsno", "in.bmp"},
         "info: no option '--jsno'; did you mean '--json'?\ndib: try `dib --help`\n"},
        {{"run", "--form=bmp", "in.bmp", "out.bmp"},
         "run: no option '--form'; did you mean '--from'?\ndib: try `dib --help`\n"},
    };
    for (const auto& [words, message] : kCases) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.errors, "dib: " + message);
    }
}

// A picture of 32 bits whose alpha is 0 everywhere.
void makeUnclear() {
    DibStream image;
    makePicture(image, 4, 3, 32);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 4; ++x) image.Pixel(x, y)[3] = 0;
    }
    ASSERT_TRUE(image.SaveToFile("unclear.bmp"));
}

TEST_F(Strict, AcceptsWhatIsKept) {
    EXPECT_EQ(run({"run", "--strict", "in.bmp", "out.bmp"}).errors, "");
    EXPECT_EQ(readFile("out.bmp"), readFile("in.bmp"));
}

TEST_F(Strict, ListsAssumptionsAndWritesNothing) {
    makeUnclear();
    const Result strict = run({"run", "--strict", "unclear.bmp", "out.bmp"});
    EXPECT_EQ(strict.exitCode, 5);
    EXPECT_EQ(
        strict.errors,
        "dib: unclear.bmp: load: assumption: alpha is 0 everywhere, so it was taken for unused and made "
        "opaque\n");
    EXPECT_FALSE(fs::exists("out.bmp"));
    EXPECT_EQ(run({"run", "unclear.bmp", "out.bmp"}).errors, "") << "assumptions are quiet";
    const Result verbose = run({"run", "--verbose", "unclear.bmp", "out.bmp"});
    EXPECT_EQ(verbose.exitCode, 0);
    EXPECT_EQ(verbose.errors, strict.errors);
}

TEST_F(Strict, ListsWidenedPalettesAndWritesNothing) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:4,method=median", "few.bmp"}).errors, "");
    const Result strict = run({"run", "--strict", "few.bmp", "half", "out.bmp"});
    EXPECT_EQ(strict.exitCode, 5);
    EXPECT_EQ(strict.errors, "dib: few.bmp: loss: half: the palette of 4 bits became 24 bits a pixel\n");
    EXPECT_FALSE(fs::exists("out.bmp"));
    EXPECT_EQ(run({"run", "few.bmp", "half", "out.bmp"}).errors, "");
    EXPECT_EQ(run({"run", "--verbose", "few.bmp", "half", "out.bmp"}).errors, strict.errors);
}

TEST_F(Strict, ListsLossesAndWritesNothing) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:32", "deep.bmp"}).errors, "");
    writeFile("out.ppm", "old");
    const Result strict = run({"run", "--strict", "deep.bmp", "out.ppm"});
    EXPECT_EQ(strict.exitCode, 5) << strict.errors;
    EXPECT_TRUE(strict.errors.starts_with("dib: out.ppm: save: loss: ")) << strict.errors;
    EXPECT_EQ(readFile("out.ppm"), "old");
    EXPECT_EQ(run({"run", "deep.bmp", "out.ppm"}).errors, "") << "losses are quiet";
    const Result verbose = run({"run", "--verbose", "deep.bmp", "out.ppm"});
    EXPECT_EQ(verbose.exitCode, 0);
    EXPECT_EQ(verbose.errors, strict.errors);
}

// Files that break a rule and can be read all the same.
TEST_F(Strict, ListsBrokenRulesAndWritesNothing) {
    for (const char* name : {"in.png", "in.jpg"}) ASSERT_EQ(run({"run", "in.bmp", name}).exitCode, 0);
    const auto withoutEnd = [](const char* name, std::size_t bytes) {
        const std::string whole = readFile(name);
        return whole.substr(0, whole.size() - bytes);
    };
    // Two pixels, of which a run has five.
    std::string runs(62, '\0');
    const auto put = [&runs](std::size_t at, int byte) { runs[at] = static_cast<char>(byte); };
    runs[0] = 'B';
    runs[1] = 'M';
    put(2, 62);
    put(10, 58);
    put(14, 40);
    put(18, 2);
    put(22, 1);
    put(26, 1);
    put(28, 8);
    put(30, 1);
    put(34, 4);
    put(46, 1);
    put(58, 5);
    put(61, 1);
    const struct {
        const char* name;
        std::string bytes;
        const char* warning;
    } kCases[] = {
        {"x.bmp", runs, "run-length data pass the end of a row or of the picture"},
        {"x.pgm", "P2 3 1 100 1 50 101", "samples above the largest value, 100, were taken for it"},
        {"x.png", withoutEnd("in.png", 12), "the file ends without its end mark; all rows were read"},
        {"x.jpg", withoutEnd("in.jpg", 2), "the file ends without its end mark; all rows were read"},
    };
    for (const auto& row : kCases) {
        writeFile(row.name, row.bytes);
        const std::string warning =
            std::string("dib: ") + row.name + ": load: warning: " + row.warning + "\n";
        const Result strict = run({"run", "--strict", row.name, "out.bmp"});
        EXPECT_EQ(strict.exitCode, 5) << strict.errors;
        EXPECT_EQ(strict.errors, warning);
        EXPECT_FALSE(fs::exists("out.bmp"));
        const Result plain = run({"run", row.name, "out.bmp"});
        EXPECT_EQ(plain.exitCode, 0);
        EXPECT_EQ(plain.errors, warning);
        fs::remove("out.bmp");
    }
}

TEST_F(KeepDamaged, SavesTheRowsThatCanBeRead) {
    writeFile("cut.bmp", readFile("in.bmp").substr(0, 54 + 5 * 100));
    const Result refused = run({"run", "cut.bmp", "out.bmp"});
    EXPECT_EQ(refused.exitCode, 3);
    EXPECT_EQ(
        refused.errors,
        "dib: cut.bmp: load: the file ends before its pixels do (in row 6 of 21); --keep-damaged keeps the "
        "rows before it\n");
    const std::string warning =
        "dib: cut.bmp: load: warning: the file ends before its pixels do: 5 of 21 rows were read\n";
    const Result kept = run({"run", "--keep-damaged", "cut.bmp", "out.bmp"});
    EXPECT_EQ(kept.exitCode, 0);
    EXPECT_EQ(kept.errors, warning);
    // The rows are stored from the lowest one up; the missing ones are black.
    EXPECT_EQ(readFile("out.bmp").substr(54), readFile("cut.bmp").substr(54) + std::string(1600, '\0'));
    const Result strict = run({"run", "--keep-damaged", "--strict", "cut.bmp", "strict.bmp"});
    EXPECT_EQ(strict.exitCode, 5);
    EXPECT_EQ(strict.errors, warning);
    EXPECT_FALSE(fs::exists("strict.bmp"));
}

TEST_F(Quality, IsThatOfJpegFiles) {
    for (const char* quality : {"1", "90", "100"})
        EXPECT_EQ(run({"run", "--quality", quality, "in.bmp", std::string(quality) + ".jpg"}).errors, "");
    EXPECT_LT(fs::file_size("1.jpg"), fs::file_size("90.jpg"));
    EXPECT_LT(fs::file_size("90.jpg"), fs::file_size("100.jpg"));
    EXPECT_EQ(run({"run", "in.bmp", "default.jpg"}).errors, "");
    EXPECT_EQ(readFile("default.jpg"), readFile("90.jpg"));
    for (const std::string quality : {"0", "101", "good", "9.5", ""}) {
        const Result result = run({"run", "--quality", quality, "in.bmp", "out.jpg"});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.errors, "dib: run: --quality: '" + quality +
                                     "' is not a whole number from 1 to 100\ndib: try `dib --help`\n");
    }
}

// Mistakes of every kind: each ends with its own code and one line that gives a reason.
TEST_F(Mistakes, EachHasAReasonInWords) {
    writeFile("empty.bmp", "");
    writeFile("text.png", "Not a picture");
    writeFile("text.jpg", "Not a picture");
    writeFile("text.tif", "Not a picture");
    writeFile("text.psd", "Not a picture");
    writeFile("text.hdr", "Not a picture");
    writeFile("text.iff", "Not a picture");
    writeFile("text.tim", "Not a picture");
    writeFile("text.ppm", "Not a picture");
    writeFile("text.dds", "Not a picture");
    writeFile("text.exr", "Not a picture");
    writeFile("unknown", "Not a picture");
    fs::create_directory("folder");
    const std::pair<Program::Words, int> kCases[] = {
        {{"run", "absent.bmp", "out.bmp"}, 3},
        {{"run", "folder", "out.bmp"}, 3},
        {{"run", "empty.bmp", "out.bmp"}, 3},
        {{"run", "unknown", "out.bmp"}, 3},
        {{"run", "text.png", "out.bmp"}, 3},
        {{"run", "text.jpg", "out.bmp"}, 3},
        {{"run", "text.tif", "out.bmp"}, 3},
        {{"run", "text.psd", "out.bmp"}, 3},
        {{"run", "text.hdr", "out.bmp"}, 3},
        {{"run", "text.iff", "out.bmp"}, 3},
        {{"run", "text.tim", "out.bmp"}, 3},
        {{"run", "text.ppm", "out.bmp"}, 3},
        {{"run", "text.dds", "out.bmp"}, 3},
        {{"run", "text.exr", "out.bmp"}, 3},
        {{"run", "--from=png", "in.bmp", "out.bmp"}, 3},
        {{"run", "--limit=pixels:10", "in.bmp", "out.bmp"}, 3},
        {{"run", "in.bmp", "compose:absent.bmp", "out.bmp"}, 3},
        {{"run", "in.bmp", "compose:text.png", "out.bmp"}, 3},
        {{"layers", "in.bmp", "out"}, 3},
        {{"run", "in.bmp", "folder"}, 2},
        {{"run", "--to=bmp", "in.bmp", "folder"}, 4},
        {{"run", "in.bmp", "absent/out.bmp"}, 4},
        {{"run", "--to=bmp", "in.bmp", "/dev/full"}, 4},
        {{"run", "in.bmp", "bpp:16", "blur:3", "sharpen:classic", "out.bmp"}, 1},
        {{"run", "in.bmp", "out.psd"}, 2},
        {{"gallery", "unknown", "out"}, 3},
    };
    for (const auto& [words, code] : kCases) {
        const Result result = run(words);
        const std::string& line = result.errors;
        EXPECT_EQ(result.exitCode, code) << line;
        EXPECT_TRUE(line.starts_with("dib: ")) << line;
        EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
        // "FILE: STEP: REASON", and the reason is more than the name of a failure.
        EXPECT_GE(std::ranges::count(line.substr(line.find(": ", 5)), ' '), 4) << line;
        EXPECT_EQ(line.find("some error"), std::string::npos) << line;
    }
    EXPECT_FALSE(fs::exists("out.bmp"));
}

}  // namespace

}  // namespace tool_test
