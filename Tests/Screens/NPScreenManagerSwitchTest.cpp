// Switching screen management on and off, and displays that come and go meanwhile.
#include "Screens/NPScreenManager.h"

#include "Support/NPScreensTest.h"

namespace {

// Displays 1 and 2; G dims every screen, P screen 2 alone.
class NPScreenManagerSwitchTest : public NPScreensTest {
protected:
    NPScreenManagerSwitchTest()
    {
        storeGroups(
            {dimming("G", -0.5F, {{"NPManualTransitionDuration", 1.0}}), dimming("P", -0.25F, onScreens({2}))});
        plug(1);
        plug(2);
    }

    static void switchOn() { manager().setScreenManagementEnabled(true); }
    static void switchOff() { manager().setScreenManagementEnabled(false); }
    void activate(std::size_t index, NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().activateEffectGroup(groupAt(index), transition, now());
    }
    NPSimulatedDisplay& display(NPDisplayID identifier) { return *platform.displays.display(identifier); }
};

TEST_F(NPScreenManagerSwitchTest, WhileOffAChangeIsRecordedAndNothingIsShown)
{
    manager();
    platform.log.clear();
    activate(0);
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(platform.log.text(), "defaults set ScreenState\n"
                                   "profile 1\nread 1\nprofile 2\nread 2\n"); // controllers for the call
    EXPECT_EQ(manager().screenControllers(), std::nullopt);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    manager().deactivateEffectGroup(groupAt(0), NPTransitionKind::manual, now());
    EXPECT_EQ(state(), "AllScreens:G-");
}

TEST_F(NPScreenManagerSwitchTest, WhileOffAClearingActivationTakesItsStepsInOrderToo)
{
    groupAt(1)->setClearEffectOnOtherScreens(true);
    activate(0);
    platform.log.clear();
    activate(1);
    EXPECT_EQ(platform.log.text(), "defaults set ScreenState\n" // remembers,
                                   "defaults set ScreenState\n" // forgets the others,
                                   "profile 1\nread 1\n"       // clears them,
                                   "profile 2\nread 2\n");     // and sets its own
    EXPECT_EQ(state(), "2:P+");
}

TEST_F(NPScreenManagerSwitchTest, SwitchingOnCatchesUpWithAManualFade)
{
    activate(0);
    switchOn();
    EXPECT_EQ(manager().transitionTimerInterval(), 1.0 / 256.0);
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.75F);
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(manager().screenControllers()->size(), 2U);
    EXPECT_EQ(state(), "1:G+ 2:G+ AllScreens:G+"); // now each display has its own
}

TEST_F(NPScreenManagerSwitchTest, SwitchIsOnWhileTheChangeIsAnnounced)
{
    bool seen = false;
    QXNotificationObserver observer;
    platform.notifications.addObserver(observer, std::string(NPScreenManagerEffectStateDidChange), nullptr,
                                       [&](const QXNotification&) { seen = manager().screenManagementEnabled(); });
    switchOn();
    EXPECT_TRUE(seen);
}

TEST_F(NPScreenManagerSwitchTest, SwitchingToWhatItIsDoesNothing)
{
    switchOn();
    NPNotificationCounter changes(platform.notifications, NPScreenManagerEffectStateDidChange);
    platform.log.clear();
    switchOn();
    EXPECT_EQ(platform.log.text(), "");
    switchOff();
    platform.log.clear();
    switchOff();
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(changes.take(), 0);
}

TEST_F(NPScreenManagerSwitchTest, SwitchingOffGivesEveryDisplayItsBaseTableAtOnce)
{
    display(1).baseTable = scaledTable(0.9F);
    switchOn();
    activate(0, NPTransitionKind::timed);
    platform.clock.advance(1.0);
    switchOff();
    EXPECT_TRUE(sameTable(shown(1), scaledTable(0.9F)));
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_EQ(state(), "AllScreens:G+");
    EXPECT_EQ(manager().screenControllers(), std::nullopt);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    platform.log.clear();
    platform.clock.advance(10.0);
    manager().updateEffect();
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPScreenManagerSwitchTest, SwitchingOnReadsTheBaseTablesAnew)
{
    switchOn();
    switchOff();
    display(1).baseTable = scaledTable(0.8F);
    activate(0);
    switchOn();
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.4F);
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInWhileAGroupIsOnGetsItsTableAtOnce)
{
    switchOn();
    activate(0);
    platform.log.clear();
    plug(3);
    EXPECT_EQ(white(3), 0.5F);
    EXPECT_EQ(writesTo(3), 1);
    EXPECT_EQ(state(), "3:G+ AllScreens:G+");
    EXPECT_EQ(platform.clock.timerCount(), 0U); // no fade
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInAgainReadsItsBaseTableBeforeItIsWritten)
{
    switchOn();
    activate(0);
    platform.displays.unplug(2);
    display(2).baseTable = scaledTable(0.8F);
    display(2).table = QXGammaTableIdentity(); // the screen was reset
    platform.log.clear();
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 0.4F);
    EXPECT_EQ(platform.log.lines().at(0), "profile 2");
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInWithItsIdentityAfterActivationOfItsGroupShowsIt)
{
    platform.displays.unplug(2);
    switchOn();
    activate(1); // for display 2, which is not there
    EXPECT_EQ(writesTo(2), 0);
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 0.75F);
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInAgainHasMissedNothing)
{
    groupAt(0)->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindTime); // at 22:00
    groupAt(0)->setAffectedScreenSet({2});
    storeState({{"2", stateEntry("G", false, dateOf("2026-03-01T10:00:00Z"))}});
    switchOn();
    platform.displays.unplug(2);
    platform.clock.advance(11 * 3600.0);
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 0.5F);
    EXPECT_EQ(stateDate("2"), dateOf("2026-03-01T22:00:00Z"));
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInAfterTheRemovalOfItsGroupShowsNothing)
{
    switchOn();
    activate(0);
    platform.displays.unplug(2);
    const auto removed = sharedEffectManager()->removeGroupAtIndex(0);
    manager().deactivateEffectGroup(removed, NPTransitionKind::none, now());
    platform.displays.plugAgain(2);
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_EQ(manager().screenControllers()->back()->isActive(), false);
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInDuringAFadeDoesNotDisturbIt)
{
    switchOn();
    activate(0, NPTransitionKind::timed);
    platform.clock.advance(1.0);
    plug(3);
    EXPECT_EQ(white(1), 0.75F);
    EXPECT_EQ(white(3), 0.5F);
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.625F);
}

TEST_F(NPScreenManagerSwitchTest, DisplayUnpluggedDuringAFadeHarmsNoOther)
{
    switchOn();
    activate(0, NPTransitionKind::timed);
    platform.clock.advance(1.0);
    platform.displays.unplug(2);
    platform.clock.advance(2.0);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 0.75F); // as it was
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPScreenManagerSwitchTest, DisplayPluggedInWhileOffIsLeftAlone)
{
    manager();
    platform.log.clear();
    plug(3);
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPScreenManagerSwitchTest, OtherChangesOfADisplayAreNotItsConcern)
{
    switchOn();
    platform.log.clear();
    platform.displays.changeMode(1);
    platform.displays.unplug(1);
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPScreenManagerSwitchTest, EleventhDisplayPluggedInIsLeftAlone)
{
    switchOn();
    activate(0);
    for (NPDisplayID identifier = 3; identifier <= 11; ++identifier) {
        plug(identifier);
    }
    EXPECT_EQ(white(10), 0.5F);
    EXPECT_EQ(white(11), 1.0F);
    EXPECT_EQ(controllerOf(11), nullptr);
}

TEST_F(NPScreenManagerSwitchTest, DisplayWhoseTableCannotBeReadOrWrittenHarmsNoOther)
{
    display(1).writesFail = true;
    display(1).readsFail = true;
    switchOn();
    activate(0, NPTransitionKind::timed);
    platform.clock.advance(3.0);
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 0.5F);
    display(1).writesFail = false;
    manager().updateEffect();
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerSwitchTest, ManagerThatHasGoneLeavesNoTimerAndNoObserver)
{
    {
        const QXSharedScope another;
        NPInstallPlatform(platform.services());
        switchOn();
        activate(0, NPTransitionKind::timed);
        EXPECT_EQ(platform.clock.timerCount(), 1U);
    }
    EXPECT_EQ(platform.clock.timerCount(), 0U);
    platform.log.clear();
    plug(3);
    groupAt(0)->setName("Night");
    EXPECT_EQ(writesTo(1), 0);
}

} // namespace
