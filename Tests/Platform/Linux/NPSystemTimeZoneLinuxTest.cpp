#include "Platform/Linux/NPSystemTimeZoneLinux.h"

#include "Foundation/QXRuleTimeZone.h"
#include "Platform/Linux/NPTestTimeZone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <vector>

namespace {

struct Zone {
    const char* name; // in the zone database
    const char* rule; // what it says for the years from 2014
};

const std::vector<Zone> zones{
    {"Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"},
    {"Europe/London", "GMT0BST,M3.5.0/1,M10.5.0"},
    {"Europe/Dublin", "IST-1GMT0,M10.5.0,M3.5.0/1"},
    {"America/New_York", "EST5EDT,M3.2.0,M11.1.0"},
    {"America/St_Johns", "NST3:30NDT,M3.2.0,M11.1.0"},
    {"America/Havana", "CST5CDT,M3.2.0/0,M11.1.0/1"},
    {"America/Phoenix", "MST7"},
    {"Asia/Kathmandu", "<+0545>-5:45"},
    {"Asia/Tokyo", "JST-9"},
    {"Australia/Sydney", "AEST-10AEDT,M10.1.0,M4.1.0/3"},
    {"Australia/Lord_Howe", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"},
    {"Pacific/Auckland", "NZST-12NZDT,M9.5.0,M4.1.0/3"},
    {"Pacific/Chatham", "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45"},
    {"UTC", "UTC0"},
};

bool hasZone(const std::string& name)
{
    return std::filesystem::exists("/usr/share/zoneinfo/" + name);
}

double seconds(std::string_view text)
{
    return QXDateFromDescription(text).value().timeIntervalSinceReferenceDate;
}

void expectTheAnswersOfTheRule(const char* ruleText)
{
    const QXRuleTimeZone rule = QXRuleTimeZone::timeZoneWithRule(ruleText).value();
    const NPSystemTimeZoneLinux system;
    const double end = seconds("2031-01-01T00:00:00Z");
    for (double at = seconds("2014-01-01T00:00:00Z") - 0.5; at < end; at += 899.5) {
        const QXDate date{at};
        ASSERT_EQ(system.secondsFromGMT(date), rule.secondsFromGMT(date)) << ruleText << QXDateDescription(date);
        ASSERT_EQ(system.daylightSavingTimeOffset(date), rule.daylightSavingTimeOffset(date))
            << ruleText << QXDateDescription(date);
    }
}

TEST(NPSystemTimeZoneLinux, AnswersAsTheRuleThatTheEnvironmentNames)
{
    for (const Zone& zone : zones) {
        const NPTestTimeZone environment(zone.rule);
        expectTheAnswersOfTheRule(zone.rule);
    }
}

TEST(NPSystemTimeZoneLinux, AnswersAsTheZoneDatabase)
{
    for (const Zone& zone : zones) {
        if (!hasZone(zone.name)) {
            GTEST_SKIP() << "no zone database";
        }
        const NPTestTimeZone environment(zone.name);
        expectTheAnswersOfTheRule(zone.rule);
    }
}

// Zones with short, crowded or shifted stretches: a week of summer in Recife, a summer interrupted for a month
// in Cairo, a winter of days in Freetown, two hours of summer in Troll.
TEST(NPSystemTimeZoneLinux, AgreesWithTheCLibraryOverACenturyInAnyOrder)
{
    for (const char* name : {"America/Recife", "Africa/Cairo", "Africa/Freetown", "Africa/Casablanca", "Asia/Gaza",
                             "Antarctica/Troll", "Pacific/Apia", "Europe/London"}) {
        if (!hasZone(name)) {
            GTEST_SKIP() << "no zone database";
        }
        const NPTestTimeZone environment(name);
        const NPSystemTimeZoneLinux system;
        constexpr std::int64_t steps = 20'000;
        const double begin = seconds("1935-01-01T00:00:00Z");
        const double length = seconds("2038-01-01T00:00:00Z") - begin;
        for (std::int64_t i = 0; i < steps; ++i) {
            const std::int64_t step = i % 16 == 0 ? i * 7'777 % steps : i;
            const QXDate date{std::floor(begin + length * static_cast<double>(step) / steps)};
            const auto time = static_cast<time_t>(QXUnixTimeFromDate(date));
            tm fields{};
            localtime_r(&time, &fields);
            ASSERT_EQ(system.secondsFromGMT(date), fields.tm_gmtoff) << name << QXDateDescription(date);
        }
    }
}

TEST(NPSystemTimeZoneLinux, TheShareIsTheSmallerOneWhereTheStandardTimeChangedToo)
{
    if (!hasZone("Pacific/Apia")) {
        GTEST_SKIP() << "no zone database";
    }
    // Samoa crossed the date line in its summer: from 10 hours behind GMT to 14 ahead.
    const NPTestTimeZone environment("Pacific/Apia");
    const NPSystemTimeZoneLinux samoa;
    const QXDate before{seconds("2011-12-30T09:59:59Z")};
    const QXDate after{seconds("2011-12-30T10:00:00Z")};
    EXPECT_EQ(samoa.secondsFromGMT(before), -36000);
    EXPECT_EQ(samoa.secondsFromGMT(after), 50400);
    EXPECT_EQ(samoa.daylightSavingTimeOffset(before), 3600);
    EXPECT_EQ(samoa.daylightSavingTimeOffset(after), 3600);
}

TEST(NPSystemTimeZoneLinux, TheShareIsAnHourWhereThereIsNoStandardTime)
{
    const NPTestTimeZone environment("EST5EDT,0/0,J365/25");
    const NPSystemTimeZoneLinux always;
    EXPECT_EQ(always.secondsFromGMT(QXDate{800000000.0}), -14400);
    EXPECT_EQ(always.daylightSavingTimeOffset(QXDate{800000000.0}), 3600);
}

TEST(NPSystemTimeZoneLinux, MomentsWithoutAnAnswerHaveThatOfTheNearest)
{
    const NPTestTimeZone environment("<+05>-5");
    const NPSystemTimeZoneLinux zone;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double at : {-infinity, -1e300, 1e300, infinity, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(zone.secondsFromGMT(QXDate{at}), 18000);
        EXPECT_EQ(zone.daylightSavingTimeOffset(QXDate{at}), 0);
    }
}

TEST(NPSystemTimeZoneLinux, ForgetsItsAnswersWhenTold)
{
    const NPTestTimeZone environment("<+05>-5");
    NPSystemTimeZoneLinux zone;
    EXPECT_EQ(zone.secondsFromGMT(QXDate{0.0}), 18000);
    NPTestTimeZone::set("<+06>-6");
    zone.forgetAnswers();
    EXPECT_EQ(zone.secondsFromGMT(QXDate{0.0}), 21600);
}

} // namespace
