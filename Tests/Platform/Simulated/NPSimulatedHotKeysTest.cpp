#include "Platform/Simulated/NPSimulatedHotKeys.h"

#include <gtest/gtest.h>

namespace {

class NPSimulatedHotKeysTest : public testing::Test {
protected:
    NPHotKeyRef registerKey(std::uint16_t keyCode, std::uint32_t mask, std::uint32_t id)
    {
        return hotKeys.registerHotKey({keyCode, mask, {.id = id}, {"name", "description"}}).value_or(nullptr);
    }

    NPActionLog log;
    NPSimulatedHotKeys hotKeys{log};
    std::string events;
    NPHotKeySubscription subscription = hotKeys.installHandlers(
        {[this](const NPHotKeyEvent& event) { events += "+" + std::to_string(event.identifier.id); },
         [this](const NPHotKeyEvent& event) { events += "-" + std::to_string(event.identifier.id); },
         [this] { events += "!"; }});
};

} // namespace

TEST_F(NPSimulatedHotKeysTest, DeliversPressAndRelease)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    EXPECT_TRUE(hotKeys.press(2, 0x1800));
    EXPECT_TRUE(hotKeys.release(2, 0x1800));
    EXPECT_EQ(events, "+5-5");
}

TEST_F(NPSimulatedHotKeysTest, LeavesOtherKeysToWhateverHasTheFocus)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    EXPECT_FALSE(hotKeys.press(2, 0x1000));
    EXPECT_FALSE(hotKeys.press(3, 0x1800));
    EXPECT_EQ(events, "");
}

TEST_F(NPSimulatedHotKeysTest, RefusesATakenCombinationUntilItIsLetGo)
{
    hotKeys.take(2, 0x1800);
    EXPECT_EQ(registerKey(2, 0x1800, 5), nullptr);
    hotKeys.letGo(2, 0x1800);
    EXPECT_NE(registerKey(2, 0x1800, 5), nullptr);
    EXPECT_EQ(log.text(), "hotkey register 5 2 0x1800 refused\nhotkey register 5 2 0x1800\nhotkey unregister 5\n");
}

TEST_F(NPSimulatedHotKeysTest, AnnouncesThatARegisteredCombinationWasTaken)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    hotKeys.take(2, 0x1800);
    EXPECT_EQ(events, "!");
    EXPECT_FALSE(hotKeys.press(2, 0x1800));
}

TEST_F(NPSimulatedHotKeysTest, RefusesEverythingWhileUnavailable)
{
    hotKeys.setUnavailable("there is no desktop");
    EXPECT_EQ(hotKeys.registerHotKey({2, 0x1800, {.id = 1}, {}}).error(), "there is no desktop");
    hotKeys.setUnavailable("");
    EXPECT_NE(registerKey(2, 0x1800, 2), nullptr);
    EXPECT_EQ(events, "!!");
}

TEST_F(NPSimulatedHotKeysTest, TellsTheDesktopsTrigger)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    EXPECT_EQ(hotKeys.trigger({.id = 5}), std::nullopt);
    hotKeys.triggers["name"] = "Press Ctrl+Alt+X";
    EXPECT_EQ(hotKeys.trigger({.id = 5}), "Press Ctrl+Alt+X");
    EXPECT_EQ(hotKeys.trigger({.id = 6}), std::nullopt);
}

TEST_F(NPSimulatedHotKeysTest, CallsNoHandlerWhoseSubscriptionHasEnded)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    subscription.reset();
    hotKeys.press(2, 0x1800);
    EXPECT_EQ(events, "");
}

TEST_F(NPSimulatedHotKeysTest, HandlerThatIsRemovedByAnEarlierOneIsNotCalled)
{
    const NPHotKeyRef ref = registerKey(2, 0x1800, 5);
    NPHotKeySubscription second;
    subscription = hotKeys.installHandlers({[&](const NPHotKeyEvent&) { second.reset(); }, {}, {}});
    second = hotKeys.installHandlers({[&](const NPHotKeyEvent&) { events += "second"; }, {}, {}});
    hotKeys.press(2, 0x1800);
    EXPECT_EQ(events, "");
}

TEST(NPSimulatedHotKeys, RegistrationMayOutliveTheService)
{
    NPActionLog log;
    NPHotKeyRef ref;
    {
        NPSimulatedHotKeys hotKeys(log);
        ref = hotKeys.registerHotKey({2, 0x1800, {.id = 1}, {}}).value();
    }
    ref.reset();
    EXPECT_EQ(log.text(), "hotkey register 1 2 0x1800\n");
}
