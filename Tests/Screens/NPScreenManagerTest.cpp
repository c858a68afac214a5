#include "Screens/NPScreenManager.h"

#include "Support/NPScreensTest.h"

#include <cmath>

namespace {

// Displays 1 and 2 under management. G and H dim every screen, P dims screen 2 alone.
class NPScreenManagerTest : public NPScreensTest {
protected:
    NPScreenManagerTest()
    {
        storeGroups({dimming("G", -0.5F, {{"NPManualTransitionDuration", 1.0}}), dimming("H", -0.75F),
                     dimming("P", -0.25F, onScreens({2}))});
        plug(1);
        plug(2);
    }
    void SetUp() override
    {
        manager().setScreenManagementEnabled(true);
        platform.log.clear();
    }

    static std::shared_ptr<NPEffectGroup> group(std::string_view identifier)
    {
        return sharedEffectManager()->groupWithIdentifier(identifier);
    }
    void activate(std::string_view identifier, NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().activateEffectGroup(group(identifier), transition, now());
    }
    void deactivate(std::string_view identifier, NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().deactivateEffectGroup(group(identifier), transition, now());
    }
    void toggle(std::string_view identifier)
    {
        manager().toggleEffectGroup(group(identifier), NPTransitionKind::none, now());
    }
    static int combinedState(std::string_view identifier)
    {
        return manager().combinedStateForEffectGroup(*group(identifier));
    }

    NPNotificationCounter stateChanges{platform.notifications, NPScreenManagerEffectStateDidChange};
};

TEST_F(NPScreenManagerTest, ActivatingForAllScreensReplacesTheWholeState)
{
    activate("P");
    EXPECT_EQ(state(), "2:P+");
    activate("G");
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(stateDate("AllScreens"), now());
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 0.5F);
}

TEST_F(NPScreenManagerTest, DeactivatingForAllScreensOverwritesTheEntriesOfOtherGroups)
{
    activate("G");
    activate("P");
    EXPECT_EQ(state(), "2:P+ AllScreens:G+");
    deactivate("G");
    EXPECT_EQ(state(), "2:G- AllScreens:G-");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.75F); // the display itself shows P, and goes on
}

TEST_F(NPScreenManagerTest, DeactivatingForAllScreensRecordsNothingOnAnEmptyState)
{
    deactivate("G");
    EXPECT_EQ(state(), "");
}

TEST_F(NPScreenManagerTest, ClearingGroupClearsTheOtherDisplaysAndKeepsItsOwnKeyAlone)
{
    group("P")->setClearEffectOnOtherScreens(true);
    activate("G");
    activate("P");
    EXPECT_EQ(state(), "2:P+");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.75F);
    EXPECT_FALSE(controllerOf(1)->isActive());
    EXPECT_EQ(controllerOf(1)->effect(), nullptr);
}

TEST_F(NPScreenManagerTest, ClearingFadesOverTheGroupsDuration)
{
    group("P")->setClearEffectOnOtherScreens(true);
    activate("G");
    activate("P", NPTransitionKind::timed);
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.75F);
    EXPECT_EQ(white(2), 0.625F);
}

TEST_F(NPScreenManagerTest, GroupThatDoesNotClearLeavesTheOtherDisplays)
{
    activate("G");
    activate("P");
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerTest, GroupForAllScreensClearsNothing)
{
    group("G")->setClearEffectOnOtherScreens(true);
    activate("G");
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerTest, ActivationRemembersForgetsClearsAndThenSetsItsScreens)
{
    group("P")->setAffectedScreenSet({2, 7}); // there is no display 7
    group("P")->setClearEffectOnOtherScreens(true);
    activate("G");
    platform.log.clear();
    activate("P");
    EXPECT_EQ(platform.log.text(), "defaults set ScreenState\n"
                                   "defaults set ScreenState\n"
                                   "profile 7\n"
                                   "read 7 failed\n"
                                   "write 1 256 1 1 1\n"
                                   "write 2 256 0.75 0.75 0.75\n");
    EXPECT_EQ(state(), "2:P+ 7:P+");
}

TEST_F(NPScreenManagerTest, ListedScreenThatIsNotConnectedGetsAControllerThatWritesNothing)
{
    group("P")->setAffectedScreenSet({7});
    activate("P");
    ASSERT_NE(controllerOf(7), nullptr);
    EXPECT_TRUE(controllerOf(7)->isActive());
    manager().updateEffect();
    EXPECT_EQ(writesTo(7), 0);
    EXPECT_EQ(state(), "7:P+");
}

TEST_F(NPScreenManagerTest, DeactivationTouchesTheScreensOfItsGroupAlone)
{
    activate("G");
    deactivate("P");
    EXPECT_EQ(state(), "2:P- AllScreens:G+"); // recorded, although display 2 shows G
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 0.5F);
}

TEST_F(NPScreenManagerTest, FadeLengthDependsOnTheKindOfTransition)
{
    const auto afterHalfASecond = [this](int kind) {
        activate("G", static_cast<NPTransitionKind>(kind));
        platform.clock.advance(0.5);
        const float shownThen = white(1);
        deactivate("G");
        return shownThen;
    };
    EXPECT_EQ(afterHalfASecond(0), 0.5F);
    EXPECT_EQ(afterHalfASecond(1), 0.75F);  // of one second
    EXPECT_EQ(afterHalfASecond(2), 0.875F); // of two
    EXPECT_EQ(afterHalfASecond(3), 0.5F);
    EXPECT_EQ(afterHalfASecond(-1), 0.5F);
}

TEST_F(NPScreenManagerTest, FadeEndsItsLengthAfterTheDateOfTheChange)
{
    manager().activateEffectGroup(group("G"), NPTransitionKind::timed, now().addingTimeInterval(-1.5));
    EXPECT_EQ(white(1), 0.625F);
    EXPECT_EQ(stateDate("AllScreens"), now().addingTimeInterval(-1.5));
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerTest, FadeIsDrawnInTwoHundredFiftySixSteps)
{
    activate("G", NPTransitionKind::timed);
    EXPECT_EQ(manager().transitionTimerInterval(), 2.0 / 256.0);
    EXPECT_EQ(writesTo(1), 1);
    platform.clock.advance(100.0);
    EXPECT_EQ(writesTo(1), 257);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPScreenManagerTest, NoStepOfAFadeJumpsByMoreThanItsShare)
{
    activate("G", NPTransitionKind::timed);
    float former = white(1);
    float largest = 0.0F;
    for (int i = 0; i < 256; ++i) {
        platform.clock.advance(2.0 / 256.0);
        largest = std::max(largest, former - white(1));
        former = white(1);
    }
    EXPECT_LT(largest, 0.5F / 255.0F);
    EXPECT_EQ(former, 0.5F);
}

TEST_F(NPScreenManagerTest, StepTimerRunsAtTheSmallestIntervalAskedFor)
{
    activate("G", NPTransitionKind::timed);
    manager().startQuickRefreshForDuration(10.0);
    EXPECT_EQ(manager().transitionTimerInterval(), 2.0 / 256.0);
    platform.clock.advance(2.5);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.1);
    group("G")->setTimerTransitionDuration(128.0); // steps of half a second
    deactivate("G", NPTransitionKind::timed);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.1);
    platform.clock.advance(20.0);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.5);
}

TEST_F(NPScreenManagerTest, TwoFadesStepAtTheShorterOnesInterval)
{
    activate("G", NPTransitionKind::timed);
    group("P")->setTimerTransitionDuration(0.5);
    activate("P", NPTransitionKind::timed);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.5 / 256.0);
    platform.clock.advance(1.0);
    EXPECT_EQ(manager().transitionTimerInterval(), 2.0 / 256.0);
}

TEST_F(NPScreenManagerTest, RunningStepTimerKeepsItsPhase)
{
    activate("G", NPTransitionKind::timed);
    const QXDate next = now().addingTimeInterval(2.0 / 256.0);
    platform.clock.advance(1.0 / 256.0);
    manager().updateEffect();
    EXPECT_EQ(platform.clock.nextFireDate(), next);
}

TEST_F(NPScreenManagerTest, QuickRefreshRewritesTheTablesEveryTenthOfASecondForItsTime)
{
    manager().startQuickRefreshForDuration(1.0);
    EXPECT_EQ(writesTo(1), 1);
    platform.clock.advance(0.55);
    EXPECT_EQ(writesTo(1), 6);
    platform.clock.advance(10.0);
    EXPECT_EQ(writesTo(1), 12); // its end included, and the step that finds it over
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPScreenManagerTest, UpdateWritesTheRestingTablesAgain)
{
    activate("G");
    platform.displays.display(1)->table = QXGammaTableIdentity(); // somebody else's doing
    manager().updateEffect();
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerTest, ChangedSettingShowsAtOnce)
{
    activate("G");
    group("G")->dimEffect().setLevel(-0.25F);
    EXPECT_EQ(white(1), 0.75F);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

TEST_F(NPScreenManagerTest, DurationThatIsNotANumberShowsTheGroupAtOnce)
{
    group("G")->setTimerTransitionDuration(std::nan(""));
    activate("G", NPTransitionKind::timed);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPScreenManagerTest, CombinedStateCountsTheAffectedOnlineDisplays)
{
    EXPECT_EQ(combinedState("G"), 0);
    activate("G");
    EXPECT_EQ(combinedState("G"), 1);
    EXPECT_EQ(combinedState("H"), 0);
    activate("P");
    EXPECT_EQ(combinedState("P"), 1); // of display 2 alone
    EXPECT_EQ(combinedState("G"), -1);
    platform.displays.unplug(2);
    EXPECT_EQ(combinedState("G"), 1);
    EXPECT_EQ(combinedState("P"), 0); // none of its displays is online
}

TEST_F(NPScreenManagerTest, CombinedStateIsOffWithoutAListOfDisplays)
{
    activate("G");
    platform.displays.setListsFail(true);
    EXPECT_EQ(combinedState("G"), 0);
    platform.displays.setListsFail(false);
    platform.displays.unplug(1);
    platform.displays.unplug(2);
    EXPECT_EQ(combinedState("G"), 0);
}

TEST_F(NPScreenManagerTest, CombinedStateIsThatOfTheRecordNotOfTheDisplays)
{
    storeState({{"1", stateEntry("G", true, now())}, {"AllScreens", stateEntry("G", true, now())}});
    EXPECT_EQ(combinedState("G"), 1);
    EXPECT_EQ(white(1), 1.0F);
    storeState({{"1", "broken"}, {"AllScreens", stateEntry("G", true, now())}});
    EXPECT_EQ(combinedState("G"), -1);
    storeState({{"AllScreens", stateEntry("G", false, now())}});
    EXPECT_EQ(combinedState("G"), 0);
}

TEST_F(NPScreenManagerTest, TogglingAMixedGroupActivatesIt)
{
    group("P")->setAffectedScreenSet({1, 2});
    storeState({{"1", stateEntry("P", true, now())}});
    EXPECT_EQ(combinedState("P"), -1);
    toggle("P");
    EXPECT_EQ(combinedState("P"), 1);
    toggle("P");
    EXPECT_EQ(combinedState("P"), 0);
}

TEST_F(NPScreenManagerTest, ActivatingByToggleSwitchesTheSavedSwitchOn)
{
    toggle("G");
    EXPECT_TRUE(platform.defaults.boolForKey(NPEffectActiveKey));
    platform.defaults.setObject(2, NPEffectActiveKey);
    toggle("G");
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectActiveKey), QXValue(2)); // deactivating leaves it
    toggle("G");
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectActiveKey), QXValue(2)); // and so does what is on already
}

TEST_F(NPScreenManagerTest, ActivatingItselfLeavesTheSavedSwitch)
{
    activate("G");
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectActiveKey), std::nullopt);
}

TEST_F(NPScreenManagerTest, EveryChangeIsAnnouncedOnceWhenItShows)
{
    float seen = 0.0F;
    QXNotificationObserver observer;
    platform.notifications.addObserver(observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                       [&](const QXNotification&) { seen = white(1); });
    stateChanges.take();
    activate("G");
    EXPECT_EQ(stateChanges.take(), 1);
    EXPECT_EQ(stateChanges.lastObject(), sharedScreenManager().get());
    EXPECT_EQ(seen, 0.5F);
    deactivate("G");
    EXPECT_EQ(stateChanges.take(), 1);
    EXPECT_EQ(seen, 1.0F);
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(stateChanges.take(), 1);
    manager().updateEffect();
    EXPECT_EQ(stateChanges.take(), 0);
}

TEST_F(NPScreenManagerTest, WithoutAListOfDisplaysAChangeIsRecordedOnly)
{
    platform.displays.setListsFail(true);
    activate("G");
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(stateChanges.take(), 2); // with the one of switching on
}

TEST_F(NPScreenManagerTest, DisplaysBeyondTheTenthGetNoController)
{
    for (NPDisplayID identifier = 3; identifier <= 12; ++identifier) {
        plug(identifier);
    }
    activate("G");
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(manager().screenControllers()->size(), 10U);
    EXPECT_EQ(white(10), 0.5F);
    EXPECT_EQ(white(11), 1.0F);
    EXPECT_EQ(writesTo(12), 0);
}

TEST_F(NPScreenManagerTest, ControllersOfUnpluggedDisplaysStay)
{
    const auto controller = controllerOf(2);
    platform.displays.unplug(2);
    activate("G");
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(controllerOf(2), controller);
}

TEST_F(NPScreenManagerTest, NewManagerDrivesNothing)
{
    const QXSharedScope another;
    NPInstallPlatform(platform.services());
    EXPECT_FALSE(manager().screenManagementEnabled());
    EXPECT_FALSE(manager().colorProfileManagementEnabled());
    EXPECT_EQ(manager().screenControllers(), std::nullopt);
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
}

} // namespace
