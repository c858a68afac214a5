#include "Foundation/QXUnicode.h"

#include <gtest/gtest.h>

namespace {

std::optional<char32_t> decoded(std::string_view text)
{
    const auto result = QXDecodeUTF8(text, 0);
    return result && result->length == text.size() ? std::optional(result->character) : std::nullopt;
}

} // namespace

TEST(QXUnicode, DecodesTheFirstAndLastCharacterOfEachLength)
{
    EXPECT_EQ(decoded(std::string_view("\0", 1)), U'\0');
    EXPECT_EQ(decoded("\x7F"), U'\x7F');
    EXPECT_EQ(decoded("\xC2\x80"), U'\x80');
    EXPECT_EQ(decoded("\xDF\xBF"), U'\x7FF');
    EXPECT_EQ(decoded("\xE0\xA0\x80"), U'\x800');
    EXPECT_EQ(decoded("\xEF\xBF\xBF"), U'\xFFFF');
    EXPECT_EQ(decoded("\xF0\x90\x80\x80"), U'\x10000');
    EXPECT_EQ(decoded("\xF4\x8F\xBF\xBF"), U'\x10FFFF');
}

TEST(QXUnicode, RefusesOverlongForms)
{
    EXPECT_FALSE(decoded("\xC1\xBF"));
    EXPECT_FALSE(decoded("\xE0\x9F\xBF"));
    EXPECT_FALSE(decoded("\xF0\x8F\xBF\xBF"));
}

TEST(QXUnicode, RefusesSurrogatesAndWhatLiesAboveTheLastCharacter)
{
    EXPECT_FALSE(decoded("\xED\xA0\x80"));
    EXPECT_FALSE(decoded("\xED\xBF\xBF"));
    EXPECT_FALSE(decoded("\xF4\x90\x80\x80"));
    EXPECT_FALSE(decoded("\xF8\x88\x80\x80\x80"));
}

TEST(QXUnicode, RefusesSequencesThatAreCutOrBroken)
{
    EXPECT_FALSE(decoded("\x80"));
    EXPECT_FALSE(decoded("\xC3"));
    EXPECT_FALSE(decoded("\xE2\x82"));
    EXPECT_FALSE(decoded("\xE2\x28\xA1"));
}

TEST(QXUnicode, AppendsWhatItDecodes)
{
    for (const char32_t character : {U'a', U'\x80', U'\x7FF', U'\x800', U'\xFFFF', U'\x10000', U'\x10FFFF'}) {
        std::string text;
        QXAppendUTF8(text, character);
        EXPECT_EQ(decoded(text), character);
    }
}

TEST(QXUnicode, AppendsTheReplacementForWhatIsNoCharacter)
{
    std::string text;
    QXAppendUTF8(text, 0xD800);
    QXAppendUTF8(text, 0x110000);
    EXPECT_EQ(text, "\uFFFD\uFFFD");
}

TEST(QXUnicode, MakesSurrogatePairs)
{
    EXPECT_EQ(QXUTF16FromUTF8("a\u20AC\U0001F319"), u"a\u20AC\U0001F319");
}

TEST(QXUnicode, ReplacesEachMalformedByteInUTF16)
{
    EXPECT_EQ(QXUTF16FromUTF8("a\xFF\xC3"), u"a\uFFFD\uFFFD");
}

TEST(QXUnicode, ReadsSurrogatePairs)
{
    EXPECT_EQ(QXUTF8FromUTF16(u"a\u20AC\U0001F319"), "a\u20AC\U0001F319");
    EXPECT_EQ(QXUTF8FromUTF16(u"\U0010FFFF"), "\U0010FFFF");
}

TEST(QXUnicode, RefusesHalfASurrogatePair)
{
    const char16_t high[] = {0xD83C, u'a', 0};
    const char16_t highAtEnd[] = {u'a', 0xD83C, 0};
    const char16_t low[] = {0xDF19, 0};
    EXPECT_FALSE(QXUTF8FromUTF16(high));
    EXPECT_FALSE(QXUTF8FromUTF16(highAtEnd));
    EXPECT_FALSE(QXUTF8FromUTF16(low));
}

TEST(QXUnicode, QuotesForeignTextInOneLine)
{
    EXPECT_EQ(QXQuotedForLine("Nächte"), "\"Nächte\"");
    EXPECT_EQ(QXQuotedForLine("a\nb\x1B\xFF\u2028\u0085"), "\"a?b????\"");
    EXPECT_EQ(QXQuotedForLine(std::string(40, 'x')), '"' + std::string(40, 'x') + '"');
    EXPECT_EQ(QXQuotedForLine(std::string(41, 'x')), '"' + std::string(40, 'x') + "…\"");
}
