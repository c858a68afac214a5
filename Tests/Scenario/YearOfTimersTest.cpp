// A whole year of timers at fixed times of day, in zones that change their clocks in every way there is.
#include "Foundation/QXRuleTimeZone.h"
#include "Support/NPApplicationTest.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <ostream>
#include <vector>

namespace {

struct Zone {
    const char* name;
    const char* rule;
    int firstOffset; // in force when 2026 begins
    struct Change {
        const char* date;
        int offset;
    };
    std::vector<Change> changes; // of 2026, as the time-zone database has them
};

std::ostream& operator<<(std::ostream& stream, const Zone& zone)
{
    return stream << zone.name;
}

const std::vector<Zone>& zones()
{
    static const std::vector<Zone> all{
        {"Berlin",
         "CET-1CEST,M3.5.0,M10.5.0/3",
         3600,
         {{"2026-03-29T01:00:00Z", 7200}, {"2026-10-25T01:00:00Z", 3600}}},
        {"Dublin", "IST-1GMT0,M10.5.0,M3.5.0/1", 0, {{"2026-03-29T01:00:00Z", 3600}, {"2026-10-25T01:00:00Z", 0}}},
        {"NewYork",
         "EST5EDT,M3.2.0,M11.1.0",
         -18000,
         {{"2026-03-08T07:00:00Z", -14400}, {"2026-11-01T06:00:00Z", -18000}}},
        {"Santiago",
         "<-04>4<-03>,M9.1.6/24,M4.1.6/24",
         -10800,
         {{"2026-04-05T03:00:00Z", -14400}, {"2026-09-06T04:00:00Z", -10800}}},
        {"Havana",
         "CST5CDT,M3.2.0/0,M11.1.0/1",
         -18000,
         {{"2026-03-08T05:00:00Z", -14400}, {"2026-11-01T05:00:00Z", -18000}}},
        {"StJohns",
         "NST3:30NDT,M3.2.0,M11.1.0",
         -12600,
         {{"2026-03-08T05:30:00Z", -9000}, {"2026-11-01T04:30:00Z", -12600}}},
        {"Nuuk",
         "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
         -7200,
         {{"2026-03-29T01:00:00Z", -3600}, {"2026-10-25T01:00:00Z", -7200}}},
        {"Cairo",
         "EET-2EEST,M4.5.5/0,M10.5.4/24",
         7200,
         {{"2026-04-23T22:00:00Z", 10800}, {"2026-10-29T21:00:00Z", 7200}}},
        {"Beirut",
         "EET-2EEST,M3.5.0/0,M10.5.0/0",
         7200,
         {{"2026-03-28T22:00:00Z", 10800}, {"2026-10-24T21:00:00Z", 7200}}},
        {"Kolkata", "IST-5:30", 19800, {}},
        {"LordHowe",
         "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
         39600,
         {{"2026-04-04T15:00:00Z", 37800}, {"2026-10-03T15:30:00Z", 39600}}},
        {"Sydney",
         "AEST-10AEDT,M10.1.0,M4.1.0/3",
         39600,
         {{"2026-04-04T16:00:00Z", 36000}, {"2026-10-03T16:00:00Z", 39600}}},
        {"Auckland",
         "NZST-12NZDT,M9.5.0,M4.1.0/3",
         46800,
         {{"2026-04-04T14:00:00Z", 43200}, {"2026-09-26T14:00:00Z", 46800}}},
        {"Chatham",
         "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
         49500,
         {{"2026-04-04T14:00:00Z", 45900}, {"2026-09-26T14:00:00Z", 49500}}},
        {"Kiritimati", "<+14>-14", 50400, {}},
    };
    return all;
}

struct Event {
    double date;
    bool activation;
};

// When a wall clock first shows a local time (as seconds since the reference date, if it were GMT); in the
// hour that is left out, the time that much later.
double momentOf(double local, const Zone& zone)
{
    double begin = -std::numeric_limits<double>::infinity();
    int offset = zone.firstOffset;
    for (const Zone::Change& change : zone.changes) {
        const double end = dateOf(change.date).timeIntervalSinceReferenceDate;
        if (local - offset >= begin && local - offset < end) {
            return local - offset;
        }
        if (local >= end + offset && local < end + change.offset) {
            return local - offset; // skipped
        }
        begin = end;
        offset = change.offset;
    }
    return local - offset;
}

// Every event of the year, without a calendar's or the groups' help: day by day.
std::vector<Event> eventsOf(const Zone& zone, int activationMinute, int deactivationMinute, QXDate after,
                            QXDate until)
{
    using namespace std::chrono;
    constexpr sys_days reference = year{2001} / January / 1;
    std::vector<Event> events;
    for (sys_days day = year{2025} / December / 30; day < sys_days(year{2027} / January / 5); day += days{1}) {
        const double midnight = static_cast<double>((day - reference).count()) * 86400.0;
        events.push_back({momentOf(midnight + 60.0 * activationMinute, zone), true});
        events.push_back({momentOf(midnight + 60.0 * deactivationMinute, zone) + 0.00001, false});
    }
    std::ranges::sort(events, {}, &Event::date);
    std::erase_if(events, [&](const Event& event) {
        return event.date <= after.timeIntervalSinceReferenceDate
               || event.date > until.timeIntervalSinceReferenceDate;
    });
    return events;
}

class YearOfTimersTest : public NPApplicationTest, public testing::WithParamInterface<Zone> {
protected:
    YearOfTimersTest() : NPApplicationTest(dateOf("2026-01-01T00:00:00Z"))
    {
        plug(1);
        stopContinuousApplying();
        const auto zone = QXRuleTimeZone::timeZoneWithRule(GetParam().rule);
        platform.timeZones.setSystemTimeZone(std::make_shared<QXRuleTimeZone>(zone.value()));
    }

    // The changes of the display in a year of group G's timers, which change it without a fade.
    std::vector<Event> passYear(std::string_view activation, std::string_view deactivation)
    {
        storeGroups({dimming("G", -0.5F,
                             timed(activation, deactivation,
                                   {{"NPTimerTransitionDuration", 0}, {"NPManualTransitionDuration", 0}}))});
        launch();
        std::vector<Event> events;
        QXNotificationObserver observer;
        platform.notifications.addObserver(
            observer, std::string(NPScreenManagerEffectStateDidChange), nullptr, [&](const QXNotification&) {
                events.push_back({now().timeIntervalSinceReferenceDate, white(1) == 0.5F});
            });
        platform.clock.advanceTo(dateOf("2027-01-01T00:00:00Z"));
        return events;
    }

    // Passes a year, and finds every event at its instant.
    void expectEveryEvent(int activationMinute, int deactivationMinute)
    {
        const std::vector<Event> expected =
            eventsOf(GetParam(), activationMinute, deactivationMinute, now(), dateOf("2027-01-01T00:00:00Z"));
        const std::vector<Event> events = passYear(clockText(activationMinute), clockText(deactivationMinute));
        ASSERT_EQ(events.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(events[i].activation, expected[i].activation) << i;
            ASSERT_GE(events[i].date, expected[i].date) << i; // never early
            ASSERT_LT(events[i].date, expected[i].date + 1e-6) << QXDateDescription(QXDate{expected[i].date});
        }
    }

    static std::string clockText(int minute)
    {
        const auto twoDigits = [](int number) { return std::to_string(100 + number).substr(1); };
        return twoDigits(minute / 60) + ':' + twoDigits(minute % 60);
    }
};

TEST_P(YearOfTimersTest, EveningAndMorning)
{
    expectEveryEvent(22 * 60, 7 * 60);
}

TEST_P(YearOfTimersTest, TimesThatSomeNightsSkipAndOthersRepeat)
{
    expectEveryEvent(2 * 60 + 30, 3 * 60 + 10);
}

TEST_P(YearOfTimersTest, TimesAroundAMidnightThatMayBeSkippedOrRepeated)
{
    expectEveryEvent(23 * 60 + 30, 30);
}

TEST_P(YearOfTimersTest, BothAtOneInstant)
{
    expectEveryEvent(60 + 45, 60 + 45);
}

INSTANTIATE_TEST_SUITE_P(Zones, YearOfTimersTest, testing::ValuesIn(zones()), testing::PrintToStringParamName());

} // namespace
