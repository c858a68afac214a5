#include "Foundation/QXCalendar.h"

#include "Foundation/QXRuleTimeZone.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

const QXFixedTimeZone gmt;

QXRuleTimeZone zone(std::string_view rule)
{
    return QXRuleTimeZone::timeZoneWithRule(rule).value();
}

// Samoa moved to the other side of the date line and had no 30 December 2011.
class SamoaZone final : public QXTimeZone {
public:
    int secondsFromGMT(QXDate at) const override
    {
        return at < QXDateFromDescription("2011-12-30T10:00:00Z") ? -10 * 3600 : 14 * 3600;
    }
    int daylightSavingTimeOffset(QXDate) const override { return 3600; }
};

std::string momentOf(const QXDateComponents& components, const QXTimeZone& zone)
{
    return QXDateDescription(QXCalendarDateFromComponents(components, zone));
}

QXDateComponents fieldsOf(std::string_view moment, const QXTimeZone& zone)
{
    return QXCalendarComponentsFromDate(QXDateFromDescription(moment).value(), zone);
}

using Fields = QXDateComponents;

TEST(QXCalendar, CountsDaysOfTheProlepticGregorianCalendar)
{
    EXPECT_EQ(QXDaysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(QXDaysFromCivil(1969, 12, 31), -1);
    EXPECT_EQ(QXDaysFromCivil(2000, 3, 1), 11017);
    EXPECT_EQ(QXDaysFromCivil(1, 1, 1), -719162);
    EXPECT_EQ(QXDaysFromCivil(9999, 12, 31), 2932896);
    EXPECT_EQ(QXDaysFromCivil(1900, 3, 1) - QXDaysFromCivil(1900, 2, 28), 1); // no leap year
    EXPECT_EQ(QXDaysFromCivil(2000, 3, 1) - QXDaysFromCivil(2000, 2, 28), 2); // a leap year
}

TEST(QXCalendar, EveryDayOfTheYears1To9999RoundTrips)
{
    for (std::int64_t day = QXDaysFromCivil(1, 1, 1); day <= QXDaysFromCivil(9999, 12, 31); ++day) {
        const QXDate noon = QXDateFromUnixTime(static_cast<double>(day) * 86400 + 43200);
        const Fields fields = QXCalendarComponentsFromDate(noon, gmt);
        ASSERT_EQ(fields.hour, 12);
        ASSERT_EQ(QXDaysFromCivil(fields.year, static_cast<int>(fields.month), fields.day), day);
        ASSERT_EQ(QXCalendarDateFromComponents(fields, gmt), noon);
    }
}

TEST(QXCalendar, BreaksAMomentIntoTheFieldsOfTheZone)
{
    EXPECT_EQ(fieldsOf("2026-11-21T22:04:05Z", gmt), (Fields{2026, 11, 21, 22, 4, 5, 0}));
    EXPECT_EQ(fieldsOf("2026-12-31T23:04:05Z", QXFixedTimeZone(3600)), (Fields{2027, 1, 1, 0, 4, 5, 0}));
    EXPECT_EQ(fieldsOf("2026-03-01T00:00:00Z", QXFixedTimeZone(-1)), (Fields{2026, 2, 28, 23, 59, 59, 0}));
}

TEST(QXCalendar, CountsFractionsUpwardFromTheSecondAlsoBeforeTheReferenceDate)
{
    EXPECT_EQ(QXCalendarComponentsFromDate(QXDate{0.25}, gmt), (Fields{2001, 1, 1, 0, 0, 0, 250000000}));
    EXPECT_EQ(QXCalendarComponentsFromDate(QXDate{-0.25}, gmt), (Fields{2000, 12, 31, 23, 59, 59, 750000000}));
    EXPECT_EQ(QXCalendarDateFromComponents(Fields{2000, 12, 31, 23, 59, 59, 750000000}, gmt), QXDate{-0.25});
}

TEST(QXCalendar, AFractionKeepsItsMomentThereAndBack)
{
    const QXDate moment{800000000.123456789};
    EXPECT_EQ(QXCalendarDateFromComponents(QXCalendarComponentsFromDate(moment, gmt), gmt), moment);
}

TEST(QXCalendar, FieldsOutsideTheirRangeCarryOver)
{
    EXPECT_EQ(momentOf({2026, 3, 0}, gmt), "2026-02-28T00:00:00Z");
    EXPECT_EQ(momentOf({2028, 3, 0}, gmt), "2028-02-29T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 1, 32}, gmt), "2026-02-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 12, 32}, gmt), "2027-01-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 1, 0}, gmt), "2025-12-31T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 13, 1}, gmt), "2027-01-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 0, 1}, gmt), "2025-12-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, -11, 1}, gmt), "2025-01-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, -12, 1}, gmt), "2024-12-01T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 1, 1, 25}, gmt), "2026-01-02T01:00:00Z");
    EXPECT_EQ(momentOf({2026, 1, 1, -1}, gmt), "2025-12-31T23:00:00Z");
    EXPECT_EQ(momentOf({2026, 1, 1, 0, 60, -1}, gmt), "2026-01-01T00:59:59Z");
}

TEST(QXCalendar, TheFirstAndTheLastYearThatATextCanNameAreKept)
{
    EXPECT_EQ(fieldsOf("0001-01-01T00:00:00Z", gmt), (Fields{1, 1, 1, 0, 0, 0, 0}));
    EXPECT_EQ(fieldsOf("9999-12-31T23:59:59Z", gmt), (Fields{9999, 12, 31, 23, 59, 59, 0}));
}

TEST(QXCalendar, MomentsWithoutFieldsAreLimited)
{
    const Fields lowest = QXCalendarComponentsFromDate(QXDate{-1e14}, gmt);
    EXPECT_LT(lowest.year, -3000000);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(QXCalendarComponentsFromDate(QXDate{-infinity}, gmt), lowest);
    EXPECT_EQ(QXCalendarComponentsFromDate(QXDate{std::numeric_limits<double>::quiet_NaN()}, gmt), lowest);
    EXPECT_GT(QXCalendarComponentsFromDate(QXDate{infinity}, gmt).year, 3000000);
}

TEST(QXCalendar, ALocalTimeInAGapMovesForwardByTheGap)
{
    const QXRuleTimeZone berlin = zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(momentOf({2026, 3, 29, 1, 59, 59}, berlin), "2026-03-29T00:59:59Z");
    EXPECT_EQ(momentOf({2026, 3, 29, 2, 0, 0}, berlin), "2026-03-29T01:00:00Z");  // 3:00
    EXPECT_EQ(momentOf({2026, 3, 29, 2, 30, 0}, berlin), "2026-03-29T01:30:00Z"); // 3:30
    EXPECT_EQ(momentOf({2026, 3, 29, 3, 0, 0}, berlin), "2026-03-29T01:00:00Z");
}

TEST(QXCalendar, ALocalTimeThatOccursTwiceIsItsFirstOccurrence)
{
    const QXRuleTimeZone berlin = zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(momentOf({2026, 10, 25, 1, 59, 59}, berlin), "2026-10-24T23:59:59Z");
    EXPECT_EQ(momentOf({2026, 10, 25, 2, 0, 0}, berlin), "2026-10-25T00:00:00Z");
    EXPECT_EQ(momentOf({2026, 10, 25, 2, 59, 59}, berlin), "2026-10-25T00:59:59Z");
    EXPECT_EQ(momentOf({2026, 10, 25, 3, 0, 0}, berlin), "2026-10-25T02:00:00Z");
}

TEST(QXCalendar, GapsAndRepeatsFollowTheRuleWestOfGMTAndInTheSouth)
{
    const QXRuleTimeZone newYork = zone("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(momentOf({2026, 3, 8, 2, 30, 0}, newYork), "2026-03-08T07:30:00Z");
    EXPECT_EQ(momentOf({2026, 11, 1, 1, 30, 0}, newYork), "2026-11-01T05:30:00Z");
    const QXRuleTimeZone sydney = zone("AEST-10AEDT,M10.1.0,M4.1.0/3");
    EXPECT_EQ(momentOf({2026, 10, 4, 2, 30, 0}, sydney), "2026-10-03T16:30:00Z");
    EXPECT_EQ(momentOf({2026, 4, 5, 2, 30, 0}, sydney), "2026-04-04T15:30:00Z");
}

TEST(QXCalendar, AHalfHourChangeSkipsAndRepeatsHalfAnHour)
{
    const QXRuleTimeZone lordHowe = zone("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
    EXPECT_EQ(momentOf({2026, 10, 4, 2, 15, 0}, lordHowe), "2026-10-03T15:45:00Z"); // 2:45
    EXPECT_EQ(momentOf({2026, 10, 4, 2, 30, 0}, lordHowe), "2026-10-03T15:30:00Z");
    EXPECT_EQ(momentOf({2026, 4, 5, 1, 45, 0}, lordHowe), "2026-04-04T14:45:00Z");
    EXPECT_EQ(momentOf({2026, 4, 5, 2, 0, 0}, lordHowe), "2026-04-04T15:30:00Z");
}

TEST(QXCalendar, AMidnightThatIsSkippedMovesForwardToo)
{
    const QXRuleTimeZone havana = zone("CST5CDT,M3.2.0/0,M11.1.0/1");
    EXPECT_EQ(momentOf({2026, 3, 8, 0, 0, 0}, havana), "2026-03-08T05:00:00Z"); // 1:00
    EXPECT_EQ(fieldsOf("2026-03-08T05:00:00Z", havana), (Fields{2026, 3, 8, 1, 0, 0, 0}));
}

TEST(QXCalendar, ADayThatTheZoneSkipsBecomesTheNextOne)
{
    const SamoaZone samoa;
    EXPECT_EQ(fieldsOf("2011-12-30T09:59:59Z", samoa), (Fields{2011, 12, 29, 23, 59, 59, 0}));
    EXPECT_EQ(fieldsOf("2011-12-30T10:00:00Z", samoa), (Fields{2011, 12, 31, 0, 0, 0, 0}));
    EXPECT_EQ(momentOf({2011, 12, 29, 12}, samoa), "2011-12-29T22:00:00Z");
    EXPECT_EQ(momentOf({2011, 12, 30, 12}, samoa), "2011-12-30T22:00:00Z"); // 31 December, 12:00
    EXPECT_EQ(momentOf({2011, 12, 31, 12}, samoa), "2011-12-30T22:00:00Z");
    EXPECT_EQ(momentOf({2012, 1, 1, 0}, samoa), "2011-12-31T10:00:00Z");
}

TEST(QXCalendar, EveryHourOfAYearRoundTripsWhereTheZoneHasItOnce)
{
    for (const char* rule :
         {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "AEST-10AEDT,M10.1.0,M4.1.0/3",
          "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "IST-1GMT0,M10.5.0,M3.5.0/1", "<+14>-14", "<-12>12"}) {
        const QXRuleTimeZone here = zone(rule);
        const QXDate start = QXDateFromDescription("2026-01-01T00:00:00Z").value();
        for (int halfHour = 0; halfHour < 2 * 24 * 365; ++halfHour) {
            const QXDate moment = start.addingTimeInterval(halfHour * 1800.0);
            const QXDate again = QXCalendarDateFromComponents(QXCalendarComponentsFromDate(moment, here), here);
            const double difference = moment.timeIntervalSince(again);
            // The second occurrence of a repeated time names the first.
            const int before = here.secondsFromGMT(moment.addingTimeInterval(-86400));
            const int repeated = before - here.secondsFromGMT(moment);
            ASSERT_TRUE(difference == 0.0 || difference == repeated) << rule << QXDateDescription(moment);
        }
    }
}

} // namespace
