// Wide characters of 16 bits, of which two may be one code point.
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring wide(const std::string& bytes) { return VexString::fromUtf8String(bytes.c_str()).c_str(); }
std::string utf8(const std::wstring& text) { return VexString(text.c_str()).toUtf8String().c_str(); }

TEST(VexString, PairsAreOneCharacter) {
    EXPECT_EQ(utf8(L"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(wide("\xF0\x9F\x98\x80"), L"\xD83D\xDE00");
    EXPECT_EQ(VexString::fromUtf8String("\xF0\x9F\x98\x80").size(), 2U);
}

TEST(VexString, UnpairedSurrogatesSurviveTheRoundTrip) {
    EXPECT_EQ(utf8(L"a\xD800z"), "a\xED\xA0\x80z");
    EXPECT_EQ(wide("a\xED\xA0\x80z"), L"a\xD800z");
    for (const wchar_t* text :
         {L"\xD800", L"\xDBFF", L"\xDC00", L"\xDC7F", L"\xDD00", L"\xDFFF", L"\xDE00\xD83D"}) {
        EXPECT_TRUE(VexString(text).isValid());
        EXPECT_EQ(wide(utf8(text)), text);
    }
}

}  // namespace
