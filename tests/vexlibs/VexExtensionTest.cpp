// File extensions.
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string extensionOf(const char* path) {
    std::string out(std::strlen(path) + 1, '?');
    GetFileExtension(out.data(), path);
    return out.c_str();
}

TEST(VexFile, Extensions) {
    EXPECT_EQ(extensionOf("picture.bmp"), "bmp");
    EXPECT_EQ(extensionOf("/folder/picture.BMP"), "BMP");
    EXPECT_EQ(extensionOf("archive.tar.gz"), "gz");
    EXPECT_EQ(extensionOf("/folder.d/picture"), "") << "the folder's dot is not the file's";
    EXPECT_EQ(extensionOf("/folder.d/picture.tga"), "tga");
    EXPECT_EQ(extensionOf("picture"), "");
    EXPECT_EQ(extensionOf("picture."), "");
    EXPECT_EQ(extensionOf(".profile"), "") << "a hidden file's dot begins its name";
    EXPECT_EQ(extensionOf("/home/.profile"), "");
    EXPECT_EQ(extensionOf(".profile.bmp"), "bmp");
    EXPECT_EQ(extensionOf("folder/"), "");
    EXPECT_EQ(extensionOf(".."), "");
    EXPECT_EQ(extensionOf(""), "");
    EXPECT_EQ(extensionOf("a.\xC3\xA4"), "\xC3\xA4");
}

TEST(VexFile, NullHasNoExtension) {
    char out[8] = "before";
    GetFileExtension(out, nullptr);
    EXPECT_STREQ(out, "");
    GetFileExtension(nullptr, "a.bmp");
    GetFileExtension(nullptr, nullptr);
}

TEST(VexFile, TheExtensionMayReplaceThePath) {
    char path[] = "a.extension";
    GetFileExtension(path, path);
    EXPECT_STREQ(path, "extension");
}

}  // namespace
