#include "HotKey/JXHotKeyCenter.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <thread>

namespace {

constexpr std::uint16_t keyD = 2;
constexpr std::uint16_t keyF = 3;
constexpr std::uint64_t controlOption = NPControlFlag | NPOptionFlag;
constexpr std::uint32_t controlOptionMask = NPHotKeyControlMask | NPHotKeyOptionMask;

class Receiver : public JXHotKeyTarget {
public:
    void act(const JXKeyEvent& event, const std::shared_ptr<std::string>& object)
    {
        ++actions;
        events.push_back(event);
        objects.push_back(object);
    }
    void actOnPress(const JXKeyEvent& event, const std::shared_ptr<std::string>&)
    {
        ++pressedActions;
        events.push_back(event);
    }

    int actions = 0;
    int pressedActions = 0;
    std::vector<JXKeyEvent> events;
    std::vector<std::shared_ptr<std::string>> objects;
};

const JXHotKeyAction act("act", &Receiver::act);
const JXHotKeyAction actOnPress("actOnPress", &Receiver::actOnPress);

class JXHotKeyCenterTest : public testing::Test {
protected:
    JXHotKeyCenterTest() { NPInstallPlatform(platform.services()); }

    JXHotKeyCenter& center() const { return *sharedHotKeyCenter(); }

    bool registerTask(std::uint16_t keyCode, std::uint64_t flags, JXHotKeyTask task = {}) const
    {
        return center().registerHotKeyWithKeyCode(keyCode, flags, std::move(task)).has_value();
    }

    std::shared_ptr<JXHotKey> registered(std::uint16_t keyCode, std::uint64_t flags) const
    {
        return center()
            .hotKeysMatchingPredicate([&](const JXHotKey& hotKey) { return hotKey == JXHotKey(keyCode, flags); })
            .at(0);
    }

    void pressAndRelease(std::uint16_t keyCode, std::uint32_t mask)
    {
        platform.hotKeys.press(keyCode, mask);
        platform.hotKeys.release(keyCode, mask);
    }

    NPSimulatedPlatform platform;
    QXSharedScope scope;
};

} // namespace

TEST_F(JXHotKeyCenterTest, SharedCenterIsAlwaysTheSame)
{
    EXPECT_EQ(sharedHotKeyCenter(), sharedHotKeyCenter());
}

TEST_F(JXHotKeyCenterTest, SharedCenterIsMadeOnceHoweverManyThreadsAsk)
{
    std::vector<std::thread> threads;
    std::vector<std::shared_ptr<JXHotKeyCenter>> centers(8);
    for (auto& found : centers) {
        threads.emplace_back([&found] { found = sharedHotKeyCenter(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::ranges::count(centers, sharedHotKeyCenter()), 8);
    int runs = 0; // a second centre would have a second pair of handlers
    registerTask(keyD, controlOption, [&](const JXKeyEvent&) { ++runs; });
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(runs, 1);
}

TEST_F(JXHotKeyCenterTest, AnotherScopeHasAnotherCenter)
{
    const std::shared_ptr<JXHotKeyCenter> outer = sharedHotKeyCenter();
    const QXSharedScope inner;
    NPInstallPlatform(platform.services());
    EXPECT_NE(sharedHotKeyCenter(), outer);
}

TEST_F(JXHotKeyCenterTest, RegistersWithItsIdTheKeyCodeAndTheMask)
{
    EXPECT_TRUE(registerTask(36, NPCommandFlag | NPShiftFlag | NPOptionFlag | NPControlFlag));
    EXPECT_EQ(platform.log.text(), "hotkey register 1 36 0x1b00\n");
    EXPECT_EQ(platform.hotKeys.registered().at(0).identifier.signature, 0x68746B31U);
}

TEST_F(JXHotKeyCenterTest, CapsLockPlaysNoPartInRegistering)
{
    registerTask(keyD, NPShiftFlag | NPCapsLockFlag);
    EXPECT_EQ(platform.hotKeys.registered().at(0).modifierMask, 0x200U);
}

TEST_F(JXHotKeyCenterTest, FunctionAndDeviceBitsPlayNoPartInRegistering)
{
    registerTask(keyD, NPFunctionFlag | NPCommandFlag | 0x8000000000000108U);
    EXPECT_EQ(platform.hotKeys.registered().at(0).modifierMask, 0x100U);
}

TEST_F(JXHotKeyCenterTest, LabelReachesThePlatform)
{
    EXPECT_TRUE(center().registerHotKeyWithKeyCode(keyD, controlOption, {}, {"effect-1", "Night"}));
    EXPECT_EQ(platform.hotKeys.registered().at(0).label.name, "effect-1");
    EXPECT_EQ(platform.hotKeys.registered().at(0).label.description, "Night");
}

TEST_F(JXHotKeyCenterTest, RegisteredHotKeyHasItsHandleAndId)
{
    registerTask(keyD, controlOption);
    EXPECT_NE(registered(keyD, controlOption)->hotKeyRef(), nullptr);
    EXPECT_EQ(registered(keyD, controlOption)->hotKeyID(), 1U);
    EXPECT_EQ(center().registeredHotKeys().size(), 1U);
}

TEST_F(JXHotKeyCenterTest, SameCombinationIsRefusedBeforeThePlatformIsAsked)
{
    EXPECT_TRUE(registerTask(keyD, controlOption));
    platform.log.clear();
    const JXHotKeyRegistered second = center().registerHotKeyWithKeyCode(keyD, controlOption, {});
    EXPECT_FALSE(second);
    EXPECT_EQ(second.error(), "it is registered already");
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(center().registeredHotKeys().size(), 1U);
}

TEST_F(JXHotKeyCenterTest, CombinationThatDiffersInDeviceBitsOnlyIsRefusedByThePlatform)
{
    EXPECT_TRUE(registerTask(keyD, controlOption));
    const JXHotKeyRegistered second = center().registerHotKeyWithKeyCode(keyD, controlOption | 1U, {});
    EXPECT_FALSE(second);
    EXPECT_EQ(second.error(), "the combination is registered already");
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption | 1U));
}

TEST_F(JXHotKeyCenterTest, RefusalByThePlatformLeavesNoTrace)
{
    std::vector<std::string> logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged.emplace_back(line); });
    platform.hotKeys.take(keyD, controlOptionMask);
    const JXHotKeyRegistered result = center().registerHotKeyWithKeyCode(keyD, controlOption, {});
    EXPECT_FALSE(result);
    EXPECT_EQ(result.error(), "another program has it");
    EXPECT_TRUE(center().registeredHotKeys().empty());
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
    EXPECT_TRUE(logged.empty());
}

TEST_F(JXHotKeyCenterTest, IdsAreUsedUpBySuccessAlone)
{
    platform.hotKeys.take(9, 0x1000);
    EXPECT_TRUE(registerTask(0, NPControlFlag));
    EXPECT_TRUE(registerTask(1, NPControlFlag));
    EXPECT_TRUE(registerTask(2, NPControlFlag));
    EXPECT_FALSE(registerTask(9, NPControlFlag));
    EXPECT_TRUE(registerTask(3, NPControlFlag));
    EXPECT_EQ(registered(3, NPControlFlag)->hotKeyID(), 4U);
}

TEST_F(JXHotKeyCenterTest, IdsAreNeverUsedAgain)
{
    registerTask(keyD, controlOption);
    center().unregisterAllHotKeys();
    registerTask(keyD, controlOption);
    EXPECT_EQ(registered(keyD, controlOption)->hotKeyID(), 2U);
}

TEST_F(JXHotKeyCenterTest, FindsACombinationThatIsRegistered)
{
    registerTask(keyD, controlOption);
    EXPECT_TRUE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, NPControlFlag));
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyF, controlOption));
}

TEST_F(JXHotKeyCenterTest, ActionIsInvokedOnReleaseWithItsObject)
{
    const auto receiver = std::make_shared<Receiver>();
    const auto object = std::make_shared<std::string>("Night");
    EXPECT_TRUE(center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, object));
    platform.hotKeys.press(keyD, controlOptionMask);
    EXPECT_EQ(receiver->actions, 0);
    platform.hotKeys.release(keyD, controlOptionMask);
    EXPECT_EQ(receiver->actions, 1);
    EXPECT_EQ(receiver->objects.at(0), object);
}

TEST_F(JXHotKeyCenterTest, PressedActionIsInvokedOnPress)
{
    const auto receiver = std::make_shared<Receiver>();
    EXPECT_TRUE(center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, actOnPress, {}));
    platform.hotKeys.press(keyD, controlOptionMask);
    EXPECT_EQ(receiver->pressedActions, 1);
    EXPECT_EQ(receiver->actions, 0);
    platform.hotKeys.release(keyD, controlOptionMask);
    EXPECT_EQ(receiver->pressedActions, 1);
    EXPECT_EQ(receiver->actions, 1);
}

TEST_F(JXHotKeyCenterTest, BothActionsGetAKeyUpEventOfTheHotKeysKey)
{
    const auto receiver = std::make_shared<Receiver>();
    center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, actOnPress, {}).value();
    const NPHotKeyEvent event{.identifier = {.id = 1},
                              .x = 3.0,
                              .y = 4.0,
                              .modifierFlags = controlOption | NPCapsLockFlag,
                              .timestamp = 9.5};
    platform.hotKeys.deliverPressed(event);
    platform.hotKeys.deliverReleased(event);
    ASSERT_EQ(receiver->events.size(), 2U);
    for (const JXKeyEvent& made : receiver->events) {
        EXPECT_EQ(made.type, 11);
        EXPECT_EQ(made.keyCode, keyD);
        EXPECT_EQ(made.locationX, 3.0);
        EXPECT_EQ(made.locationY, 4.0);
        EXPECT_EQ(made.modifierFlags, controlOption | NPCapsLockFlag);
        EXPECT_EQ(made.timestamp, 9.5);
        EXPECT_EQ(made.windowNumber, -1);
        EXPECT_FALSE(made.isARepeat);
    }
}

TEST_F(JXHotKeyCenterTest, SignatureOfAnEventIsNotLookedAt)
{
    int runs = 0;
    registerTask(keyD, controlOption, [&](const JXKeyEvent&) { ++runs; });
    platform.hotKeys.deliverReleased({.identifier = {.signature = 0, .id = 1}});
    EXPECT_EQ(runs, 1);
}

TEST_F(JXHotKeyCenterTest, EventOfAnUnknownIdInvokesNothing)
{
    int runs = 0;
    registerTask(keyD, controlOption, [&](const JXKeyEvent&) { ++runs; });
    platform.hotKeys.deliverReleased({.identifier = {.id = 2}});
    EXPECT_EQ(runs, 0);
}

TEST_F(JXHotKeyCenterTest, TwoHotKeysOfOneIdAreReportedAndOneIsInvoked)
{
    std::vector<std::string> logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged.emplace_back(line); });
    int runs = 0;
    registerTask(keyD, controlOption, [&](const JXKeyEvent&) { ++runs; });
    registerTask(keyF, controlOption, [&](const JXKeyEvent&) { ++runs; });
    registered(keyF, controlOption)->setHotKeyID(1);
    platform.hotKeys.deliverReleased({.identifier = {.id = 1}});
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(logged, std::vector<std::string>{"ERROR!"});
}

TEST_F(JXHotKeyCenterTest, TargetThatDoesNotRespondInvokesNothingWithoutATask)
{
    const auto other = std::make_shared<JXHotKeyTarget>();
    EXPECT_TRUE(center().registerHotKeyWithKeyCode(keyD, controlOption, other, act, actOnPress, {}));
    pressAndRelease(keyD, controlOptionMask);
}

TEST_F(JXHotKeyCenterTest, TargetIsKeptWhileItsHotKeyIsRegistered)
{
    auto receiver = std::make_shared<Receiver>();
    const std::weak_ptr<Receiver> watched = receiver;
    center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, {}).value();
    receiver.reset();
    EXPECT_FALSE(watched.expired());
    center().unregisterAllHotKeys();
    EXPECT_TRUE(watched.expired());
}

TEST_F(JXHotKeyCenterTest, ActionStringIsTheActionsName)
{
    const auto receiver = std::make_shared<Receiver>();
    center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, actOnPress, {}).value();
    EXPECT_EQ(registered(keyD, controlOption)->actionString(), "act");
    EXPECT_EQ(registered(keyD, controlOption)->target(), receiver);
    EXPECT_NE(registered(keyD, controlOption)->description().find("\n\tinvokes: [<JXHotKeyTarget: "),
              std::string::npos);
    EXPECT_TRUE(registered(keyD, controlOption)->description().ends_with("> act])"));
}

TEST_F(JXHotKeyCenterTest, HotKeysOfDifferentTargetsAreEqual)
{
    center().registerHotKeyWithKeyCode(keyD, controlOption, std::make_shared<Receiver>(), act, {}).value();
    const JXHotKey first = *registered(keyD, controlOption);
    center().unregisterAllHotKeys();
    center().registerHotKeyWithKeyCode(keyD, controlOption, std::make_shared<Receiver>(), act, {}).value();
    const JXHotKey second = *registered(keyD, controlOption);
    EXPECT_NE(first.target(), second.target());
    EXPECT_EQ(first, second);
    EXPECT_EQ(first.hash(), second.hash());
}

TEST_F(JXHotKeyCenterTest, UnregisteringEndsTheRegistration)
{
    registerTask(keyD, controlOption);
    const std::shared_ptr<JXHotKey> hotKey = registered(keyD, controlOption);
    platform.log.clear();
    center().unregisterHotKey(hotKey);
    EXPECT_EQ(platform.log.text(), "hotkey unregister 1\n");
    EXPECT_EQ(hotKey->hotKeyRef(), nullptr);
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
}

TEST_F(JXHotKeyCenterTest, UnregisteringAValueThatEqualsARegisteredHotKeyDoesNothing)
{
    registerTask(keyD, controlOption);
    platform.log.clear();
    center().unregisterHotKey(std::make_shared<JXHotKey>(keyD, controlOption));
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_TRUE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
}

TEST_F(JXHotKeyCenterTest, EndOfAValueThatEqualsARegisteredHotKeyDoesNothing)
{
    registerTask(keyD, controlOption);
    platform.log.clear();
    {
        const JXHotKey value(keyD, controlOption);
        const JXHotKey copy = *registered(keyD, controlOption);
        EXPECT_EQ(value, copy);
    }
    EXPECT_EQ(platform.log.text(), "");
    EXPECT_EQ(center().registeredHotKeys().size(), 1U);
}

TEST_F(JXHotKeyCenterTest, UnregisteringTwiceDoesNothingMore)
{
    registerTask(keyD, controlOption);
    const std::shared_ptr<JXHotKey> former = registered(keyD, controlOption);
    center().unregisterHotKey(former);
    registerTask(keyD, controlOption);
    center().unregisterHotKey(former);
    EXPECT_TRUE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
}

// By code and flags on purpose: whoever registered an equal key by other ways takes this one's place.
TEST_F(JXHotKeyCenterTest, UnregisteringARegisteredKeyRemovesItsEqual)
{
    registerTask(keyD, controlOption);
    const auto equal = std::make_shared<JXHotKey>(keyD, controlOption);
    equal->setHotKeyRef(std::make_shared<int>());
    platform.log.clear();
    center().unregisterHotKey(equal);
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
    EXPECT_EQ(platform.log.text(), "hotkey unregister 1\n");
}

TEST_F(JXHotKeyCenterTest, UnregistersByCodeAndFlags)
{
    registerTask(keyD, controlOption);
    registerTask(keyF, controlOption);
    center().unregisterHotKeyWithKeyCode(keyD, controlOption);
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
    EXPECT_TRUE(center().hasRegisteredHotKeyWithKeyCode(keyF, controlOption));
}

TEST_F(JXHotKeyCenterTest, UnregistersByTarget)
{
    const auto receiver = std::make_shared<Receiver>();
    const auto other = std::make_shared<Receiver>();
    center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, {}).value();
    center().registerHotKeyWithKeyCode(keyF, controlOption, other, act, {}).value();
    center().unregisterHotKeysWithTarget(receiver);
    EXPECT_EQ(center().registeredHotKeys().size(), 1U);
    EXPECT_EQ(center().registeredHotKeys().at(0)->target(), other);
}

TEST_F(JXHotKeyCenterTest, UnregistersByTargetAndActionName)
{
    const auto receiver = std::make_shared<Receiver>();
    center().registerHotKeyWithKeyCode(keyD, controlOption, receiver, act, {}).value();
    center().registerHotKeyWithKeyCode(keyF, controlOption, receiver, actOnPress, {}).value();
    center().unregisterHotKeysWithTarget(receiver, "act");
    EXPECT_FALSE(center().hasRegisteredHotKeyWithKeyCode(keyD, controlOption));
    EXPECT_TRUE(center().hasRegisteredHotKeyWithKeyCode(keyF, controlOption));
}

TEST_F(JXHotKeyCenterTest, UnregistersByPredicate)
{
    for (std::uint16_t keyCode = 0; keyCode < 10; ++keyCode) {
        registerTask(keyCode, controlOption);
    }
    center().unregisterHotKeysMatchingPredicate([](const JXHotKey& hotKey) { return hotKey.keyCode() % 2 == 0; });
    EXPECT_EQ(center().registeredHotKeys().size(), 5U);
    EXPECT_TRUE(center()
                    .hotKeysMatchingPredicate([](const JXHotKey& hotKey) { return hotKey.keyCode() % 2 == 0; })
                    .empty());
}

TEST_F(JXHotKeyCenterTest, UnregisteringAllLeavesNothing)
{
    registerTask(keyD, controlOption);
    registerTask(keyF, controlOption);
    center().unregisterAllHotKeys();
    EXPECT_TRUE(center().registeredHotKeys().empty());
    EXPECT_TRUE(center().hotKeysMatchingPredicate([](const JXHotKey&) { return true; }).empty());
    EXPECT_TRUE(platform.hotKeys.registered().empty());
}

TEST_F(JXHotKeyCenterTest, ActionMayUnregisterEverything)
{
    int runs = 0;
    registerTask(keyD, controlOption, [&](const JXKeyEvent&) {
        center().unregisterAllHotKeys();
        ++runs; // what the task holds is still there
    });
    pressAndRelease(keyD, controlOptionMask);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(runs, 1);
}

TEST_F(JXHotKeyCenterTest, ActionMayRegisterItsOwnCombinationAnew)
{
    int runs = 0;
    JXHotKeyTask task;
    task = [&](const JXKeyEvent&) {
        ++runs;
        center().unregisterAllHotKeys();
        registerTask(keyD, controlOption, task);
    };
    registerTask(keyD, controlOption, task);
    pressAndRelease(keyD, controlOptionMask);
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(registered(keyD, controlOption)->hotKeyID(), 3U);
}

TEST_F(JXHotKeyCenterTest, ReregistrationBetweenPressAndReleaseStillReleases)
{
    int runs = 0;
    const JXHotKeyTask task = [&](const JXKeyEvent&) { ++runs; };
    registerTask(keyD, controlOption, task);
    platform.hotKeys.press(keyD, controlOptionMask);
    center().unregisterAllHotKeys();
    registerTask(keyD, controlOption, task);
    platform.hotKeys.release(keyD, controlOptionMask);
    EXPECT_EQ(runs, 1);
}

TEST_F(JXHotKeyCenterTest, ActionMayEndItsTargetsLastOwner)
{
    class Leaver : public Receiver {
    public:
        void leave(const JXKeyEvent&, const std::shared_ptr<std::string>&)
        {
            sharedHotKeyCenter()->unregisterAllHotKeys();
            ++actions; // still there
        }
    };
    auto leaver = std::make_shared<Leaver>();
    const std::weak_ptr<Leaver> watched = leaver;
    const JXHotKeyAction leave("leave", &Leaver::leave);
    center().registerHotKeyWithKeyCode(keyD, controlOption, leaver, leave, {}).value();
    leaver.reset();
    pressAndRelease(keyD, controlOptionMask);
    EXPECT_TRUE(watched.expired());
}

TEST(JXHotKeyCenter, ActionMayDestroyTheCentersOwner)
{
    NPSimulatedPlatform platform;
    auto scope = std::make_optional<QXSharedScope>();
    NPInstallPlatform(platform.services());
    int runs = 0;
    sharedHotKeyCenter()
        ->registerHotKeyWithKeyCode(keyD, controlOption,
                                    [&](const JXKeyEvent&) {
                                        scope.reset();
                                        ++runs;
                                    })
        .value();
    platform.hotKeys.press(keyD, controlOptionMask);
    platform.hotKeys.release(keyD, controlOptionMask);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(platform.hotKeys.registered().empty());
    EXPECT_FALSE(platform.hotKeys.press(keyD, controlOptionMask));
}

TEST(JXHotKeyCenter, EndOfTheCenterUnregistersEverything)
{
    NPSimulatedPlatform platform;
    {
        const QXSharedScope scope;
        NPInstallPlatform(platform.services());
        sharedHotKeyCenter()->registerHotKeyWithKeyCode(keyD, controlOption, {}).value();
    }
    EXPECT_EQ(platform.log.text(), "hotkey register 1 2 0x1800\nhotkey unregister 1\n");
}
