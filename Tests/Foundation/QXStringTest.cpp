#include "Foundation/QXString.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <locale>
#include <set>

namespace {

TEST(QXLocalizedString, AMissingTranslationShowsItsKey)
{
    EXPECT_EQ(QXLocalizedString("Preferences…"), "Preferences…");
    EXPECT_EQ(QXLocalizedString("Preferences…", "Table"), "Preferences…");
}

TEST(QXLocalizedString, LooksInTheTableThatIsNamed)
{
    QXSetStringTables([](std::string_view key, std::string_view table) -> std::optional<std::string> {
        if (key == "Quit") {
            return table.empty() ? "Beenden" : "Verlassen";
        }
        return std::nullopt;
    });
    EXPECT_EQ(QXLocalizedString("Quit"), "Beenden");
    EXPECT_EQ(QXLocalizedString("Quit", "Other"), "Verlassen");
    EXPECT_EQ(QXLocalizedString("Open"), "Open");
    QXSetStringTables({});
    EXPECT_EQ(QXLocalizedString("Quit"), "Quit");
}

TEST(QXFormat, ReplacesPlaceholdersInOrder)
{
    EXPECT_EQ(QXFormat("%@ copy %d", {"Dim", "2"}), "Dim copy 2");
    EXPECT_EQ(QXFormat("Screen %d", {"1"}), "Screen 1");
    EXPECT_EQ(QXFormat("%@%@", {"a", "b"}), "ab");
}

TEST(QXFormat, ReplacesNumberedPlaceholdersInAnyOrder)
{
    EXPECT_EQ(QXFormat("%2$@ before %1$@", {"a", "b"}), "b before a");
    EXPECT_EQ(QXFormat("%1$@ %1$d", {"1"}), "1 1");
    EXPECT_EQ(QXFormat("%2$@ %@", {"a", "b"}), "b a");
}

TEST(QXFormat, KeepsNumberedPlaceholdersWithoutAnArgument)
{
    EXPECT_EQ(QXFormat("%3$@ %0$@ %1$x %1$", {"a", "b"}), "%3$@ %0$@ %1$x %1$");
}

TEST(QXFormat, DoesNotLookForPlaceholdersInArguments)
{
    EXPECT_EQ(QXFormat("%@ %@", {"%@", "b"}), "%@ b");
}

TEST(QXFormat, KeepsPlaceholdersWithoutAnArgumentAndOtherSigns)
{
    EXPECT_EQ(QXFormat("%@ and %d", {"a"}), "a and %d");
    EXPECT_EQ(QXFormat("100% of %x %", {"a"}), "100% of %x %");
    EXPECT_EQ(QXFormat("", {"a"}), "");
}

TEST(QXParseDouble, ReadsDecimalNumbers)
{
    EXPECT_EQ(QXParseDouble("12"), 12.0);
    EXPECT_EQ(QXParseDouble("-0.5"), -0.5);
    EXPECT_EQ(QXParseDouble("+.5"), 0.5);
    EXPECT_EQ(QXParseDouble("5."), 5.0);
    EXPECT_EQ(QXParseDouble("1e3"), 1000.0);
    EXPECT_EQ(QXParseDouble("1.5E-3"), 0.0015);
    EXPECT_EQ(QXParseDouble("0012"), 12.0);
    EXPECT_TRUE(std::signbit(QXParseDouble("-0").value()));
}

TEST(QXParseDouble, RoundsCorrectly)
{
    EXPECT_EQ(QXParseDouble("0.1"), 0.1);
    EXPECT_EQ(QXParseDouble("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(QXParseDouble("9007199254740993.00000000000000000000000000000000000001"), 9007199254740994.0);
    EXPECT_EQ(QXParseDouble("1" + std::string(60, '0')), 1e60);
    EXPECT_EQ(QXParseDouble("0." + std::string(60, '0') + "1e61"), 1.0);
}

TEST(QXParseDouble, IsNoneAboveTheLargestDouble)
{
    EXPECT_EQ(QXParseDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(QXParseDouble("1e309"), std::nullopt);
    EXPECT_EQ(QXParseDouble("-1e309"), std::nullopt);
    EXPECT_EQ(QXParseDouble("1e99999999999999999999"), std::nullopt);
    EXPECT_EQ(QXParseDouble("1" + std::string(400, '0') + "e-5"), std::nullopt);
    EXPECT_EQ(QXParseDouble("1e9223372036854775807"), std::nullopt);
    EXPECT_EQ(QXParseDouble("0." + std::string(400, '0') + "1e+800"), std::nullopt);
}

TEST(QXParseDouble, IsTheNearestDenormalOrZeroBelowTheSmallest)
{
    EXPECT_EQ(QXParseDouble("4.9e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(QXParseDouble("1e-310"), 1e-310);
    EXPECT_EQ(QXParseDouble("1e-400"), 0.0);
    EXPECT_EQ(QXParseDouble("1e-99999999999999999999"), 0.0);
    EXPECT_EQ(QXParseDouble("0." + std::string(800, '0') + "1e+5"), 0.0);
    EXPECT_EQ(QXParseDouble("." + std::string(400, '0') + "1"), 0.0);
}

TEST(QXParseDouble, ReadsTheWordsForWhatIsNoNumber)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(std::isnan(QXParseDouble("nan").value()));
    EXPECT_TRUE(std::isnan(QXParseDouble("-NaN").value()));
    EXPECT_EQ(QXParseDouble("inf"), infinity);
    EXPECT_EQ(QXParseDouble("+Infinity"), infinity);
    EXPECT_EQ(QXParseDouble("-INF"), -infinity);
}

TEST(QXParseDouble, IsNoneForAnythingElse)
{
    for (const char* text : {"", " ", "1 ", " 1", ".", "e5", "1e", "1e+", "1,5", "0x10", "1.2.3", "--1", "+-1",
                             "1f", "abc", "1e5.0", "infinit", "nanx", "1'000"}) {
        EXPECT_EQ(QXParseDouble(text), std::nullopt) << text;
    }
}

// Numbers of a country with a decimal comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(QXParseDouble, DoesNotDependOnTheLocale)
{
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    EXPECT_EQ(QXParseDouble("1.5"), 1.5);
    EXPECT_EQ(QXParseDouble("1,5"), std::nullopt);
    EXPECT_EQ(QXDoubleDescription(1234.5), "1234.5");
    std::locale::global(former);
}

TEST(QXDoubleDescription, IsTheShortestTextThatReadsBackAsTheSame)
{
    EXPECT_EQ(QXDoubleDescription(0.1), "0.1");
    EXPECT_EQ(QXDoubleDescription(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(QXDoubleDescription(3.0), "3");
    EXPECT_EQ(QXDoubleDescription(-0.0), "-0");
    for (const double value : {1.0 / 3.0, 1e300, 5e-324, 817077845.123456, -2.5e-7}) {
        EXPECT_EQ(QXParseDouble(QXDoubleDescription(value)), value);
    }
}

TEST(QXDoubleDescription, HasWordsForWhatIsNoNumber)
{
    EXPECT_EQ(QXDoubleDescription(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(QXDoubleDescription(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(QXDoubleDescription(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(QXNewUUIDString, HasTheFormOfARandomUUID)
{
    for (int i = 0; i < 100; ++i) {
        const std::string text = QXNewUUIDString();
        ASSERT_EQ(text.size(), 36U);
        for (std::size_t position = 0; position < text.size(); ++position) {
            const bool dash = position == 8 || position == 13 || position == 18 || position == 23;
            const std::string allowed = dash             ? "-"
                                        : position == 14 ? "4"
                                        : position == 19 ? "89AB"
                                                         : "0123456789ABCDEF";
            EXPECT_NE(allowed.find(text[position]), std::string::npos) << text;
        }
    }
}

TEST(QXNewUUIDString, IsNewEachTime)
{
    std::set<std::string> texts;
    for (int i = 0; i < 100; ++i) {
        texts.insert(QXNewUUIDString());
    }
    EXPECT_EQ(texts.size(), 100U);
}

} // namespace
