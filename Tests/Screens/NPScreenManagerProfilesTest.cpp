// How the manager and its controllers have custom profiles written and applied.
#include "Screens/NPScreenManager.h"

#include "Support/NPRecordingProfiles.h"
#include "Support/NPScreensTest.h"

namespace {

// One display under management with custom profiles, and group G, which dims it to a half without a fade.
class NPScreenManagerProfilesTest : public NPScreensTest {
protected:
    NPScreenManagerProfilesTest()
    {
        scope.instance<NPProfileApplying>([this] { return profiles; });
        storeGroups({dimming("G", -0.5F, {{"NPManualTransitionDuration", 2.0}}), dimming("H", -0.75F)});
        platform.displays.plug(
            {.identifier = 1, .baseTable = scaledTable(0.9F), .profileLocation = "file:///own"});
    }

    void SetUp() override { start(); }

    // The managers on, at rest, with nothing waiting and an empty log.
    void start()
    {
        manager().setColorProfileManagementEnabled(true);
        manager().setScreenManagementEnabled(true);
        platform.log.clear();
    }

    void activate(NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().activateEffectGroup(groupAt(0), transition, now());
    }
    void deactivate(NPTransitionKind transition = NPTransitionKind::none)
    {
        manager().deactivateEffectGroup(groupAt(0), transition, now());
    }
    bool waits() { return controllerOf(1)->profileNeedsUpdate(); }

    // The lines of the log about custom profiles, but for those of every step; and forgets all.
    std::string custom()
    {
        std::string text;
        for (const std::string& line : platform.log.lines()) {
            if (line.starts_with("custom ") && line != "custom on" && line != "custom apply") {
                text += line.substr(7) + '\n';
            }
        }
        platform.log.clear();
        return text;
    }

    std::shared_ptr<NPRecordingProfiles> profiles = std::make_shared<NPRecordingProfiles>(platform.log);
};

TEST_F(NPScreenManagerProfilesTest, TableAtRestIsWrittenAsACopyOfTheDisplaysOwnProfile)
{
    activate();
    EXPECT_EQ(platform.log.text(), "defaults set ScreenState\n"
                                   "write 1 256 0.44999998807907104 0.44999998807907104 0.44999998807907104\n"
                                   "custom 1 wait\n"
                                   "custom 1 write\n"
                                   "custom on\n"
                                   "custom apply\n");
    ASSERT_EQ(profiles->writes().size(), 1U);
    const NPRecordingProfiles::Write& write = profiles->writes()[0];
    EXPECT_EQ(write.screen, 1U);
    EXPECT_TRUE(sameTable(write.own.baseTable, scaledTable(0.9F)));
    EXPECT_EQ(write.own.location, "file:///own");
    EXPECT_TRUE(sameTable(write.table, shown(1)));
}

TEST_F(NPScreenManagerProfilesTest, WrittenTableIsTheClampedOne)
{
    groupAt(0)->dimEffect().setLevel(-1.5F);
    activate();
    EXPECT_EQ(bitsOf(profiles->writes().at(0).table.redTable[255]), 0U);
}

TEST_F(NPScreenManagerProfilesTest, FinishedWriteIsHandedOver)
{
    activate();
    custom();
    EXPECT_TRUE(waits());
    profiles->finish(0, "file:///custom");
    EXPECT_EQ(custom(), "1 set file:///custom\n");
    EXPECT_FALSE(waits());
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, FailedWriteTakesTheCustomProfileOffAndIsNotTriedAgain)
{
    activate();
    custom();
    profiles->finish(0, std::nullopt);
    EXPECT_EQ(custom(), "1 set none\n");
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, WriteOvertakenByANewerOneIsDropped)
{
    activate();
    manager().updateEffect(); // the profile still waits
    ASSERT_EQ(profiles->writes().size(), 2U);
    custom();
    profiles->finish(0, "file:///older");
    EXPECT_EQ(custom(), "");
    EXPECT_TRUE(waits());
    profiles->finish(1, "file:///newer");
    EXPECT_EQ(custom(), "1 set file:///newer\n");
    profiles->finish(0, "file:///older");
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, WriteOvertakenByARestorationIsDropped)
{
    activate();
    controllerOf(1)->restoreProfile();
    EXPECT_EQ(custom(), "1 wait\n1 write\n1 set file:///own\n1 remove\n");
    profiles->finish(0, "file:///custom");
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, WriteOvertakenByANewFadeIsDroppedAndItsEndWritesAnew)
{
    activate();
    deactivate(NPTransitionKind::manual);
    custom();
    profiles->finish(0, "file:///before");
    EXPECT_EQ(custom(), "");
    platform.clock.advance(3.0);
    EXPECT_EQ(custom(), "1 wait\n1 write\n");
    EXPECT_TRUE(sameTable(profiles->writes().at(1).table, scaledTable(0.9F)));
}

TEST_F(NPScreenManagerProfilesTest, WriteThatFinishesAfterManagementWasSwitchedOffIsDropped)
{
    activate();
    manager().setScreenManagementEnabled(false);
    custom();
    profiles->finish(0, "file:///custom");
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, NothingIsWrittenOrAppliedDuringAFade)
{
    activate(NPTransitionKind::manual);
    EXPECT_EQ(custom(), "off\n");
    EXPECT_FALSE(profiles->applyEnabled());
    platform.clock.advance(1.99);
    EXPECT_EQ(custom(), "");
    EXPECT_TRUE(profiles->writes().empty());
    EXPECT_TRUE(waits());
}

TEST_F(NPScreenManagerProfilesTest, FadeThatEndedHandsItsTableOverInOneFurtherStep)
{
    activate(NPTransitionKind::manual);
    platform.clock.advance(1.999);
    platform.log.clear();
    platform.clock.advance(0.001);
    const std::string written = "write 1 256 0.44999998807907104 0.44999998807907104 0.44999998807907104\n";
    EXPECT_EQ(platform.log.text(), written + "custom on\n" + written
                                       + "custom 1 wait\n"
                                         "custom 1 write\n"
                                         "custom apply\n");
    platform.log.clear();
    platform.clock.advance(100.0); // the write takes long: nothing runs meanwhile
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(NPScreenManagerProfilesTest, FadeThatLeavesNoProfileWaitingTakesNoFurtherStep)
{
    activate(NPTransitionKind::manual);
    controllerOf(1)->restoreGamma(); // nothing waits any more
    platform.clock.advance(1.999);
    platform.log.clear();
    platform.clock.advance(0.001);
    EXPECT_EQ(writesTo(1), 1);
}

TEST_F(NPScreenManagerProfilesTest, WithoutApplyingNothingIsWrittenButTheProfileStaysWaiting)
{
    manager().setColorProfileManagementEnabled(false);
    platform.clock.advance(10.0);
    activate();
    EXPECT_TRUE(waits());
    deactivate(NPTransitionKind::manual);
    platform.clock.advance(10.0);
    EXPECT_TRUE(waits());
    EXPECT_TRUE(profiles->writes().empty());
}

TEST_F(NPScreenManagerProfilesTest, EditRewritesTheProfileNoSoonerThanFiveSecondsLater)
{
    activate();
    profiles->finish(0, "file:///custom");
    custom();
    groupAt(0)->dimEffect().setLevel(-0.25F);
    manager().updateEffect();
    platform.clock.advance(5.0);
    manager().updateEffect(); // not later than the five seconds yet
    EXPECT_EQ(custom(), "");
    platform.clock.advance(0.001);
    manager().updateEffect();
    EXPECT_EQ(custom(), "1 wait\n1 write\n");
    EXPECT_FLOAT_EQ(profiles->writes().at(1).table.redTable[255], 0.9F * 0.75F);
    profiles->finish(1, "file:///custom");
    custom();
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, EveryEditPutsTheRewritingOff)
{
    activate();
    profiles->finish(0, "file:///custom");
    custom();
    groupAt(0)->dimEffect().setLevel(-0.25F);
    platform.clock.advance(4.0);
    groupAt(0)->dimEffect().setLevel(-0.3F);
    platform.clock.advance(4.0);
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
    platform.clock.advance(2.0);
    manager().updateEffect();
    EXPECT_EQ(custom(), "1 wait\n1 write\n");
}

TEST_F(NPScreenManagerProfilesTest, EditOfAnotherOrAnInactiveGroupRewritesNothing)
{
    activate();
    profiles->finish(0, "file:///custom");
    groupAt(1)->dimEffect().setLevel(-0.25F);
    platform.clock.advance(6.0);
    custom();
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
    deactivate();
    profiles->finish(1, "file:///custom");
    groupAt(0)->dimEffect().setLevel(-0.25F);
    platform.clock.advance(6.0);
    custom();
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
}

TEST_F(NPScreenManagerProfilesTest, EditWhileAProfileWaitsPutsNothingOff)
{
    activate(); // its write is under way, so the profile waits
    groupAt(0)->dimEffect().setLevel(-0.25F);
    const std::size_t number = profiles->writes().size() - 1;
    profiles->finish(number, "file:///custom");
    platform.clock.advance(10.0);
    custom();
    manager().updateEffect();
    EXPECT_EQ(custom(), "");
    EXPECT_FLOAT_EQ(profiles->writes().at(number).table.redTable[255], 0.9F * 0.75F);
}

TEST_F(NPScreenManagerProfilesTest, RewritingThatFallsIntoAFadeWaitsForItsEnd)
{
    activate();
    profiles->finish(0, "file:///custom");
    groupAt(0)->dimEffect().setLevel(-0.25F);
    platform.clock.advance(4.0);
    manager().activateEffectGroup(groupAt(1), NPTransitionKind::timed, now()); // two seconds
    custom();
    platform.clock.advance(1.9);
    EXPECT_EQ(custom(), "");
    platform.clock.advance(0.2);
    EXPECT_EQ(custom(), "1 wait\n1 write\n");
}

TEST_F(NPScreenManagerProfilesTest, SwitchingManagementOffRestoresInOneBatch)
{
    plug(2);
    activate();
    platform.log.clear();
    manager().setScreenManagementEnabled(false);
    EXPECT_EQ(platform.log.text(), "custom begin\n"
                                   "write 1 256 0.8999999761581421 0.8999999761581421 0.8999999761581421\n"
                                   "custom 1 set file:///own\n"
                                   "custom 1 remove\n"
                                   "write 2 256 1 1 1\n"
                                   "custom 2 set none\n"
                                   "custom 2 remove\n"
                                   "custom end\n"
                                   "custom on\n");
}

TEST_F(NPScreenManagerProfilesTest, SwitchingManagementOffInAFadeEnablesApplyingAgain)
{
    activate(NPTransitionKind::manual);
    platform.clock.advance(1.0);
    EXPECT_FALSE(profiles->applyEnabled());
    manager().setScreenManagementEnabled(false);
    EXPECT_TRUE(profiles->applyEnabled());
}

TEST_F(NPScreenManagerProfilesTest, SwitchingManagementOffDoesNotEnableWhatIsSwitchedOff)
{
    manager().setColorProfileManagementEnabled(false);
    manager().setScreenManagementEnabled(false);
    EXPECT_FALSE(profiles->applyEnabled());
}

TEST_F(NPScreenManagerProfilesTest, SwitchingProfilesOffRestoresThemAndRefreshesTheTablesMeanwhile)
{
    activate();
    platform.log.clear();
    manager().setColorProfileManagementEnabled(false);
    const std::string written = "write 1 256 0.44999998807907104 0.44999998807907104 0.44999998807907104\n";
    EXPECT_EQ(platform.log.text(), "custom begin\n"
                                   "custom 1 set file:///own\n"
                                   "custom 1 remove\n"
                                   "custom end\n"
                                   "custom off\n"
                                       + written + "custom off\n");
    EXPECT_EQ(manager().transitionTimerInterval(), 0.1);
    platform.log.clear();
    platform.clock.advance(100.0);
    EXPECT_NEAR(writesTo(1), 20, 1); // one controller, one second more, every 0.1 s
    EXPECT_EQ(manager().transitionTimerInterval(), 0.0);
    EXPECT_FALSE(profiles->applyEnabled());
}

TEST_F(NPScreenManagerProfilesTest, SwitchingProfilesOffInAFadeStillAppliesTheDisplaysOwn)
{
    activate(NPTransitionKind::manual);
    platform.clock.advance(1.0);
    platform.log.clear();
    manager().setColorProfileManagementEnabled(false);
    const std::vector<std::string> lines = platform.log.lines();
    ASSERT_GE(lines.size(), 6U);
    EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 6),
              (std::vector<std::string>{"custom begin", "custom on", "custom 1 set file:///own", "custom 1 remove",
                                        "custom end", "custom off"}));
    EXPECT_FALSE(profiles->applyEnabled());
}

TEST_F(NPScreenManagerProfilesTest, SwitchingProfilesOnWritesThoseOfEveryDisplayAtOnce)
{
    plug(2);
    activate();
    manager().setColorProfileManagementEnabled(false);
    platform.clock.advance(10.0);
    custom();
    manager().setColorProfileManagementEnabled(true);
    EXPECT_EQ(custom(), "1 wait\n1 write\n2 wait\n2 write\n");
    EXPECT_TRUE(profiles->applyEnabled());
}

TEST_F(NPScreenManagerProfilesTest, SwitchingProfilesToWhatTheyAreDoesNothing)
{
    manager().setColorProfileManagementEnabled(true);
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPScreenManagerProfilesTest, ControllerThatHasGoneTakesNoFinishedWrite)
{
    activate();
    const std::weak_ptr<NPScreenController> controller = controllerOf(1);
    manager().setScreenManagementEnabled(false);
    EXPECT_TRUE(controller.expired());
    platform.log.clear();
    profiles->finish(0, "file:///custom");
    EXPECT_EQ(platform.log.text(), "");
}

TEST_F(NPScreenManagerProfilesTest, PlatformWithoutCustomProfilesCannotApplyThem)
{
    NPNoCustomProfiles none;
    none.setApplyEnabled(true);
    EXPECT_FALSE(none.applyEnabled());
}

} // namespace
