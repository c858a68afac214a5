#include "Foundation/QXDate.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(QXDate, CountsSecondsFromTheBeginningOf2001)
{
    EXPECT_EQ(QXDateDescription(QXDate{0.0}), "2001-01-01T00:00:00Z");
    EXPECT_EQ(QXDateFromUnixTime(0.0), QXDate{-978307200.0});
    EXPECT_EQ(QXUnixTimeFromDate(QXDate{0.0}), 978307200.0);
}

TEST(QXDate, AddsAndSubtractsSeconds)
{
    const QXDate date{10.5};
    EXPECT_EQ(date.addingTimeInterval(-11.0), QXDate{-0.5});
    EXPECT_EQ(date.timeIntervalSince(QXDate{12.0}), -1.5);
    EXPECT_LT(date, QXDate{10.75});
}

TEST(QXDate, DistantFutureIsTheYear4001)
{
    EXPECT_EQ(QXDateDescription(QXDistantFuture), "4001-01-01T00:00:00Z");
}

TEST(QXDate, DescriptionRoundsDownToTheSecond)
{
    EXPECT_EQ(QXDateDescription(QXDate{0.999}), "2001-01-01T00:00:00Z");
    EXPECT_EQ(QXDateDescription(QXDate{-0.001}), "2000-12-31T23:59:59Z");
    EXPECT_EQ(QXDateDescription(QXDate{817077845.5}), "2026-11-22T22:04:05Z");
}

TEST(QXDate, DescriptionReachesFromTheYear1ToTheYear9999)
{
    EXPECT_EQ(QXDateDescription(QXDate{-63113904000.0}), "0001-01-01T00:00:00Z");
    EXPECT_EQ(QXDateDescription(QXDate{-63113904000.5}), "invalid date");
    EXPECT_EQ(QXDateDescription(QXDate{252423993599.5}), "9999-12-31T23:59:59Z");
    EXPECT_EQ(QXDateDescription(QXDate{252423993600.0}), "invalid date");
    EXPECT_EQ(QXDateDescription(QXDate{std::numeric_limits<double>::quiet_NaN()}), "invalid date");
    EXPECT_EQ(QXDateDescription(QXDate{std::numeric_limits<double>::infinity()}), "invalid date");
}

TEST(QXDate, ReadsWhatDescriptionWrites)
{
    for (const double seconds : {0.0, -1.0, 817077845.0, -63113904000.0, 252423993599.0, 63113904000.0}) {
        EXPECT_EQ(QXDateFromDescription(QXDateDescription(QXDate{seconds})), QXDate{seconds});
    }
}

TEST(QXDate, ReadsAFractionOfASecond)
{
    EXPECT_EQ(QXDateFromDescription("2001-01-01T00:00:01.25Z"), QXDate{1.25});
    EXPECT_EQ(QXDateFromDescription("2001-01-01T00:00:00.0Z"), QXDate{0.0});
    EXPECT_EQ(QXDateFromDescription("2000-12-31T23:59:59.5Z"), QXDate{-0.5});
}

TEST(QXDate, ReadsALeapDayInLeapYearsOnly)
{
    EXPECT_TRUE(QXDateFromDescription("2028-02-29T00:00:00Z"));
    EXPECT_FALSE(QXDateFromDescription("2026-02-29T00:00:00Z"));
    EXPECT_TRUE(QXDateFromDescription("2000-02-29T00:00:00Z"));
    EXPECT_FALSE(QXDateFromDescription("1900-02-29T00:00:00Z"));
}

TEST(QXDate, IsNoneForATextThatIsNoDate)
{
    for (const char* text : {"",
                             "2026-11-21",
                             "2026-11-21T22:00:00",
                             "2026-11-21 22:00:00Z",
                             "2026-11-21T22:00:00+01:00",
                             "2026-13-01T00:00:00Z",
                             "2026-00-01T00:00:00Z",
                             "2026-04-31T00:00:00Z",
                             "2026-04-00T00:00:00Z",
                             "2026-04-01T24:00:00Z",
                             "2026-04-01T00:60:00Z",
                             "2026-04-01T00:00:60Z",
                             "0000-01-01T00:00:00Z",
                             "-026-04-01T00:00:00Z",
                             "2026-4-01T000:00:00Z",
                             "2026-04-01T00:00:00.Z",
                             "2026-04-01T00:00:00.1.2Z",
                             "2026-04-01T00:00:00.1e3Z",
                             "2026-04-01T00:00:00,5Z",
                             "2026-04-01T00:00:00.5ZZ",
                             "2026-04-01T00:00:00.-5Z",
                             "2026-04-01T00:00:00ZZ",
                             "x026-04-01T00:00:00Z",
                             "2026-04-01T00:00:0\xC3Z"}) {
        EXPECT_FALSE(QXDateFromDescription(text)) << text;
    }
}

} // namespace
