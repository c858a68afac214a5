#include "Foundation/QXValue.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto largestUnsigned = std::numeric_limits<std::uint64_t>::max();
constexpr double twoToThe63 = 9223372036854775808.0;

using Kind = QXValue::Kind;

TEST(QXValue, HasTheKindOfWhatItIsMadeFrom)
{
    EXPECT_EQ(QXValue(true).kind(), Kind::boolean);
    EXPECT_EQ(QXValue(1).kind(), Kind::integer);
    EXPECT_EQ(QXValue(std::uint32_t{1}).kind(), Kind::integer);
    EXPECT_EQ(QXValue(1.0F).kind(), Kind::real);
    EXPECT_EQ(QXValue(1.0).kind(), Kind::real);
    EXPECT_EQ(QXValue("text").kind(), Kind::string);
    EXPECT_EQ(QXValue(std::string("text")).kind(), Kind::string);
    EXPECT_EQ(QXValue(std::string_view("text")).kind(), Kind::string);
    EXPECT_EQ(QXValue(QXDate{}).kind(), Kind::date);
    EXPECT_EQ(QXValue(QXData{1}).kind(), Kind::data);
    EXPECT_EQ(QXValue(QXArray{1, "two"}).kind(), Kind::array);
    EXPECT_EQ(QXValue(QXDictionary{{"key", 1}}).kind(), Kind::dictionary);
}

TEST(QXValue, AnUnsignedIntegerHasItsOwnKindOnlyAboveTheSignedRange)
{
    EXPECT_EQ(QXValue(static_cast<std::uint64_t>(largest)).kind(), Kind::integer);
    EXPECT_EQ(QXValue(static_cast<std::uint64_t>(largest) + 1).kind(), Kind::unsignedInteger);
}

TEST(QXValue, NumbersAreTheFirstFourKinds)
{
    EXPECT_TRUE(QXValue(false).isNumber());
    EXPECT_TRUE(QXValue(0).isNumber());
    EXPECT_TRUE(QXValue(largestUnsigned).isNumber());
    EXPECT_TRUE(QXValue(0.0).isNumber());
    EXPECT_FALSE(QXValue("0").isNumber());
    EXPECT_FALSE(QXValue(QXDate{}).isNumber());
}

TEST(QXValue, IsNoneOfTheOtherKinds)
{
    const QXValue number(1);
    EXPECT_EQ(number.string(), nullptr);
    EXPECT_EQ(number.date(), std::nullopt);
    EXPECT_EQ(number.data(), nullptr);
    EXPECT_EQ(number.array(), nullptr);
    EXPECT_EQ(number.dictionary(), nullptr);
    const QXValue text("1");
    EXPECT_EQ(text.boolean(), std::nullopt);
    EXPECT_EQ(text.integer(), std::nullopt);
    EXPECT_EQ(text.real(), std::nullopt);
}

TEST(QXValue, GivesWhatItHolds)
{
    EXPECT_EQ(*QXValue("text").string(), "text");
    EXPECT_EQ(QXValue(QXDate{1.5}).date(), QXDate{1.5});
    EXPECT_EQ(*QXValue(QXData{1, 2}).data(), (QXData{1, 2}));
    EXPECT_EQ(*QXValue(QXArray{1, "two"}).array(), (QXArray{1, "two"}));
    EXPECT_EQ(*QXValue(QXDictionary{{"key", 1}}).dictionary(), (QXDictionary{{"key", 1}}));
}

TEST(QXValue, NonZeroNumbersAreTrue)
{
    EXPECT_EQ(QXValue(2).boolean(), true);
    EXPECT_EQ(QXValue(-1).boolean(), true);
    EXPECT_EQ(QXValue(0).boolean(), false);
    EXPECT_EQ(QXValue(0.25).boolean(), true);
    EXPECT_EQ(QXValue(-0.0).boolean(), false);
    EXPECT_EQ(QXValue(notANumber).boolean(), true);
    EXPECT_EQ(QXValue(largestUnsigned).boolean(), true);
}

TEST(QXValue, AnIntegerFromARealTruncatesTowardZeroAndStopsAtTheEnds)
{
    EXPECT_EQ(QXValue(2.9).integer(), 2);
    EXPECT_EQ(QXValue(-2.9).integer(), -2);
    EXPECT_EQ(QXValue(notANumber).integer(), 0);
    EXPECT_EQ(QXValue(1e300).integer(), largest);
    EXPECT_EQ(QXValue(twoToThe63).integer(), largest);
    EXPECT_EQ(QXValue(-twoToThe63).integer(), smallest);
    EXPECT_EQ(QXValue(-infinity).integer(), smallest);
}

TEST(QXValue, BooleansAndIntegersConvertToEachOtherAndToReals)
{
    EXPECT_EQ(QXValue(true).integer(), 1);
    EXPECT_EQ(QXValue(true).real(), 1.0);
    EXPECT_EQ(QXValue(-3).real(), -3.0);
    EXPECT_EQ(QXValue(largestUnsigned).real(), 2 * twoToThe63);
    EXPECT_EQ(QXValue(largestUnsigned).integer(), -1); // the same 64 bits
}

TEST(QXValue, NumbersOfEqualValueAreEqualWhateverTheirKind)
{
    EXPECT_EQ(QXValue(true), QXValue(1));
    EXPECT_EQ(QXValue(1), QXValue(1.0));
    EXPECT_EQ(QXValue(true), QXValue(1.0));
    EXPECT_EQ(QXValue(0.0), QXValue(-0.0));
    EXPECT_EQ(QXValue(notANumber), QXValue(notANumber));
    EXPECT_FALSE(QXValue(true) == QXValue(2));
    EXPECT_FALSE(QXValue(1) == QXValue("1"));
    EXPECT_FALSE(QXValue(largestUnsigned) == QXValue(-1));
}

TEST(QXValue, IntegersThatADoubleCannotHoldCompareExactly)
{
    constexpr std::int64_t aboveTwoToThe53 = 9007199254740993;
    EXPECT_FALSE(QXValue(aboveTwoToThe53) == QXValue(9007199254740992.0));
    EXPECT_GT(QXCompareNumbers(QXValue(aboveTwoToThe53), QXValue(9007199254740992.0)), 0);
    EXPECT_LT(QXCompareNumbers(QXValue(largest), QXValue(twoToThe63)), 0);
    EXPECT_LT(QXCompareNumbers(QXValue(largestUnsigned), QXValue(2 * twoToThe63)), 0);
    EXPECT_EQ(QXCompareNumbers(QXValue(smallest), QXValue(-twoToThe63)), 0);
}

TEST(QXValue, NumbersAreOrderedByValue)
{
    const std::vector<QXValue> ascending{
        notANumber, -infinity, -1e300,     smallest,        -3,    -2.5,    -2, -0.5, 0, 0.5, true, 1.5,
        2,          largest,   twoToThe63, largestUnsigned, 1e300, infinity};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            const int order = QXCompareNumbers(ascending[i], ascending[j]);
            EXPECT_EQ(order < 0, i < j) << i << " and " << j;
            EXPECT_EQ(order > 0, i > j) << i << " and " << j;
        }
    }
}

TEST(QXValue, OtherKindsAreEqualWhenKindAndContentAre)
{
    EXPECT_EQ(QXValue(QXDate{1.0}), QXValue(QXDate{1.0}));
    EXPECT_FALSE(QXValue(QXDate{1.0}) == QXValue(1.0));
    EXPECT_EQ(QXValue(QXData{1}), QXValue(QXData{1}));
    EXPECT_FALSE(QXValue(QXData{1}) == QXValue(QXData{2}));
    EXPECT_FALSE(QXValue("a") == QXValue("b"));
    EXPECT_EQ(QXValue(QXArray{1, true}), QXValue(QXArray{1.0, 1}));
    EXPECT_FALSE(QXValue(QXArray{1}) == QXValue(QXArray{1, 2}));
    EXPECT_EQ(QXValue(QXDictionary{{"a", QXArray{1}}}), QXValue(QXDictionary{{"a", QXArray{1}}}));
    EXPECT_FALSE(QXValue(QXDictionary{{"a", 1}}) == QXValue(QXDictionary{{"b", 1}}));
}

TEST(QXValue, CopiesShareArraysAndDictionaries)
{
    const QXValue value(QXArray{1, 2});
    const QXValue copy = value;
    EXPECT_EQ(copy.array(), value.array());
}

TEST(QXDictionaryValue, IsThePointerToTheValueOrNone)
{
    const QXDictionary dictionary{{"key", 5}};
    ASSERT_NE(QXDictionaryValue(dictionary, "key"), nullptr);
    EXPECT_EQ(*QXDictionaryValue(dictionary, "key"), QXValue(5));
    EXPECT_EQ(QXDictionaryValue(dictionary, "other"), nullptr);
}

} // namespace
