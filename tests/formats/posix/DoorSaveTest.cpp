// Saving where there are links, rights, limits and processes that can be killed.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "tests/formats/DoorTest.h"

namespace door_test {
namespace {

namespace fs = std::filesystem;
using codec_test::TemporaryFile;
using testing_support::randomImage;

TEST(DoorSave, LinksAndPermissionsStay) {
    const DibPtr image = randomImage(5, 5, 24, 5);
    const TemporaryFile target(".png", codec_test::bytesOf("old"));
    ASSERT_EQ(chmod(target.path(), 0640), 0);
    const std::string link = std::string(target.path()) + ".link.png";
    fs::remove(link);
    fs::create_symlink(target.path(), link);
    EXPECT_TRUE(DibSaveFile(link.c_str(), image.get()));
    EXPECT_TRUE(fs::is_symlink(link));
    fs::remove(link);
    struct stat status = {};
    ASSERT_EQ(stat(target.path(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(target.bytes(), saved(*image, "png"));
}

TEST(DoorSave, LinksToNothingGetTheirFile) {
    const DibPtr image = randomImage(5, 5, 24, 5);
    const fs::path folder = fs::path(testing_support::temporaryPath()) / "links";
    fs::remove_all(folder);
    fs::create_directories(folder / "inner");
    fs::create_symlink("inner/target.png", folder / "link.png");
    EXPECT_TRUE(DibSaveFile((folder / "link.png").c_str(), image.get()));
    EXPECT_TRUE(fs::is_symlink(folder / "link.png"));
    EXPECT_EQ(testing_support::readFileBytes(folder / "inner" / "target.png"), saved(*image, "png"));

    fs::create_symlink("loop.png", folder / "loop.png");
    DibFileResult result;
    EXPECT_FALSE(DibSaveFile((folder / "loop.png").c_str(), image.get(), nullptr, &result));
    EXPECT_EQ(result.code, 3);
    EXPECT_STREQ(result.reason, "the file cannot be created: Too many levels of symbolic links");
    EXPECT_TRUE(fs::is_symlink(folder / "loop.png"));
    fs::remove_all(folder);
}

// The size that files may have is reached at every byte in turn.
TEST(DoorSave, AFullDiskLeavesTheOldFileAtEveryWrite) {
    const DibPtr image = randomImage(40, 30, 24, 5);
    const Bytes old = codec_test::bytesOf("old");
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limits = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limits), 0);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const TemporaryFile file("." + std::string(format->extensions[0]), old);
        const std::size_t size = saved(*image, format->name).size();
        for (std::size_t most = 0; most < size; most += 1 + size / 40) {
            const rlimit low = {most, limits.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
            DibFileResult result;
            const bool isSaved = DibSaveFile(file.path(), image.get(), nullptr, &result);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limits), 0);
            EXPECT_FALSE(isSaved);
            EXPECT_EQ(result.code, 5) << result.reason;
            EXPECT_NE(std::string(result.reason).find("cannot be written"), std::string::npos)
                << result.reason;
            EXPECT_EQ(file.bytes(), old);
        }
    }
    std::signal(SIGXFSZ, before);
    // No temporary file of this process is left behind; others may be saving.
    const std::string left = ".dib-" + std::to_string(getpid()) + "-";
    const fs::path folder = fs::path(testing_support::temporaryPath());
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        EXPECT_FALSE(entry.path().filename().string().starts_with(left)) << entry.path();
    }
}

// A process that dies while it saves leaves the file of before or the new one, never a part.
TEST(DoorSave, AKilledProcessLeavesAWholeFile) {
    constexpr int kRounds = 200;
    const DibPtr first = randomImage(300, 200, 24, 5);
    const DibPtr second = randomImage(200, 310, 24, 6);
    const fs::path folder = fs::path(testing_support::temporaryPath()) / "killed";
    testing_support::Random random(7);
    int firstStands = 0;
    int secondStands = 0;
    for (const char* name : {"picture.bmp", "picture.png"}) {
        fs::remove_all(folder);
        fs::create_directory(folder);
        const std::string path = folder / name;
        ASSERT_TRUE(DibSaveFile(path.c_str(), first.get()));
        const Bytes firstFile = testing_support::readFileBytes(path);
        ASSERT_TRUE(DibSaveFile(path.c_str(), second.get()));
        const Bytes secondFile = testing_support::readFileBytes(path);
        for (int round = 0; round < kRounds / 2; ++round) {
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            while (child == 0) {
                if (!DibSaveFile(path.c_str(), first.get()) || !DibSaveFile(path.c_str(), second.get()))
                    _exit(1);
            }
            usleep(static_cast<useconds_t>(random.between(0, 20000)));
            kill(child, SIGKILL);
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFSIGNALED(status));
            const Bytes file = testing_support::readFileBytes(path);
            ASSERT_TRUE(file == firstFile || file == secondFile) << name << ", " << file.size() << " bytes";
            ++(file == firstFile ? firstStands : secondStands);
        }
    }
    EXPECT_GT(firstStands, 0);
    EXPECT_GT(secondStands, 0);
    fs::remove_all(folder);
}

}  // namespace
}  // namespace door_test
