#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using Names = std::vector<std::string>;
using Cancel = ToolTest;
using ProgressBar = ToolTest;

// A chain that would take minutes.
Names longChain(const std::string& output) {
    Names words = {"run", "--progress=always", "in.bmp"};
    for (int i = 0; i < 5000; ++i) words.emplace_back(i % 2 == 0 ? "bpp:8,method=median" : "bpp:24");
    words.push_back(output);
    return words;
}

class CancelBy : public ToolTest, public testing::WithParamInterface<int> {};

TEST_P(CancelBy, LeavesNothingHalfWritten) {
    makePicture(picture_, 800, 600, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    writeFile("out.bmp", "old");
    Program program(longChain("out.bmp"));
    ASSERT_TRUE(program.errorsContain("bpp"));
    program.signal(GetParam());
    const Result result = program.finish();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_TRUE(result.errors.ends_with("dib: cancelled\n"));
    EXPECT_EQ(readFile("out.bmp"), "old");
    EXPECT_EQ(filesHere(), (Names{"in.bmp", "out.bmp"}));
}

TEST_F(Cancel, ASecondSignalEndsTheProgramAtOnce) {
    Program program(longChain("out.bmp"));
    ASSERT_TRUE(program.errorsContain("bpp"));
    program.signal(SIGINT);
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish().exitCode, 130);
    EXPECT_EQ(filesHere(), Names{"in.bmp"});
}

INSTANTIATE_TEST_SUITE_P(Signals, CancelBy, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(Cancel, StopsWaitingForStandardInput) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Program program({"run", "--progress=always", "-", "out.bmp"}, [&ends] {
        dup2(ends[0], STDIN_FILENO);
        close(ends[1]);
    });
    // Until its handlers stand the program dies of the signal itself, so give it a moment.
    usleep(500000);
    program.signal(SIGINT);
    EXPECT_EQ(program.finish().exitCode, 130);
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(filesHere(), Names{"in.bmp"});
}

TEST_F(ProgressBar, IsDrawnOnlyWhenAskedFor) {
    for (const char* quiet : {"--progress=never", "--progress=auto"}) {
        EXPECT_EQ(run({"run", quiet, "in.bmp", "bpp:8", "out.bmp"}).errors, "");
    }
}

TEST_F(ProgressBar, GivesEveryStepAnEqualShare) {
    const Result result = run({"run", "--progress=always", "in.bmp", "bpp:8", "bpp:24", "out.bmp"});
    EXPECT_EQ(result.exitCode, 0);
    std::string shown = result.errors;
    for (const char* text : {"  0% load", " 25% load", " 25% bpp", " 50% bpp", " 50% bpp", " 75% bpp",
                             " 75% save", "100% save"}) {
        const std::size_t place = shown.find(text);
        ASSERT_NE(place, std::string::npos) << text << " in " << result.errors;
        shown.erase(0, place + 4);
    }
}

}  // namespace

}  // namespace tool_test
