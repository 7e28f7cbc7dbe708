// Files that replace others: what is there before, after and instead, and whose it is.
#include "files/ReplacedFile.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using files::ReplacedFile;

constexpr uid_t kNobody = 65534;

// A folder of its own for every test, which every user can reach and write.
class ReplacedFiles : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/replaced-file-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        ASSERT_EQ(chmod(folder, 0777), 0);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    void write(const std::string& name, const std::string& text, mode_t mode) const {
        std::ofstream(path(name)) << text;
        ASSERT_EQ(chmod(path(name).c_str(), mode), 0);
    }
    std::string read(const std::string& name) const {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }
    struct stat status(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(lstat(path(name).c_str(), &status), 0) << name;
        return status;
    }
    unsigned mode(const std::string& name) const { return status(name).st_mode & 07777; }
    std::size_t count() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }
    // 0, or the error.
    int replace(const std::string& name, const std::string& text = "new",
                ReplacedFile::Existing existing = ReplacedFile::kReplace) const {
        ReplacedFile file(path(name).c_str(), existing);
        if (file.error() != 0) return file.error();
        const ssize_t written = ::write(file.descriptor().number(), text.data(), text.size());
        EXPECT_EQ(written, static_cast<ssize_t>(text.size()));
        return file.descriptor().close() && file.commit() ? 0 : file.error();
    }
    // The same by a user without privileges, in a process of its own.
    void expectReplacedByNobody(const std::string& name, int error) const {
        EXPECT_EXIT(
            {
                if (geteuid() == 0 &&
                    (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
                    _exit(255);
                }
                _exit(replace(name));
            },
            testing::ExitedWithCode(error), "");
    }

    std::string folder_;
};

TEST_F(ReplacedFiles, AppearWhenTheyAreCommitted) {
    write("old", "old", 0644);
    for (const char* name : {"old", "new"}) {
        const bool exists = std::string(name) == "old";
        const std::size_t files = count();
        {
            ReplacedFile file(path(name).c_str());
            ASSERT_EQ(file.error(), 0);
            EXPECT_EQ(::write(file.descriptor().number(), "text", 4), 4);
        }
        EXPECT_EQ(count(), files) << "the temporary file is removed";
        EXPECT_EQ(read(name), exists ? "old" : "");
        EXPECT_EQ(replace(name, "text"), 0);
        EXPECT_EQ(read(name), "text");
        EXPECT_EQ(count(), exists ? files : files + 1);
    }
}

TEST_F(ReplacedFiles, AreReplacedByTheNameOfALink) {
    write("file", "old", 0640);
    std::filesystem::create_symlink("file", path("link"));
    EXPECT_EQ(replace("link"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_FALSE(std::filesystem::is_symlink(path("file")));
    EXPECT_EQ(read("file"), "new");
    EXPECT_EQ(mode("file"), 0640U);
}

TEST_F(ReplacedFiles, AreCreatedWhereLinksLeadTo) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_symlink("folder/second", path("first"));
    std::filesystem::create_symlink(path("folder/file"), path("folder/second"));
    EXPECT_EQ(replace("first"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(path("folder/second")));
    EXPECT_FALSE(std::filesystem::is_symlink(path("folder/file")));
    EXPECT_EQ(read("folder/file"), "new");

    std::filesystem::create_symlink("loop", path("loop"));
    std::filesystem::create_symlink("pong", path("ping"));
    std::filesystem::create_symlink("ping", path("pong"));
    std::filesystem::create_symlink("absent/file", path("lost"));
    EXPECT_EQ(replace("loop"), ELOOP);
    EXPECT_EQ(replace("ping"), ELOOP);
    EXPECT_EQ(replace("lost"), ENOENT);
    EXPECT_TRUE(std::filesystem::is_symlink(path("loop")));
    EXPECT_EQ(ReplacedFile("").error(), ENOENT);
    EXPECT_EQ(count(), 6U);
}

TEST_F(ReplacedFiles, KeepTheirModeAndArePrivateUntilThen) {
    for (const mode_t wanted : {0600U, 0640U, 0644U, 0755U, 0666U}) {
        write("file", "old", wanted);
        ReplacedFile file(path("file").c_str());
        struct stat made {};
        ASSERT_EQ(fstat(file.descriptor().number(), &made), 0);
        EXPECT_EQ(made.st_mode & 07777, 0600U);
        EXPECT_TRUE(file.descriptor().close());
        EXPECT_TRUE(file.commit());
        EXPECT_EQ(mode("file"), wanted);
    }
    const mode_t mask = umask(027);
    EXPECT_EQ(replace("first"), 0);
    umask(mask);
    EXPECT_EQ(mode("first"), 0640U);
}

TEST_F(ReplacedFiles, MayBeWantedOnlyWhereThereIsNone) {
    write("old", "old", 0644);
    std::filesystem::create_symlink("behind", path("link"));
    EXPECT_EQ(ReplacedFile(path("old").c_str(), ReplacedFile::kKeep).error(), EEXIST);
    EXPECT_EQ(replace("new", "new", ReplacedFile::kKeep), 0);
    EXPECT_EQ(replace("link", "behind", ReplacedFile::kKeep), 0);
    EXPECT_EQ(replace("link", "behind", ReplacedFile::kKeep), EEXIST);
    // One that appears while the new file is written.
    ReplacedFile late(path("late").c_str(), ReplacedFile::kKeep);
    ASSERT_EQ(late.error(), 0);
    write("late", "first", 0644);
    EXPECT_FALSE(late.commit());
    EXPECT_EQ(late.error(), EEXIST);
    EXPECT_EQ(read("late"), "first");
    EXPECT_EQ(read("old"), "old");
    EXPECT_EQ(read("behind"), "behind");
    EXPECT_EQ(ReplacedFile("/dev/null", ReplacedFile::kKeep).error(), 0);
    EXPECT_EQ(count(), 5U);
}

TEST_F(ReplacedFiles, ReplaceOnesThatAppearMeanwhile) {
    ReplacedFile file(path("file").c_str());
    EXPECT_EQ(::write(file.descriptor().number(), "new", 3), 3);
    write("file", "meanwhile", 0644);
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(read("file"), "new");
    EXPECT_EQ(count(), 1U);
}

// Whoever may rename the folder must not choose where the file goes.
TEST_F(ReplacedFiles, StayInTheirFolderWhenAnotherOneGetsItsName) {
    for (const bool isThere : {false, true}) {
        std::filesystem::create_directories(path("folder"));
        std::filesystem::create_directories(path("elsewhere"));
        if (isThere) write("folder/file", "old", 0600);
        write("elsewhere/other", "", 0600);
        ReplacedFile file(path("folder/file").c_str());
        EXPECT_EQ(::write(file.descriptor().number(), "new", 3), 3);
        std::filesystem::rename(path("folder"), path("moved"));
        std::filesystem::create_directory_symlink("elsewhere", path("folder"));
        EXPECT_TRUE(file.commit());
        EXPECT_EQ(read("moved/file"), "new");
        EXPECT_FALSE(std::filesystem::exists(path("elsewhere/file")));
        std::filesystem::remove_all(path("moved"));
        std::filesystem::remove(path("folder"));
    }
}

// Without /proc nothing can give a nameless file its name.
TEST_F(ReplacedFiles, HaveATemporaryNameWhereTheyNeedOne) {
    if (geteuid() != 0) GTEST_SKIP() << "needs a root folder of its own";
    write("old", "old", 0640);
    write("kept", "kept", 0644);
    EXPECT_EXIT(
        {
            if (chroot(folder_.c_str()) != 0 || chdir("/") != 0) _exit(99);
            folder_ = "";
            const std::string temporary = "/.dib-" + std::to_string(getpid()) + "-";
            {
                const ReplacedFile file("/new");
                const bool isNamed = access((temporary + "1").c_str(), F_OK) == 0;
                if (file.error() != 0 || !isNamed) _exit(1);
            }
            ReplacedFile lost("/old");
            unlink((temporary + "2").c_str());
            if (lost.commit() || lost.error() != ENOENT) _exit(2);
            if (replace("old") != 0 || replace("new") != 0) _exit(3);
            if (replace("kept", "new", ReplacedFile::kKeep) != EEXIST) _exit(4);
            if (replace("first", "new", ReplacedFile::kKeep) != 0) _exit(5);
            ReplacedFile late("/late", ReplacedFile::kKeep);
            write("late", "first", 0644);
            if (late.commit() || late.error() != EEXIST) _exit(6);
            late.~ReplacedFile();
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(read("old"), "new");
    EXPECT_EQ(mode("old"), 0640U);
    EXPECT_EQ(read("new"), "new");
    EXPECT_EQ(read("kept"), "kept");
    EXPECT_EQ(read("first"), "new");
    EXPECT_EQ(read("late"), "first");
    EXPECT_EQ(count(), 5U) << "no temporary file is left";
}

TEST_F(ReplacedFiles, DevicesAndFilesWithoutANameAreWrittenDirectly) {
    ReplacedFile device("/dev/null");
    EXPECT_EQ(device.error(), 0);
    EXPECT_TRUE(device.commit());
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));

    write("file", "old", 0644);
    const files::Descriptor open(::open(path("file").c_str(), O_RDWR));
    std::filesystem::remove(path("file"));
    const std::string name = "/proc/self/fd/" + std::to_string(open.number());
    ReplacedFile nameless(name.c_str());
    EXPECT_EQ(::write(nameless.descriptor().number(), "text", 4), 4);
    EXPECT_TRUE(nameless.commit());
    char text[8] = {};
    EXPECT_EQ(pread(open.number(), text, sizeof text, 0), 4);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(count(), 0U);
}

TEST_F(ReplacedFiles, FailWithTheReasonOfTheSystem) {
    write("file", "old", 0644);
    EXPECT_EQ(replace("absent/file"), ENOENT);
    EXPECT_EQ(replace("file/file"), ENOTDIR);
    EXPECT_EQ(ReplacedFile(folder_.c_str()).error(), EISDIR);
    EXPECT_FALSE(ReplacedFile(folder_.c_str()).commit());
    EXPECT_EQ(count(), 1U);

    std::filesystem::create_directory(path("folder"));
    ReplacedFile lost(path("folder/file").c_str());
    std::filesystem::remove_all(path("folder"));
    EXPECT_FALSE(lost.commit());
    EXPECT_EQ(lost.error(), ENOENT);
    EXPECT_EQ(read("file"), "old");
}

TEST_F(ReplacedFiles, ProtectedFilesStay) {
    write("file", "old", 0444);
    expectReplacedByNobody("file", EACCES);
    EXPECT_EQ(read("file"), "old");
    EXPECT_EQ(mode("file"), 0444U);
    EXPECT_EQ(count(), 1U);
}

TEST_F(ReplacedFiles, OfOthersStayTheirsAsFarAsPermitted) {
    if (geteuid() != 0) GTEST_SKIP() << "needs to give files away";
    write("theirs", "old", 0600);
    ASSERT_EQ(chown(path("theirs").c_str(), kNobody, 1), 0);
    ASSERT_EQ(chmod(path("theirs").c_str(), 06750), 0);
    EXPECT_EQ(replace("theirs"), 0);
    EXPECT_EQ(status("theirs").st_uid, kNobody);
    EXPECT_EQ(status("theirs").st_gid, 1U);
    EXPECT_EQ(mode("theirs"), 06750U) << "the same owner, so the same rights";

    // The owner cannot be kept: no program runs as another user on account of it.
    write("ours", "old", 0600);
    ASSERT_EQ(chown(path("ours").c_str(), 0, kNobody), 0);
    ASSERT_EQ(chmod(path("ours").c_str(), 06770), 0);
    expectReplacedByNobody("ours", 0);
    EXPECT_EQ(read("ours"), "new");
    EXPECT_EQ(status("ours").st_uid, kNobody);
    EXPECT_EQ(status("ours").st_gid, kNobody);
    EXPECT_EQ(mode("ours"), 0770U);

    // Nor can the group: the new one gets no more rights than everybody.
    write("everybody's", "old", 0600);
    ASSERT_EQ(chown(path("everybody's").c_str(), kNobody, 1), 0);
    ASSERT_EQ(chmod(path("everybody's").c_str(), 06674), 0);
    expectReplacedByNobody("everybody's", 0);
    EXPECT_EQ(status("everybody's").st_gid, kNobody);
    EXPECT_EQ(mode("everybody's"), 0644U);
}

TEST_F(ReplacedFiles, KeepTheirExtendedAttributes) {
    write("file", "old", 0644);
    const std::string name = path("file");
    if (setxattr(name.c_str(), "user.origin", "a camera", 8, 0) != 0) {
        GTEST_SKIP() << "no attributes in this file system";
    }
    EXPECT_EQ(setxattr(name.c_str(), "user.empty", "", 0, 0), 0);
    // A program's privileges, where the system lets us give any: version 2, nothing inherited, one permitted.
    const char capability[20] = {1, 0, 0, 2, 1};
    const bool isPrivileged = setxattr(name.c_str(), "security.capability", capability, 20, 0) == 0;
    EXPECT_EQ(replace("file"), 0);
    char value[32] = {};
    EXPECT_EQ(getxattr(name.c_str(), "user.origin", value, sizeof value), 8);
    EXPECT_STREQ(value, "a camera");
    EXPECT_EQ(getxattr(name.c_str(), "user.empty", value, sizeof value), 0);
    if (isPrivileged) {
        EXPECT_EQ(getxattr(name.c_str(), "security.capability", value, sizeof value), -1);
    }
}

}  // namespace
