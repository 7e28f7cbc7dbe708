// Opening files by 8-bit and wide paths.
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"

namespace {

// Any pointer that is not null, to see it overwritten.
std::FILE* stale() { return stderr; }

TEST(VexFile, OpensWhatExists) {
    const std::string vexlibs = testing_support::temporaryPath("vexlibs.txt");
    const char* path = vexlibs.c_str();
    std::FILE* file = stale();
    ASSERT_EQ(fopen_s(&file, path, "wb"), 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fputs("text", file), 1);
    std::fclose(file);

    const VexString widePath = VexString::fromUtf8String(path);
    file = stale();
    ASSERT_EQ(_wfopen_s(&file, widePath.c_str(), L"rb"), 0);
    char text[8] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, file), 4U);
    EXPECT_STREQ(text, "text");
    std::fclose(file);
    std::remove(path);
}

TEST(VexFile, NamesThatAreNotUtf8) {
    const std::string path = testing_support::temporaryPath("vex\xFF\xC3.txt");
    std::FILE* file = nullptr;
    ASSERT_EQ(_wfopen_s(&file, VexString::fromUtf8String(path.c_str()).c_str(), L"wb"), 0);
    std::fclose(file);
    ASSERT_EQ(fopen_s(&file, path.c_str(), "rb"), 0);
    std::fclose(file);
    EXPECT_EQ(std::remove(path.c_str()), 0);
}

TEST(VexFile, FailureNullsThePointer) {
    std::FILE* file = stale();
    EXPECT_EQ(fopen_s(&file, testing_support::temporaryPath("missing/file").c_str(), "rb"), ENOENT);
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_EQ(_wfopen_s(&file, L"/missing/file", L"rb"), ENOENT);
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_NE(fopen_s(&file, testing_support::temporaryPath().c_str(), "wb"), 0)
        << "a folder cannot be written";
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_NE(fopen_s(&file, testing_support::temporaryPath("x").c_str(), "no such mode"), 0);
    EXPECT_EQ(file, nullptr);
}

TEST(VexFile, TextThatNoPathCanHave) {
    for (const wchar_t* text : {L"/tmp/\xD800", L"/tmp/\xDC00", L"/tmp/\x110000"}) {
        std::FILE* file = stale();
        EXPECT_EQ(_wfopen_s(&file, text, L"wb"), EILSEQ);
        EXPECT_EQ(file, nullptr);
        file = stale();
        EXPECT_EQ(_wfopen_s(&file, L"/tmp/x", text + 5), EILSEQ);
        EXPECT_EQ(file, nullptr);
    }
}

TEST(VexFile, NullArguments) {
    std::FILE* file = stale();
    EXPECT_EQ(fopen_s(nullptr, "x", "rb"), EINVAL);
    EXPECT_EQ(_wfopen_s(nullptr, L"x", L"rb"), EINVAL);
    EXPECT_EQ(fopen_s(&file, nullptr, "rb"), EINVAL);
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_EQ(fopen_s(&file, "x", nullptr), EINVAL);
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_EQ(_wfopen_s(&file, nullptr, L"rb"), EINVAL);
    EXPECT_EQ(file, nullptr);
    file = stale();
    EXPECT_EQ(_wfopen_s(&file, L"x", nullptr), EINVAL);
    EXPECT_EQ(file, nullptr);
}

TEST(VexFile, OpeningSurvivesEveryFailingAllocation) {
    const std::wstring path =
        VexString::fromUtf8String(
            testing_support::temporaryPath("a-name-longer-than-short-strings.txt").c_str())
            .c_str();
    std::FILE* file = nullptr;
    int result = 0;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { file = stale(); }, [&] { result = _wfopen_s(&file, path.c_str(), L"wb"); },
        [&](bool failureMet) {
            EXPECT_EQ(result, failureMet ? ENOMEM : 0);
            EXPECT_EQ(file == nullptr, failureMet);
            if (file != nullptr) std::fclose(file);
        });
    EXPECT_GT(failures, 1);
}

}  // namespace
