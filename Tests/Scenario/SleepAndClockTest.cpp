// A machine that sleeps through events and whose clock is set, by day and by night.
#include "Support/NPApplicationTest.h"
#include "Support/NPTestTimeZone.h"

#include <cmath>
#include <random>

namespace {

// In Central Europe, with one group that is on from 22:00 to 07:00.
class SleepAndClockTest : public NPApplicationTest {
protected:
    SleepAndClockTest() : NPApplicationTest(dateOf("2026-03-01T11:00:00Z"))
    {
        platform.timeZones.setSystemTimeZone(NPTestTimeZone::berlin());
        plug(1);
        stopContinuousApplying();
        storeGroups({dimming("G", -0.5F, timed("22:00", "07:00"))});
        storeState({{"AllScreens", stateEntry("G", false, now())}});
        launch();
    }

    bool isOn() { return white(1) == 0.5F; }
    bool isOff() { return white(1) == 1.0F; }

    // What the wall clock there says: on in the night.
    bool shouldBeOn() const
    {
        const QXTimeZone& zone = platform.timeZones.systemTimeZone();
        const double local = now().timeIntervalSinceReferenceDate + zone.secondsFromGMT(now());
        const double hour = std::fmod(local, 86400.0) / 3600.0;
        return hour >= 22.0 || hour < 7.0;
    }
    void advanceTo(std::string_view date) { platform.clock.advanceTo(dateOf(date)); }
    void finishFade() { platform.clock.advance(3.0); }
    QXDate nextActivation() { return controller->activationTimer(*groupAt(0))->fireDate().value(); }
};

TEST_F(SleepAndClockTest, AYearOfNapsAndNightsShowsAlwaysWhatTheWallClockSays)
{
    groupAt(0)->setManualTransitionDuration(0.0); // fades take their time to compute
    groupAt(0)->setTimerTransitionDuration(0.0);
    std::mt19937 random(2026);
    const QXDate end = dateOf("2027-03-01T00:00:00Z");
    int wakes = 0;
    while (now() < end) {
        platform.clock.advance(static_cast<double>(random() % 40000));
        platform.clock.sleep(static_cast<double>(random() % 60000));
        finishFade();
        ASSERT_EQ(isOn(), shouldBeOn()) << QXDateDescription(now());
        ASSERT_TRUE(isOn() || isOff());
        ASSERT_GT(nextActivation(), now());
        ASSERT_EQ(platform.clock.timerCount(), 2U);
        ++wakes;
    }
    EXPECT_GT(wakes, 500);
}

TEST_F(SleepAndClockTest, SleepingPastActivationAndDeactivationLeavesTheDisplayAsItWas)
{
    platform.log.clear();
    platform.clock.sleep(30 * 3600.0);
    finishFade();
    EXPECT_TRUE(isOff());
    EXPECT_EQ(stateDate("1"), dateOf("2026-03-02T06:00:00Z"));
}

TEST_F(SleepAndClockTest, SleepingForWeeksCatchesUpInOneStep)
{
    NPNotificationCounter changes(platform.notifications, NPScreenManagerEffectStateDidChange);
    platform.clock.sleep(30 * 86400.0 + 12 * 3600.0);
    EXPECT_EQ(changes.take(), 1);
    finishFade();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(nextActivation(), dateOf("2026-04-01T20:00:00Z")); // daylight-saving time by now
}

TEST_F(SleepAndClockTest, WakingWithinAFadeFinishesIt)
{
    advanceTo("2026-03-01T21:00:01Z");
    EXPECT_FALSE(isOn());
    platform.clock.sleep(60.0);
    platform.clock.advance(0.1);
    EXPECT_TRUE(isOn());
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

TEST_F(SleepAndClockTest, ManualChangeOutlivesSleepUntilTheNextEvent)
{
    advanceTo("2026-03-01T21:30:00Z");
    manager().toggleEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    finishFade();
    EXPECT_TRUE(isOff());
    platform.clock.sleep(3600.0);
    finishFade();
    EXPECT_TRUE(isOff());
    platform.clock.sleep(24 * 3600.0); // past the next activation
    finishFade();
    EXPECT_TRUE(isOn());
}

TEST_F(SleepAndClockTest, ClockSetForwardPastAnEventCatchesUp)
{
    platform.clock.setWallClock(dateOf("2026-03-01T23:00:00Z"));
    finishFade();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(nextActivation(), dateOf("2026-03-02T21:00:00Z"));
}

TEST_F(SleepAndClockTest, ClockSetForwardByAYearCatchesUp)
{
    platform.clock.setWallClock(dateOf("2027-03-01T23:00:00Z"));
    finishFade();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(nextActivation(), dateOf("2027-03-02T21:00:00Z"));
}

// What is on record lies in the future then, and outweighs every event until its date comes again.
TEST_F(SleepAndClockTest, ClockSetBackBeforeAnEventKeepsItsEffectAndRepeatsIt)
{
    advanceTo("2026-03-01T21:30:00Z");
    EXPECT_TRUE(isOn());
    platform.clock.setWallClock(dateOf("2026-03-01T20:30:00Z"));
    finishFade();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(nextActivation(), dateOf("2026-03-01T21:00:00Z"));
    advanceTo("2026-03-01T21:00:30Z");
    EXPECT_TRUE(isOn());
    advanceTo("2026-03-02T06:00:05Z");
    EXPECT_TRUE(isOff());
}

TEST_F(SleepAndClockTest, ClockSetBackPastTheMorningIsOnAgainFromTheNextEvening)
{
    advanceTo("2026-03-02T07:00:00Z");
    EXPECT_TRUE(isOff());
    platform.clock.setWallClock(dateOf("2026-03-01T22:00:00Z"));
    finishFade();
    EXPECT_TRUE(isOff());
    advanceTo("2026-03-02T21:00:05Z");
    EXPECT_TRUE(isOn());
}

TEST_F(SleepAndClockTest, SmallCorrectionsOfTheClockNeitherSkipNorRepeatAVisibleChange)
{
    int changes = 0;
    bool wasOn = isOn();
    const QXDate end = dateOf("2026-03-15T11:00:00Z");
    for (int i = 0; now() < end; ++i) {
        platform.clock.advance(1000.0);
        platform.clock.setWallClock(now().addingTimeInterval(i % 2 == 0 ? 0.7 : -0.7));
        finishFade();
        changes += isOn() != wasOn ? 1 : 0;
        wasOn = isOn();
    }
    EXPECT_EQ(changes, 28); // on and off in each of fourteen nights
}

TEST_F(SleepAndClockTest, JourneyAcrossTimeZonesFollowsTheLocalClock)
{
    advanceTo("2026-03-01T21:30:00Z");
    EXPECT_TRUE(isOn());
    platform.timeZones.setSystemTimeZone(std::make_shared<QXFixedTimeZone>(-5 * 3600)); // 16:30 there
    finishFade();
    EXPECT_TRUE(isOn()); // no event has passed there since the change on record
    EXPECT_EQ(nextActivation(), dateOf("2026-03-02T03:00:00Z"));
    advanceTo("2026-03-02T12:00:05Z"); // 07:00 there
    EXPECT_TRUE(isOff());
}

TEST_F(SleepAndClockTest, JumpOfTheClockEndsAFadeThatIsUnderWay)
{
    advanceTo("2026-03-01T21:00:01Z");
    platform.clock.setWallClock(dateOf("2026-03-01T20:59:00Z"));
    platform.clock.advance(0.1);
    EXPECT_TRUE(isOn());
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

TEST_F(SleepAndClockTest, ClockSetBackDoesNotTakeADisplayBackToTheStartOfItsLastFade)
{
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    finishFade();
    platform.clock.setWallClock(now().addingTimeInterval(-3600.0));
    manager().updateEffect();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

} // namespace
