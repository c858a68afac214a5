// Days on which displays come and go, fail, or are not like the others.
#include "Support/NPApplicationTest.h"

#include <cmath>

namespace {

// From noon on; G dims every display from 22:00 to 07:00.
class DisplaysOfADayTest : public NPApplicationTest {
protected:
    DisplaysOfADayTest()
    {
        storeGroups({dimming("G", -0.5F, timed("22:00", "07:00"))});
        storeState({{"AllScreens", stateEntry("G", false, now())}});
    }

    NPSimulatedDisplay& display(NPDisplayID identifier) { return *platform.displays.display(identifier); }
    void advanceTo(std::string_view time)
    {
        platform.clock.advanceTo(dateOf("2026-03-01T" + std::string(time) + "Z"));
    }
};

TEST_F(DisplaysOfADayTest, DisplayThatIsUndockedThroughAnEventShowsItWhenItIsBack)
{
    stopContinuousApplying();
    plug(1);
    plug(2);
    launch();
    platform.displays.unplug(2);
    advanceTo("22:30:00");
    display(2).table = QXGammaTableIdentity(); // switched on again, it has forgotten
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 0.5F);
    platform.displays.unplug(2);
    platform.clock.advanceTo(dateOf("2026-03-02T08:00:00Z"));
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 1.0F);
}

TEST_F(DisplaysOfADayTest, ReplacedDisplayOfAnotherIdentityShowsWhatTheOthersShow)
{
    stopContinuousApplying();
    plug(1);
    launch();
    advanceTo("22:30:00");
    platform.displays.unplug(1);
    plug(77);
    EXPECT_EQ(white(77), 0.5F);
    controller->applicationWillTerminate();
    EXPECT_EQ(white(77), 1.0F);
}

TEST_F(DisplaysOfADayTest, DisplayThatRefusesWritesForAWhileIsRightSixSecondsLater)
{
    plug(1);
    plug(2);
    launch();
    advanceTo("21:59:59");
    display(1).writesFail = true;
    advanceTo("22:01:00");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.5F);
    display(1).writesFail = false;
    platform.clock.advance(6.0);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(DisplaysOfADayTest, TableThatSomebodyElseWroteIsOursAgainSixSecondsLater)
{
    plug(1);
    launch();
    advanceTo("22:01:00");
    display(1).table = scaledTable(0.9F);
    platform.clock.advance(6.0);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(DisplaysOfADayTest, DisplayWithoutABaseTableIsLeftAloneAllDay)
{
    stopContinuousApplying();
    platform.displays.plug({.identifier = 1, .table = flatTable(0.3F), .baseTable = flatTable(0.0F, 0)});
    plug(2);
    launch();
    platform.clock.advance(24 * 3600.0);
    controller->applicationWillTerminate();
    EXPECT_EQ(writesTo(1), 0);
    EXPECT_TRUE(sameTable(shown(1), flatTable(0.3F)));
}

TEST_F(DisplaysOfADayTest, AllZeroFirstTableIsFadedFromAndNeverKept)
{
    stopContinuousApplying();
    platform.displays.plug({.identifier = 1, .table = flatTable(0.0F)}); // as some servers begin
    launch();
    EXPECT_EQ(white(1), 1.0F);
    advanceTo("22:00:10");
    EXPECT_EQ(white(1), 0.5F);
    controller->applicationWillTerminate();
    EXPECT_TRUE(sameTable(shown(1), QXGammaTableIdentity()));
}

TEST_F(DisplaysOfADayTest, DisplaysOfFewSamplesTakeEveryEffect)
{
    stopContinuousApplying();
    for (const std::uint32_t count : {1U, 2U, 3U, 16U, 64U, 255U}) {
        platform.displays.plug(
            {.identifier = count, .table = QXGammaTableIdentity(count), .baseTable = QXGammaTableIdentity(count)});
    }
    launch();
    const auto group = groupAt(0);
    group->invertEffect().setSelected(true);
    group->overexposureEffect().setSelected(true);
    group->colorFilterEffect().setVividness(0.5F);
    group->hdtvLuminanceEffect().setSelected(true);
    advanceTo("22:00:10");
    for (const std::uint32_t count : {1U, 2U, 3U, 16U, 64U, 255U}) {
        const QXGammaTable& table = shown(count);
        EXPECT_EQ(table.sampleCount, count);
        QXGammaTable expected = QXGammaTableIdentity(count);
        group->applyEffectOnGammaCurve(expected);
        QXGammaTableClamp(expected);
        EXPECT_TRUE(sameTable(table, expected));
        EXPECT_TRUE(sameEntries(table, QXGammaTable(), count, 256)); // nothing after the samples
    }
}

TEST_F(DisplaysOfADayTest, EverySampleWrittenInADayOfFadesLiesWithinRange)
{
    stopContinuousApplying();
    plug(1);
    launch();
    const auto group = groupAt(0);
    group->overexposureEffect().setSelected(true);
    group->invertEffect().setSelected(true); // negative samples before the last clamp
    group->dimEffect().setLevel(-0.1F);
    float least = 0.0F;
    float greatest = 0.0F;
    const QXDate end = now().addingTimeInterval(86400.0);
    while (now() < end) {
        platform.clock.advanceTo(std::min(end, platform.clock.nextFireDate().value_or(end)));
        for (const float sample : shown(1).redTable) {
            least = std::min(least, std::isnan(sample) ? -1.0F : sample);
            greatest = std::max(greatest, sample);
        }
    }
    EXPECT_EQ(least, 0.0F);
    EXPECT_LE(greatest, 1.0F);
    EXPECT_GT(writesTo(1), 512); // both fades
}

TEST_F(DisplaysOfADayTest, OfTwelveDisplaysTheFirstTenFollowAndTheNextTakesItsTurn)
{
    stopContinuousApplying();
    for (NPDisplayID identifier = 1; identifier <= 12; ++identifier) {
        plug(identifier);
    }
    launch();
    advanceTo("22:00:10");
    for (NPDisplayID identifier = 1; identifier <= 12; ++identifier) {
        EXPECT_EQ(white(identifier), identifier <= 10 ? 0.5F : 1.0F) << identifier;
    }
    platform.displays.unplug(3);
    controller->refreshTimerActivationDeactivation(); // at any occasion to catch up
    platform.clock.advance(1.0);
    EXPECT_EQ(white(11), 0.5F);
    EXPECT_EQ(white(12), 1.0F);
    controller->applicationWillTerminate();
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(11), 1.0F);
}

TEST_F(DisplaysOfADayTest, GroupsOfDifferentScreensKeepTheirOwnHours)
{
    stopContinuousApplying();
    storeGroups({dimming("L", -0.5F, timed("20:00", "21:00", onScreens({1}))),
                 dimming("R", -0.75F, timed("20:30", "21:30", onScreens({2})))});
    plug(1);
    plug(2);
    launch();
    const auto shows = [this](std::string_view time) {
        advanceTo(time);
        return std::pair(white(1), white(2));
    };
    EXPECT_EQ(shows("20:15:00"), std::pair(0.5F, 1.0F));
    EXPECT_EQ(shows("20:45:00"), std::pair(0.5F, 0.25F));
    EXPECT_EQ(shows("21:15:00"), std::pair(1.0F, 0.25F));
    EXPECT_EQ(shows("21:45:00"), std::pair(1.0F, 1.0F));
}

TEST_F(DisplaysOfADayTest, PresentationModeOnOneScreenClearsTheOthersUntilTheEvening)
{
    stopContinuousApplying();
    storeGroups({dimming("G", -0.5F, timed("22:00", "")), dimming("P", -0.75F, clearingOthers(onScreens({2})))});
    plug(1);
    plug(2);
    launch();
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    manager().activateEffectGroup(groupAt(1), NPTransitionKind::manual, now());
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.25F);
    advanceTo("22:00:10");
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 0.5F);
}

} // namespace
