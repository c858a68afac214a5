// Replaying the timer events that were missed.
#include "Screens/NPScreenManager.h"

#include "Support/NPScreensTest.h"

namespace {

QXDate at(std::string_view time)
{
    return dateOf("2026-03-01T" + std::string(time) + ":00Z");
}

// It is noon, in a zone at GMT, on display 1 and, where a test says so, display 2. Screen management is off
// until a test has stored its groups and what was on.
class NPScreenManagerCatchUpTest : public NPScreensTest {
protected:
    NPScreenManagerCatchUpTest() { plug(1); }

    void storeEntry(std::string_view group, bool active, QXDate date)
    {
        storeState({{"1", stateEntry(group, active, date)}});
    }
    static void catchUp() { manager().setScreenManagementEnabled(true); }
    void finishFade() { platform.clock.advance(3.0); }

    // What display 1 shows once every fade is over, after catching up.
    float whiteAfterCatchUp()
    {
        catchUp();
        finishFade();
        return white(1);
    }
};

TEST_F(NPScreenManagerCatchUpTest, EventBeforeTheLastChangeIsIgnoredAndTheStateRestored)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeEntry("G", false, at("10:30"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "1:G-");
    EXPECT_EQ(stateDate("1"), at("10:30"));
}

TEST_F(NPScreenManagerCatchUpTest, EventExactlyAtTheLastChangeIsIgnored)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeEntry("G", false, at("10:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
}

TEST_F(NPScreenManagerCatchUpTest, EventAfterTheLastChangeIsAppliedWithItsOwnDate)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeEntry("G", false, at("09:59"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(state(), "1:G+");
    EXPECT_EQ(stateDate("1"), at("10:00"));
}

TEST_F(NPScreenManagerCatchUpTest, WithoutAStateTheLatestEventDecides)
{
    storeGroups({dimming("G", -0.5F, timed("13:00", ""))}); // yesterday's
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(stateDate("1"), dateOf("2026-02-28T13:00:00Z"));
}

TEST_F(NPScreenManagerCatchUpTest, WithoutAStateAndWithoutEventsNothingIsRecorded)
{
    storeGroups({dimming("G", -0.5F, timed("", "10:00"))});
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(platform.defaults.objectForKey(NPScreenStateKey), std::nullopt);
}

TEST_F(NPScreenManagerCatchUpTest, FadeBeginsNowWhateverTheDateOfTheEvent)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", "", {{"NPManualTransitionDuration", 2.0}}))});
    catchUp();
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(controllerOf(1)->triggerDate(), at("12:00"));
    platform.clock.advance(1.0);
    EXPECT_EQ(white(1), 0.75F);
}

TEST_F(NPScreenManagerCatchUpTest, TransitionIsTheOneAskedFor)
{
    storeGroups({dimming("G", -0.5F, timed("12:30", ""))});
    storeEntry("G", false, at("11:00"));
    catchUp();
    platform.clock.advance(3600.0);
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerCatchUpTest, DateOfTheRequestPlaysNoPart)
{
    storeGroups({dimming("G", -0.5F, timed("12:30", "13:30"))});
    storeEntry("G", false, at("11:00"));
    catchUp();
    platform.clock.advance(3600.0);
    manager().fastForwardAndUpdateEffectToDate(at("11:30"), NPTransitionKind::none);
    EXPECT_EQ(state(), "1:G+");
    manager().fastForwardAndUpdateEffectToDate(at("23:00"), NPTransitionKind::none);
    EXPECT_EQ(state(), "1:G+");
    EXPECT_EQ(stateDate("1"), at("12:30"));
}

TEST_F(NPScreenManagerCatchUpTest, ActiveStateWithoutEventsIsRestored)
{
    storeGroups({dimming("G", -0.5F)});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(stateDate("1"), at("09:00"));
}

TEST_F(NPScreenManagerCatchUpTest, MissedDeactivationOfTheActiveGroupIsApplied)
{
    storeGroups({dimming("G", -0.5F, timed("", "10:00"))});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "1:G-");
    EXPECT_EQ(stateDate("1"), at("10:00"));
}

TEST_F(NPScreenManagerCatchUpTest, DeactivationExactlyAtTheLastChangeIsIgnored)
{
    storeGroups({dimming("G", -0.5F, timed("", "10:00"))});
    storeEntry("G", true, at("10:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(stateDate("1"), at("10:00"));
}

TEST_F(NPScreenManagerCatchUpTest, DeactivationOfAGroupThatIsOffIsNotLookedAt)
{
    storeGroups({dimming("G", -0.5F, timed("", "10:00"))});
    storeEntry("G", false, at("09:00"));
    catchUp();
    EXPECT_EQ(stateDate("1"), at("09:00"));
}

TEST_F(NPScreenManagerCatchUpTest, DeactivationOfAnotherGroupThanTheCandidateIsNotLookedAt)
{
    storeGroups({dimming("G", -0.5F), dimming("H", -0.75F, timed("", "10:00"))});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(state(), "1:G+");
}

TEST_F(NPScreenManagerCatchUpTest, ActivationAndLaterDeactivationLeaveTheGroupOff)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", "11:00"))});
    storeEntry("G", false, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "1:G-");
    EXPECT_EQ(stateDate("1"), at("11:00"));
}

TEST_F(NPScreenManagerCatchUpTest, DeactivationAndLaterActivationLeaveTheGroupOn)
{
    storeGroups({dimming("G", -0.5F, timed("11:00", "10:00"))});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(stateDate("1"), at("11:00"));
}

TEST_F(NPScreenManagerCatchUpTest, DeactivationAtTheInstantOfTheActivationIsIgnored)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", "10:00"))});
    storeEntry("G", false, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(state(), "1:G+");
}

TEST_F(NPScreenManagerCatchUpTest, EventAtThisVeryMomentIsNotInThePast)
{
    storeGroups({dimming("G", -0.5F, timed("12:00", ""))});
    storeEntry("G", false, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(NPScreenManagerCatchUpTest, LatestActivationWins)
{
    storeGroups({dimming("G", -0.5F, timed("11:00", "")), dimming("H", -0.75F, timed("10:00", ""))});
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(state(), "1:G+");
}

TEST_F(NPScreenManagerCatchUpTest, OfEqualActivationsTheGroupEarlierInTheListWins)
{
    storeGroups({dimming("H", -0.75F, timed("10:00", "")), dimming("G", -0.5F, timed("10:00", ""))});
    EXPECT_EQ(whiteAfterCatchUp(), 0.25F);
    EXPECT_EQ(state(), "1:H+");
}

TEST_F(NPScreenManagerCatchUpTest, LaterActivationOfAnotherGroupReplacesTheActiveOne)
{
    storeGroups({dimming("G", -0.5F, timed("", "11:00")), dimming("H", -0.75F, timed("10:00", ""))});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.25F);
    EXPECT_EQ(state(), "1:H+"); // G's deactivation is no longer anybody's concern
}

TEST_F(NPScreenManagerCatchUpTest, GroupForOtherScreensIsNotLookedAt)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", "", onScreens({2})))});
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "");
}

TEST_F(NPScreenManagerCatchUpTest, ClearingGroupForOtherScreensSwitchesAGroupOffThatIsNotShownYet)
{
    storeGroups({dimming("G", -0.5F), dimming("P", -0.25F, clearingOthers(timed("10:00", "", onScreens({2}))))});
    storeEntry("G", true, at("09:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "1:P-");
    EXPECT_EQ(stateDate("1"), at("10:00"));
}

// The decision reaches the display as a deactivation of the clearing group, and it shows another one.
TEST_F(NPScreenManagerCatchUpTest, ClearingGroupForOtherScreensDoesNotClearTheGroupThatIsShown)
{
    storeGroups({dimming("G", -0.5F), dimming("P", -0.25F, clearingOthers(timed("12:30", "", onScreens({2}))))});
    storeEntry("G", true, at("12:00"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    platform.clock.sleep(3600.0);
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::none);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(state(), "1:P-");
    EXPECT_EQ(stateDate("1"), at("12:30"));
}

TEST_F(NPScreenManagerCatchUpTest, ClearingWinnerGetsNoDeactivation)
{
    storeGroups({dimming("P", -0.25F, clearingOthers(timed("10:00", "11:00", onScreens({2}))))});
    plug(2);
    catchUp();
    EXPECT_EQ(state(), "1:P- 2:P-");
    EXPECT_EQ(stateDate("1"), at("10:00"));
    EXPECT_EQ(stateDate("2"), at("11:00"));
}

TEST_F(NPScreenManagerCatchUpTest, ActiveGroupThatNoLongerAffectsTheScreenGetsNoDeactivation)
{
    storeGroups({dimming("P", -0.25F, timed("", "10:00", onScreens({2})))});
    storeEntry("P", true, at("09:00"));
    catchUp();
    EXPECT_EQ(state(), "1:P+");
    EXPECT_EQ(stateDate("1"), at("09:00"));
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(NPScreenManagerCatchUpTest, SavedDateFiltersAlthoughItsGroupHasVanished)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeEntry("gone", true, at("10:30"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(state(), "1:gone+"); // left as it is
    EXPECT_EQ(stateDate("1"), at("10:30"));
}

TEST_F(NPScreenManagerCatchUpTest, EventAfterTheChangeOfAVanishedGroupIsApplied)
{
    storeGroups({dimming("G", -0.5F, timed("11:00", ""))});
    storeEntry("gone", true, at("10:30"));
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
    EXPECT_EQ(state(), "1:G+");
}

TEST_F(NPScreenManagerCatchUpTest, InvalidOwnEntryIsNoStateSoThatEarlierEventsCount)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeState({{"1", QXDictionary{{"Active", false}}}, {"AllScreens", stateEntry("G", false, at("11:00"))}});
    EXPECT_EQ(whiteAfterCatchUp(), 0.5F);
}

TEST_F(NPScreenManagerCatchUpTest, EntryForAllScreensBecomesOneOfEachDisplay)
{
    storeGroups({dimming("G", -0.5F)});
    plug(2);
    storeState({{"AllScreens", stateEntry("G", true, at("09:00"))}});
    catchUp();
    EXPECT_EQ(state(), "1:G+ 2:G+ AllScreens:G+");
    EXPECT_EQ(stateDate("2"), at("09:00"));
}

TEST_F(NPScreenManagerCatchUpTest, EveryDisplayIsDecidedForItself)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    plug(2);
    storeState({{"1", stateEntry("G", false, at("11:00"))}, {"7", stateEntry("G", false, at("09:00"))}});
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(white(2), 0.5F);
    EXPECT_EQ(state(), "1:G- 2:G+ 7:G-"); // a display that is not there keeps its entry
}

TEST_F(NPScreenManagerCatchUpTest, ChangeInTheFutureOutweighsEveryEvent)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    storeEntry("G", false, dateOf("2026-04-01T00:00:00Z")); // the clock was set back since
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
    EXPECT_EQ(stateDate("1"), dateOf("2026-04-01T00:00:00Z"));
}

TEST_F(NPScreenManagerCatchUpTest, WhileManagementIsOffTheDecisionIsRecordedAndNothingShown)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::manual);
    finishFade();
    EXPECT_EQ(state(), "1:G+");
    EXPECT_EQ(writesTo(1), 0);
}

TEST_F(NPScreenManagerCatchUpTest, UnchangedStateIsNotSavedAgain)
{
    storeGroups({dimming("G", -0.5F, timed("10:00", ""))});
    catchUp();
    platform.log.clear();
    manager().fastForwardAndUpdateEffectToDate(now(), NPTransitionKind::manual);
    EXPECT_EQ(logged("defaults set ScreenState"), 0);
}

TEST_F(NPScreenManagerCatchUpTest, SunsEventsAreReplayedLikeOthers)
{
    platform.defaults.setObject(0.0, NPLocationLatitudeKey); // rises about 6, sets about 18
    platform.defaults.setObject(0.0, NPLocationLongitudeKey);
    storeGroups({dimming("G", -0.5F, {{"NPTimerActivationKind", 3}, {"NPTimerDeactivationKind", 2}}),
                 dimming("H", -0.75F, {{"NPTimerActivationKind", 2}})});
    EXPECT_EQ(whiteAfterCatchUp(), 0.25F);
    EXPECT_EQ(stateDate("1"), sharedCalculator()->previousSunriseBeforeDate(at("12:00")));
}

TEST_F(NPScreenManagerCatchUpTest, PolarNightHasNoEvents)
{
    platform.defaults.setObject(-85.0, NPLocationLatitudeKey);
    platform.defaults.setObject(0.0, NPLocationLongitudeKey);
    storeGroups({dimming("G", -0.5F, {{"NPTimerActivationKind", 3}})});
    platform.clock.setWallClock(dateOf("2026-06-21T12:00:00Z"));
    EXPECT_EQ(whiteAfterCatchUp(), 1.0F);
}

} // namespace
