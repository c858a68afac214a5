#include "Foundation/QXVersion.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// '<', '=' or '>', and the opposite the other way round.
char order(std::string_view left, std::string_view right)
{
    const int forth = QXCompareVersions(left, right);
    const int back = QXCompareVersions(right, left);
    EXPECT_EQ(forth < 0, back > 0);
    EXPECT_EQ(forth == 0, back == 0);
    return forth == 0 ? '=' : forth < 0 ? '<' : '>';
}

TEST(QXVersion, NumbersCompareByTheirValues)
{
    EXPECT_EQ(order("1.2", "1.10"), '<');
    EXPECT_EQ(order("340", "99"), '>');
    EXPECT_EQ(order("1.02", "1.2"), '=');
    EXPECT_EQ(order("99999999999999999999999", "100000000000000000000000"), '<');
}

TEST(QXVersion, LongerOneIsNewerUnlessItEndsInZeros)
{
    EXPECT_EQ(order("1.2", "1.2.1"), '<');
    EXPECT_EQ(order("1.2", "1.2.0.0"), '=');
    EXPECT_EQ(order("1.2", "1.2.0.1"), '<');
}

TEST(QXVersion, WordsMarkWhatComesBefore)
{
    EXPECT_EQ(order("1.2b3", "1.2"), '<');
    EXPECT_EQ(order("1.2b3", "1.2b10"), '<');
    EXPECT_EQ(order("1.2a9", "1.2b1"), '<');
    EXPECT_EQ(order("1.2b3", "1.1"), '>');
    EXPECT_EQ(order("1.2rc1", "1.2.1"), '<');
}

TEST(QXVersion, SeparatorsCountForNothing)
{
    EXPECT_EQ(order("1-2", "1.2"), '=');
    EXPECT_EQ(order("v1.2", "v1.3"), '<');
    EXPECT_EQ(order("1.b2", "1b2"), '=');
}

TEST(QXVersion, EmptyOneIsTheOldest)
{
    EXPECT_EQ(order("", ""), '=');
    EXPECT_EQ(order("", "0.1"), '<');
    EXPECT_EQ(order("", "0"), '=');
}

} // namespace
