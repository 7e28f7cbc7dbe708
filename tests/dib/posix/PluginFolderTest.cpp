// Folders of plug-ins whose wide characters are no text.
#include <DibStream.h>
#include <gtest/gtest.h>

namespace {

TEST(Container, PluginFoldersWithoutUtf8Form) {
    char narrow[4096];
    wchar_t wide[1024];
    for (const wchar_t* path : {L"/\xD800", L"/ok/\x110000", L"\xDC7F"}) {
        DibStream::SetDllFilePath(path);
        DibStream::GetDllFilePath(narrow);
        EXPECT_STREQ(narrow, "");
        EXPECT_STREQ(DibStream::GetDllFilePath(wide), path);
    }
    DibStream::SetDllFilePath("");
}

}  // namespace
