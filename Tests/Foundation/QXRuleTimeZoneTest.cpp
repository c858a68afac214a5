#include "Foundation/QXRuleTimeZone.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

QXRuleTimeZone zone(std::string_view rule)
{
    const std::optional<QXRuleTimeZone> made = QXRuleTimeZone::timeZoneWithRule(rule);
    EXPECT_TRUE(made) << rule;
    return made.value_or(QXRuleTimeZone());
}

QXDate date(std::string_view text)
{
    const std::optional<QXDate> made = QXDateFromDescription(text);
    EXPECT_TRUE(made) << text;
    return made.value_or(QXDate());
}

// The offset in force changes from one to the other exactly at the moment.
void expectChange(const QXTimeZone& zone, std::string_view at, int before, int after)
{
    EXPECT_EQ(zone.secondsFromGMT(date(at).addingTimeInterval(-1)), before) << at;
    EXPECT_EQ(zone.secondsFromGMT(date(at).addingTimeInterval(-0.001)), before) << at;
    EXPECT_EQ(zone.secondsFromGMT(date(at)), after) << at;
}

TEST(QXRuleTimeZone, HasOneOffsetWithoutDaylightSavingTime)
{
    const QXRuleTimeZone kathmandu = zone("<+0545>-5:45");
    EXPECT_EQ(kathmandu.secondsFromGMT(date("2026-07-01T00:00:00Z")), 20700);
    EXPECT_EQ(kathmandu.daylightSavingTimeOffset(date("2026-07-01T00:00:00Z")), 0);
}

TEST(QXRuleTimeZone, CountsOffsetsWestOfGMT)
{
    EXPECT_EQ(zone("AAA12:34:56").secondsFromGMT(QXDate{}), -45296);
    EXPECT_EQ(zone("AAA+3").secondsFromGMT(QXDate{}), -10800);
    EXPECT_EQ(zone("AAA-24").secondsFromGMT(QXDate{}), 86400);
    EXPECT_EQ(zone("UTC0").secondsFromGMT(QXDate{}), 0);
}

TEST(QXRuleTimeZone, ChangesOnTheLastSundayWhenTheWeekIsTheFifth)
{
    const QXRuleTimeZone berlin = zone("CET-1CEST,M3.5.0,M10.5.0/3");
    expectChange(berlin, "2026-03-29T01:00:00Z", 3600, 7200);
    expectChange(berlin, "2026-10-25T01:00:00Z", 7200, 3600);
    expectChange(berlin, "2027-03-28T01:00:00Z", 3600, 7200);
    expectChange(berlin, "2024-03-31T01:00:00Z", 3600, 7200); // a month with five Sundays
    EXPECT_EQ(berlin.daylightSavingTimeOffset(date("2026-01-15T12:00:00Z")), 0);
    EXPECT_EQ(berlin.daylightSavingTimeOffset(date("2026-07-15T12:00:00Z")), 3600);
}

TEST(QXRuleTimeZone, CountsWeeksOfTheMonthFromItsFirstSuchWeekday)
{
    const QXRuleTimeZone newYork = zone("EST5EDT,M3.2.0,M11.1.0");
    expectChange(newYork, "2026-03-08T07:00:00Z", -18000, -14400);
    expectChange(newYork, "2026-11-01T06:00:00Z", -14400, -18000);
    expectChange(newYork, "2027-11-07T06:00:00Z", -14400, -18000);
}

TEST(QXRuleTimeZone, BeginsTheYearInDaylightSavingTimeInTheSouth)
{
    const QXRuleTimeZone sydney = zone("AEST-10AEDT,M10.1.0,M4.1.0/3");
    EXPECT_EQ(sydney.secondsFromGMT(date("2026-01-01T00:00:00Z")), 39600);
    expectChange(sydney, "2026-04-04T16:00:00Z", 39600, 36000);
    expectChange(sydney, "2026-10-03T16:00:00Z", 36000, 39600);
    EXPECT_EQ(sydney.secondsFromGMT(date("2026-12-31T23:59:59Z")), 39600);
}

TEST(QXRuleTimeZone, MayAddHalfAnHour)
{
    const QXRuleTimeZone lordHowe = zone("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
    expectChange(lordHowe, "2026-04-04T15:00:00Z", 39600, 37800);
    expectChange(lordHowe, "2026-10-03T15:30:00Z", 37800, 39600);
    EXPECT_EQ(lordHowe.daylightSavingTimeOffset(date("2026-01-01T00:00:00Z")), 1800);
}

TEST(QXRuleTimeZone, HasANegativeShareWhereTheRuleIsWrittenForWinter)
{
    const QXRuleTimeZone dublin = zone("IST-1GMT0,M10.5.0,M3.5.0/1");
    expectChange(dublin, "2026-03-29T01:00:00Z", 0, 3600);
    expectChange(dublin, "2026-10-25T01:00:00Z", 3600, 0);
    EXPECT_EQ(dublin.daylightSavingTimeOffset(date("2026-01-15T12:00:00Z")), -3600);
    EXPECT_EQ(dublin.daylightSavingTimeOffset(date("2026-07-15T12:00:00Z")), 0);
}

TEST(QXRuleTimeZone, TakesTimesOfDayBeforeAndAfterTheDay)
{
    // From the Saturday before the last Sunday of March, at 22:00, to that of October at 23:00.
    const QXRuleTimeZone nuuk = zone("<-02>2<-01>,M3.5.0/-1,M10.5.0/0");
    expectChange(nuuk, "2026-03-29T01:00:00Z", -7200, -3600);
    expectChange(nuuk, "2026-10-25T01:00:00Z", -3600, -7200);
    // From the Friday after the fourth Thursday of March, at 2:00.
    const QXRuleTimeZone jerusalem = zone("IST-2IDT,M3.4.4/26,M10.5.0");
    expectChange(jerusalem, "2026-03-27T00:00:00Z", 7200, 10800);
    expectChange(jerusalem, "2026-10-24T23:00:00Z", 10800, 7200);
    expectChange(zone("AAA0BBB,M3.1.0/167:59:59,M10.1.0/-167"), "2026-03-07T23:59:59Z", 0, 3600);
}

TEST(QXRuleTimeZone, CountsDaysOfTheYearWithoutTheLeapDay)
{
    const QXRuleTimeZone rule = zone("AAA0BBB,J60/0,J300/0");
    expectChange(rule, "2026-03-01T00:00:00Z", 0, 3600);
    expectChange(rule, "2028-03-01T00:00:00Z", 0, 3600);
    expectChange(zone("AAA0BBB,J59/0,J300/0"), "2028-02-28T00:00:00Z", 0, 3600);
}

TEST(QXRuleTimeZone, CountsDaysOfTheYearWithTheLeapDay)
{
    const QXRuleTimeZone rule = zone("AAA0BBB,59/0,300/0");
    expectChange(rule, "2026-03-01T00:00:00Z", 0, 3600);
    expectChange(rule, "2028-02-29T00:00:00Z", 0, 3600);
}

TEST(QXRuleTimeZone, MayKeepDaylightSavingTimeAllYear)
{
    const QXRuleTimeZone always = zone("EST5EDT,0/0,J365/25");
    for (const char* text : {"2026-01-01T04:59:59Z", "2026-01-01T05:00:00Z", "2026-06-01T00:00:00Z",
                             "2028-12-31T23:59:59Z", "2029-01-01T04:00:00Z"}) {
        EXPECT_EQ(always.secondsFromGMT(date(text)), -14400) << text;
    }
}

TEST(QXRuleTimeZone, CarriesAChangeAcrossTheTurnOfTheYear)
{
    // Ends on 31 December at 26:00 local time, which is the next year's first morning.
    const QXRuleTimeZone late = zone("AAA5BBB,M6.1.0,J365/26");
    expectChange(late, "2027-01-01T06:00:00Z", -14400, -18000);
    // Begins on 1 January at -2:00.
    const QXRuleTimeZone early = zone("AAA0BBB,J1/-2,J100");
    expectChange(early, "2026-12-31T22:00:00Z", 0, 3600);
}

TEST(QXRuleTimeZone, AnswersForAnyOrderOfYears)
{
    const QXRuleTimeZone berlin = zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const auto summer = [](int year) { return QXDateFromUnixTime(((year - 1970) * 365.2425 + 180) * 86400); };
    for (const int year : {2026, 1, 9999, 2027, 1970, 2026}) {
        EXPECT_EQ(berlin.secondsFromGMT(summer(year)), 7200) << year;
    }
}

TEST(QXRuleTimeZone, HasStandardTimeAtMomentsThatAreNone)
{
    const QXRuleTimeZone berlin = zone("CET-1CEST,M3.5.0,M10.5.0/3");
    for (const double seconds :
         {std::numeric_limits<double>::quiet_NaN(), 1e300, -std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(berlin.secondsFromGMT(QXDate{seconds}), 3600);
        EXPECT_EQ(berlin.daylightSavingTimeOffset(QXDate{seconds}), 0);
    }
}

TEST(QXRuleTimeZone, IsNoneForATextThatIsNoRule)
{
    for (const char* text : {"",
                             "CET",
                             "C1",
                             "CE1",
                             "1CET",
                             ":Europe/Berlin",
                             "Europe/Berlin",
                             "CET-25",
                             "CET-1:60",
                             "CET-1:00:60",
                             "CET-1:",
                             "CET--1",
                             "CET-1 ",
                             " CET-1",
                             "<CET-1",
                             "<+1>-1",
                             "<C_T>-1",
                             "CET-1CEST",
                             "CET-1CEST-2",
                             "CET-1CEST,M3.5.0",
                             "CET-1CEST,M3.5.0,",
                             "CET-1CEST,M3.5.0,M10.5.0/3x",
                             "CET-1CEST,M3.5.0,M10.5.0,",
                             "CET-1CEST,M0.5.0,M10.5.0",
                             "CET-1CEST,M13.5.0,M10.5.0",
                             "CET-1CEST,M3.0.0,M10.5.0",
                             "CET-1CEST,M3.6.0,M10.5.0",
                             "CET-1CEST,M3.5.7,M10.5.0",
                             "CET-1CEST,M3.5,M10.5.0",
                             "CET-1CEST,J0,M10.5.0",
                             "CET-1CEST,J366,M10.5.0",
                             "CET-1CEST,366,M10.5.0",
                             "CET-1CEST,-1,M10.5.0",
                             "CET-1CEST,M3.5.0/168,M10.5.0",
                             "CET-1CEST,M3.5.0/,M10.5.0",
                             "CET-1CEST,M3.5.0/-168,M10.5.0",
                             "CET-1CEST,M3.5.0/0002,M10.5.0",
                             "CET-1,M3.5.0,M10.5.0",
                             "CET-1CE-2,M3.5.0,M10.5.0"}) {
        EXPECT_FALSE(QXRuleTimeZone::timeZoneWithRule(text)) << text;
    }
}

} // namespace
