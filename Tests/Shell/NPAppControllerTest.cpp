#include "Shell/NPAppController.h"

#include "Support/NPApplicationTest.h"

namespace {

QXDate at(std::string_view time)
{
    return dateOf("2026-03-01T" + std::string(time) + "Z");
}

// At noon in a zone at GMT, on displays 1 and 2, without periodic writing unless a test asks for it.
class NPAppControllerTest : public NPApplicationTest {
protected:
    NPAppControllerTest()
    {
        plug(1);
        plug(2);
        stopContinuousApplying();
    }
    void applyContinuously() { platform.defaults.removeObjectForKey(NPContinuouslyApplyKey); } // the default

    // Starts with group G, which dims to a half, with those timers.
    void launchWith(const QXDictionary& timers)
    {
        storeGroups({dimming("G", -0.5F, timers)});
        launch();
    }
    const NPEffectGroup& group() { return *groupAt(0); }
    QXDate activationDate() { return controller->activationTimer(group())->fireDate().value(); }
    QXDate deactivationDate() { return controller->deactivationTimer(group())->fireDate().value(); }
    bool effectActiveSaved() const { return platform.defaults.boolForKey(NPEffectActiveKey); }
};

TEST_F(NPAppControllerTest, FirstLaunchSwitchesOnSavesTheSwitchAndActivatesTheDefaultGroupWithoutFade)
{
    launch();
    EXPECT_TRUE(controller->effectActive());
    EXPECT_EQ(platform.defaults.stored().at("EffectActive"), QXValue(true));
    EXPECT_EQ(state(), "AllScreens:" + group().identifier() + '+');
    EXPECT_EQ(manager().combinedStateForEffectGroup(group()), 1);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

TEST_F(NPAppControllerTest, LaunchWithStoredGroupsActivatesNone)
{
    launchWith({});
    EXPECT_EQ(state(), "");
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPAppControllerTest, SavedSwitchComesBackAtLaunchWithoutBeingWritten)
{
    setDefault(NPActivateAtLaunchKey, false);
    setDefault(NPEffectActiveKey, true);
    platform.log.clear();
    launchWith({});
    EXPECT_TRUE(controller->effectActive());
    EXPECT_EQ(logged("defaults set EffectActive"), 0);
}

TEST_F(NPAppControllerTest, SavedSwitchThatIsOffStaysOffUnlessLaunchActivates)
{
    setDefault(NPActivateAtLaunchKey, false);
    launchWith({});
    EXPECT_FALSE(controller->effectActive());
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectActiveKey), std::nullopt);
}

TEST_F(NPAppControllerTest, SwitchThatIsOnAlreadyIsNotWrittenAtLaunch)
{
    setDefault(NPEffectActiveKey, true);
    platform.log.clear();
    launchWith({});
    EXPECT_TRUE(controller->effectActive());
    EXPECT_EQ(logged("defaults set EffectActive"), 0);
}

TEST_F(NPAppControllerTest, LaunchRegistersItsDefaultsWithoutStoringThem)
{
    setDefault(NPActivateAtLaunchKey, false);
    applyContinuously();
    launchWith({});
    EXPECT_TRUE(platform.defaults.boolForKey("ApplyToColorProfile"));
    EXPECT_TRUE(platform.defaults.boolForKey("ContinuouslyApply"));
    EXPECT_FALSE(platform.defaults.boolForKey("ActivateAtLaunch"));
    EXPECT_FALSE(platform.defaults.stored().contains("ContinuouslyApply"));
    EXPECT_TRUE(manager().colorProfileManagementEnabled());
}

TEST_F(NPAppControllerTest, SettingOfCustomProfilesIsPassedOnAtLaunchAndWhenItChanges)
{
    setDefault(NPApplyToColorProfileKey, false);
    launchWith({});
    EXPECT_FALSE(manager().colorProfileManagementEnabled());
    setDefault(NPApplyToColorProfileKey, true);
    EXPECT_TRUE(manager().colorProfileManagementEnabled());
}

TEST_F(NPAppControllerTest, CurrentEffectIsTheFirstGroup)
{
    storeGroups({dimming("G", -0.5F), dimming("H", -0.75F)});
    launch();
    EXPECT_EQ(controller->currentEffect(), groupAt(0));
    controller->setCurrentEffect(groupAt(1));
    EXPECT_EQ(controller->currentEffect(), groupAt(1));
}

TEST_F(NPAppControllerTest, ActivationTimerFadesTheDisplaysAtItsTime)
{
    launchWith(timed("22:00", "07:00"));
    manager().deactivateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    platform.clock.advanceTo(at("22:00:01"));
    EXPECT_NEAR(white(1), 0.75F, 0.01F);
    platform.clock.advanceTo(at("22:00:03"));
    EXPECT_EQ(white(2), 0.5F);
    platform.clock.advanceTo(dateOf("2026-03-02T07:00:03Z"));
    EXPECT_EQ(white(2), 1.0F);
}

TEST_F(NPAppControllerTest, TimersAreArmedForTheNextDatesAfterLaunch)
{
    launchWith(timed("22:00", "07:00"));
    EXPECT_EQ(activationDate(), at("22:00:00"));
    EXPECT_EQ(deactivationDate(), dateOf("2026-03-02T07:00:00Z").addingTimeInterval(0.00001));
}

TEST_F(NPAppControllerTest, GroupWithoutADateHasNoTimer)
{
    launchWith(timed("22:00", ""));
    EXPECT_EQ(controller->deactivationTimer(group()), nullptr);
    groupAt(0)->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindNone);
    EXPECT_EQ(controller->activationTimer(group()), nullptr);
}

TEST_F(NPAppControllerTest, ActivationAndDeactivationAtOneInstantHappenInThatOrder)
{
    launchWith(timed("22:00", "22:00"));
    std::string order;
    QXNotificationObserver observer;
    platform.notifications.addObserver(observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                       [&](const QXNotification&) { order += state() + ' '; });
    platform.clock.advanceTo(at("22:00:05"));
    EXPECT_EQ(order, "AllScreens:G+ AllScreens:G- ");
}

TEST_F(NPAppControllerTest, FiringArmsTheNextOfItsOwnKindAlone)
{
    launchWith(timed("22:00", "07:00"));
    const auto other = controller->deactivationTimer(group());
    platform.clock.advanceTo(at("22:00:01"));
    EXPECT_EQ(activationDate(), dateOf("2026-03-02T22:00:00Z"));
    EXPECT_EQ(controller->deactivationTimer(group()), other);
}

TEST_F(NPAppControllerTest, ChangeOfATimerIsRecordedWithTheDateOfTheEvent)
{
    launchWith(timed("22:00", "22:30"));
    platform.clock.advanceTo(at("22:15:00"));
    EXPECT_NEAR(stateDate("AllScreens").timeIntervalSince(at("22:00:00")), 0.0, 1e-6);
    platform.clock.advanceTo(at("22:45:00"));
    EXPECT_NEAR(stateDate("AllScreens").timeIntervalSince(at("22:30:00")), 0.00001, 1e-6);
}

// Timers that fire late by so many seconds.
class LateTimerServices final : public NPTimerServices {
public:
    LateTimerServices(NPTimerServices& services, double delay) : _services(services), _delay(delay) {}
    std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        return _services.makeMonotonicTimer(delay, interval, leeway);
    }
    std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        return _services.makeWallClockTimer(start.addingTimeInterval(_delay), interval, leeway);
    }

    NPPlatform inPlaceOf(const NPPlatform& services)
    {
        return {services.clock,          *this,
                services.mainQueue,      services.timeZones,
                services.defaults,       services.displays,
                services.profiles,       services.hotKeys,
                services.keyboardLayout, services.notifications,
                services.workspaceEvents};
    }

private:
    NPTimerServices& _services;
    const double _delay;
};

TEST_F(NPAppControllerTest, LateTimerCountsFromNow)
{
    storeGroups({dimming("G", -0.5F, timed("22:00", "22:01"))});
    LateTimerServices late(platform.clock, 5.0);
    launch(late.inPlaceOf(platform.services()));
    platform.clock.advanceTo(at("22:00:04"));
    EXPECT_EQ(state(), "1:G- 2:G-"); // from yesterday
    platform.clock.advanceTo(at("22:00:06"));
    EXPECT_NEAR(stateDate("AllScreens").timeIntervalSince(at("22:00:05")), 0.0, 1e-6);
    EXPECT_NEAR(white(1), 0.75F, 0.01F); // half of the fade, which began late
    EXPECT_EQ(activationDate(), dateOf("2026-03-02T22:00:00Z"));
    platform.clock.advanceTo(at("22:01:06"));
    EXPECT_NEAR(stateDate("AllScreens").timeIntervalSince(at("22:01:05")), 0.0, 1e-4);
    controller.reset(); // before the timers that it uses
}

// What was to happen in between does not happen any more.
TEST_F(NPAppControllerTest, TimerThatIsLateByMoreThanADayArmsTheNextOneFromNow)
{
    storeGroups({dimming("G", -0.5F, timed("22:00", "22:30"))});
    LateTimerServices late(platform.clock, 25 * 3600.0);
    launch(late.inPlaceOf(platform.services()));
    platform.clock.advanceTo(dateOf("2026-03-02T23:00:01Z"));
    EXPECT_EQ(activationDate(), dateOf("2026-03-03T22:00:00Z"));
    platform.clock.advanceTo(dateOf("2026-03-02T23:30:01Z"));
    EXPECT_EQ(deactivationDate(), dateOf("2026-03-03T22:30:00Z").addingTimeInterval(0.00001));
    controller.reset(); // before the timers that it uses
}

TEST_F(NPAppControllerTest, TimersFadeAsTheEffectSaysForTimedChanges)
{
    launchWith(timed("22:00", "23:00", {{"NPManualTransitionDuration", 1.0}, {"NPTimerTransitionDuration", 4.0}}));
    platform.clock.advanceTo(at("22:00:02"));
    EXPECT_NEAR(white(1), 0.75F, 0.01F);
    platform.clock.advanceTo(at("22:00:05"));
    EXPECT_EQ(white(1), 0.5F);
    platform.clock.advanceTo(at("23:00:02"));
    EXPECT_NEAR(white(1), 0.75F, 0.01F);
    platform.clock.advanceTo(at("23:00:05"));
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPAppControllerTest, WakingPastAnEventCatchesUpWithAManualFadeAndArmsTheTimersFromNow)
{
    launchWith(timed("22:00", "07:00", {{"NPManualTransitionDuration", 1.0}}));
    manager().deactivateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    platform.clock.sleep(11 * 3600.0);
    EXPECT_EQ(manager().transitionTimerInterval(), 1.0 / 256.0);
    EXPECT_EQ(state(), "1:G+ 2:G+");
    EXPECT_EQ(stateDate("1"), at("22:00:00"));
    EXPECT_EQ(activationDate(), dateOf("2026-03-02T22:00:00Z"));
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.75F);
}

TEST_F(NPAppControllerTest, ChangedGroupIsCaughtUpAndItsTimersArmedAnew)
{
    launchWith(timed("22:00", "07:00"));
    const auto former = controller->activationTimer(group());
    QXDateComponents time;
    time.hour = 20;
    groupAt(0)->setActivationTime(time);
    EXPECT_EQ(activationDate(), at("20:00:00"));
    EXPECT_NE(controller->activationTimer(group()), former);
    time.hour = 11; // passed, and later than the change on record
    storeState({{"AllScreens", stateEntry("G", false, at("10:00:00"))}});
    groupAt(0)->setActivationTime(time);
    EXPECT_EQ(manager().combinedStateForEffectGroup(group()), 1);
    EXPECT_EQ(activationDate(), dateOf("2026-03-02T11:00:00Z"));
}

TEST_F(NPAppControllerTest, ThereIsAtMostOneTimerOfEachKind)
{
    launchWith(timed("22:00", "07:00"));
    groupAt(0)->setName("Night");
    controller->refreshTimerActivationDeactivation();
    platform.clock.advance(10.0); // past the fade
    EXPECT_EQ(platform.clock.timerCount(), 2U);
}

TEST_F(NPAppControllerTest, LocationAndTimeZoneAndClockArmTheTimersAnew)
{
    launchWith({{"NPTimerActivationKind", 3}, {"NPTimerDeactivationKind", 1}});
    sharedCalculator()->setLatitude(52.5, 13.4, false);
    EXPECT_EQ(activationDate(), sharedCalculator()->nextSunsetAfterDate(now()));
    platform.timeZones.setSystemTimeZone(std::make_shared<QXFixedTimeZone>(-6 * 3600)); // six o'clock there
    EXPECT_EQ(deactivationDate(), at("13:00:00").addingTimeInterval(0.00001));
    platform.clock.setWallClock(at("14:00:00"));
    EXPECT_EQ(deactivationDate(), dateOf("2026-03-02T13:00:00Z").addingTimeInterval(0.00001));
    platform.clock.setWallClock(at("12:30:00"));
    EXPECT_EQ(deactivationDate(), at("13:00:00").addingTimeInterval(0.00001));
}

TEST_F(NPAppControllerTest, TimersGoOnWhileTheSwitchIsOff)
{
    launchWith(timed("22:00", "07:00"));
    controller->setEffectActive(false, true);
    platform.clock.advanceTo(at("22:00:05"));
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_FALSE(effectActiveSaved());
    controller->setEffectActive(true, true);
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPAppControllerTest, TimersOfARemovedGroupNeverFireAndKeepNothing)
{
    storeGroups({dimming("G", -0.5F), dimming("H", -0.75F, timed("22:00", "11:00"))});
    launch();
    const std::weak_ptr<NPEffectGroup> removed = sharedEffectManager()->removeGroupAtIndex(1);
    EXPECT_TRUE(removed.expired());
    platform.clock.advanceTo(at("22:00:05"));
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPAppControllerTest, TimersOfANewGroupAreArmedAtOnce)
{
    launchWith({});
    sharedEffectManager()->addGroupWithDictionary(dimming("H", -0.75F, timed("22:00", "11:00")));
    platform.clock.advanceTo(at("22:00:05"));
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(NPAppControllerTest, TablesAreWrittenAgainEverySixSecondsWhileOn)
{
    applyContinuously();
    launchWith({});
    platform.clock.advance(1.0);
    platform.log.clear();
    platform.clock.advance(60.0);
    EXPECT_EQ(writesTo(1), 10);
    controller->setEffectActive(false, false);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    platform.log.clear();
    platform.clock.advance(60.0);
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPAppControllerTest, PeriodicWritingFollowsItsSetting)
{
    launchWith({});
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    setDefault(NPContinuouslyApplyKey, true);
    EXPECT_EQ(platform.clock.timerCount(), 1U);
    setDefault(NPContinuouslyApplyKey, false);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPAppControllerTest, PhaseOfThePeriodicWritingOutlivesChangesOfSettings)
{
    applyContinuously();
    launchWith({});
    const QXDate next = platform.clock.nextFireDate().value();
    platform.clock.advance(4.0);
    setDefault("SomebodyElses", 1);
    controller->setEffectActive(true, true);
    EXPECT_EQ(platform.clock.nextFireDate(), next);
}

TEST_F(NPAppControllerTest, SavedSwitchIsTheMaster)
{
    launchWith({});
    setDefault(NPEffectActiveKey, false);
    EXPECT_FALSE(controller->effectActive());
    setDefault(NPEffectActiveKey, true);
    EXPECT_TRUE(controller->effectActive());
    controller->setEffectActive(false, false); // not saved
    EXPECT_TRUE(effectActiveSaved());
    setDefault("SomebodyElses", 1);
    EXPECT_TRUE(controller->effectActive()); // any change brings the saved one back
}

TEST_F(NPAppControllerTest, UnchangedSwitchIsNotWritten)
{
    launchWith({});
    NPNotificationCounter changes(platform.notifications, NPUserDefaultsDidChangeNotification);
    controller->setEffectActive(true, true);
    EXPECT_EQ(changes.take(), 0);
    controller->setEffectActive(false, true);
    EXPECT_EQ(changes.take(), 1);
    setDefault(NPEffectActiveKey, 2); // on as well
    controller->setEffectActive(true, true);
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectActiveKey), QXValue(2));
}

TEST_F(NPAppControllerTest, TogglingTheSwitchSavesIt)
{
    launchWith({});
    controller->toggleGlobalEffect();
    EXPECT_FALSE(controller->effectActive());
    EXPECT_FALSE(effectActiveSaved());
    controller->toggleGlobalEffect();
    EXPECT_TRUE(controller->effectActive());
    EXPECT_TRUE(effectActiveSaved());
}

TEST_F(NPAppControllerTest, TogglingAGroupOnSwitchesTheWholeOn)
{
    setDefault(NPActivateAtLaunchKey, false);
    launchWith({});
    EXPECT_FALSE(controller->effectActive());
    manager().toggleEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    EXPECT_TRUE(controller->effectActive());
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.5F);
    manager().toggleEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    EXPECT_TRUE(controller->effectActive());
}

TEST_F(NPAppControllerTest, ChangeOfModeRewritesTheTablesAtOnceAndAMomentLater)
{
    launchWith({});
    platform.log.clear();
    platform.displays.changeMode(1);
    EXPECT_EQ(writesTo(1), 1);
    EXPECT_EQ(writesTo(2), 1);
    platform.clock.advance(0.049);
    EXPECT_EQ(writesTo(1), 1);
    platform.clock.advance(0.001);
    EXPECT_EQ(writesTo(1), 2);
    platform.clock.advance(10.0);
    EXPECT_EQ(writesTo(1), 2);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPAppControllerTest, ChangeOfModeThatComesWithOtherChangesRewritesTheTablesToo)
{
    launchWith({});
    platform.log.clear();
    platform.displays.changeMode(1, NPDisplayChangeSetMain);
    EXPECT_EQ(writesTo(2), 1);
    platform.clock.advance(0.05);
    EXPECT_EQ(writesTo(2), 2);
}

TEST_F(NPAppControllerTest, OtherChangesOfADisplayRewriteNothing)
{
    launchWith({});
    platform.log.clear();
    platform.displays.unplug(2);
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPAppControllerTest, TerminatingGivesTheDisplaysBackAndKeepsTheSavedSwitch)
{
    launchWith({});
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    EXPECT_EQ(white(1), 0.5F);
    controller->applicationWillTerminate();
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_TRUE(effectActiveSaved());
    EXPECT_EQ(state(), "AllScreens:G+");
}

TEST_F(NPAppControllerTest, ControllerThatHasGoneLeavesNoTimersAndNoObservers)
{
    applyContinuously();
    launchWith(timed("22:00", "07:00"));
    platform.displays.changeMode(1);
    manager().setScreenManagementEnabled(false);
    EXPECT_EQ(platform.clock.timerCount(), 4U);
    controller.reset();
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    setDefault(NPEffectActiveKey, false);
    setDefault(NPEffectActiveKey, true);
    EXPECT_FALSE(manager().screenManagementEnabled());
}

} // namespace
