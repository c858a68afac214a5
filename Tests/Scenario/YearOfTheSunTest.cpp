// A whole year of timers at sunset and sunrise, at places where the sun is well-behaved and where it is not.
#include "Sunset & Sunrise/NPSunPosition.h"
#include "Support/NPApplicationTest.h"

#include <ostream>
#include <vector>

namespace {

struct Place {
    const char* name;
    double latitude;
    double longitude;
};

std::ostream& operator<<(std::ostream& stream, const Place& place)
{
    return stream << place.name;
}

struct Event {
    double date;
    bool sunset;
};

// Day 367 begins at the reference date.
double dateOf(std::int32_t day, double hours)
{
    return (day - 367) * 86400.0 + hours * 3600.0;
}

class YearOfTheSunTest : public NPApplicationTest {
protected:
    YearOfTheSunTest() : NPApplicationTest(begin)
    {
        plug(1);
        stopContinuousApplying();
    }

    // On at sunset and off at sunrise, without a fade.
    void launchAt(const Place& place)
    {
        setDefault(NPLocationLatitudeKey, place.latitude);
        setDefault(NPLocationLongitudeKey, place.longitude);
        storeGroups({dimming("G", -0.5F,
                             {{"NPTimerActivationKind", 3},
                              {"NPTimerDeactivationKind", 2},
                              {"NPTimerTransitionDuration", 0},
                              {"NPManualTransitionDuration", 0}})});
        launch();
        platform.notifications.addObserver(
            _observer, std::string(NPScreenManagerEffectStateDidChange), nullptr, [this](const QXNotification&) {
                events.push_back({now().timeIntervalSinceReferenceDate, white(1) == 0.5F});
            });
    }

    // Every sunset and sunrise of the year, day by day.
    static std::vector<Event> sunEvents(const Place& place)
    {
        std::vector<Event> all;
        for (std::int32_t day = 9490; day < 9880; ++day) { // from the end of 2025 to the beginning of 2027
            const NPSunDay sun = NPSunRiseSet(day, true, place.longitude, place.latitude, -35.0 / 60.0);
            if (sun.status == 0) {
                all.push_back({dateOf(day, sun.set), true});
                all.push_back({dateOf(day, sun.rise) + 0.00001, false});
            }
        }
        std::ranges::sort(all, {}, &Event::date);
        std::erase_if(all, [](const Event& event) {
            return event.date <= begin.timeIntervalSinceReferenceDate
                   || event.date > end.timeIntervalSinceReferenceDate;
        });
        return all;
    }

    void expectEvents(const std::vector<Event>& expected) const
    {
        ASSERT_EQ(events.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(events[i].sunset, expected[i].sunset) << i;
            ASSERT_GE(events[i].date, expected[i].date) << i;
            ASSERT_LT(events[i].date, expected[i].date + 1e-6) << i;
        }
    }

    static inline const QXDate begin = ::dateOf("2026-01-01T00:00:00Z");
    static inline const QXDate end = ::dateOf("2027-01-01T00:00:00Z");
    std::vector<Event> events;

private:
    QXNotificationObserver _observer;
};

class YearOfTheSunAtAPlaceTest : public YearOfTheSunTest, public testing::WithParamInterface<Place> {};

TEST_P(YearOfTheSunAtAPlaceTest, EverySunsetAndSunriseIsAnEvent)
{
    launchAt(GetParam());
    platform.clock.advanceTo(end);
    EXPECT_GT(events.size(), 720U);
    expectEvents(sunEvents(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Places, YearOfTheSunAtAPlaceTest,
                         testing::Values(Place{"Berlin", 52.52, 13.4}, Place{"Quito", -0.2, -78.5},
                                         Place{"Sydney", -33.9, 151.2}, Place{"Honolulu", 21.3, -157.9},
                                         Place{"Reykjavik", 64.1, -21.9}, Place{"CapeHorn", -55.98, -67.3},
                                         Place{"Null", 0.0, 0.0}),
                         testing::PrintToStringParamName());

// North of the circle the sun neither sets for weeks in summer nor rises in winter. Then there is no next
// date to arm a timer for; the first occasion afterwards arms it again.
TEST_F(YearOfTheSunTest, PolarDayAndNightSuspendTheTimersUntilTheyAreArmedAnew)
{
    const Place tromso{"Tromsø", 69.65, 18.96};
    launchAt(tromso);
    EXPECT_EQ(controller->activationTimer(*groupAt(0)), nullptr); // the depth of the polar night
    platform.clock.advanceTo(::dateOf("2026-03-01T00:00:00Z"));
    EXPECT_TRUE(events.empty());
    controller->refreshTimerActivationDeactivation(); // as when the machine wakes
    EXPECT_NE(controller->activationTimer(*groupAt(0)), nullptr);
    events.clear();
    const double first = now().timeIntervalSinceReferenceDate;
    platform.clock.advanceTo(::dateOf("2026-06-20T00:00:00Z"));
    EXPECT_EQ(controller->activationTimer(*groupAt(0)), nullptr); // the sun does not set any more
    std::vector<Event> expected = sunEvents(tromso);
    std::erase_if(expected, [&](const Event& event) {
        return event.date <= first || event.date > ::dateOf("2026-06-20T00:00:00Z").timeIntervalSinceReferenceDate;
    });
    expectEvents(expected);
}

TEST_F(YearOfTheSunTest, MovingChangesTheTimesOfTheSameDay)
{
    launchAt({"Berlin", 52.52, 13.4});
    platform.clock.advanceTo(::dateOf("2026-03-20T12:00:00Z"));
    const QXDate inBerlin = controller->activationTimer(*groupAt(0))->fireDate().value();
    sharedCalculator()->setLatitude(52.52, -1.6, true); // fifteen degrees west: an hour later
    const QXDate inBirmingham = controller->activationTimer(*groupAt(0))->fireDate().value();
    EXPECT_NEAR(inBirmingham.timeIntervalSince(inBerlin), 3600.0, 60.0);
    events.clear();
    platform.clock.advanceTo(inBerlin.addingTimeInterval(60.0));
    EXPECT_TRUE(events.empty());
    platform.clock.advanceTo(inBirmingham);
    EXPECT_EQ(events.size(), 1U);
    EXPECT_EQ(white(1), 0.5F);
}

} // namespace
