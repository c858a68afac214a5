#include "Foundation/QXLog.h"
#include "Platform/Linux/NPControlModule.h"
#include "Platform/Linux/NPTestPortalBackEnd.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <chrono>

// The real desktop portal on a bus of the test's own, with a back end that the test plays.

namespace {

constexpr std::uint16_t keyD = 2;
constexpr std::uint16_t keyF = 3;
constexpr std::uint32_t controlOption = NPHotKeyControlMask | NPHotKeyOptionMask;

class NPHotKeyServicesPortalTest : public testing::Test {
protected:
    using Strings = std::vector<std::string>;

    explicit NPHotKeyServicesPortalTest(bool isThereABackEnd = true)
        : portalWords(NPTestPortalBackEnd::addPortal(bus, isThereABackEnd))
    {
    }

    void open()
    {
        hotKeys = std::move(connection->openHotKeys(loop).value());
        subscription = hotKeys->installHandlers({[this](const NPHotKeyEvent& event) {
                                                     events += "+" + std::to_string(event.identifier.id);
                                                     last = event;
                                                 },
                                                 [this](const NPHotKeyEvent& event) {
                                                     events += "-" + std::to_string(event.identifier.id);
                                                     last = event;
                                                 },
                                                 [this] { events += "!"; }});
    }

    std::expected<NPHotKeyRef, std::string> registerKey(std::uint16_t keyCode, const char* name,
                                                        std::uint32_t identifier)
    {
        return hotKeys->registerHotKey(
            {keyCode, controlOption, {.id = identifier}, {name, std::string("Effect ") + name}});
    }

    // Why a further one cannot be registered.
    std::string refusalOf(std::uint16_t keyCode, const char* name)
    {
        const auto ref = registerKey(keyCode, name, 1000);
        return ref ? "it is not refused" : ref.error();
    }

    // False when the condition does not come true within ten seconds.
    template<class Condition> bool turnUntil(const Condition& condition)
    {
        using Clock = std::chrono::steady_clock;
        for (const auto end = Clock::now() + std::chrono::seconds(10); !condition();) {
            if (Clock::now() > end) {
                return false;
            }
            loop.processEvents(5);
        }
        return true;
    }

    bool turnUntilBound(std::uint32_t identifier)
    {
        return turnUntil([&] { return hotKeys->trigger({.id = identifier}).has_value(); });
    }

    NPTestSessionBus bus;
    std::vector<std::string> portalWords;
    Strings log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
    NPMainLoopLinux loop;
    std::shared_ptr<NPControlBus> connection =
        NPOpenControlBusFromFolders({NP_TEST_MODULE_FOLDER}, bus.address()).value();
    std::unique_ptr<NPHotKeyServices> hotKeys;
    NPHotKeySubscription subscription;
    std::string events;
    NPHotKeyEvent last;
};

class NPHotKeyServicesPortalWithBackEndTest : public NPHotKeyServicesPortalTest {
protected:
    NPTestPortalBackEnd backEnd;
};

class NPHotKeyServicesPortalWithoutBackEndTest : public NPHotKeyServicesPortalTest {
protected:
    NPHotKeyServicesPortalWithoutBackEndTest() : NPHotKeyServicesPortalTest(false) {}
};

} // namespace

TEST_F(NPHotKeyServicesPortalWithBackEndTest, AsksForAllShortcutsOfATurnTogether)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    const auto day = registerKey(keyF, "B", 2);
    EXPECT_TRUE(night);
    EXPECT_TRUE(day);
    ASSERT_TRUE(turnUntilBound(2));
    EXPECT_EQ(backEnd.questions(), Strings{"A=Effect A:CTRL+ALT+d B=Effect B:CTRL+ALT+f "});
    EXPECT_EQ(events, "");
    EXPECT_EQ(log, Strings{});
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, DeliversActivationAndDeactivationAsPressAndRelease)
{
    open();
    const auto night = registerKey(keyD, "A", 7);
    ASSERT_TRUE(turnUntilBound(7));
    backEnd.activate("A", 1500);
    ASSERT_TRUE(turnUntil([&] { return events == "+7"; }));
    EXPECT_EQ(last.timestamp, 1.5);
    backEnd.deactivate("A", 1600);
    ASSERT_TRUE(turnUntil([&] { return events == "+7-7"; }));
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, RegisteringTheSameAnewAsksNothing)
{
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    night->reset();
    night = registerKey(keyD, "A", 2);
    backEnd.activate("A", 0);
    ASSERT_TRUE(turnUntil([&] { return events == "+2"; }));
    EXPECT_EQ(backEnd.questions().size(), 1U);
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, ChangedSetIsBoundAnew)
{
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    const auto day = registerKey(keyF, "B", 2);
    ASSERT_TRUE(turnUntilBound(2));
    night->reset();
    ASSERT_TRUE(turnUntil([&] { return backEnd.questions().size() == 3; }));
    EXPECT_EQ(backEnd.questions(),
              (Strings{"A=Effect A:CTRL+ALT+d ", "A=Effect A:CTRL+ALT+d B=Effect B:CTRL+ALT+f ",
                       "B=Effect B:CTRL+ALT+f "}));
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, LastOneGoneEndsTheSession)
{
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    night->reset();
    EXPECT_TRUE(turnUntil([&] { return backEnd.sessionCount() == 0; }));
    EXPECT_EQ(backEnd.questions().size(), 1U);
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, TriggerIsWhatTheDesktopSays)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    EXPECT_EQ(hotKeys->trigger({.id = 1}), std::nullopt);
    ASSERT_TRUE(turnUntilBound(1));
    EXPECT_EQ(hotKeys->trigger({.id = 1}), "Press CTRL+ALT+d");
    backEnd.changeTrigger("A", "Press Ctrl+Q");
    EXPECT_TRUE(turnUntil([&] { return hotKeys->trigger({.id = 1}) == "Press Ctrl+Q"; }));
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, ShortcutThatIsNotGrantedIsRefusedAndTheOthersWork)
{
    backEnd.withhold("B");
    open();
    auto night = registerKey(keyD, "A", 1);
    auto day = registerKey(keyF, "B", 2);
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    night->reset();
    day->reset();
    night = registerKey(keyD, "A", 3);
    day = registerKey(keyF, "B", 4);
    EXPECT_TRUE(night);
    ASSERT_FALSE(day);
    EXPECT_EQ(day.error(), "the desktop does not grant it");
    backEnd.activate("A", 0);
    ASSERT_TRUE(turnUntil([&] { return events == "!+3"; }));
    EXPECT_EQ(backEnd.questions().size(), 1U); // not asked again and again
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, RefusalIsOneLineAndIsKeptUntilSomethingElseIsAskedFor)
{
    backEnd.setResponse(1);
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: they were declined"});
    night->reset();
    EXPECT_EQ(refusalOf(keyD, "A"), "they were declined");
    backEnd.setResponse(0);
    night = registerKey(keyF, "A", 3);
    EXPECT_TRUE(night);
    EXPECT_TRUE(turnUntilBound(3));
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, WhatWasRefusedIsAskedForAgainAlongWithSomethingElse)
{
    backEnd.setResponse(1);
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    backEnd.setResponse(0);
    const NPHotKeySubscription registering =
        hotKeys->installHandlers({{}, {}, [&] { night = registerKey(keyD, "A", 3); }});
    const auto day = registerKey(keyF, "B", 2);
    ASSERT_TRUE(turnUntilBound(2));
    EXPECT_TRUE(night);
    EXPECT_EQ(backEnd.questions(),
              (Strings{"A=Effect A:CTRL+ALT+d ", "A=Effect A:CTRL+ALT+d B=Effect B:CTRL+ALT+f "}));
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, PortalThatVanishesIsOneLineAndCanBeHadAgainWhenItIsBack)
{
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    const std::string process = NPTestOutputOf(
        {"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
         "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:org.freedesktop.portal.Desktop"});
    ASSERT_EQ(::kill(std::stoi(process.substr(process.find("uint32 ") + 7)), SIGKILL), 0);
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the desktop portal has gone"});
    EXPECT_EQ(refusalOf(keyF, "B"), "the desktop portal has gone");
    EXPECT_EQ(hotKeys->trigger({.id = 1}), std::nullopt);

    NPTestOutputOf({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.portal.Desktop",
                    "/org/freedesktop/portal/desktop", "org.freedesktop.DBus.Peer.Ping"});
    ASSERT_TRUE(turnUntil([&] { return events == "!!"; }));
    night = registerKey(keyD, "A", 2);
    ASSERT_TRUE(turnUntilBound(2));
    backEnd.activate("A", 0);
    EXPECT_TRUE(turnUntil([&] { return events == "!!+2"; }));
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, AnotherPortalThatTakesThePlaceIsAsked)
{
    open();
    auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    portalWords.emplace_back("--replace");
    const NPTestProcess other(portalWords);
    ASSERT_TRUE(turnUntil([&] { return events == "!!"; })); // lost, and can be had again
    night = registerKey(keyD, "A", 2);
    ASSERT_TRUE(turnUntilBound(2));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the desktop portal has gone"});
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, SessionThatTheDesktopEndsIsOneLineAndOthersCanBeHad)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    backEnd.endSession();
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the desktop has ended them"});
    EXPECT_EQ(refusalOf(keyD, "A"), "the desktop has ended them");
    const auto day = registerKey(keyF, "B", 2);
    EXPECT_TRUE(turnUntilBound(2));
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, SameCombinationIsRefused)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    EXPECT_EQ(refusalOf(keyD, "B"), "the combination is registered already");
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, KeyWithoutANameIsRefused)
{
    open();
    EXPECT_EQ(refusalOf(200, "A"), "the keyboard has no such key");
}

TEST_F(NPHotKeyServicesPortalWithBackEndTest, VanishedBusIsOneLineAndTheProgramGoesOn)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntilBound(1));
    bus.end();
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the session bus has gone"});
    EXPECT_EQ(refusalOf(keyF, "B"), "the session bus has gone");
    loop.processEvents();
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(NPHotKeyServicesPortalTest, BackEndThatCannotBeReachedIsOneLine)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the desktop refuses them"});
    EXPECT_EQ(refusalOf(keyD, "A"), "the desktop refuses them");
}

TEST_F(NPHotKeyServicesPortalWithoutBackEndTest, DesktopWithoutABackEndIsOneLine)
{
    open();
    const auto night = registerKey(keyD, "A", 1);
    EXPECT_TRUE(night); // the desktop has to be asked first
    ASSERT_TRUE(turnUntil([&] { return events == "!"; }));
    EXPECT_EQ(log, Strings{"Hot keys do not work: the desktop has no global shortcuts"});
    EXPECT_EQ(refusalOf(keyF, "B"), "the desktop has no global shortcuts");
}

TEST_F(NPHotKeyServicesPortalTest, NothingIsAskedWithoutHotKeys)
{
    open();
    loop.processEvents();
    EXPECT_EQ(NPTestOutputOf({"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                              "/", "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.portal.Desktop"})
                  .find("true"),
              std::string::npos);
}

TEST(NPHotKeyServicesPortal, BusWithoutAPortalIsOneLine)
{
    const NPTestSessionBus bus;
    std::vector<std::string> log;
    const QXLogRedirection redirection([&](std::string_view line) { log.emplace_back(line); });
    NPMainLoopLinux loop;
    const auto connection = NPOpenControlBusFromFolders({NP_TEST_MODULE_FOLDER}, bus.address()).value();
    const auto hotKeys = std::move(connection->openHotKeys(loop).value());
    bool hasChanged = false;
    const NPHotKeySubscription subscription = hotKeys->installHandlers({{}, {}, [&] { hasChanged = true; }});
    const auto ref = hotKeys->registerHotKey({keyD, controlOption, {.id = 1}, {"A", "Night"}});
    while (!hasChanged) {
        loop.processEvents(-1);
    }
    EXPECT_EQ(log, std::vector<std::string>{"Hot keys do not work: there is no desktop portal"});
}
