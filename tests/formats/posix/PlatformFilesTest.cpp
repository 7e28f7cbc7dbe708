// Where PNG, JPEG and TIFF files come from and where they go: paths, links, rights, and disks that are full.
#include <DibCocoaUtil.h>
#include <DibCodec.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>

#include "tests/formats/CodecTest.h"
#include "tests/support/Paths.h"

namespace codec_test {
namespace {

struct Saver {
    PathCodec save;
    WidePathCodec saveWide;
    unsigned char first;
};
constexpr Saver kSavers[] = {{SavePNG, SavePNG, 0x89}, {SaveJPEG, SaveJPEG, 0xFF}, {SaveTIFF, SaveTIFF, 'I'}};

// A folder of its own for every test.
class PlatformFiles : public testing::Test {
protected:
    void SetUp() override {
        folder_ =
            std::filesystem::path(testing_support::temporaryPath()) /
            (std::string("PlatformFiles.") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }
    Bytes read(const std::string& name) const { return testing_support::readFileBytes(path(name)); }
    std::size_t files() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

    std::filesystem::path folder_;
    DibPtr image_ = testing_support::randomImage(40, 30, 32, 7);
};

TEST_F(PlatformFiles, AFullDiskLeavesTheOldFile) {
    write("kept", "old");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    for (const Saver& saver : kSavers) {
        // At the first byte, in the middle, at the last ones.
        ASSERT_TRUE(saver.save(path("whole").c_str(), image_.get(), nullptr, nullptr));
        const std::size_t whole = read("whole").size();
        std::filesystem::remove(path("whole"));
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, whole / 2, whole - 1}) {
            image_->ErrorCode = kUntouched;
            const rlimit limit = {size, before.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
            const bool saved = saver.save(path("kept").c_str(), image_.get(), nullptr, nullptr);
            const bool made = saver.save(path("new").c_str(), image_.get(), nullptr, nullptr);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
            EXPECT_FALSE(saved) << size << " of " << whole;
            EXPECT_FALSE(made);
            EXPECT_EQ(image_->ErrorCode, kUntouched);
            EXPECT_EQ(read("kept"), bytesOf("old"));
            EXPECT_EQ(files(), 1U);
        }
    }
    std::signal(SIGXFSZ, signalBefore);
}

TEST_F(PlatformFiles, FoldersThatCannotBeWritten) {
    std::filesystem::create_directory(path("folder"));
    write("file", "old");
    for (const Saver& saver : kSavers) {
        EXPECT_FALSE(saver.save(path("folder").c_str(), image_.get(), nullptr, nullptr));
        EXPECT_FALSE(saver.save(path("absent/a").c_str(), image_.get(), nullptr, nullptr));
        EXPECT_FALSE(saver.save(path("file/a").c_str(), image_.get(), nullptr, nullptr));
    }
    EXPECT_TRUE(std::filesystem::is_directory(path("folder")));
    EXPECT_EQ(files(), 2U);
    DibStream loaded;
    EXPECT_FALSE(LoadPNG(path("folder").c_str(), &loaded, nullptr, nullptr));
    EXPECT_FALSE(LoadPNG(path("absent").c_str(), &loaded, nullptr, nullptr));
}

TEST_F(PlatformFiles, ProtectedFilesAndFoldersStay) {
    if (geteuid() == 0) GTEST_SKIP() << "nothing is protected from the superuser";
    write("file", "old");
    chmod(path("file").c_str(), 0444);
    EXPECT_FALSE(SavePNG(path("file").c_str(), image_.get(), nullptr, nullptr));
    EXPECT_EQ(read("file"), bytesOf("old"));
    chmod(folder_.c_str(), 0555);
    EXPECT_FALSE(SavePNG(path("new").c_str(), image_.get(), nullptr, nullptr));
    chmod(folder_.c_str(), 0755);
    EXPECT_EQ(files(), 1U);
}

TEST_F(PlatformFiles, LinksAreFollowedAndRightsKept) {
    write("file", "old");
    chmod(path("file").c_str(), 0640);
    std::filesystem::create_symlink("file", path("link"));
    for (const Saver& saver : kSavers) {
        ASSERT_TRUE(saver.save(path("link").c_str(), image_.get(), nullptr, nullptr));
        EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
        EXPECT_EQ(read("file")[0], saver.first);
        struct stat status {};
        ASSERT_EQ(stat(path("file").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640U);
        EXPECT_EQ(files(), 2U);
    }
    // New files have the rights that any new file gets.
    const mode_t mask = umask(022);
    EXPECT_TRUE(SavePNG(path("new").c_str(), image_.get(), nullptr, nullptr));
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(path("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
}

TEST_F(PlatformFiles, FilesWithoutANameAreWrittenAtOnce) {
    const dib::FilePtr file(std::tmpfile());
    const std::string name = "/proc/self/fd/" + std::to_string(fileno(file.get()));
    for (const Saver& saver : kSavers) {
        ASSERT_TRUE(saver.save(name.c_str(), image_.get(), nullptr, nullptr));
        DibStream loaded;
        EXPECT_TRUE(LoadPNG(name.c_str(), &loaded, nullptr, nullptr));
        EXPECT_EQ(loaded.Header->biWidth, 40);
    }
}

TEST_F(PlatformFiles, NamesInEveryLanguage) {
    const std::string name = path("\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
    std::wstring wide(name.begin(), name.end() - 9);
    wide += L"\u00FC\u20AC\U0001F600";
    for (const Saver& saver : kSavers) {
        ASSERT_TRUE(saver.saveWide(wide.c_str(), image_.get(), nullptr, nullptr));
        EXPECT_EQ(testing_support::readFileBytes(name)[0], saver.first);
        DibStream loaded;
        EXPECT_TRUE(LoadTIFF(wide.c_str(), &loaded, nullptr, nullptr));
        DibStream same;
        EXPECT_TRUE(LoadJPEG(name.c_str(), &same, nullptr, nullptr));
        EXPECT_TRUE(testing_support::sameImage(loaded, same));
        std::filesystem::remove(name);
        EXPECT_TRUE(saver.save(name.c_str(), image_.get(), nullptr, nullptr));
        EXPECT_TRUE(std::filesystem::exists(name));
    }
}

TEST_F(PlatformFiles, TheCallbackIsNeverCalled) {
    for (const Saver& saver : kSavers) {
        ProgressLog log;
        log.cancelAt = 0;
        EXPECT_TRUE(saver.save(path("file").c_str(), image_.get(), ProgressLog::callback, &log));
        DibStream loaded;
        EXPECT_TRUE(LoadPNG(path("file").c_str(), &loaded, ProgressLog::callback, &log));
        EXPECT_TRUE(log.fractions.empty());
    }
}

TEST_F(PlatformFiles, SavingAndLoadingNeedSomething) {
    DibStream empty;
    DibStream headerOnly;
    ASSERT_TRUE(headerOnly.Create(2, 2, 24));
    std::free(headerOnly.Buffer);
    headerOnly.Buffer = nullptr;
    for (const Saver& saver : kSavers) {
        EXPECT_FALSE(saver.save(path("a").c_str(), &empty, nullptr, nullptr));
        EXPECT_FALSE(saver.save(path("a").c_str(), &headerOnly, nullptr, nullptr));
        EXPECT_FALSE(saver.save(path("a").c_str(), nullptr, nullptr, nullptr));
        EXPECT_FALSE(saver.save(nullptr, image_.get(), nullptr, nullptr));
        EXPECT_FALSE(saver.saveWide(nullptr, image_.get(), nullptr, nullptr));
    }
    EXPECT_EQ(files(), 0U);
    for (const PathCodec load :
         {PathCodec{LoadPNG}, PathCodec{LoadJPEG}, PathCodec{LoadTIFF}, PathCodec{LoadEXR}}) {
        EXPECT_FALSE(load(nullptr, &empty, nullptr, nullptr));
        EXPECT_FALSE(load(path("a").c_str(), nullptr, nullptr, nullptr));
    }
    for (const WidePathCodec load : {WidePathCodec{LoadPNG}, WidePathCodec{LoadJPEG}, WidePathCodec{LoadTIFF},
                                     WidePathCodec{LoadEXR}, WidePathCodec{LoadDDS}}) {
        EXPECT_FALSE(load(nullptr, &empty, nullptr, nullptr));
        EXPECT_FALSE(load(L"a", nullptr, nullptr, nullptr));
    }
    EXPECT_FALSE(DibCocoaUtil::LoadImageFile(VexString(), nullptr));
    EXPECT_FALSE(DibCocoaUtil::LoadImageFile(VexString(), &empty));
    EXPECT_FALSE(DibCocoaUtil::SaveImageFile(VexString(), nullptr, DibCocoaUtil::DIB_COCOA_PNG));
    EXPECT_FALSE(DibCocoaUtil::SaveImageFile(VexString(), image_.get(), DibCocoaUtil::DIB_COCOA_PNG));
    DibCocoaUtil::rawdata_free(nullptr, nullptr, 0);
    EXPECT_EQ(empty.ErrorCode, 0);
}

TEST_F(PlatformFiles, PngFilesHaveFourChannelsOfAByte) {
    DibStream indexed;
    ASSERT_TRUE(indexed.Create(1, 1, 8));
    indexed.Buffer[0] = 3;
    unsigned char* table = reinterpret_cast<unsigned char*>(indexed.Header) + 40;
    std::memcpy(table + 3 * 4, "\x0B\x15\x1F", 3);
    ASSERT_TRUE(SavePNG(path("indexed").c_str(), &indexed, nullptr, nullptr));
    const Bytes file = read("indexed");
    ASSERT_GT(file.size(), 26U);
    EXPECT_EQ(file[24], 8);
    EXPECT_EQ(file[25], 6);
    DibStream loaded;
    ASSERT_TRUE(LoadPNG(path("indexed").c_str(), &loaded, nullptr, nullptr));
    EXPECT_EQ(loaded.Header->biBitCount, 32);
    EXPECT_EQ(rowBytes(loaded, 0), (Bytes{11, 21, 31, 255}));
}

TEST_F(PlatformFiles, JpegFilesHaveQuality90AndHalvedColors) {
    ASSERT_TRUE(SaveJPEG(path("jpeg").c_str(), image_.get(), nullptr, nullptr));
    const Bytes file = read("jpeg");
    // The first table of quantization starts 3, 2 where quality 50 has 16, 11.
    const Bytes quality = {0xFF, 0xDB, 0x00, 0x43, 0x00, 0x03, 0x02};
    const auto table = std::search(file.begin(), file.end(), quality.begin(), quality.end());
    EXPECT_NE(table, file.end());
    // Frame: 8 bits, 30 rows of 40, three components, the first sampled twice as often both ways.
    const Bytes frame = {0xFF, 0xC0, 0x00, 0x11, 8, 0, 30, 0, 40, 3, 1, 0x22};
    const auto start = std::search(file.begin(), file.end(), frame.begin(), frame.end());
    EXPECT_NE(start, file.end());
}

}  // namespace
}  // namespace codec_test
