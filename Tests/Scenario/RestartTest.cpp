// One run after another, on the same machine and the same settings.
#include "Support/NPApplicationTest.h"

namespace {

// Like the program: a run's managers live in a scope of their own, and go with it.
class RestartTest : public NPApplicationTest {
protected:
    RestartTest()
    {
        plug(1);
        plug(2);
        stopContinuousApplying();
    }

    void startRun()
    {
        _run = std::make_unique<QXSharedScope>();
        NPInstallPlatform(platform.services());
        launch();
    }
    void endRun()
    {
        controller->applicationWillTerminate();
        abandonRun();
    }
    // Nothing is given back, as when a program is killed.
    void abandonRun()
    {
        controller.reset();
        _run.reset();
    }
    void finishFade() { platform.clock.advance(3.0); }

private:
    std::unique_ptr<QXSharedScope> _run;
};

TEST_F(RestartTest, EffectThatWasOnComesBackWithAManualFade)
{
    storeGroups({dimming("G", -0.5F, {{"NPManualTransitionDuration", 1.0}})});
    startRun();
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    endRun();
    EXPECT_EQ(white(1), 1.0F);
    startRun();
    platform.clock.advance(0.5);
    EXPECT_EQ(white(1), 0.75F);
    finishFade();
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 0.5F);
    endRun();
}

TEST_F(RestartTest, EventsMissedBetweenTwoRunsAreCaughtUp)
{
    storeGroups({dimming("G", -0.5F, timed("22:00", "07:00"))});
    storeState({{"AllScreens", stateEntry("G", false, now())}});
    startRun();
    endRun();
    platform.clock.setWallClock(dateOf("2026-03-01T23:00:00Z"));
    startRun();
    finishFade();
    EXPECT_EQ(white(1), 0.5F);
    endRun();
    platform.clock.setWallClock(dateOf("2026-03-02T12:00:00Z"));
    startRun();
    finishFade();
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(stateDate("1"), dateOf("2026-03-02T07:00:00Z"));
    endRun();
}

TEST_F(RestartTest, RunAfterOneThatWasKilledDoesNotStackTheEffect)
{
    storeGroups({dimming("G", -0.5F)});
    startRun();
    manager().activateEffectGroup(groupAt(0), NPTransitionKind::none, now());
    abandonRun();
    EXPECT_EQ(white(1), 0.5F);
    startRun();
    finishFade();
    EXPECT_EQ(white(1), 0.5F);
    endRun();
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(RestartTest, GroupsKeepTheirIdentifiersAndSettings)
{
    storeGroups({dimming("G", -0.5F, {{"SomebodyElses", "kept"}}), dimming("H", -0.75F)});
    startRun();
    groupAt(1)->setName("Evening");
    endRun();
    startRun();
    EXPECT_EQ(groupAt(0)->identifier(), "G");
    EXPECT_EQ(groupAt(0)->stringForKey("SomebodyElses"), "kept");
    EXPECT_EQ(groupAt(1)->name(), "Evening");
    endRun();
}

// The first run saves no group before the first change, so the next is a first run as well.
TEST_F(RestartTest, RunWithoutAnyChangeAfterTheFirstOneBeginsAnew)
{
    startRun();
    const std::string first = groupAt(0)->identifier();
    endRun();
    EXPECT_EQ(platform.defaults.objectForKey(NPEffectGroupsKey), std::nullopt);
    startRun();
    EXPECT_NE(groupAt(0)->identifier(), first);
    EXPECT_TRUE(sharedEffectManager()->createdFirstEffectOnInitialization());
    EXPECT_EQ(state(), "AllScreens:" + groupAt(0)->identifier() + '+');
    endRun();
}

TEST_F(RestartTest, DefaultGroupThatWasChangedIsKept)
{
    startRun();
    groupAt(0)->dimEffect().setLevel(-0.5F);
    const std::string first = groupAt(0)->identifier();
    EXPECT_EQ(white(1), 0.5F);
    endRun();
    startRun();
    EXPECT_EQ(groupAt(0)->identifier(), first);
    EXPECT_FALSE(sharedEffectManager()->createdFirstEffectOnInitialization());
    finishFade();
    EXPECT_EQ(white(1), 0.5F);
    endRun();
}

TEST_F(RestartTest, SwitchThatWasOffStaysOffWhenLaunchDoesNotActivate)
{
    setDefault(NPActivateAtLaunchKey, false);
    storeGroups({dimming("G", -0.5F)});
    startRun();
    controller->setEffectActive(true, true);
    controller->toggleGlobalEffect();
    endRun();
    startRun();
    EXPECT_FALSE(controller->effectActive());
    controller->toggleGlobalEffect();
    endRun();
    startRun();
    EXPECT_TRUE(controller->effectActive());
    endRun();
}

TEST_F(RestartTest, SettingsOfEveryWrongTypeLetItStart)
{
    const QXValue wrong[] = {"text",       -7,         2.5, true, QXArray{1, "x"}, QXDictionary{{"k", 1}},
                             QXData{1, 2}, QXDate{0.0}};
    for (const QXValue& value : wrong) {
        QXDictionary settings = dimming("G", -0.5F);
        for (const std::string_view key :
             {NPTimerActivationKindKey, NPTimerActivationHourKey, NPTimerActivationMinuteKey,
              NPTimerDeactivationKindKey, NPTimerDeactivationHourKey, NPManualTransitionDurationKey,
              NPTimerTransitionDurationKey, NPAffectedScreenSetKey, NPClearEffectOnOtherScreensKey,
              NPHotKeyCodeKey, NPHotKeyModifiersKey, NPUseHotKeyKey, NPEffectNameKey}) {
            settings.insert_or_assign(std::string(key), value);
        }
        storeGroups({settings, value});
        storeState({{"1", value}, {"AllScreens", value}});
        for (const std::string_view key : {NPActivateAtLaunchKey, NPApplyToColorProfileKey, NPEffectActiveKey,
                                           NPLocationLatitudeKey, NPLocationLongitudeKey}) {
            setDefault(key, value);
        }
        startRun();
        platform.clock.advance(86400.0);
        EXPECT_EQ(groupAt(0)->identifier(), "G");
        endRun();
        EXPECT_EQ(white(1), 1.0F);
    }
}

} // namespace
