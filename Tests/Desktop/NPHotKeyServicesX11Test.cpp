#include "Platform/Linux/NPHotKeyServicesX11.h"

#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestXClient.h"
#include "Foundation/QXLog.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

constexpr std::uint16_t keyD = 2;
constexpr std::uint16_t keyZ = 6;
constexpr std::uint16_t keyF5 = 96;
constexpr std::uint16_t keyUp = 126;
constexpr std::uint32_t controlOption = NPHotKeyControlMask | NPHotKeyOptionMask;

constexpr xcb_keycode_t xKeyD = 40;
constexpr xcb_keycode_t xLeftControl = 37;
constexpr xcb_keycode_t xLeftAlt = 64;
constexpr std::uint16_t xControlAlt = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;

class NPHotKeyServicesX11Test : public testing::Test {
protected:
    NPHotKeyServicesX11Test() { open(); }

    void open()
    {
        hotKeys = NPHotKeyServicesX11::open(server.displayName(), loop).value();
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

    std::expected<NPHotKeyRef, std::string> registerKey(std::uint16_t keyCode, std::uint32_t mask,
                                                        std::uint32_t id = 1)
    {
        return hotKeys->registerHotKey({keyCode, mask, {.id = id}, {}});
    }

    void xdotool(const std::string& arguments) const
    {
        NPTestOutputOf("DISPLAY=" + server.displayName() + " xdotool " + arguments);
    }
    void setxkbmap(const std::string& arguments) const
    {
        NPTestOutputOf("DISPLAY=" + server.displayName() + " setxkbmap " + arguments);
    }

    // What has come by the time that a later press of a key of its own comes: what has not come by then never
    // will.
    std::string eventsNow()
    {
        const auto marker = registerKey(80, 0, 99); // F19
        xdotool("key 197");
        NPTestTurnUntil(loop, [&] { return events.ends_with("-99"); });
        std::string all = std::exchange(events, "");
        return all.ends_with("+99-99") ? all.substr(0, all.size() - 6) : "no end: " + all;
    }

    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    std::unique_ptr<NPHotKeyServicesX11> hotKeys;
    NPHotKeySubscription subscription;
    std::string events;
    NPHotKeyEvent last;
};

} // namespace

TEST_F(NPHotKeyServicesX11Test, DeliversPressAndReleaseWithTheId)
{
    const auto ref = registerKey(keyD, controlOption, 7);
    ASSERT_TRUE(ref);
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+7-7");
}

TEST_F(NPHotKeyServicesX11Test, EventTellsWhatIsDown)
{
    const auto ref = registerKey(keyD, controlOption);
    xdotool("mousemove 30 40 keydown ctrl keydown alt keydown d");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return events == "+1"; }));
    EXPECT_EQ(last.modifierFlags, NPControlFlag | NPOptionFlag);
    EXPECT_EQ(last.x, 30.0);
    EXPECT_EQ(last.y, 40.0);
    EXPECT_GT(last.timestamp, 0.0);
    xdotool("keyup d keyup alt keyup ctrl");
}

TEST_F(NPHotKeyServicesX11Test, FocusedWindowDoesNotSeeTheKey)
{
    NPTestXClient window(server.displayName());
    const auto ref = registerKey(keyD, controlOption);
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
    EXPECT_EQ(window.takeKeys().find("+40"), std::string::npos);
}

TEST_F(NPHotKeyServicesX11Test, OtherCombinationsGoToTheFocusedWindow)
{
    NPTestXClient window(server.displayName());
    const auto ref = registerKey(keyD, controlOption);
    xdotool("key ctrl+d");
    xdotool("key d");
    xdotool("key ctrl+alt+shift+d");
    EXPECT_EQ(eventsNow(), "");
    const std::string keys = window.takeKeys();
    EXPECT_NE(keys.find("+40-40"), std::string::npos) << keys;
}

TEST_F(NPHotKeyServicesX11Test, LocksPlayNoPart)
{
    const auto ref = registerKey(keyD, controlOption);
    xdotool("key Caps_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
    EXPECT_EQ(last.modifierFlags, NPCapsLockFlag); // of the key that marks the end
    xdotool("key Num_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
    xdotool("key Caps_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
    xdotool("key Num_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, EveryModifierHasItsKey)
{
    constexpr std::pair<std::uint32_t, const char*> modifiers[] = {{NPHotKeyControlMask, "ctrl"},
                                                                   {NPHotKeyOptionMask, "alt"},
                                                                   {NPHotKeyShiftMask, "shift"},
                                                                   {NPHotKeyCommandMask, "super"}};
    for (const auto& [mask, name] : modifiers) {
        const auto ref = registerKey(keyF5, mask);
        ASSERT_TRUE(ref) << name;
        xdotool(std::string("key ") + name + "+F5");
        EXPECT_EQ(eventsNow(), "+1-1") << name;
    }
}

TEST_F(NPHotKeyServicesX11Test, KeyThatIsHeldDownIsOnePress)
{
    NPTestOutputOf("DISPLAY=" + server.displayName() + " xset r rate 20 100");
    NPTestXClient window(server.displayName());
    const auto isRepeated = [](const std::string& keys) { return keys.find("+41-41+41-41") != std::string::npos; };
    std::string seen;
    xdotool("keydown f"); // this server does repeat
    EXPECT_TRUE(NPTestWaitUntil([&] { return isRepeated(seen += window.takeKeys()); }));
    xdotool("keyup f");

    const auto ref = registerKey(keyD, controlOption);
    xdotool("keydown ctrl keydown alt keydown d sleep 0.3 keyup d keyup alt keyup ctrl");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, ReleaseCountsAlsoAfterItsModifiers)
{
    const auto ref = registerKey(keyD, controlOption);
    xdotool("keydown ctrl keydown alt keydown d keyup ctrl keyup alt keyup d");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, WorksInEveryLayoutByThePlaceOfTheKey)
{
    const auto ref = registerKey(keyZ, controlOption);
    for (const char* layout : {"de", "fr", "dvorak", "ru", "us"}) {
        setxkbmap(layout);
        xdotool("keydown ctrl keydown alt key 52 keyup alt keyup ctrl");
        EXPECT_EQ(eventsNow(), "+1-1") << layout;
    }
}

TEST_F(NPHotKeyServicesX11Test, WorksInTheSecondLayoutOfTwo)
{
    NPTestXClient client(server.displayName());
    setxkbmap("us,ru");
    const auto ref = registerKey(keyD, controlOption);
    client.lockLayout(1);
    for (const xcb_keycode_t keyCode : {xLeftControl, xLeftAlt, xKeyD}) {
        client.press(keyCode);
    }
    for (const xcb_keycode_t keyCode : {xKeyD, xLeftAlt, xLeftControl}) {
        client.release(keyCode);
    }
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, FollowsAKeyToAnotherKeyCode)
{
    const auto ref = registerKey(keyUp, controlOption);
    xdotool("keydown ctrl keydown alt key 111 keyup alt keyup ctrl");
    EXPECT_EQ(eventsNow(), "+1-1");
    setxkbmap("-keycodes xfree86");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return events.ends_with("!"); }));
    events.clear();
    xdotool("keydown ctrl keydown alt key 98 key 111 keyup alt keyup ctrl");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return events.ends_with("-1"); }));
    EXPECT_EQ(events, "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, AnnouncesAChangeThatMovesNumLock)
{
    const auto ref = registerKey(keyD, controlOption);
    NPTestOutputOf("DISPLAY=" + server.displayName()
                   + " xmodmap -e 'clear mod2' -e 'clear mod5' -e 'add mod5 = Num_Lock'");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return events.ends_with("!"); }));
    events.clear();
    xdotool("key Num_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, CombinationOfAnotherProgramIsRefusedAndTheOthersWork)
{
    NPTestXClient other(server.displayName());
    other.grab(xKeyD, xControlAlt);
    const auto refused = registerKey(keyD, controlOption, 1);
    const auto ref = registerKey(keyF5, NPHotKeyShiftMask, 2);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), "another program has it");
    ASSERT_TRUE(ref);
    xdotool("key ctrl+alt+d");
    xdotool("key shift+F5");
    EXPECT_EQ(eventsNow(), "+2-2");
}

TEST_F(NPHotKeyServicesX11Test, CombinationThatAnotherProgramHasWithCapsLockOnlyIsRefusedWhole)
{
    NPTestXClient other(server.displayName());
    other.grab(xKeyD, xControlAlt | XCB_MOD_MASK_LOCK);
    EXPECT_FALSE(registerKey(keyD, controlOption));
    loop.processEvents();
    hotKeys->registerHotKey({keyF5, controlOption, {.id = 2}, {}}).value(); // its wait carries the ungrabs along
    other.grab(xKeyD, xControlAlt); // nothing of ours is left
    other.grab(xKeyD, xControlAlt | XCB_MOD_MASK_2);
}

TEST_F(NPHotKeyServicesX11Test, CombinationCanBeHadWhenTheOtherProgramLetsItGo)
{
    NPTestXClient other(server.displayName());
    other.grab(xKeyD, xControlAlt);
    EXPECT_FALSE(registerKey(keyD, controlOption));
    other.ungrab(xKeyD, xControlAlt);
    const auto ref = registerKey(keyD, controlOption);
    EXPECT_TRUE(ref);
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, SameCombinationIsRefused)
{
    const auto ref = registerKey(keyD, controlOption, 1);
    const auto second = registerKey(keyD, controlOption, 2);
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error(), "the combination is registered already");
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+1-1");
}

TEST_F(NPHotKeyServicesX11Test, UnregisteredCombinationIsFreeAfterTheTurn)
{
    NPTestXClient other(server.displayName());
    auto ref = registerKey(keyD, controlOption);
    ref->reset();
    EXPECT_THROW(other.grab(xKeyD, xControlAlt), std::runtime_error);
    loop.processEvents();
    hotKeys->registerHotKey({keyF5, controlOption, {.id = 2}, {}}).value(); // its wait carries the ungrab along
    other.grab(xKeyD, xControlAlt);
}

TEST_F(NPHotKeyServicesX11Test, ReregisteringInOneTurnKeepsTheCombination)
{
    NPTestXClient other(server.displayName());
    auto ref = registerKey(keyD, controlOption, 1);
    ref->reset();
    ref = registerKey(keyD, controlOption, 2);
    ASSERT_TRUE(ref);
    loop.processEvents();
    EXPECT_THROW(other.grab(xKeyD, xControlAlt), std::runtime_error);
    xdotool("key ctrl+alt+d");
    EXPECT_EQ(eventsNow(), "+2-2");
}

TEST_F(NPHotKeyServicesX11Test, ReleaseReachesWhatWasRegisteredAnewWhileTheKeyWasDown)
{
    auto ref = registerKey(keyD, controlOption, 1);
    xdotool("keydown ctrl keydown alt keydown d");
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return events == "+1"; }));
    ref->reset();
    ref = registerKey(keyD, controlOption, 2);
    xdotool("keyup d keyup alt keyup ctrl");
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return events == "+1-2"; }));
}

TEST_F(NPHotKeyServicesX11Test, HandlerMayRegisterEverythingAnew)
{
    std::optional<NPHotKeyRef> ref = registerKey(keyD, controlOption).value();
    std::uint32_t next = 2;
    const NPHotKeySubscription second =
        hotKeys->installHandlers({{},
                                  [&](const NPHotKeyEvent&) {
                                      ref.reset();
                                      ref = registerKey(keyD, controlOption, next++).value();
                                  },
                                  {}});
    xdotool("key ctrl+alt+d key ctrl+alt+d key ctrl+alt+d");
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return events == "+1-1+2-2+3-3"; })) << events;
}

TEST_F(NPHotKeyServicesX11Test, ModifierAloneIsRefused)
{
    EXPECT_EQ(registerKey(56, 0).error(), "a modifier alone is no hot key");
    EXPECT_EQ(registerKey(57, controlOption).error(), "a modifier alone is no hot key");
}

TEST_F(NPHotKeyServicesX11Test, KeyThatTheKeyboardDoesNotHaveIsRefused)
{
    EXPECT_EQ(registerKey(127, controlOption).error(), "the keyboard has no such key");
    EXPECT_EQ(registerKey(65535, controlOption).error(), "the keyboard has no such key");
}

TEST_F(NPHotKeyServicesX11Test, LossOfTheServerIsOneLineAndRefusesFromThenOn)
{
    const auto ref = registerKey(keyD, controlOption);
    std::vector<std::string> logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged.emplace_back(line); });
    NPTestOutputOf("kill " + std::to_string(server.process()));
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return events == "!"; }));
    EXPECT_EQ(logged, std::vector<std::string>{"Hot keys do not work any more: the X server at \""
                                               + server.displayName() + "\" has gone"});
    EXPECT_EQ(registerKey(keyF5, controlOption).error(), "the X server has gone");
    const auto again = registerKey(keyD, controlOption); // as whoever held it does
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error(), "the X server has gone");
    EXPECT_EQ(logged.size(), 1U);
}

TEST_F(NPHotKeyServicesX11Test, ServerThatDoesNotRespondIsARefusal)
{
    server.suspend();
    EXPECT_EQ(registerKey(keyD, controlOption).error(), "the X server does not respond");
    server.resume();
    const auto ref = [&] {
        NPTestTurnUntil(loop, [&] { return registerKey(keyF5, controlOption).has_value(); });
        return registerKey(keyD, controlOption);
    }();
    EXPECT_TRUE(ref);
}

TEST_F(NPHotKeyServicesX11Test, EndOfTheServiceFreesEverything)
{
    const auto ref = registerKey(keyD, controlOption);
    hotKeys.reset();
    NPTestXClient other(server.displayName());
    EXPECT_TRUE(NPTestWaitUntil([&] {
        try {
            other.grab(xKeyD, xControlAlt);
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }));
}

TEST(NPHotKeyServicesX11, NoServerIsAnErrorOfOneLine)
{
    NPMainLoopLinux loop;
    const auto opened = NPHotKeyServicesX11::open(":61234", loop);
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error(), "No X server lets us in at display \":61234\"");
}
