#include "Foundation/QXPropertyList.h"

#include "Support/PropertyLists.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>

namespace {

QXValue nested(std::size_t arrays)
{
    QXValue value = QXArray();
    for (std::size_t i = 1; i < arrays; ++i) {
        value = QXArray{value};
    }
    return value;
}

std::string tooDeep()
{
    return "values nested more than 128 deep";
}

// Everything that either form keeps to the bit.
QXValue everyKind()
{
    return QXDictionary{
        {"booleans", QXArray{true, false}},
        {"integers", QXArray{0, 255, 256, 65535, 65536, std::int64_t{4294967295}, std::int64_t{4294967296}, -1,
                             std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
                             std::uint64_t{9223372036854775808u}, std::numeric_limits<std::uint64_t>::max()}},
        {"reals", QXArray{0.0, -0.0, 0.1, -1.5, 1e300, 5e-324, 1.7976931348623157e308,
                          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}},
        {"texts", QXArray{"", "plain", " a  b\t\n", "Nächte \u20AC \U0001F319", "<&>\"'", "]]>"}},
        {"dates", QXArray{QXDate{0}, QXDate{-1}, QXDistantFuture, QXDate{802994400}}},
        {"data", QXArray{QXData(), QXData{0}, QXData(100, 0xA5)}},
        {"empty", QXArray{QXArray(), QXDictionary()}},
        {"", QXDictionary{{"<key>", QXDictionary{{"deeper", 1}}}}},
    };
}

// Like the locales of much of Europe: "1.000,5".
class CommaDecimal final : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : _former(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(_former); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale _former;
};

} // namespace

TEST(QXPropertyList, ReadsBackEveryKindFromTheBinaryForm)
{
    const auto data = QXPropertyListBinaryData(everyKind());
    ASSERT_TRUE(data);
    const auto value = QXPropertyListFromData(*data);
    ASSERT_TRUE(value) << value.error();
    EXPECT_TRUE(identical(*value, everyKind()));
}

TEST(QXPropertyList, ReadsBackEveryKindFromTheXMLForm)
{
    const auto data = QXPropertyListXMLData(everyKind());
    ASSERT_TRUE(data);
    const auto value = QXPropertyListFromData(*data);
    ASSERT_TRUE(value) << value.error();
    EXPECT_TRUE(identical(*value, everyKind()));
}

TEST(QXPropertyList, WritesAndReadsTheSameUnderAnyLocale)
{
    const auto binary = QXPropertyListBinaryData(everyKind());
    const auto xml = QXPropertyListXMLData(everyKind());
    const GlobalLocale comma(std::locale(std::locale(), new CommaDecimal));
    EXPECT_EQ(QXPropertyListBinaryData(everyKind()), binary);
    EXPECT_EQ(QXPropertyListXMLData(everyKind()), xml);
    const auto value = QXPropertyListFromData(*xml);
    ASSERT_TRUE(value) << value.error();
    EXPECT_TRUE(identical(*value, everyKind()));
}

TEST(QXPropertyList, RefusesWhatIsNoPropertyList)
{
    EXPECT_EQ(errorOf(QXPropertyListFromData({})), "an empty file");
    EXPECT_EQ(errorOf(QXPropertyListFromData(dataOf(" \n"))), "an empty file");
    EXPECT_EQ(errorOf(QXPropertyListFromData(dataOf("{ a = 1; }"))), "neither an XML nor a binary property list");
    EXPECT_EQ(errorOf(QXPropertyListFromData(dataOf("bplist15"))),
              "a binary property list of another version than 00");
}

TEST(QXPropertyList, RefusesUTF16)
{
    EXPECT_EQ(errorOf(QXPropertyListFromData(QXData{0xFF, 0xFE, '<', 0})),
              "text in UTF-16, where only UTF-8 is read");
    EXPECT_EQ(errorOf(QXPropertyListFromData(QXData{0xFE, 0xFF, 0, '<'})),
              "text in UTF-16, where only UTF-8 is read");
}

TEST(QXPropertyList, RefusesMoreBytesThanAllowed)
{
    const auto data = QXPropertyListXMLData(true);
    EXPECT_TRUE(QXPropertyListFromData(*data, {.bytes = data->size()}));
    EXPECT_EQ(errorOf(QXPropertyListFromData(*data, {.bytes = data->size() - 1})),
              "a property list of more than " + std::to_string(data->size() - 1) + " bytes");
}

TEST(QXPropertyList, RefusesAHugeFileWithoutLookingAtIt)
{
    EXPECT_EQ(errorOf(QXPropertyListFromData(QXData((std::size_t{64} << 20) + 1, ' '))),
              "a property list of more than 67108864 bytes");
}

TEST(QXPropertyList, ReadsTheDepthThatItWrites)
{
    for (const auto& data : {QXPropertyListXMLData(nested(128)), QXPropertyListBinaryData(nested(128))}) {
        ASSERT_TRUE(data);
        EXPECT_TRUE(QXPropertyListFromData(*data));
    }
}

TEST(QXPropertyList, DoesNotWriteWhatItWouldNotRead)
{
    EXPECT_EQ(QXPropertyListXMLData(nested(129)).error(), tooDeep());
    EXPECT_EQ(QXPropertyListBinaryData(nested(129)).error(), tooDeep());
    const QXArray many(std::size_t{1} << 20, true);
    EXPECT_EQ(QXPropertyListBinaryData(many).error(), "a property list of more than 1048576 values and keys");
    const QXArray large{QXData(std::size_t{64} << 20)};
    EXPECT_EQ(QXPropertyListBinaryData(large).error(), "a property list of more than 67108864 bytes");
}

TEST(QXPropertyList, CountsKeysAndSharedValuesAtEachPlaceWhenWriting)
{
    QXDictionary half;
    for (int i = 0; i < 1 << 17; ++i) {
        half.emplace(std::to_string(i), true);
    }
    const QXValue shared = half;
    EXPECT_TRUE(QXPropertyListBinaryData(QXArray{shared, shared, shared}));
    EXPECT_FALSE(QXPropertyListBinaryData(QXArray{shared, shared, shared, shared}));
}

TEST(QXPropertyList, ReplacesMalformedUTF8InBothForms)
{
    const QXValue value = QXDictionary{{"k\xFF", "a\xC3"}};
    const QXValue expected = QXDictionary{{"k\uFFFD", "a\uFFFD"}};
    for (const auto& data : {QXPropertyListXMLData(value), QXPropertyListBinaryData(value)}) {
        ASSERT_TRUE(data);
        EXPECT_EQ(QXPropertyListFromData(*data), expected);
    }
}

TEST(QXPropertyList, KeepsControlCharactersInTheBinaryFormOnly)
{
    const QXValue value = std::string("a\0\x1B\uFFFE", 6);
    EXPECT_EQ(QXPropertyListFromData(*QXPropertyListBinaryData(value)), value);
    EXPECT_EQ(QXPropertyListFromData(*QXPropertyListXMLData(value)), QXValue("a\uFFFD\uFFFD\uFFFD"));
}

TEST(QXPropertyList, KeepsEveryEntryWhoseKeyBecomesEqualToAnother)
{
    const QXValue value = QXDictionary{{"a\x01", 1}, {"a\x02", 2}, {"a\uFFFD", 3}};
    const auto data = QXPropertyListXMLData(value);
    ASSERT_TRUE(data);
    const QXValue expected = QXDictionary{{"a\uFFFD", 3}, {"a\uFFFD\uFFFD", 1}, {"a\uFFFD\uFFFD\uFFFD", 2}};
    EXPECT_EQ(QXPropertyListFromData(*data), expected);
}
