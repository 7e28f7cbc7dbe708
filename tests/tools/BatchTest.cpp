// Patterns of file names, names of results, and tasks in processes.
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include "batch/OutputNames.h"
#include "batch/Patterns.h"
#include "batch/Workers.h"
#include "tests/tools/Program.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Patterns = ToolTest;
using OutputNames = ToolTest;

Names found(const std::string& pattern) {
    const batch::FoundFiles files = batch::findFiles(pattern);
    return {files.files.begin(), files.files.end()};
}

void make(const std::string& name) {
    fs::create_directories(fs::path(name).parent_path());
    writeFile(name, "");
}

TEST_F(Patterns, MatchAsInShells) {
    for (const char* name : {"p/a.png", "p/b.png", "p/c.PNG", "p/.hidden.png", "p/in/a.png", "p/in/er/d.png",
                             "p/.git/e.png", "p/x.png/f.png"})
        make(name);
    fs::create_directory_symlink("in", "p/link");
    EXPECT_EQ(found("p/*.png"), (Names{"p/a.png", "p/b.png"}));
    EXPECT_EQ(found("p/[a-b].png"), (Names{"p/a.png", "p/b.png"}));
    EXPECT_EQ(found("p/?.PNG"), Names{"p/c.PNG"});
    EXPECT_EQ(found("p/.*.png"), Names{"p/.hidden.png"});
    EXPECT_EQ(found("p/*/a.png"), (Names{"p/in/a.png", "p/link/a.png"}));
    const Names all = {"p/a.png", "p/b.png", "p/in/a.png", "p/in/er/d.png", "p/x.png/f.png"};
    EXPECT_EQ(found("p/**/*.png"), all);
    EXPECT_EQ(found("p/**/**/*.png"), all);
    EXPECT_EQ(found("p/**/a.png"), (Names{"p/a.png", "p/in/a.png"}));
    EXPECT_EQ(found("p/in/**"), (Names{"p/in/a.png", "p/in/er/d.png"}));
    EXPECT_EQ(found("**/d.png"), Names{"p/in/er/d.png"});
    EXPECT_EQ(found("p/*.gif"), Names{});
    EXPECT_EQ(found("p/in"), Names{}) << "a folder is not a file";
    EXPECT_EQ(found(""), Names{});
    EXPECT_EQ(found(fs::absolute("p/in/*")), Names{fs::absolute("p/in/a.png")});
    EXPECT_EQ(batch::findFiles("p/**/*.png").folder, "p");
    EXPECT_EQ(batch::findFiles("p/in/a.png").folder, "p/in");
}

TEST_F(Patterns, NamesOfAnyCharacters) {
    const std::string odd = "p/a[1] *?\\\n\xFF.png";
    make(odd);
    make("p/a1.png");
    EXPECT_EQ(found(odd), Names{odd}) << "an existing name is no pattern";
    EXPECT_EQ(found("p/a\\[1\\]*"), Names{odd});
    EXPECT_EQ(found("p/a[1].png"), Names{"p/a1.png"});
    EXPECT_EQ(found("p/*\xFF.png"), Names{odd});
}

TEST_F(Patterns, FoldersThatCannotBeReadAreNamed) {
    if (geteuid() == 0) GTEST_SKIP() << "nothing is closed to root";
    make("p/secret/a.png");
    fs::permissions("p/secret", fs::perms::none);
    EXPECT_THROW(batch::findFiles("p/**/*.png"), fs::filesystem_error);
    fs::permissions("p/secret", fs::perms::owner_all);
}

Names outputs(const Names& patterns, const std::string& output) {
    batch::Inputs inputs;
    for (const std::string& pattern : patterns) inputs.add(pattern);
    return batch::outputNames(inputs, output);
}

std::string reasonAgainst(const Names& patterns, const std::string& output) {
    try {
        outputs(patterns, output);
    } catch (const batch::BadNames& error) {
        return error.what();
    }
    return "none";
}

TEST_F(OutputNames, AreMadeOfTheInputs) {
    for (const char* name : {"p/a.b.png", "p/q/c.gif", "p/q/r/d"}) make(name);
    EXPECT_EQ(outputs({"p/**/*"}, "out/{folder}/{name}-{extension}.jpg"),
              (Names{"out/a.b-png.jpg", "out/q/c-gif.jpg", "out/q/r/d-.jpg"}));
    EXPECT_EQ(outputs({"p/**/*"}, "{number}.jpg"), (Names{"1.jpg", "2.jpg", "3.jpg"}));
    EXPECT_EQ(outputs({"p/q/*", "p/q/r/d"}, "{folder}/{name}"), (Names{"c", "r/d"}));
    EXPECT_EQ(outputs({"p/a.b.png", "./p/a.b.png", "in.bmp"}, "{folder}/{name}.x"),
              (Names{"p/a.b.x", "in.x"}))
        << "each file once";
    EXPECT_EQ(outputs({fs::absolute("p/q/*"), fs::absolute("p/*")}, "o/{folder}/{name}"),
              (Names{"o/q/c", "o/a.b"}));
    EXPECT_EQ(outputs({"in.bmp"}, "a}{name"), Names{"a}{name"});
    for (int i = 1; i <= 10; ++i) make("n/" + std::to_string(i + 10));
    EXPECT_EQ(outputs({"n/*"}, "{number}").front(), "01");
    EXPECT_EQ(outputs({"n/*"}, "{number}").back(), "10");
}

TEST_F(OutputNames, ThatCannotBeUsedAreRefused) {
    for (const char* name : {"p/a.png", "p/a.gif", "p/q/a.png"}) make(name);
    fs::create_directory_symlink("p", "same");
    EXPECT_EQ(reasonAgainst({"p/*"}, "{name}.jpg"),
              "'p/a.gif' and 'p/a.png' would both be written to 'a.jpg'");
    EXPECT_EQ(reasonAgainst({"p/*/*.png", "p/a.png"}, "x/{name}.jpg"),
              "'p/q/a.png' and 'p/a.png' would both be written to 'x/a.jpg'");
    EXPECT_EQ(reasonAgainst({"p/*.gif"}, "same/{name}.gif"), "none") << "in its own place";
    EXPECT_EQ(reasonAgainst({"p/*"}, "same/{name}.gif"),
              "'p/a.gif' and 'p/a.png' would both be written to 'same/a.gif'");
    EXPECT_EQ(reasonAgainst({"p/a.png", "p/q/a.png"}, "p/q/a{folder}.png"),
              "the result of 'p/a.png' would replace 'p/q/a.png', which is read as well");
    EXPECT_EQ(reasonAgainst({"in.bmp"}, "{names}.png"),
              "'{names}.png': there is no {names}; use {name}, {folder}, {extension} or {number}");
    EXPECT_EQ(reasonAgainst({"../here/in.bmp", "p/a.png"}, "{folder}/{name}"),
              "'../here/in.bmp': {folder} would lead out of the output");
}

TEST(Workers, RunTasksAtOnceAndTellHowEachEnded) {
    std::vector<int> codes(6, -1);
    std::string messages;
    double longest = 0;
    batch::Tasks tasks;
    tasks.count = codes.size();
    tasks.run = [](std::size_t i) {
        if (i == 2) raise(SIGKILL);
        // More than a pipe holds.
        if (i == 3) {
            const std::string text(200000, 'x');
            if (write(STDERR_FILENO, text.data(), text.size()) != 200000) return 99;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return static_cast<int>(i);
    };
    tasks.ended = [&](std::size_t i, const batch::Outcome& outcome) {
        codes[i] = outcome.exitCode;
        messages += outcome.messages;
        longest = std::max(longest, outcome.seconds);
    };
    tasks.isCancelled = [] { return false; };
    batch::runInProcesses(tasks, 3);
    EXPECT_EQ(codes, (std::vector<int>{0, 1, 128 + SIGKILL, 3, 4, 5}));
    EXPECT_EQ(messages, std::string(200000, 'x'));
    EXPECT_GE(longest, 0.05);
}

TEST(Workers, StopWhenCancelled) {
    int ended = 0;
    batch::Tasks tasks;
    tasks.count = 5;
    tasks.run = [](std::size_t) {
        std::this_thread::sleep_for(std::chrono::minutes(1));
        return 0;
    };
    tasks.ended = [&](std::size_t, const batch::Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 128 + SIGTERM);
        ++ended;
    };
    int asked = 0;
    tasks.isCancelled = [&] { return ++asked > 1; };
    batch::runInProcesses(tasks, 2);
    EXPECT_EQ(ended, 2);
}

}  // namespace

}  // namespace tool_test
