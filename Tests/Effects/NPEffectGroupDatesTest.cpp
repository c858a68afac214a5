#include "Effects/NPEffectGroup.h"

#include "Support/NPEngineTest.h"
#include "Support/NPTestTimeZone.h"

namespace {

QXDateComponents timeOfDay(int hour, int minute = 0)
{
    QXDateComponents time;
    time.hour = hour;
    time.minute = minute;
    return time;
}

// In Central Europe, where it is one hour later than GMT, and two from 29 March to 25 October 2026.
class NPEffectGroupDatesTest : public NPEngineTest {
protected:
    NPEffectGroupDatesTest() { platform.timeZones.setSystemTimeZone(NPTestTimeZone::berlin()); }

    std::string next(QXDateComponents time, std::string_view after) const
    {
        return QXDateDescription(group->_nextDateWithCompoments(time, dateOf(after)));
    }
    std::string previous(QXDateComponents time, std::string_view before) const
    {
        return QXDateDescription(group->_previousDateWithCompoments(time, dateOf(before)));
    }

    // The group's activation is at that kind of time.
    void setActivation(NPEffectTimerKind kind) { group->setActivationTimerKind(kind); }

    std::shared_ptr<NPEffectGroup> group = makeGroup();
};
using NPEffectGroupDatesDeathTest = NPEffectGroupDatesTest;

TEST_F(NPEffectGroupDatesTest, NextTimeAheadIsOnTheSameDay)
{
    EXPECT_EQ(next(timeOfDay(22), "2026-03-01T20:59:30Z"), "2026-03-01T21:00:00Z");
    EXPECT_EQ(next(timeOfDay(22), "2026-03-01T20:59:59.999Z"), "2026-03-01T21:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, NextTimeExactlyOnItIsTheDayAfter)
{
    EXPECT_EQ(next(timeOfDay(22), "2026-03-01T21:00:00Z"), "2026-03-02T21:00:00Z");
    EXPECT_EQ(next(timeOfDay(22), "2026-03-01T21:00:00.001Z"), "2026-03-02T21:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, PreviousTimeExactlyOnItIsTheDayBefore)
{
    EXPECT_EQ(previous(timeOfDay(22), "2026-03-02T21:00:00Z"), "2026-03-01T21:00:00Z");
    EXPECT_EQ(previous(timeOfDay(22), "2026-03-02T21:00:00.001Z"), "2026-03-02T21:00:00Z");
    EXPECT_EQ(previous(timeOfDay(22), "2026-03-02T20:59:59Z"), "2026-03-01T21:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, DatesFallOnTheWholeSecond)
{
    const QXDate date = group->_nextDateWithCompoments(timeOfDay(22), dateOf("2026-03-01T12:34:56.789Z"));
    EXPECT_EQ(date, dateOf("2026-03-01T21:00:00Z"));
    EXPECT_EQ(group->_previousDateWithCompoments(timeOfDay(7, 5), dateOf("2026-03-01T12:34:56.789Z")),
              dateOf("2026-03-01T06:05:00Z"));
}

TEST_F(NPEffectGroupDatesTest, DaysGoOverTheEndOfAMonthAndOfAYear)
{
    EXPECT_EQ(next(timeOfDay(7), "2026-02-28T12:00:00Z"), "2026-03-01T06:00:00Z");
    EXPECT_EQ(next(timeOfDay(7), "2026-12-31T12:00:00Z"), "2027-01-01T06:00:00Z");
    EXPECT_EQ(previous(timeOfDay(22), "2026-01-01T12:00:00Z"), "2025-12-31T21:00:00Z");
    EXPECT_EQ(next(timeOfDay(7), "2028-02-28T12:00:00Z"), "2028-02-29T06:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, TheDayIsTheOneOfTheZone)
{
    EXPECT_EQ(next(timeOfDay(0, 30), "2026-03-01T23:10:00Z"), "2026-03-01T23:30:00Z"); // 2 March there
}

TEST_F(NPEffectGroupDatesTest, ADayIsACalendarDayNotTwentyFourHours)
{
    EXPECT_EQ(next(timeOfDay(22), "2026-03-28T21:00:00Z"), "2026-03-29T20:00:00Z"); // 23 hours
    EXPECT_EQ(next(timeOfDay(22), "2026-10-24T20:00:00Z"), "2026-10-25T21:00:00Z"); // 25 hours
    EXPECT_EQ(previous(timeOfDay(22), "2026-03-29T20:00:00Z"), "2026-03-28T21:00:00Z");
    EXPECT_EQ(previous(timeOfDay(22), "2026-10-25T21:00:00Z"), "2026-10-24T20:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, ASkippedTimeMovesForwardByWhatWasSkipped)
{
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-03-28T12:00:00Z"), "2026-03-29T01:30:00Z"); // 03:30 there
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-03-29T01:10:00Z"), "2026-03-29T01:30:00Z");
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-03-29T01:30:00Z"), "2026-03-30T00:30:00Z");
    EXPECT_EQ(previous(timeOfDay(2, 30), "2026-03-29T01:31:00Z"), "2026-03-29T01:30:00Z");
    EXPECT_EQ(previous(timeOfDay(2, 30), "2026-03-29T01:30:00Z"), "2026-03-28T01:30:00Z");
}

TEST_F(NPEffectGroupDatesTest, ARepeatedTimeIsItsFirstOccurrence)
{
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-10-24T12:00:00Z"), "2026-10-25T00:30:00Z");
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-10-25T00:30:00Z"), "2026-10-26T01:30:00Z");
    EXPECT_EQ(next(timeOfDay(2, 30), "2026-10-25T01:10:00Z"), "2026-10-26T01:30:00Z"); // 02:10, once more
    EXPECT_EQ(previous(timeOfDay(2, 30), "2026-10-25T12:00:00Z"), "2026-10-25T00:30:00Z");
    EXPECT_EQ(previous(timeOfDay(2, 30), "2026-10-25T00:30:00Z"), "2026-10-24T00:30:00Z");
}

TEST_F(NPEffectGroupDatesTest, ZoneIsTheOneInForceWhenAsked)
{
    platform.timeZones.setSystemTimeZone(std::make_shared<QXFixedTimeZone>(-5 * 3600));
    EXPECT_EQ(next(timeOfDay(22), "2026-03-01T12:00:00Z"), "2026-03-02T03:00:00Z");
}

TEST_F(NPEffectGroupDatesTest, ActivationAndDeactivationHaveTheirOwnTimes)
{
    setActivation(NPEffectTimerKind::NPEffectTimerKindTime);
    EXPECT_EQ(group->upcommingDeactivationDateAfterDate(now()), std::nullopt);
    group->setDeactivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime);
    EXPECT_EQ(group->upcommingActivationDateAfterDate(now()), dateOf("2026-03-01T21:00:00Z"));
    EXPECT_EQ(group->upcommingDeactivationDateAfterDate(now()), dateOf("2026-03-02T06:00:00Z"));
    EXPECT_EQ(group->pastActivationDateBeforeDate(now()), dateOf("2026-02-28T21:00:00Z"));
    EXPECT_EQ(group->pastDeactivationDateBeforeDate(now()), dateOf("2026-03-01T06:00:00Z"));
}

TEST_F(NPEffectGroupDatesTest, ADateWithoutATimerIsNone)
{
    EXPECT_EQ(group->upcommingActivationDateAfterDate(now()), std::nullopt);
    EXPECT_EQ(group->upcommingDeactivationDateAfterDate(now()), std::nullopt);
    EXPECT_EQ(group->pastActivationDateBeforeDate(now()), std::nullopt);
    EXPECT_EQ(group->pastDeactivationDateBeforeDate(now()), std::nullopt);
}

TEST_F(NPEffectGroupDatesTest, SunriseAndSunsetAreTheCalculators)
{
    const auto calculator = sharedCalculator();
    calculator->setLatitude(52.5, 13.4, false);
    setActivation(NPEffectTimerKind::NPEffectTimerKindSunrise);
    group->setDeactivationTimerKind(NPEffectTimerKind::NPEffectTimerKindSunset);
    EXPECT_TRUE(calculator->nextSunriseAfterDate(now()).has_value());
    EXPECT_EQ(group->upcommingActivationDateAfterDate(now()), calculator->nextSunriseAfterDate(now()));
    EXPECT_EQ(group->pastActivationDateBeforeDate(now()), calculator->previousSunriseBeforeDate(now()));
    EXPECT_EQ(group->upcommingDeactivationDateAfterDate(now()), calculator->nextSunsetAfterDate(now()));
    EXPECT_EQ(group->pastDeactivationDateBeforeDate(now()), calculator->previousSunsetBeforeDate(now()));
    EXPECT_NE(calculator->nextSunriseAfterDate(now()), calculator->nextSunsetAfterDate(now()));
}

TEST_F(NPEffectGroupDatesTest, PolarNightHasNoDate)
{
    sharedCalculator()->setLatitude(80.0, 0.0, false);
    setActivation(NPEffectTimerKind::NPEffectTimerKindSunrise);
    EXPECT_EQ(group->upcommingActivationDateAfterDate(dateOf("2026-12-20T12:00:00Z")), std::nullopt);
    EXPECT_EQ(group->pastActivationDateBeforeDate(dateOf("2026-12-20T12:00:00Z")), std::nullopt);
}

TEST_F(NPEffectGroupDatesTest, AdjustingStoresTheSunsTimesAsTimesOfDay)
{
    sharedCalculator()->setLatitude(0.0, 15.0, false); // rises shortly before 6, sets shortly after 18 there
    setActivation(NPEffectTimerKind::NPEffectTimerKindSunset);
    group->setDeactivationTimerKind(NPEffectTimerKind::NPEffectTimerKindSunrise);
    group->autoAdjustForSunriseSunset();
    EXPECT_EQ(group->activationTime().hour, 18);
    EXPECT_EQ(group->deactivationTime().hour, 6);
    const QXDate adjusted = group->_nextDateWithCompoments(group->activationTime(), now());
    const double error = sharedCalculator()->nextSunsetAfterDate(now())->timeIntervalSince(adjusted);
    EXPECT_GE(error, 0.0); // the seconds are cut off
    EXPECT_LT(error, 60.0);
}

TEST_F(NPEffectGroupDatesTest, AdjustingWithoutATimerLeavesTheStoredTime)
{
    group->setActivationTime(timeOfDay(20, 15));
    NPNotificationCounter changes(platform.notifications, NPEffectGroupDidChangeNotification);
    group->autoAdjustForSunriseSunset();
    EXPECT_EQ(changes.take(), 0);
    EXPECT_EQ(group->activationTime().minute, 15);
    EXPECT_EQ(group->objectForKey(NPTimerDeactivationHourKey), std::nullopt);
}

TEST_F(NPEffectGroupDatesTest, AdjustingATimeOfDayKeepsIt)
{
    group->setActivationTime(timeOfDay(20, 15));
    setActivation(NPEffectTimerKind::NPEffectTimerKindTime);
    group->autoAdjustForSunriseSunset();
    EXPECT_EQ(group->activationTime().hour, 20);
    EXPECT_EQ(group->activationTime().minute, 15);
}

TEST_F(NPEffectGroupDatesTest, StoredHourOfTwentyFiveCannotStopTheSearch)
{
    group->setInteger(25, NPTimerActivationHourKey);
    setActivation(NPEffectTimerKind::NPEffectTimerKindTime);
    EXPECT_EQ(group->pastActivationDateBeforeDate(dateOf("2026-03-01T23:30:00Z")), dateOf("2026-03-01T21:00:00Z"));
}

TEST_F(NPEffectGroupDatesDeathTest, PreviousDateAtAnHourOfTwentyFiveStopsTheProgram)
{
    EXPECT_DEATH(previous(timeOfDay(25), "2026-03-01T23:30:00Z"), "\\[previousDate isLessThan:currentDate\\]");
}

TEST_F(NPEffectGroupDatesDeathTest, NextDateAtANegativeHourStopsTheProgram)
{
    EXPECT_DEATH(next(timeOfDay(-30), "2026-03-01T12:00:00Z"), "\\[nextDate isGreaterThan:currentDate\\]");
}

// Samoa went from the 29th to the 31st of December 2011: the day before the 31st is the 31st.
TEST_F(NPEffectGroupDatesDeathTest, PreviousDateOnTheDayAfterASkippedOneStopsTheProgram)
{
    platform.timeZones.setSystemTimeZone(NPTestTimeZone::apia());
    EXPECT_DEATH(previous(timeOfDay(22), "2011-12-30T20:00:00Z"), "\\[previousDate isLessThan:currentDate\\]");
}

TEST_F(NPEffectGroupDatesTest, NextDateBeforeASkippedDayIsOnTheDayAfterIt)
{
    platform.timeZones.setSystemTimeZone(NPTestTimeZone::apia());
    EXPECT_EQ(next(timeOfDay(22), "2011-12-30T09:00:00Z"), "2011-12-31T08:00:00Z");
    EXPECT_EQ(next(timeOfDay(22), "2011-12-31T08:00:00Z"), "2012-01-01T08:00:00Z");
}

} // namespace
