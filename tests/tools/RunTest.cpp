#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using RunCommand = ToolTest;

const Names kOnlyInput = {"in.bmp"};
const Names kInputAndOutput = {"in.bmp", "out.bmp"};

TEST_F(RunCommand, AppliesOperationsFromLeftToRight) {
    const Result result = run({"run", "in.bmp", "bpp:4", "bpp:24", "out.bmp"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
    ASSERT_TRUE(picture_.ChangeBpp(4, 0));
    ASSERT_TRUE(picture_.ChangeBpp(24, 0));
    EXPECT_EQ(readFile("out.bmp"), bmpBytes(picture_));
    EXPECT_EQ(filesHere(), kInputAndOutput);
}

TEST_F(RunCommand, WithoutOperationsConverts) {
    EXPECT_EQ(run({"run", "in.bmp", "out.bmp"}).exitCode, 0);
    EXPECT_EQ(readFile("out.bmp"), readFile("in.bmp"));
}

TEST_F(RunCommand, TheLevelOfInstructionsCanBeLimited) {
    const auto runAt = [](const char* level) {
        return run({"run", "in.bmp", "gaussian:5", "out.bmp"}, {}, [=] { setenv("DIB_KERNELS", level, 1); });
    };
    ASSERT_EQ(runAt("").exitCode, 0);
    const std::string expected = readFile("out.bmp");
    for (const char* level : {"baseline", "avx2", "avx512"}) {
        EXPECT_EQ(runAt(level).exitCode, 0) << level;
        EXPECT_EQ(readFile("out.bmp"), expected) << level;
    }
    const Result result = runAt("fast");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "dib: DIB_KERNELS: must be baseline, avx2 or avx512\n");
}

TEST_F(RunCommand, EveryMethodIsTheLibrarys) {
    const struct {
        const char* operation;
        int bitCount;
        unsigned int flags;
    } kCases[] = {
        {"bpp:1", 1, 0},
        {"bpp:1,method=diffuse", 1, 0},
        {"bpp:4", 4, 0},
        {"bpp:4,method=grey", 4, 0},
        {"bpp:4,median", 4, DIB_MEDIAN_CUT},
        {"bpp:8", 8, 0},
        {"bpp:8,method=dither", 8, DIB_DITHER},
        {"bpp:8,method=median", 8, DIB_MEDIAN_CUT},
        {"bpp:method=median,8", 8, DIB_MEDIAN_CUT},
        {"bpp:method=median,depth=8", 8, DIB_MEDIAN_CUT},
        {"bpp:16", 16, 0},
        {"bpp:16,method=truncate", 16, 0},
        {"bpp:16,method=dither", 16, DIB_DITHER},
        {"bpp:24", 24, 0},
        {"bpp:32", 32, 0},
    };
    for (const auto& row : kCases) {
        const Result result = run({"run", "in.bmp", row.operation, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << row.operation << result.errors;
        DibStream expected;
        ASSERT_TRUE(expected.LoadFromFile("in.bmp", DibStream::DIB_ACCEPT_ALL));
        ASSERT_TRUE(expected.ChangeBpp(row.bitCount, row.flags));
        EXPECT_EQ(readFile("out.bmp"), bmpBytes(expected)) << row.operation;
    }
}

TEST_F(RunCommand, ClassicIsOfEveryStep) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:32", "deep.bmp"}).exitCode, 0);
    ASSERT_EQ(run({"run", "deep.bmp", "reverse:classic", "edge:classic", "one.bmp"}).exitCode, 0);
    ASSERT_EQ(run({"run", "--classic", "deep.bmp", "reverse", "edge", "all.bmp"}).exitCode, 0);
    ASSERT_EQ(run({"run", "deep.bmp", "reverse", "edge", "right.bmp"}).exitCode, 0);
    EXPECT_EQ(readFile("all.bmp"), readFile("one.bmp"));
    EXPECT_NE(readFile("all.bmp"), readFile("right.bmp"));
}

TEST_F(RunCommand, InputAndOutputMayBeOneFile) {
    EXPECT_EQ(run({"run", "in.bmp", "bpp:8", "in.bmp"}).exitCode, 0);
    ASSERT_TRUE(picture_.ChangeBpp(8, 0));
    EXPECT_EQ(readFile("in.bmp"), bmpBytes(picture_));
    EXPECT_EQ(filesHere(), kOnlyInput);
}

TEST_F(RunCommand, CommandNamesMayBeFileNames) {
    fs::copy("in.bmp", "info");
    EXPECT_EQ(run({"run", "info", "bpp:8", "out.bmp"}).exitCode, 0);
}

// Exit code 1.

TEST_F(RunCommand, AFailedOperationIsNamedWithTheLibrarysText) {
    const Result depth = run({"run", "--classic", "in.bmp", "bpp:8", "half", "out.bmp"});
    EXPECT_EQ(depth.exitCode, 1);
    EXPECT_EQ(depth.errors,
              "dib: in.bmp: half: does not accept pictures of 8 bits, only of 24 and 32 bits\n");
    const Result size = run({"run", "in.bmp", "resize:1000000%", "out.bmp"});
    EXPECT_EQ(size.exitCode, 1);
    EXPECT_EQ(size.errors,
              "dib: in.bmp: resize: there is not enough memory, or no image can have that size\n");
    EXPECT_EQ(filesHere(), kOnlyInput);
}

// Exit code 2.

TEST_F(RunCommand, MistakesInTheCommandLineAreUsageErrors) {
    const std::string usage =
        " (usage: bpp:DEPTH[,method=plain|grey|dither|median|truncate|diffuse][,classic])\n";
    const struct {
        Names arguments;
        std::string message;
    } kCases[] = {
        {{"run", "in.bmp", "bpp:8,median,1", "out.bmp"}, "dib: bpp: too many values, at '1'" + usage},
        {{"run", "in.bmp", "bpp:8,depth=4", "out.bmp"}, "dib: bpp: depth is given twice" + usage},
        {{"run", "in.bmp", "bpp:8,colour=4", "out.bmp"}, "dib: bpp: no parameter 'colour'" + usage},
        {{"run", "in.bmp", "bpp", "out.bmp"}, "dib: bpp: depth is missing" + usage},
        {{"run", "in.bmp", "bpp:method=grey", "out.bmp"}, "dib: bpp: depth is missing" + usage},
        {{"run", "in.bmp", "bpp:12", "out.bmp"}, "dib: bpp: depth: '12' is not one of 1, 4, 8, 16, 24, 32\n"},
        {{"run", "in.bmp", "bpp:", "out.bmp"}, "dib: bpp: depth: the value is empty\n"},
        {{"run", "in.bmp", "bpp:8 ", "out.bmp"}, "dib: bpp: depth: '8 ' is not one of 1, 4, 8, 16, 24, 32\n"},
        {{"run", "in.bmp", "bpp:8,method=", "out.bmp"},
         "dib: bpp: method: the value is empty; leave it out for plain\n"},
        {{"run", "in.bmp", "bpp:24,method=median", "out.bmp"},
         "dib: bpp: method: not available for depth 24" + usage},
        {{"run", "in.bmp", "bpp:4,method=dither", "out.bmp"},
         "dib: bpp: method: not available for depth 4" + usage},
        {{"run", "in.bmp", "bpp:8,method=truncate", "out.bmp"},
         "dib: bpp: method: not available for depth 8" + usage},
        {{"run", "in.bmp", "bpp:8,method=diffuse", "out.bmp"},
         "dib: bpp: method: not available for depth 8" + usage},
        {{"run", "in.bmp", "bpp:1,method=grey", "out.bmp"},
         "dib: bpp: method: not available for depth 1" + usage},
        {{"run", "in.bmp", "bqq:8", "out.bmp"}, "dib: no operation 'bqq'; `dib ops` lists them\n"},
        {{"run", "in.bmp", "", "out.bmp"}, "dib: no operation ''; `dib ops` lists them\n"},
        {{"run"}, "dib: run: INPUT and OUTPUT are required\n"},
        {{"run", "in.bmp"}, "dib: run: INPUT and OUTPUT are required\n"},
        {{"cat"}, "dib: no command or option 'cat'\ndib: try `dib --help`\n"},
        {{"--cat", "run"}, "dib: run: no option '--cat'\ndib: try `dib --help`\n"},
        {{"run", "in.bmp", "b\x1B[31m", "out.bmp"}, "dib: no operation 'b?[31m'; `dib ops` lists them\n"},
        {{"run", "in.bmp", "bpp:8", "out.unknown"},
         "dib: out.unknown: no format has this extension; use --to\n"},
        {{"run", "--to=cat", "in.bmp", "out.bmp"}, "dib: no format 'cat'; `dib formats` lists them\n"},
        {{"run", "--from=cat", "in.bmp", "out.bmp"}, "dib: no format 'cat'; `dib formats` lists them\n"},
        {{"help", "cat"}, "dib: no operation or command 'cat'; `dib ops` lists the operations\n"},
    };
    for (const auto& row : kCases) {
        const Result result = run(row.arguments);
        EXPECT_EQ(result.exitCode, 2) << row.message;
        EXPECT_EQ(result.errors, row.message);
        EXPECT_EQ(result.output, "");
    }
    for (const Names& arguments : {Names{}, Names{"cat"}, Names{"info"}, Names{"run", "--cat", "a", "b"},
                                   Names{"run", "--progress=often", "in.bmp", "out.bmp"}, Names{"completion"},
                                   Names{"completion", "cat"}, Names{"man", "cat"}}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.errors;
        EXPECT_TRUE(result.errors.starts_with("dib: "));
        EXPECT_TRUE(result.errors.ends_with("dib: try `dib --help`\n"));
    }
    EXPECT_EQ(filesHere(), kOnlyInput);
}

// Exit code 3.

TEST_F(RunCommand, BadInputsAreNamedWithWhatIsWrong) {
    const std::string good = readFile("in.bmp");
    writeFile("empty.bmp", "");
    writeFile("short.bmp", good.substr(0, 504));
    std::string rle4 = good;
    rle4[30] = 2;
    writeFile("rle4.bmp", rle4);
    writeFile("unknown", "What is this?");
    writeFile("text.png", "Not a picture");
    fs::create_directory("folder.bmp");
    const std::pair<const char*, const char*> kCases[] = {
        {"missing.bmp", "load: the file cannot be opened: No such file or directory"},
        {"folder.bmp", "load: this is a folder, not a file"},
        {"empty.bmp", "load: the file is empty"},
        {"short.bmp",
         "load: the file ends before its pixels do (in row 5 of 21); --keep-damaged keeps the rows before "
         "it"},
        {"rle4.bmp", "load: run lengths of 4 bits do not fit pixels of 24"},
        {"unknown", "load: the format of the file is not known (name it with --from)"},
        {"text.png", "load: not a PNG file"},
    };
    for (const auto& [name, message] : kCases) {
        const Result changed = run({"run", name, "bpp:8", "out.bmp"});
        EXPECT_EQ(changed.exitCode, 3);
        EXPECT_EQ(changed.errors, "dib: " + std::string(name) + ": " + message + "\n");
        // The header of the one is whole, and the other may hold pictures.
        if (std::string_view(name) == "short.bmp" || std::string_view(name) == "folder.bmp") continue;
        const Result told = run({"info", name});
        EXPECT_EQ(told.exitCode, 3);
        EXPECT_EQ(told.errors, changed.errors);
        EXPECT_EQ(told.output, "");
    }
    EXPECT_FALSE(fs::exists("out.bmp"));
    EXPECT_EQ(run({"run", "-", "bpp:8", "out.bmp"}).errors, "dib: standard input: load: the file is empty\n");
    EXPECT_EQ(run({"run", "--from=bmp", "-", "bpp:8", "out.bmp"}).errors,
              "dib: standard input: load: the file is empty\n");
    EXPECT_EQ(run({"run", "-", "bpp:8", "out.bmp"}, "", [] { close(STDIN_FILENO); }).exitCode, 3);
}

// Exit code 4 and what files look like afterwards.

TEST_F(RunCommand, OutputsThatCannotBeWrittenAreReported) {
    fs::create_directory("folder.bmp");
    const std::pair<Names, const char*> kCases[] = {
        {{"run", "--to=bmp", "in.bmp", "/dev/full"},
         "/dev/full: save: the file cannot be written: No space left on device"},
        {{"run", "in.bmp", "none/out.bmp"},
         "none/out.bmp: save: the file cannot be created: No such file or directory"},
        {{"run", "in.bmp", "folder.bmp"}, "folder.bmp: save: the file cannot be created: Is a directory"},
        {{"run", "in.bmp", "in.bmp/out.bmp"},
         "in.bmp/out.bmp: save: the file cannot be created: Not a directory"},
    };
    for (const auto& [arguments, message] : kCases) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 4);
        EXPECT_EQ(result.errors, "dib: " + std::string(message) + "\n");
    }
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    EXPECT_EQ(filesHere(), (Names{"folder.bmp", "in.bmp"}));
}

TEST_F(RunCommand, PicturesWithMasksKeepTheirColours) {
    // One pixel of 32 bits with masks of red, green, blue in the order of memory.
    const unsigned char header[] = {'B', 'M', 74, 0, 0, 0, 0, 0, 0, 0, 70, 0, 0, 0, 56, 0, 0, 0,
                                    1,   0,   0,  0, 1, 0, 0, 0, 1, 0, 32, 0, 3, 0, 0,  0, 4, 0};
    std::string masked(reinterpret_cast<const char*>(header), sizeof header);
    masked.resize(54);
    masked += std::string("\xFF\0\0\0\0\xFF\0\0\0\0\xFF\0\0\0\0\0\1\2\3\4", 20);
    writeFile("masks.bmp", masked);
    ASSERT_EQ(run({"run", "masks.bmp", "out.bmp"}).exitCode, 0);
    const std::string written = readFile("out.bmp");
    ASSERT_GE(written.size(), 58U);
    EXPECT_EQ(written.substr(written.size() - 4, 3), "\3\2\1");
    EXPECT_EQ(run({"run", "out.bmp", "again.bmp"}).exitCode, 0);
    EXPECT_EQ(readFile("again.bmp"), written);
}

TEST_F(RunCommand, AReadOnlyFolderIsReportedBeforeTheWork) {
    // The superuser may write in every folder that exists.
    const std::string folder = "locked";
    if (geteuid() != 0) {
        fs::create_directory(folder);
        fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    }
    const Result result = run({"run", "--progress=always", "in.bmp", "bpp:8", folder + "/out.bmp"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_NE(result.errors.find("dib: " + folder + "/out.bmp: save: the file cannot be created: "),
              std::string::npos);
    EXPECT_EQ(result.errors.find("bpp"), std::string::npos);
    EXPECT_EQ(result.errors.find("load"), std::string::npos);
    if (geteuid() != 0) fs::permissions(folder, fs::perms::owner_all);
}

TEST_F(RunCommand, StandardOutputThatCannotBeWrittenIsReported) {
    const auto toFull = [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    const Result full = run({"run", "in.bmp", "bpp:8", "-"}, "", toFull);
    EXPECT_EQ(full.exitCode, 4);
    EXPECT_EQ(full.errors,
              "dib: standard output: save: the stream cannot be written: No space left on device\n");
    const Result list = run({"ops"}, "", toFull);
    EXPECT_EQ(list.exitCode, 4);
    const std::string reason =
        "dib: standard output: print: the stream cannot be written: No space left on device\n";
    EXPECT_EQ(list.errors, reason);
    for (const char* words : {"--help", "formats"}) {
        const Result listing = run({words}, "", toFull);
        EXPECT_EQ(listing.exitCode, 4);
        EXPECT_EQ(listing.errors, reason);
    }

    const Result closedPipe = run({"run", "in.bmp", "bpp:8", "-"}, "", [] {
        int ends[2];
        if (pipe(ends) != 0) _exit(126);
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
    });
    EXPECT_EQ(closedPipe.exitCode, 4);
    EXPECT_EQ(closedPipe.errors, "dib: standard output: save: the stream cannot be written: Broken pipe\n");
    const Result closed = run({"run", "in.bmp", "bpp:8", "-"}, "", [] { close(STDOUT_FILENO); });
    EXPECT_EQ(closed.exitCode, 4);
}

TEST_F(RunCommand, AFailedSaveLeavesTheOldFile) {
    writeFile("out.bmp", "old");
    const Result result = run({"run", "in.bmp", "bpp:32", "out.bmp"}, "", [] {
        const rlimit limit = {1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "dib: out.bmp: save: the file cannot be written: File too large\n");
    EXPECT_EQ(readFile("out.bmp"), "old");
    EXPECT_EQ(filesHere(), kInputAndOutput);
}

TEST_F(RunCommand, NewFilesHaveThePermissionsOfTheUmask) {
    EXPECT_EQ(run({"run", "in.bmp", "out.bmp"}, "", [] { umask(027); }).exitCode, 0);
    EXPECT_EQ(fs::status("out.bmp").permissions(), static_cast<fs::perms>(0640));
}

TEST_F(RunCommand, ReplacedFilesKeepTheirModeAndAttributes) {
    for (const int mode : {0600, 0640, 0755}) {
        writeFile("out.bmp", "old");
        fs::permissions("out.bmp", static_cast<fs::perms>(mode));
        const bool hasAttributes = setxattr("out.bmp", "user.origin", "camera", 6, 0) == 0;
        ASSERT_EQ(run({"run", "in.bmp", "out.bmp"}, "", [] { umask(022); }).errors, "");
        EXPECT_EQ(readFile("out.bmp"), readFile("in.bmp"));
        EXPECT_EQ(fs::status("out.bmp").permissions(), static_cast<fs::perms>(mode));
        char origin[8] = {};
        if (hasAttributes) {
            EXPECT_EQ(getxattr("out.bmp", "user.origin", origin, sizeof origin), 6);
            EXPECT_STREQ(origin, "camera");
        }
    }
}

TEST_F(RunCommand, ReplacedFilesKeepTheirOwner) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can write files of others";
    writeFile("out.bmp", "old");
    ASSERT_EQ(chown("out.bmp", 12345, 23456), 0);
    ASSERT_EQ(run({"run", "in.bmp", "out.bmp"}).errors, "");
    struct stat status {};
    ASSERT_EQ(stat("out.bmp", &status), 0);
    EXPECT_EQ(status.st_uid, 12345U);
    EXPECT_EQ(status.st_gid, 23456U);
}

TEST_F(RunCommand, ProtectedFilesStay) {
    writeFile("out.bmp", "old");
    fs::permissions("out.bmp", static_cast<fs::perms>(0444));
    fs::permissions(".", fs::perms::all);
    // Root may write everything.
    const Result result = run({"run", "in.bmp", "out.bmp"}, "", [] {
        if (geteuid() == 0 && setuid(65534) != 0) _exit(126);
    });
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "dib: out.bmp: save: the file cannot be created: Permission denied\n");
    EXPECT_EQ(readFile("out.bmp"), "old");
    EXPECT_EQ(fs::status("out.bmp").permissions(), static_cast<fs::perms>(0444));
    EXPECT_EQ(filesHere(), kInputAndOutput);
}

TEST_F(RunCommand, SymbolicLinksAndDevicesStay) {
    fs::create_directory("pictures");
    writeFile("pictures/target.bmp", "old");
    fs::create_symlink("pictures/target.bmp", "link.bmp");
    EXPECT_EQ(run({"run", "in.bmp", "link.bmp"}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink("link.bmp"));
    EXPECT_EQ(readFile("pictures/target.bmp"), readFile("in.bmp"));
    EXPECT_EQ(run({"run", "--to=bmp", "in.bmp", "/dev/null"}).exitCode, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

// Standard input and output.

TEST_F(RunCommand, IsAFilter) {
    EXPECT_EQ(run({"run", "in.bmp", "bpp:8,median", "out.bmp"}).exitCode, 0);
    const Result filtered = run({"run", "-", "bpp:8,median", "-"}, readFile("in.bmp"));
    EXPECT_EQ(filtered.exitCode, 0);
    EXPECT_EQ(filtered.errors, "");
    EXPECT_EQ(filtered.output, readFile("out.bmp"));
    EXPECT_EQ(run({"run", "--from=bmp", "--to=bmp", "-", "-"}, readFile("in.bmp")).output,
              readFile("in.bmp"));
    EXPECT_EQ(filesHere(), kInputAndOutput);
}

TEST_F(RunCommand, WritesNothingToStandardOutputWhenTheChainFails) {
    const Result result = run({"run", "-", "bpp:8", "-"}, readFile("in.bmp").substr(0, 500));
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
}

TEST_F(RunCommand, ReadsPipes) {
    ASSERT_EQ(mkfifo("pipe.bmp", 0600), 0);
    Program program({"run", "pipe.bmp", "out.bmp"});
    writeFile("pipe.bmp", readFile("in.bmp"));
    EXPECT_EQ(program.finish().exitCode, 0);
    EXPECT_EQ(readFile("out.bmp"), readFile("in.bmp"));
}

}  // namespace

}  // namespace tool_test
