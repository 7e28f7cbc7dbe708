// Files that replace others on Windows: what is there before, after and instead.
#include "files/ReplacedFile.h"

#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "files/NewFolder.h"
#include "tests/support/Paths.h"
#include "vexlibs/NativePath.h"
#include "vexlibs/SystemPath.h"

namespace {

namespace fs = std::filesystem;
using files::ReplacedFile;

// A folder of its own for every test.
class ReplacedFiles : public testing::Test {
protected:
    void SetUp() override {
        folder_ = testing_support::temporaryPath("replaced");
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    std::wstring wide(const std::string& name) const { return vexlibs::systemPath(path(name).c_str()); }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(vexlibs::pathOf(path(name)), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::ptrdiff_t count() const { return std::distance(fs::directory_iterator(folder_), {}); }
    // 0, or the error.
    int replace(const std::string& name, const std::string& text = "new",
                ReplacedFile::Existing existing = ReplacedFile::kReplace) const {
        ReplacedFile file(path(name).c_str(), existing);
        if (file.error() != 0) return file.error();
        const int written =
            _write(file.descriptor().number(), text.data(), static_cast<unsigned>(text.size()));
        EXPECT_EQ(written, static_cast<int>(text.size()));
        return file.commit() ? 0 : file.error();
    }

    std::string folder_;
};

TEST_F(ReplacedFiles, ANewFileAppearsWhole) {
    EXPECT_EQ(replace("file", "a\nb"), 0);
    EXPECT_EQ(read("file"), "a\nb");
    EXPECT_EQ(count(), 1);
}

TEST_F(ReplacedFiles, AnOldFileIsReplacedAtTheEnd) {
    write("file", "old");
    {
        ReplacedFile file(path("file").c_str());
        ASSERT_EQ(file.error(), 0);
        EXPECT_EQ(_write(file.descriptor().number(), "new", 3), 3);
        EXPECT_EQ(read("file"), "old");
        EXPECT_EQ(count(), 2);
        EXPECT_TRUE(file.commit());
    }
    EXPECT_EQ(read("file"), "new");
    EXPECT_EQ(count(), 1);
}

TEST_F(ReplacedFiles, WithoutCommitNothingChanges) {
    write("file", "old");
    {
        ReplacedFile file(path("file").c_str());
        EXPECT_EQ(_write(file.descriptor().number(), "new", 3), 3);
    }
    EXPECT_EQ(read("file"), "old");
    EXPECT_EQ(count(), 1);
}

TEST_F(ReplacedFiles, ExistingFilesCanBeKept) {
    EXPECT_EQ(replace("file", "first", ReplacedFile::kKeep), 0);
    EXPECT_EQ(replace("file", "second", ReplacedFile::kKeep), EEXIST);
    EXPECT_EQ(read("file"), "first");
    // One that appears meanwhile is kept, too.
    ReplacedFile late(path("late").c_str(), ReplacedFile::kKeep);
    ASSERT_EQ(late.error(), 0);
    write("late", "earlier");
    EXPECT_FALSE(late.commit());
    EXPECT_EQ(late.error(), EEXIST);
    EXPECT_EQ(read("late"), "earlier");
}

TEST_F(ReplacedFiles, ProtectedFilesStay) {
    write("file", "old");
    ASSERT_NE(SetFileAttributesW(wide("file").c_str(), FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_EQ(replace("file"), EACCES);
    SetFileAttributesW(wide("file").c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(read("file"), "old");
    EXPECT_EQ(count(), 1);
}

TEST_F(ReplacedFiles, FoldersAndMissingFoldersAreNoTargets) {
    EXPECT_EQ(replace("."), EISDIR);
    EXPECT_EQ(replace("missing/file"), ENOENT);
    EXPECT_TRUE(files::isFolder(folder_.c_str()));
    EXPECT_FALSE(files::isFolder(path("missing").c_str()));
    EXPECT_EQ(count(), 0);
}

TEST_F(ReplacedFiles, DevicesAreWrittenDirectly) {
    ReplacedFile device("NUL");
    ASSERT_EQ(device.error(), 0);
    EXPECT_EQ(_write(device.descriptor().number(), "new", 3), 3);
    EXPECT_TRUE(device.commit());
    EXPECT_EQ(ReplacedFile("NUL", ReplacedFile::kKeep).error(), 0);
}

TEST_F(ReplacedFiles, NamesAreUtf8AndBothSeparatorsCount) {
    const std::string name = "\xC3\xA4\xE3\x81\x82\xF0\x9F\x98\x80";
    EXPECT_EQ(replace(name), 0);
    EXPECT_TRUE(fs::exists(fs::path(folder_) / L"\x00E4\x3042\xD83D\xDE00"));
    EXPECT_EQ(replace(name, "newer"), 0);
    EXPECT_EQ(read(name), "newer");
    fs::create_directories(path("inner"));
    EXPECT_EQ(replace("inner\\file"), 0);
    EXPECT_EQ(read("inner/file"), "new");
}

bool isWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

TEST_F(ReplacedFiles, LongPathsAreWritten) {
    std::string name;
    for (int i = 0; i < 4; ++i) {
        name += std::string(100, static_cast<char>('a' + i)) + "/";
        ASSERT_NE(CreateDirectoryW(wide(name).c_str(), nullptr), 0) << name;
    }
    EXPECT_EQ(replace(name + "file"), 0);
    // At some lengths of paths Wine 8.0 writes beyond a buffer on its stack when it replaces a file.
    if (!isWine()) {
        EXPECT_EQ(replace(name + "file", "newer"), 0);
    }
    EXPECT_EQ(DeleteFileW(wide(name + "file").c_str()), TRUE);
    for (; !name.empty(); name.resize(name.size() - 101))
        EXPECT_NE(RemoveDirectoryW(wide(name).c_str()), 0) << name;
}

TEST_F(ReplacedFiles, AFolderAppearsWhole) {
    {
        files::NewFolder made(path("new/folder"));
        ASSERT_EQ(made.error(), 0);
        std::ofstream(made.path() + "/file") << "text";
        EXPECT_FALSE(fs::exists(path("new/folder")));
        EXPECT_TRUE(made.commit());
    }
    EXPECT_EQ(read("new/folder/file"), "text");
    EXPECT_EQ(files::NewFolder(path("new/folder")).error(), ENOTEMPTY);
    write("file", "");
    EXPECT_EQ(files::NewFolder(path("file")).error(), ENOTDIR);
    fs::create_directories(path("empty"));
    files::NewFolder replaced(path("empty"));
    ASSERT_EQ(replaced.error(), 0);
    EXPECT_TRUE(replaced.commit());
    { const files::NewFolder dropped(path("dropped")); }
    EXPECT_FALSE(fs::exists(path("dropped")));
}

}  // namespace
