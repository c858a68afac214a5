// Observers that change what they are told about, while they are being told.
#include "Support/NPApplicationTest.h"

#include <functional>

namespace {

// G is on from 22:00 to 23:00 on every display, without a fade; H is not.
class ReentrancyTest : public NPApplicationTest {
protected:
    ReentrancyTest()
    {
        plug(1);
        plug(2);
        stopContinuousApplying();
        const QXDictionary atOnce{{"NPManualTransitionDuration", 0}, {"NPTimerTransitionDuration", 0}};
        storeGroups({dimming("G", -0.5F, timed("22:00", "23:00", atOnce)), dimming("H", -0.75F, atOnce)});
        storeState({{"AllScreens", stateEntry("G", false, now())}});
        launch();
    }

    // Runs the reaction at the next post of that name, once.
    void onceOn(std::string_view name, std::function<void()> reaction)
    {
        platform.notifications.addObserver(_observer, std::string(name), nullptr,
                                           [this, reaction = std::move(reaction)](const QXNotification&) {
                                               if (!_reacted) {
                                                   _reacted = true;
                                                   reaction();
                                               }
                                           });
    }
    void activate(std::size_t index)
    {
        manager().activateEffectGroup(groupAt(index), NPTransitionKind::manual, now());
    }
    void deactivate(std::size_t index)
    {
        manager().deactivateEffectGroup(groupAt(index), NPTransitionKind::manual, now());
    }
    void advanceTo(std::string_view time)
    {
        platform.clock.advanceTo(dateOf("2026-03-01T" + std::string(time) + "Z"));
    }
    bool reacted() const { return _reacted; }

private:
    bool _reacted = false;
    QXNotificationObserver _observer;
};

TEST_F(ReentrancyTest, SwitchThatIsTurnedOffWhileAnActivationIsRecordedKeepsEveryDisplayAsItIs)
{
    onceOn(NPUserDefaultsDidChangeNotification, [this] { setDefault(NPEffectActiveKey, false); });
    activate(0);
    EXPECT_TRUE(reacted());
    EXPECT_FALSE(controller->effectActive());
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_EQ(state(), "AllScreens:G+");
    setDefault(NPEffectActiveKey, true);
    EXPECT_EQ(white(1), 0.5F);
}

TEST_F(ReentrancyTest, SavedSwitchThatIsTurnedOffWhileItTurnsTheScreensOnEndsOff)
{
    setDefault(NPEffectActiveKey, false);
    storeState({{"AllScreens", stateEntry("G", true, now())}}); // catching up will record both displays
    onceOn(NPUserDefaultsDidChangeNotification, [this] { setDefault(NPEffectActiveKey, false); });
    setDefault(NPEffectActiveKey, true);
    EXPECT_TRUE(reacted());
    EXPECT_FALSE(controller->effectActive());
    EXPECT_EQ(manager().screenControllers(), std::nullopt);
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 1.0F);
}

TEST_F(ReentrancyTest, ChangeMadeByAnObserverOfAChangeIsTheOneThatLasts)
{
    onceOn(NPScreenManagerEffectStateDidChange, [this] { deactivate(0); });
    activate(0);
    EXPECT_EQ(state(), "AllScreens:G-");
    EXPECT_EQ(white(1), 1.0F);
}

TEST_F(ReentrancyTest, OtherGroupActivatedByAnObserverIsTheOneThatShows)
{
    onceOn(NPScreenManagerEffectStateDidChange, [this] { activate(1); });
    activate(0);
    EXPECT_EQ(state(), "AllScreens:H+");
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(ReentrancyTest, SettingsChangedByAnObserverOfSettingsAreSaved)
{
    onceOn(NPUserDefaultsDidChangeNotification, [] { groupAt(1)->setName("Evening"); });
    groupAt(0)->setName("Night");
    const QXArray saved = platform.defaults.arrayForKey(NPEffectGroupsKey).value();
    EXPECT_EQ(saved[0], groupAt(0)->dictionary());
    EXPECT_EQ(saved[1], groupAt(1)->dictionary());
    EXPECT_EQ(groupAt(1)->name(), "Evening");
}

TEST_F(ReentrancyTest, GroupMayBeRemovedWhileItsChangeIsAnnounced)
{
    onceOn(NPEffectGroupDidChangeNotification, [] { sharedEffectManager()->removeGroupAtIndex(1); });
    sharedEffectManager()->groups()[1]->setName("Gone"); // nobody but the list and its timers holds it
    EXPECT_EQ(sharedEffectManager()->groups().size(), 1U);
    EXPECT_EQ(platform.defaults.arrayForKey(NPEffectGroupsKey)->size(), 1U);
}

TEST_F(ReentrancyTest, GroupMayBeRemovedAndAddedWhileTimersAreArmed)
{
    onceOn(NPScreenManagerEffectStateDidChange, [] {
        sharedEffectManager()->removeGroupAtIndex(0);
        sharedEffectManager()->addGroupWithDictionary(dimming("X", -0.25F, timed("21:00", "")));
    });
    controller->refreshTimerActivationDeactivation();
    EXPECT_EQ(platform.clock.timerCount(), 1U);
    EXPECT_NE(controller->activationTimer(*groupAt(1)), nullptr);
}

TEST_F(ReentrancyTest, TimersMayBeArmedAnewWhileOneOfThemFires)
{
    onceOn(NPScreenManagerEffectStateDidChange, [this] { controller->refreshTimerActivationDeactivation(); });
    advanceTo("22:00:01");
    EXPECT_TRUE(reacted());
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(platform.clock.timerCount(), 2U);
    advanceTo("23:00:01");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(platform.clock.timerCount(), 2U);
}

TEST_F(ReentrancyTest, GroupMayBeRemovedWhileOneOfItsTimersFires)
{
    onceOn(NPScreenManagerEffectStateDidChange, [] { sharedEffectManager()->removeGroupAtIndex(0); });
    advanceTo("22:00:01");
    EXPECT_TRUE(reacted());
    EXPECT_EQ(platform.clock.timerCount(), 0U); // nobody would stop them any more
    activate(0);
    advanceTo("23:00:01");
    EXPECT_EQ(white(1), 0.25F);
}

TEST_F(ReentrancyTest, TimerMayBeSwitchedOffWhileItFires)
{
    onceOn(NPScreenManagerEffectStateDidChange,
           [] { groupAt(0)->setActivationTimerKind(NPEffectTimerKind::NPEffectTimerKindNone); });
    advanceTo("22:00:01");
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(controller->activationTimer(*groupAt(0)), nullptr);
}

TEST_F(ReentrancyTest, ControllerMayGoWhileOneOfItsTimersFires)
{
    onceOn(NPScreenManagerEffectStateDidChange, [this] { controller.reset(); });
    advanceTo("22:00:01");
    EXPECT_EQ(controller, nullptr);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(platform.clock.timerCount(), 0U);
}

TEST_F(ReentrancyTest, DisplayMayComeAndGoWhileAChangeIsAnnounced)
{
    onceOn(NPUserDefaultsDidChangeNotification, [this] {
        platform.displays.unplug(2);
        plug(3);
    });
    activate(0);
    EXPECT_EQ(white(1), 0.5F);
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_EQ(white(3), 0.5F);
    EXPECT_EQ(manager().combinedStateForEffectGroup(*groupAt(0)), 1);
}

TEST_F(ReentrancyTest, ObserverMayRegisterItselfAnewWhileItIsCalled)
{
    int calls = 0;
    QXNotificationObserver observer;
    const std::string name(NPUserDefaultsDidChangeNotification);
    std::function<void(const QXNotification&)> handler = [&](const QXNotification&) {
        ++calls;
        platform.notifications.removeObserver(observer);
        platform.notifications.addObserver(observer, name, nullptr, handler);
    };
    platform.notifications.addObserver(observer, name, nullptr, handler);
    setDefault("a", 1);
    setDefault("a", 2);
    EXPECT_EQ(calls, 2);
}

TEST_F(ReentrancyTest, ClockMayBeSetWhileATimerFires)
{
    onceOn(NPScreenManagerEffectStateDidChange,
           [this] { platform.clock.setWallClock(dateOf("2026-03-02T12:00:00Z")); });
    advanceTo("22:00:01");
    EXPECT_EQ(state(), "1:G- 2:G- AllScreens:G+"); // each display has missed the deactivation
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(platform.clock.timerCount(), 2U);
}

TEST_F(ReentrancyTest, TerminatingWhileATimerFiresGivesTheDisplaysBack)
{
    onceOn(NPScreenManagerEffectStateDidChange, [this] { controller->applicationWillTerminate(); });
    advanceTo("22:00:01");
    EXPECT_EQ(white(1), 1.0F);
    EXPECT_EQ(white(2), 1.0F);
    EXPECT_EQ(manager().screenControllers(), std::nullopt);
}

} // namespace
