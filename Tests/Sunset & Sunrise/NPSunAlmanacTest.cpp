#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct AlmanacDay {
    const char* city;
    double latitude;
    double longitude;
    const char* sunrise;
    const char* sunset;
};

// From an astronomical ephemeris, to the minute. In Tromsø the sun stays down in midwinter and up in
// midsummer, so those days are missing.
constexpr AlmanacDay almanac[] = {
    {"London", 51.5074, -0.1278, "2024-01-15T08:00:00Z", "2024-01-15T16:20:00Z"},
    {"London", 51.5074, -0.1278, "2024-03-20T06:02:00Z", "2024-03-20T18:14:00Z"},
    {"London", 51.5074, -0.1278, "2024-05-05T04:24:00Z", "2024-05-05T19:31:00Z"},
    {"London", 51.5074, -0.1278, "2024-06-21T03:43:00Z", "2024-06-21T20:22:00Z"},
    {"London", 51.5074, -0.1278, "2024-08-10T04:39:00Z", "2024-08-10T19:32:00Z"},
    {"London", 51.5074, -0.1278, "2024-09-22T05:47:00Z", "2024-09-22T17:58:00Z"},
    {"London", 51.5074, -0.1278, "2024-11-05T07:02:00Z", "2024-11-05T16:26:00Z"},
    {"London", 51.5074, -0.1278, "2024-12-21T08:04:00Z", "2024-12-21T15:54:00Z"},
    {"Berlin", 52.52, 13.405, "2024-01-15T07:10:00Z", "2024-01-15T15:21:00Z"},
    {"Berlin", 52.52, 13.405, "2024-03-20T05:08:00Z", "2024-03-20T17:20:00Z"},
    {"Berlin", 52.52, 13.405, "2024-05-05T03:27:00Z", "2024-05-05T18:40:00Z"},
    {"Berlin", 52.52, 13.405, "2024-06-21T02:43:00Z", "2024-06-21T19:33:00Z"},
    {"Berlin", 52.52, 13.405, "2024-08-10T03:41:00Z", "2024-08-10T18:41:00Z"},
    {"Berlin", 52.52, 13.405, "2024-09-22T04:53:00Z", "2024-09-22T17:04:00Z"},
    {"Berlin", 52.52, 13.405, "2024-11-05T06:11:00Z", "2024-11-05T15:29:00Z"},
    {"Berlin", 52.52, 13.405, "2024-12-21T07:15:00Z", "2024-12-21T14:54:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-01-15T11:19:00Z", "2024-01-15T23:27:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-03-20T11:18:00Z", "2024-03-20T23:24:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-05-05T11:07:00Z", "2024-05-05T23:14:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-06-21T11:12:00Z", "2024-06-21T23:19:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-08-10T11:16:00Z", "2024-08-10T23:22:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-09-22T11:03:00Z", "2024-09-22T23:10:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-11-05T10:54:00Z", "2024-11-05T23:01:00Z"},
    {"Quito", -0.1807, -78.4678, "2024-12-21T11:08:00Z", "2024-12-21T23:16:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-01-14T18:59:00Z", "2024-01-15T09:09:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-03-19T19:58:00Z", "2024-03-20T08:06:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-05-04T20:33:00Z", "2024-05-05T07:10:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-06-20T21:00:00Z", "2024-06-21T06:54:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-08-09T20:39:00Z", "2024-08-10T07:22:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-09-21T19:45:00Z", "2024-09-22T07:52:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-11-04T18:51:00Z", "2024-11-05T08:27:00Z"},
    {"Sydney", -33.8688, 151.2093, "2024-12-20T18:41:00Z", "2024-12-21T09:06:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-01-15T18:57:00Z", "2024-01-16T01:21:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-03-20T15:58:00Z", "2024-03-21T04:17:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-05-05T13:37:00Z", "2024-05-06T06:17:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-06-21T12:20:00Z", "2024-06-22T07:43:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-08-10T13:57:00Z", "2024-08-11T06:11:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-09-22T15:46:00Z", "2024-09-23T03:57:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-11-05T17:41:00Z", "2024-11-06T01:45:00Z"},
    {"Anchorage", 61.2181, -149.9003, "2024-12-21T19:15:00Z", "2024-12-22T00:42:00Z"},
    {"Tromsø", 69.6492, 18.9553, "2024-03-20T04:42:00Z", "2024-03-20T17:03:00Z"},
    {"Tromsø", 69.6492, 18.9553, "2024-05-05T00:55:00Z", "2024-05-05T20:32:00Z"},
    {"Tromsø", 69.6492, 18.9553, "2024-08-10T01:21:00Z", "2024-08-10T20:13:00Z"},
    {"Tromsø", 69.6492, 18.9553, "2024-09-22T04:26:00Z", "2024-09-22T16:45:00Z"},
    {"Tromsø", 69.6492, 18.9553, "2024-11-05T07:33:00Z", "2024-11-05T13:22:00Z"},
};

constexpr double tolerance = 330.0; // the sun's place is taken once a day, which costs minutes far north
constexpr double sixHours = 21600.0;

class NPSunAlmanacTest : public testing::Test {
protected:
    NPSunriseSunsetCalculator calculatorAt(double latitude, double longitude)
    {
        NPSunriseSunsetCalculator sun(platform.defaults, QXFixedTimeZone(), platform.clock,
                                      platform.notifications);
        sun.setLatitude(latitude, longitude, false);
        return sun;
    }

    NPSimulatedPlatform platform;
};

} // namespace

TEST_F(NPSunAlmanacTest, FindsTheSunrisesOfTheAlmanac)
{
    for (const AlmanacDay& expected : almanac) {
        const QXDate sunrise = QXDateFromDescription(expected.sunrise).value();
        const NPSunriseSunsetCalculator sun = calculatorAt(expected.latitude, expected.longitude);
        const auto next = sun.nextSunriseAfterDate(sunrise.addingTimeInterval(-sixHours));
        const auto previous = sun.previousSunriseBeforeDate(sunrise.addingTimeInterval(sixHours));
        ASSERT_TRUE(next) << expected.city << ' ' << expected.sunrise;
        EXPECT_LE(std::abs(next->timeIntervalSince(sunrise)), tolerance)
            << expected.city << ' ' << expected.sunrise << " is " << QXDateDescription(*next);
        EXPECT_EQ(previous, next) << expected.city << ' ' << expected.sunrise;
    }
}

TEST_F(NPSunAlmanacTest, FindsTheSunsetsOfTheAlmanac)
{
    for (const AlmanacDay& expected : almanac) {
        const QXDate sunset = QXDateFromDescription(expected.sunset).value();
        const NPSunriseSunsetCalculator sun = calculatorAt(expected.latitude, expected.longitude);
        const auto next = sun.nextSunsetAfterDate(sunset.addingTimeInterval(-sixHours));
        const auto previous = sun.previousSunsetBeforeDate(sunset.addingTimeInterval(sixHours));
        ASSERT_TRUE(next) << expected.city << ' ' << expected.sunset;
        EXPECT_LE(std::abs(next->timeIntervalSince(sunset)), tolerance)
            << expected.city << ' ' << expected.sunset << " is " << QXDateDescription(*next);
        EXPECT_EQ(previous, next) << expected.city << ' ' << expected.sunset;
    }
}

TEST_F(NPSunAlmanacTest, FindsNoneInTheMidwinterOfTromso)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(69.6492, 18.9553);
    for (const char* noon : {"2024-12-05T12:00:00Z", "2024-12-21T12:00:00Z", "2025-01-08T12:00:00Z"}) {
        EXPECT_EQ(sun.nextSunriseAfterDate(QXDateFromDescription(noon).value()), std::nullopt) << noon;
    }
}

TEST_F(NPSunAlmanacTest, FindsNoneInTheMidsummerOfTromso)
{
    const NPSunriseSunsetCalculator sun = calculatorAt(69.6492, 18.9553);
    for (const char* noon : {"2024-05-26T12:00:00Z", "2024-06-21T12:00:00Z", "2024-07-15T12:00:00Z"}) {
        EXPECT_EQ(sun.nextSunsetAfterDate(QXDateFromDescription(noon).value()), std::nullopt) << noon;
    }
}
