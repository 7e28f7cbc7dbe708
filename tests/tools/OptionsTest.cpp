// Options that say how pictures are opened and saved, and what the program says of losses and mistakes.
#include <filesystem>

#include "tests/tools/Program.h"
#include "tools/cli/Suggestion.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Limit = ToolTest;
using Strict = ToolTest;
using Suggestions = ToolTest;

TEST_F(Limit, RefusesLargerInputs) {
    const std::string start = "dib: in.bmp: load: the picture of 33x21 pixels needs ";
    const std::pair<std::string, std::string> kCases[] = {
        {"pixels:692", "693 pixels; the limit is 692 (--limit=pixels)"},
        {"bytes:2K,pixels:1M", "2079 bytes; the limit is 2000 (--limit=bytes)"},
    };
    for (const auto& [limit, need] : kCases) {
        const Result result = run({"run", "--limit=" + limit, "in.bmp", "out.bmp"});
        EXPECT_EQ(result.exitCode, 3) << limit;
        EXPECT_EQ(result.errors, start + need + "\n");
        EXPECT_FALSE(fs::exists("out.bmp"));
    }
    for (const std::string limit : {"pixels:693", "pixels:1K", "bytes:3K,layers:1", "pixels:18G"})
        EXPECT_EQ(run({"run", "--limit", limit, "in.bmp", "out.bmp"}).errors, "") << limit;
}

TEST_F(Limit, MistakesAreNamed) {
    const std::string number = " is not a number from 1, with K, M or G behind it or not\n";
    const std::string part = " is not pixels:N, bytes:N or layers:N\n";
    const std::pair<std::string, std::string> kCases[] = {
        {"pixels:1T", "'1T'" + number},     {"pixels:0", "'0'" + number},
        {"bytes:", "''" + number},          {"bytes:-1", "'-1'" + number},
        {"layers:1.5K", "'1.5K'" + number}, {"bytes:20000000000G", "'20000000000G'" + number},
        {"100M", "'100M'" + part},          {"rows:5", "'rows:5'" + part},
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
         "blur: no parameter 'warp'; did you mean 'wrap'? (usage: blur:RADIUS[,wrap=none|x|y])\n"},
        {{"run", "--to=pngg", "in.bmp", "out"}, "no format 'pngg'; did you mean 'png'?\n"},
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

}  // namespace

}  // namespace tool_test
