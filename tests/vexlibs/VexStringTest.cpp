// 8-bit and wide text.
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FailingMalloc.h"

namespace {

std::wstring wide(const std::string& bytes) { return VexString::fromUtf8String(bytes.c_str()).c_str(); }
std::string utf8(const std::wstring& text) { return VexString(text.c_str()).toUtf8String().c_str(); }

TEST(VexString, EmptyText) {
    EXPECT_STREQ(VexString().c_str(), L"");
    EXPECT_TRUE(VexString().empty());
    EXPECT_EQ(VexString().size(), 0U);
    EXPECT_TRUE(VexString().isValid());
    EXPECT_TRUE(VexString(nullptr).empty());
    EXPECT_TRUE(VexString::fromUtf8String(nullptr).empty());
    EXPECT_TRUE(VexString::fromUtf8String("").empty());
    EXPECT_TRUE(VexString::fromAnsiString(nullptr).empty());
    EXPECT_TRUE(VexString().toUtf8String().empty());
    EXPECT_STREQ(VexAnsiString().c_str(), "");
    EXPECT_TRUE(VexAnsiString(nullptr).empty());
}

TEST(VexString, AnsiStringsHoldBytes) {
    const VexAnsiString text("abc\xFF");
    EXPECT_STREQ(text.c_str(), "abc\xFF");
    EXPECT_EQ(text.size(), 4U);
    EXPECT_FALSE(text.empty());
}

TEST(VexString, CharactersOfEveryLength) {
    EXPECT_EQ(wide("a\xC3\xA4\xE3\x81\x82\xF0\x9F\x98\x80z"), L"a\x00E4\x3042\U0001F600z");
    EXPECT_EQ(VexString::fromUtf8String("\xC3\xA4").size(), 1U);
    EXPECT_EQ(std::wstring(VexString::fromAnsiString("\xC3\xA4").c_str()), L"\x00E4") << "ANSI is UTF-8 here";
    struct Row {
        const wchar_t* character;
        const char* bytes;
    };
    for (const auto& [character, bytes] :
         {Row{L"\x01", "\x01"}, Row{L"\x7F", "\x7F"}, Row{L"\x80", "\xC2\x80"}, Row{L"\x7FF", "\xDF\xBF"},
          Row{L"\x800", "\xE0\xA0\x80"}, Row{L"\xD7FF", "\xED\x9F\xBF"}, Row{L"\xE000", "\xEE\x80\x80"},
          Row{L"\xFFFF", "\xEF\xBF\xBF"}, Row{L"\U00010000", "\xF0\x90\x80\x80"},
          Row{L"\U0010FFFF", "\xF4\x8F\xBF\xBF"}}) {
        EXPECT_EQ(utf8(character), bytes);
        EXPECT_EQ(wide(bytes), character);
    }
}

TEST(VexString, BytesThatAreNotUtf8BecomeEscapes) {
    EXPECT_EQ(wide("\x80"), L"\xDC80");
    EXPECT_EQ(wide("a\xFFz"), L"a\xDCFFz");
    EXPECT_EQ(wide("\xC3"), L"\xDCC3") << "cut short";
    EXPECT_EQ(wide("\xE3\x81"), L"\xDCE3\xDC81");
    EXPECT_EQ(wide("\xF0\x9F\x98"), L"\xDCF0\xDC9F\xDC98");
    EXPECT_EQ(wide("\xC3z"), L"\xDCC3z") << "the next character survives";
    EXPECT_EQ(wide("\xE3\x81z"), L"\xDCE3\xDC81z");
    EXPECT_EQ(wide("\xC0\x80"), L"\xDCC0\xDC80") << "not the shortest form";
    EXPECT_EQ(wide("\xC1\xBF"), L"\xDCC1\xDCBF");
    EXPECT_EQ(wide("\xE0\x9F\xBF"), L"\xDCE0\xDC9F\xDCBF");
    EXPECT_EQ(wide("\xF0\x8F\xBF\xBF"), L"\xDCF0\xDC8F\xDCBF\xDCBF");
    EXPECT_EQ(wide("\xED\xB2\x80"), L"\xDCED\xDCB2\xDC80") << "an escape spelled as a character";
    EXPECT_EQ(wide("\xF4\x90\x80\x80"), L"\xDCF4\xDC90\xDC80\xDC80") << "above U+10FFFF";
    EXPECT_EQ(wide("\xF5\x80\x80\x80"), L"\xDCF5\xDC80\xDC80\xDC80");
}

TEST(VexString, EveryShortByteStringSurvivesTheRoundTrip) {
    // All strings of one and two bytes, and three bytes around every boundary of the encoding.
    for (int first = 1; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            std::string bytes(1, static_cast<char>(first));
            if (second != 0) bytes.push_back(static_cast<char>(second));
            ASSERT_EQ(utf8(wide(bytes)), bytes);
        }
    }
    const std::vector<int> edges{0x01, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0x9F, 0xA0,
                                 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED,
                                 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
    for (const int a : edges) {
        for (const int b : edges) {
            for (const int c : edges) {
                for (const int d : edges) {
                    const std::string bytes{static_cast<char>(a), static_cast<char>(b), static_cast<char>(c),
                                            static_cast<char>(d)};
                    ASSERT_EQ(utf8(wide(bytes)), bytes);
                }
            }
        }
    }
}

TEST(VexString, MemoryExhaustionThrowsAndLeaksNothing) {
    const std::string text(200, 'x');
    std::string back;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { back.clear(); },
        [&] {
            try {
                back = VexString::fromUtf8String(text.c_str()).toUtf8String().c_str();
            } catch (const std::bad_alloc&) {
            }
        },
        [&](bool failureMet) {
            EXPECT_EQ(back, failureMet ? std::string() : text);
            back = std::string();
        });
    EXPECT_GT(failures, 2);
}

}  // namespace
