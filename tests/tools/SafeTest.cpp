// What the program leaves alone, and what it leaves behind: nothing.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/support/PsdBuilder.h"
#include "tests/support/Sanitizer.h"
#include "tests/tools/Program.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using NoClobber = ToolTest;
using WholeFolder = ToolTest;
using NoProc = ToolTest;
using Causes = ToolTest;

TEST_F(NoClobber, KeepsFilesThatExist) {
    const Names before = filesHere();
    writeFile("old.png", "old");
    writeFile("old.gpl", "old");
    const std::string exists = "save: the file exists already (--no-clobber)\n";
    const Result result = run({"run", "--no-clobber", "in.bmp", "old.png"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "dib: old.png: " + exists);
    EXPECT_EQ(readFile("old.png"), "old");
    EXPECT_EQ(run({"run", "--no-clobber", "in.bmp", "colors:4", "new.png"}).errors, "");
    const Result palette = run({"palette", "--no-clobber", "new.png", "old.gpl"});
    EXPECT_EQ(palette.exitCode, 4);
    EXPECT_EQ(palette.errors, "dib: old.gpl: save: the file cannot be written: File exists\n");
    EXPECT_EQ(readFile("old.gpl"), "old");
    EXPECT_EQ(run({"palette", "--no-clobber", "new.png", "new.gpl"}).errors, "");
    const Result each = run({"each", "--no-clobber", "in.bmp", "new.png", "{name}.ppm"});
    EXPECT_EQ(each.errors, "");
    EXPECT_EQ(run({"each", "--no-clobber", "in.bmp", "new.png", "{name}.ppm"}).exitCode, 4);
}

TEST_F(NoClobber, MakesTheFileThatALinkPromises) {
    fs::create_symlink("behind.png", "link.png");
    EXPECT_EQ(run({"run", "--no-clobber", "in.bmp", "link.png"}).errors, "");
    EXPECT_TRUE(fs::is_symlink("link.png"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("behind.png")));
    EXPECT_EQ(run({"run", "--no-clobber", "in.bmp", "link.png"}).exitCode, 4);
}

std::string document() {
    testing_support::PsdDocument document;
    document.addLayer({0, 0, 2, 2}, {0, -1}).name = "one";
    const auto bytes = document.bytes();
    return {bytes.begin(), bytes.end()};
}

TEST_F(WholeFolder, IsNotMixedWithAnOlderOne) {
    writeFile("in.psd", document());
    fs::create_directories("old");
    writeFile("old/mine", "mine");
    for (const Names& words :
         {Names{"gallery", "in.bmp", "old", "--side=240"}, {"layers", "in.psd", "old"}}) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 4);
        EXPECT_EQ(result.errors, "dib: old: save: the folder cannot be created: Directory not empty\n");
        EXPECT_EQ(readFile("old/mine"), "mine");
    }
    EXPECT_EQ(filesHere(), (Names{"in.bmp", "in.psd", "old"}));
    fs::create_directories("empty");
    EXPECT_EQ(run({"layers", "in.psd", "empty/"}).errors, "");
    EXPECT_TRUE(fs::exists("empty/manifest.json"));
    fs::create_directory_symlink("behind", "link");
    EXPECT_EQ(run({"layers", "in.psd", "link"}).errors, "");
    EXPECT_TRUE(fs::exists("behind/manifest.json"));
    EXPECT_TRUE(fs::is_symlink("link"));
}

TEST_F(WholeFolder, IsAbsentWhenItCannotBeWhole) {
    writeFile("in.psd", document());
    const Result result = run({"layers", "in.psd", "out", "--to=bmp"}, "", [] {
        const rlimit limit = {60, 60};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(filesHere(), (Names{"in.bmp", "in.psd"})) << result.errors;
}

// As after chroot, or where a container hides it.
TEST_F(NoProc, EverythingWorks) {
    if (testing_support::kAddressSanitizer) GTEST_SKIP() << "the sanitizer itself reads /proc";
    const auto hide = [] {
        const bool isHidden = unshare(CLONE_NEWNS) == 0 &&
                              mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                              mount("none", "/proc", "tmpfs", 0, nullptr) == 0;
        if (!isHidden) _exit(99);
    };
    const Result result = run({"run", "in.bmp", "half", "out.png"}, "", hide);
    if (result.exitCode == 99) GTEST_SKIP() << "/proc cannot be hidden here";
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(run({"run", "-", "half", "-", "--to=png"}, readFile("in.bmp"), hide).output,
              readFile("out.png"));
    EXPECT_EQ(run({"run", "in.bmp", "half", "out.png"}, "", hide).errors, "") << "replaces";
    EXPECT_EQ(run({"run", "--no-clobber", "in.bmp", "half", "new.png"}, "", hide).errors, "");
    EXPECT_EQ(run({"run", "--no-clobber", "in.bmp", "half", "new.png"}, "", hide).exitCode, 4);
    EXPECT_EQ(filesHere(), (Names{"in.bmp", "new.png", "out.png"}));
    const std::string formats = run({"formats"}).output;
    EXPECT_EQ(run({"formats"}, "", hide).output, formats) << "plug-ins are found";
}

TEST_F(Causes, AStreamThatIsNoPictureIsNotReadToItsEnd) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto connect = [&ends] {
        dup2(ends[0], STDIN_FILENO);
        close(ends[1]);
    };
    Program program({"info", "-"}, connect);
    close(ends[0]);
    // The writer stays open: a program that wants more waits for ever.
    const std::string text(65536, 'x');
    EXPECT_EQ(write(ends[1], text.data(), text.size()), 65536);
    const Result result = program.finish();
    close(ends[1]);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors,
              "dib: standard input: load: the format of the file is not known (name it with --from)\n");
}

TEST_F(Causes, ALimitOfStreamsIsNamed) {
    std::string bytes = readFile("in.bmp");
    bytes.resize(200000);
    const Result result = run({"layers", "--limit=bytes:100K", "-", "out"}, bytes);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(
        result.errors,
        "dib: standard input: load: the stream is too long; the limit of bytes is 100000 (--limit=bytes)\n");
}

TEST_F(Causes, AFullDiskIsNamed) {
    const Result result = run({"run", "in.bmp", "out.bmp"}, "", [] {
        const rlimit limit = {1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "dib: out.bmp: save: the file cannot be written: File too large\n");
    EXPECT_EQ(filesHere(), Names{"in.bmp"});
    const Result device = run({"run", "--to=png", "in.bmp", "/dev/full"});
    EXPECT_EQ(device.errors, "dib: /dev/full: save: the file cannot be written: No space left on device\n");
    EXPECT_EQ(
        run({"run", "--to=png", "in.bmp", "-"}, "", [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); })
            .errors,
        "dib: standard output: save: the stream cannot be written: No space left on device\n");
}

}  // namespace

}  // namespace tool_test
