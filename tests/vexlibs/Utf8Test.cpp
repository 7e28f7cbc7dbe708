// Wide text of 16-bit units, on every system.
#include "vexlibs/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::u16string wide(const std::string& bytes) { return vexlibs::wideOf<char16_t>(bytes); }
std::string utf8(const std::u16string& text) { return vexlibs::utf8Of(std::u16string_view(text)); }

TEST(Utf8Of16BitUnits, PairsAreOneCharacter) {
    EXPECT_EQ(wide("a\xF0\x9F\x98\x80z"), u"a\xD83D\xDE00z");
    EXPECT_EQ(utf8(u"a\xD83D\xDE00z"), "a\xF0\x9F\x98\x80z");
    EXPECT_EQ(wide("\xF0\x90\x80\x80"), u"\xD800\xDC00");
    EXPECT_EQ(wide("\xF4\x8F\xBF\xBF"), u"\xDBFF\xDFFF");
    EXPECT_EQ(utf8(u"\xDBFF\xDFFF"), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(wide("\xEF\xBF\xBF"), u"\xFFFF");
}

TEST(Utf8Of16BitUnits, UnpairedSurrogatesSurviveTheRoundTrip) {
    EXPECT_EQ(utf8(u"a\xD800"), "a\xED\xA0\x80");
    EXPECT_EQ(wide("a\xED\xA0\x80"), u"a\xD800");
    EXPECT_EQ(utf8(u"\xDC00z"), "\xED\xB0\x80z");
    for (const char16_t unit :
         {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDC7F', u'\xDC80', u'\xDCFF', u'\xDD00', u'\xDFFF'}) {
        for (const std::u16string& text :
             {std::u16string{unit}, std::u16string{u'a', unit}, std::u16string{unit, u'z'},
              std::u16string{unit, u'\xD800'}, std::u16string{u'\xDFFF', unit}}) {
            EXPECT_EQ(wide(utf8(text)), text) << std::hex << static_cast<unsigned>(unit);
        }
    }
}

TEST(Utf8Of16BitUnits, BytesThatAreNotUtf8BecomeEscapes) {
    EXPECT_EQ(wide("\xFF"), u"\xDCFF");
    EXPECT_EQ(utf8(u"\xDCFF"), "\xFF");
    EXPECT_EQ(wide("\xED\xB2\x80"), u"\xDCED\xDCB2\xDC80") << "an escape spelled as a character";
    EXPECT_EQ(wide("\xED\xA0\xBD\xED\xB8\x80"), u"\xDCED\xDCA0\xDCBD\xDE00") << "a pair spelled as two";
    EXPECT_EQ(wide("\xED\xA0\xBD\xED\xA0\xBF\x80"), u"\xDCED\xDCA0\xDCBD\xDCED\xDCA0\xDCBF\xDC80");
    EXPECT_EQ(wide("\xED\xA0\xBD\x80"), u"\xDCED\xDCA0\xDCBD\xDC80")
        << "no pair of half a one and a stray byte";
}

TEST(Utf8Of16BitUnits, EveryShortByteStringSurvivesTheRoundTrip) {
    const unsigned char edges[] = {0x01, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xB0, 0xB1, 0xB2,
                                   0xB3, 0xB4, 0xBF, 0xC2, 0xE0, 0xED, 0xEE, 0xF0, 0xF4, 0xF5, 0xFF};
    const auto expectSame = [](const std::string& bytes) { ASSERT_EQ(utf8(wide(bytes)), bytes); };
    for (const unsigned char a : edges) {
        for (const unsigned char b : edges) {
            for (const unsigned char c : edges) {
                for (const unsigned char d : edges) {
                    const std::string bytes{static_cast<char>(a), static_cast<char>(b), static_cast<char>(c),
                                            static_cast<char>(d)};
                    expectSame(bytes);
                    expectSame("\xED\xA0\xBD" + bytes);
                }
            }
        }
    }
}

}  // namespace
