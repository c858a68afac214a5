// What the engine does about sleep, sessions, other applications, colour spaces and the screen saver.
#include "Support/NPApplicationTest.h"

namespace {

// Group G, on from 22:00 to 07:00, which dims to a half without a fade.
class NPWorkspaceEventsTest : public NPApplicationTest {
protected:
    NPWorkspaceEventsTest()
    {
        plug(1);
        stopContinuousApplying();
        storeGroups({dimming("G", -0.5F, timed("22:00", "07:00", {{"NPManualTransitionDuration", 1.0}}))});
    }
    void launchActive()
    {
        launch();
        manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now());
        ASSERT_EQ(white(1), 0.5F);
        platform.log.clear();
    }
    void postOnWorkspace(std::string_view name)
    {
        platform.workspaceEvents.workspace.postNotification(name, nullptr);
    }
    void postOnDistributed(std::string_view name)
    {
        platform.workspaceEvents.distributed.postNotification(name, nullptr);
    }
    void startScreenSaver() { postOnDistributed("com.apple.screensaver.didstart"); }
    void stopScreenSaver() { postOnDistributed("com.apple.screensaver.didstop"); }
    bool effectActiveSaved() const { return platform.defaults.boolForKey(NPEffectActiveKey); }
};

TEST_F(NPWorkspaceEventsTest, WakingAndTheSessionsReturnArmTheTimersAnew)
{
    launch();
    for (const std::string_view name :
         {"NSWorkspaceDidWakeNotification", "NSWorkspaceSessionDidBecomeActiveNotification"}) {
        const auto former = controller->activationTimer(*groupAt(0));
        postOnWorkspace(name);
        EXPECT_NE(controller->activationTimer(*groupAt(0)), former);
    }
}

TEST_F(NPWorkspaceEventsTest, WakingPastAnActivationCatchesUpWithAManualFade)
{
    launch();
    storeState({{"AllScreens", stateEntry("G", false, dateOf("2026-03-01T11:00:00Z"))}});
    platform.clock.advanceTo(dateOf("2026-03-01T21:59:00Z"));
    platform.clock.sleep(120.0);
    postOnWorkspace(NSWorkspaceDidWakeNotification);
    EXPECT_EQ(manager().transitionTimerInterval(), 1.0 / 256.0);
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.75F);
    EXPECT_EQ(controller->activationTimer(*groupAt(0))->fireDate(), dateOf("2026-03-02T22:00:00Z"));
}

TEST_F(NPWorkspaceEventsTest, EndOfAnotherApplicationRewritesTheTables)
{
    launchActive();
    postOnWorkspace("NSWorkspaceDidTerminateApplicationNotification");
    EXPECT_EQ(writesTo(1), 1);
}

TEST_F(NPWorkspaceEventsTest, ChangeOfColourSpaceRewritesTheTables)
{
    launchActive();
    postOnDistributed("NSScreenColorSpaceDidChangeNotification");
    EXPECT_EQ(writesTo(1), 1);
}

TEST_F(NPWorkspaceEventsTest, SwitchingOffEndsTheObservationOfColourSpacesUntilTheNextLaunch)
{
    launchActive();
    controller->toggleGlobalEffect();
    controller->toggleGlobalEffect();
    platform.clock.advance(2.0);
    platform.log.clear();
    postOnDistributed("NSScreenColorSpaceDidChangeNotification");
    EXPECT_EQ(platform.log.text(), "");
    controller.reset();
    launch();
    platform.log.clear();
    postOnDistributed("NSScreenColorSpaceDidChangeNotification");
    EXPECT_EQ(writesTo(1), 1);
}

// The switch is set before the observers are installed.
TEST_F(NPWorkspaceEventsTest, LaunchThatIsOffStillObservesColourSpaces)
{
    setDefault(NPActivateAtLaunchKey, false);
    launch();
    ASSERT_FALSE(controller->effectActive());
    manager().setScreenManagementEnabled(true); // not by the controller
    platform.log.clear();
    postOnDistributed("NSScreenColorSpaceDidChangeNotification");
    EXPECT_EQ(writesTo(1), 1);
}

TEST_F(NPWorkspaceEventsTest, ChangeOfScreenParametersIsTakenAsAChangeOfSettings)
{
    launchActive();
    manager().setScreenManagementEnabled(false);
    platform.notifications.postNotification("NSApplicationDidChangeScreenParametersNotification", nullptr);
    EXPECT_TRUE(controller->effectActive()); // as saved
}

TEST_F(NPWorkspaceEventsTest, ScreenSaverChangesNothingUnlessAskedTo)
{
    launchActive();
    startScreenSaver();
    EXPECT_TRUE(controller->effectActive());
    stopScreenSaver();
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPWorkspaceEventsTest, ScreenSaverSwitchesOffAndOnWithoutSaving)
{
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    startScreenSaver();
    EXPECT_FALSE(controller->effectActive());
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_TRUE(effectActiveSaved());
    stopScreenSaver();
    EXPECT_TRUE(controller->effectActive());
    platform.clock.advance(2.0);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(logged("defaults set EffectActive"), 0);
}

TEST_F(NPWorkspaceEventsTest, EveryScreenSaverSwitchesOff)
{
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    for (int i = 0; i < 3; ++i) {
        startScreenSaver();
        startScreenSaver(); // some say it twice
        EXPECT_FALSE(controller->effectActive());
        stopScreenSaver();
        EXPECT_TRUE(controller->effectActive());
    }
}

TEST_F(NPWorkspaceEventsTest, ScreenSaverLeavesAnEffectThatIsOffOff)
{
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    controller->toggleGlobalEffect();
    startScreenSaver();
    stopScreenSaver();
    EXPECT_FALSE(controller->effectActive());
}

TEST_F(NPWorkspaceEventsTest, SwitchingOffWhileTheScreenSaverRunsHolds)
{
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    startScreenSaver();
    controller->setEffectActive(false, true);
    stopScreenSaver();
    EXPECT_FALSE(controller->effectActive());
}

// The saved switch is the master also then.
TEST_F(NPWorkspaceEventsTest, ChangeOfSettingsWhileTheScreenSaverRunsSwitchesOn)
{
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    startScreenSaver();
    setDefault("SomebodyElses", 1);
    EXPECT_TRUE(controller->effectActive());
}

TEST_F(NPWorkspaceEventsTest, EndWhileTheScreenSaverRunsLaunchesActive)
{
    setDefault(NPActivateAtLaunchKey, false);
    setDefault(NPEffectActiveKey, true);
    setDefault(NPDeactivateForScreenSaverKey, true);
    launchActive();
    startScreenSaver();
    controller->applicationWillTerminate();
    controller.reset();
    launch();
    EXPECT_TRUE(controller->effectActive());
}

TEST_F(NPWorkspaceEventsTest, SettingsThatChangeOftenDoNotAddObservers)
{
    launchActive();
    int observed = 0;
    platform.workspaceEvents.distributed.setTrace(
        [&](const std::string& line) { observed += line.starts_with("observe ") ? 1 : -1; });
    for (int i = 0; i < 100; ++i) {
        setDefault("SomebodyElses", i);
    }
    EXPECT_EQ(observed, 0);
    platform.workspaceEvents.distributed.setTrace({});
}

} // namespace
