// Many pictures at once.
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class Each : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        fs::create_directories("in/deep er");
        fs::copy("in.bmp", "in/a.bmp");
        fs::copy("in.bmp", "in/b [1].bmp");
        fs::copy("in.bmp", "in/deep er/\n.bmp");
    }
};

Names filesIn(const std::string& folder) {
    Names names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_directory()) names.push_back(fs::relative(entry.path(), folder));
    }
    std::ranges::sort(names);
    return names;
}

// The table without its seconds.
std::string tableOf(const Result& result) {
    std::string table;
    for (std::size_t start = 0; start < result.output.size();) {
        const std::size_t end = result.output.find('\n', start);
        const std::string line = result.output.substr(start, end - start);
        table += line.substr(0, line.find(' ')) + " " + line.substr(20) + "\n";
        start = end + 1;
    }
    return table;
}

TEST_F(Each, HandlesEveryPictureOfAPattern) {
    const Result result = run({"each", "in/**/*.bmp", "half", "out/{folder}/{name}.png"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(tableOf(result),
              "result file\n"
              "done in/a.bmp -> out/a.png\n"
              "done in/b [1].bmp -> out/b [1].png\n"
              "done in/deep er/?.bmp -> out/deep er/?.png\n");
    EXPECT_EQ(filesIn("out"), (Names{"a.png", "b [1].png", "deep er/\n.png"}));
    EXPECT_EQ(run({"run", "in.bmp", "half", "one.png"}).exitCode, 0);
    for (const std::string& name : filesIn("out")) EXPECT_EQ(readFile("out/" + name), readFile("one.png"));
}

TEST_F(Each, InputsEndAtTheFirstOperation) {
    fs::copy("in.bmp", "half");
    EXPECT_EQ(
        run({"each", "half", "in/a.bmp", "in/b [1].bmp", "half", "turn:90", "{name}-{number}.ppm"}).exitCode,
        0);
    EXPECT_EQ(filesHere(), (Names{"a-2.ppm", "b [1]-3.ppm", "half", "half-1.ppm", "in", "in.bmp"}));
    EXPECT_TRUE(readFile("a-2.ppm").starts_with("P6\n10 16\n") ||
                readFile("a-2.ppm").starts_with("P6\n11 17\n"))
        << readFile("a-2.ppm").substr(0, 12);
}

TEST_F(Each, GoesOnAfterAFailureAndTellsIt) {
    writeFile("in/bad.bmp", "BM");
    const Result result = run({"each", "--json", "--jobs=2", "in/*.bmp", "out/{name}.png"});
    EXPECT_EQ(result.exitCode, 3);
    const std::string reason = "in/bad.bmp: load: the file ends inside its header";
    EXPECT_EQ(result.errors, "dib: " + reason + "\ndib: 1 of 3 pictures failed\n");
    const nlohmann::json json = nlohmann::json::parse(result.output);
    EXPECT_EQ(json["schema"], 1);
    ASSERT_EQ(json["pictures"].size(), 3U);
    nlohmann::json bad = json["pictures"][2];
    EXPECT_GE(bad["seconds"], 0.0);
    bad.erase("seconds");
    EXPECT_EQ(bad, nlohmann::json({{"input", "in/bad.bmp"},
                                   {"output", "out/bad.png"},
                                   {"result", "failed"},
                                   {"exitCode", 3},
                                   {"messages", {reason}}}));
    EXPECT_EQ(json["pictures"][0]["result"], "done");
    EXPECT_EQ(json["pictures"][0]["exitCode"], 0);
    EXPECT_EQ(filesIn("out"), (Names{"a.png", "b [1].png"}));

    // Failures for different reasons.
    fs::create_directories("out/a.png.d");
    fs::create_directories("two/a.png");
    EXPECT_EQ(run({"each", "in/a.bmp", "in/bad.bmp", "two/{name}.png"}).exitCode, 1);
}

TEST_F(Each, RefusesBadWordsBeforeWorkStarts) {
    writeFile("in/a.png", "");
    const std::pair<Names, std::string> kCases[] = {
        {{"in/*", "out/{name}.jpg"}, "'in/a.bmp' and 'in/a.png' would both be written to 'out/a.jpg'\n"},
        {{"in/*.bmp", "out/same.jpg"},
         "'in/a.bmp' and 'in/b [1].bmp' would both be written to 'out/same.jpg'\n"},
        {{"in/*.bmp", "out/{name}"}, "out/a: no format has this extension; use --to\n"},
        {{"in/*.bmp", "out/{name}.pgn"}, "out/a.pgn: no format has this extension; did you mean '.png'?\n"},
        {{"in", "out/{name}.jpg"}, "in is a folder; 'in/*' is its files\n"},
        {{"in.bmp"}, "each: INPUT and OUTPUT are required\n"},
        {{}, "each: INPUT and OUTPUT are required\n"},
        {{"in/*.bmp", "half", "blurx:2", "out/{name}.jpg"}, "no operation 'blurx'; did you mean 'blur'?\n"},
    };
    for (const auto& [words, reason] : kCases) {
        Names all = {"each"};
        all.insert(all.end(), words.begin(), words.end());
        const Result result = run(all);
        EXPECT_EQ(result.exitCode, 2) << reason;
        EXPECT_EQ(result.errors, "dib: " + reason);
        EXPECT_EQ(result.output, "");
    }
    const std::pair<Names, std::string> kAbsent[] = {
        {{"in/*.gif", "out/{name}.jpg"},
         "each: 'in/*.gif' is not a file, pattern or operation; there is no such file\n"},
        {{"in/*.bmp", "hafl", "out/{name}.jpg"},
         "each: 'hafl' is not a file, pattern or operation; did you mean 'half'?\n"},
        {{"-", "out/{name}.jpg"}, "each: '-' is not a file, pattern or operation; there is no such file\n"},
        {{"in/*.bmp", "compose:gone.bmp", "out/{name}.jpg"},
         "gone.bmp: compose: the file cannot be opened: No such file or directory\n"},
    };
    for (const auto& [words, reason] : kAbsent) {
        Names all = {"each"};
        all.insert(all.end(), words.begin(), words.end());
        const Result result = run(all);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.errors, "dib: " + reason);
    }
    EXPECT_FALSE(fs::exists("out"));
}

TEST_F(Each, ResumesWithWhatIsMissingOrOlder) {
    ASSERT_EQ(run({"each", "in/*.bmp", "out/{name}.png"}).exitCode, 0);
    fs::last_write_time("out/a.png", fs::last_write_time("in/a.bmp") - std::chrono::seconds(1));
    writeFile("out/b [1].png", "newer");
    fs::copy("in.bmp", "in/c.bmp");
    const Result result = run({"each", "--resume", "in/*.bmp", "out/{name}.png"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(tableOf(result),
              "result file\n"
              "done in/a.bmp -> out/a.png\n"
              "skipped in/b [1].bmp -> out/b [1].png\n"
              "done in/c.bmp -> out/c.png\n");
    EXPECT_EQ(readFile("out/b [1].png"), "newer");
    EXPECT_EQ(run({"each", "in/*.bmp", "out/{name}.png"}).exitCode, 0);
    EXPECT_EQ(readFile("out/b [1].png"), readFile("out/c.png")) << "without --resume all are made";
}

TEST_F(Each, TakesTheOptionsOfRun) {
    EXPECT_EQ(run({"each", "--limit=pixels:10", "in/*.bmp", "{name}.png"}).exitCode, 3);
    EXPECT_EQ(run({"each", "--strict", "in/*.bmp", "{name}.jpg"}).exitCode, 5);
    EXPECT_FALSE(fs::exists("a.jpg"));
    EXPECT_EQ(run({"each", "--quality=1", "in/a.bmp", "{name}.jpg"}).exitCode, 0);
    EXPECT_EQ(run({"run", "--quality=1", "in/a.bmp", "one.jpg"}).exitCode, 0);
    EXPECT_EQ(readFile("a.jpg"), readFile("one.jpg"));
    EXPECT_EQ(run({"each", "--to=ppm", "in/a.bmp", "{name}"}).exitCode, 0);
    EXPECT_TRUE(readFile("a").starts_with("P6"));
    const Result bar = run({"each", "--progress=always", "in/*.bmp", "{name}.ppm"});
    EXPECT_NE(bar.errors.find(" 50% in/"), std::string::npos) << bar.errors;
    EXPECT_TRUE(bar.errors.ends_with("\r\033[K")) << bar.errors;
}

class EachStopped : public Each, public testing::WithParamInterface<int> {};

TEST_P(EachStopped, LeavesNoHalfFile) {
    ASSERT_EQ(run({"run", "in.bmp", "resize:1500x1500", "in/large.bmp"}).exitCode, 0);
    Names words = {"each", "--jobs=2", "--verbose", "in/a.bmp"};
    for (int i = 0; i < 8; ++i) {
        fs::copy("in/large.bmp", "in/l" + std::to_string(i) + ".bmp");
        words.push_back("in/l" + std::to_string(i) + ".bmp");
    }
    for (int i = 0; i < 60; ++i) words.emplace_back(i % 2 == 0 ? "bpp:8,method=median" : "bpp:24");
    words.emplace_back("out/{name}.jpg");
    Program program(words);
    while (!fs::exists("out/a.jpg")) usleep(1000);
    program.signal(GetParam());
    const Result result = program.finish();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_TRUE(result.errors.ends_with("dib: cancelled\n")) << result.errors;
    EXPECT_EQ(filesIn("out"), Names{"a.jpg"});
    EXPECT_NE(result.output.find("done "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("cancelled "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("left out "), std::string::npos) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Signals, EachStopped, testing::Values(SIGINT, SIGTERM));

}  // namespace

}  // namespace tool_test
