// Wide characters of 32 bits, which hold a code point each.
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring wide(const std::string& bytes) { return VexString::fromUtf8String(bytes.c_str()).c_str(); }
std::string utf8(const std::wstring& text) { return VexString(text.c_str()).toUtf8String().c_str(); }

TEST(VexString, SurrogatesAreNotUtf8) { EXPECT_EQ(wide("\xED\xA0\x80"), L"\xDCED\xDCA0\xDC80"); }

TEST(VexString, TextWithoutAn8BitFormIsRefused) {
    for (const long character :
         {0xD800L, 0xDBFFL, 0xDC00L, 0xDC7FL, 0xDD00L, 0xDFFFL, 0x110000L, 0x7FFFFFFFL}) {
        const std::wstring text = L"a" + std::wstring(1, static_cast<wchar_t>(character));
        EXPECT_FALSE(VexString(text.c_str()).isValid()) << std::hex << character;
        EXPECT_EQ(utf8(text), "") << "refused, never altered";
    }
    EXPECT_FALSE(VexString(std::wstring(1, static_cast<wchar_t>(-1)).c_str()).isValid());
    EXPECT_TRUE(VexString(L"a\xDC80\xDCFF").isValid());
}

}  // namespace
