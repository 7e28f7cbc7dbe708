// What is different on a terminal.

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

class Terminal : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(master_, 0);
        ASSERT_EQ(grantpt(master_), 0);
        ASSERT_EQ(unlockpt(master_), 0);
        slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(slave_, 0);
    }
    void TearDown() override {
        close(slave_);
        close(master_);
    }

    // Runs the program with one of its streams on the terminal.
    Result runWithTerminal(int stream, const Program::Words& arguments) {
        const int slave = slave_;
        return run(arguments, "", [slave, stream] { dup2(slave, stream); });
    }

    // What the terminal shows.
    std::string shown() {
        std::string text;
        pollfd ready{master_, POLLIN, 0};
        while (poll(&ready, 1, 100) > 0 && (ready.revents & POLLIN) != 0) {
            char block[4096];
            const ssize_t count = read(master_, block, sizeof block);
            if (count <= 0) break;
            text.append(block, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    int master_ = -1;
    int slave_ = -1;
};

TEST_F(Terminal, ShowsTheProgressBarAndTakesItAway) {
    EXPECT_EQ(runWithTerminal(STDERR_FILENO, {"run", "in.bmp", "bpp:8", "out.bmp"}).exitCode, 0);
    const std::string text = shown();
    EXPECT_NE(text.find(" 33% bpp"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\r\033[K"));
}

TEST_F(Terminal, ShowsNoBarWhenNoneIsWanted) {
    EXPECT_EQ(
        runWithTerminal(STDERR_FILENO, {"run", "--progress=never", "in.bmp", "bpp:8", "out.bmp"}).exitCode,
        0);
    EXPECT_EQ(shown(), "");
}

TEST_F(Terminal, IsNotFilledWithAPicture) {
    const Result result = runWithTerminal(STDOUT_FILENO, {"run", "in.bmp", "bpp:8", "-"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "dib: standard output is a terminal; write the picture to a file or a pipe\n");
    EXPECT_EQ(shown(), "");
}

}  // namespace

}  // namespace tool_test
