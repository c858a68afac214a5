// Hot keys as a user has them: a real X server with a window manager, a terminal that has the focus, and the
// engine as a program of its own.
#include "Desktop/Support/NPTestProgram.h"
#include "Desktop/Support/NPTestRandR.h"
#include "Desktop/Support/NPTestXClient.h"
#include "Desktop/Support/NPTestXServer.h"
#include "Platform/Linux/NPTestPortalBackEnd.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

constexpr xcb_keycode_t xKeyF5 = 71;
constexpr xcb_keycode_t xKeyD = 40;
constexpr xcb_keycode_t xKeyZ = 52;
constexpr std::uint16_t xControlAlt = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;

// What identity becomes when it is dimmed.
NPTestGamma dimmedTo(double factor)
{
    NPTestGamma gamma = NPTestIdentityGamma();
    for (auto& channel : gamma) {
        std::ranges::transform(channel, channel.begin(), [factor](std::uint16_t value) {
            return static_cast<std::uint16_t>(std::lround(value * factor));
        });
    }
    return gamma;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator(file), {}};
}

class NPHotKeysOfEngineTest : public testing::Test {
protected:
    NPHotKeysOfEngineTest()
    {
        randr.setGamma("DUMMY0", NPTestIdentityGamma());
        command({"new", "Night", "dim=20%", "hotkey=ctrl+alt+d", "manual-fade=0"});
    }

    static std::string command(std::vector<std::string> words)
    {
        words.insert(words.begin(), NP_TEST_CLI);
        NPTestProgram program(words);
        if (program.wait() != 0) {
            throw std::runtime_error(words.at(1) + " fails: " + program.errors());
        }
        return program.output();
    }

    // One that commands reach, and that therefore has its hot keys.
    static NPTestProgram startEngine()
    {
        NPTestProgram engine({NP_TEST_CLI, "run"});
        const std::string question = "dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus / "
                                     "org.freedesktop.DBus.NameHasOwner string:org.nightpane.Nightpane1";
        if (!NPTestEventually([&] { return contains(NPTestOutputOf(question), "true"); })) {
            throw std::runtime_error("the engine does not start: " + engine.errors());
        }
        return engine;
    }

    static void xdotool(const std::string& arguments) { NPTestOutputOf("xdotool " + arguments); }

    // Whether the display's table becomes this one.
    bool becomes(double factor) const
    {
        return NPTestEventually([&, wanted = dimmedTo(factor)] { return randr.gamma("DUMMY0") == wanted; });
    }

    // How many lines the engine has written by now about what the screen shows.
    static long linesOf(const NPTestProgram& engine)
    {
        command({"status"}); // it has written of all that it did before it answers
        const std::string output = engine.output();
        return std::ranges::count(output, '\n');
    }

    NPTestXServer server = NPTestXServer::xorg();
    NPTemporaryFolder folder;
    NPTestSessionBus bus;
    NPTestVariable display{"DISPLAY", server.displayName()};
    NPTestVariable wayland{"WAYLAND_DISPLAY", std::nullopt};
    NPTestVariable config{"XDG_CONFIG_HOME", (folder / "config").string()};
    NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    NPTestVariable home{"HOME", folder.path().string()};
    NPTestRandR randr{server.displayName()};
};

class NPHotKeysUnderWindowManagerTest : public NPHotKeysOfEngineTest {
protected:
    NPHotKeysUnderWindowManagerTest()
    {
        if (!NPTestEventually([&] { return !randr.rootPropertyNames("_NET_SUPPORTING_WM_CHECK").empty(); })) {
            throw std::runtime_error("the window manager does not start: " + windowManager.errors());
        }
    }

    NPTestProgram windowManager{{"/usr/bin/openbox", "--sm-disable"}};
};

// A terminal with the focus, whose program keeps the lines that are typed there.
class Terminal {
public:
    explicit Terminal(const NPTemporaryFolder& folder)
        : _typed(folder / "typed"), _program({"/usr/bin/xterm", "-e", "cat > " + _typed})
    {
        NPTestOutputOf("xdotool search --sync --onlyvisible --class XTerm windowfocus");
        NPTestEventually([&] { return std::filesystem::exists(_typed); }); // it takes its time
    }

    // All that has been typed, and then this word, which is typed for it.
    std::string typedBefore(const std::string& word) const
    {
        NPTestOutputOf("xdotool type '" + word + "\n'");
        NPTestEventually([&] { return contentOf(_typed).ends_with(word + '\n'); });
        return contentOf(_typed);
    }

private:
    std::string _typed;
    NPTestProgram _program;
};

// In a Wayland session, where the desktop has the keys.
class NPHotKeysOfDesktopTest : public NPHotKeysOfEngineTest {
protected:
    NPTestVariable session{"WAYLAND_DISPLAY", "wayland-9"};
};

} // namespace

TEST_F(NPHotKeysUnderWindowManagerTest, HotKeyChangesTheScreenWhileATerminalHasTheFocus)
{
    const Terminal terminal(folder);
    ASSERT_EQ(terminal.typedBefore("one"), "one\n");
    const NPTestProgram engine = startEngine();
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(0.8));
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(1.0));
    EXPECT_EQ(terminal.typedBefore("two"), "one\ntwo\n"); // the terminal has its keys, and not ours
}

TEST_F(NPHotKeysUnderWindowManagerTest, LocksPlayNoPart)
{
    const NPTestProgram engine = startEngine();
    xdotool("key Caps_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(0.8));
    xdotool("key Num_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(1.0));
    xdotool("key Caps_Lock");
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(0.8));
}

TEST_F(NPHotKeysUnderWindowManagerTest, HotKeyThatIsHeldDownTogglesOnce)
{
    const Terminal terminal(folder);
    NPTestOutputOf("xset r rate 20 100");
    xdotool("keydown f sleep 0.3 keyup f");
    EXPECT_TRUE(contains(terminal.typedBefore("end"), "ffff")); // this server does repeat

    const NPTestProgram engine = startEngine();
    const long before = linesOf(engine);
    xdotool("keydown ctrl keydown alt keydown d sleep 0.5 keyup d keyup alt keyup ctrl");
    EXPECT_TRUE(becomes(0.8));
    const long onceOn = linesOf(engine) - before;
    command({"set", "Night", "hotkey=none"}); // after every toggle that was to come
    EXPECT_EQ(linesOf(engine) - before, onceOn) << engine.output();
    command({"deactivate", "Night"});
    command({"activate", "Night"});
    EXPECT_EQ(linesOf(engine) - before, 3 * onceOn) << engine.output();
}

TEST_F(NPHotKeysOfEngineTest, HotKeyFadesAsTheEffectSaysForChangesByHand)
{
    command({"set", "Night", "manual-fade=3600", "timed-fade=0"});
    const NPTestProgram engine = startEngine();
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(NPTestEventually([&] { return contains(command({"screens"}), "Night   on"); }))
        << command({"screens"});
    EXPECT_NE(randr.gamma("DUMMY0"), dimmedTo(0.8));
}

TEST_F(NPHotKeysOfEngineTest, HotKeyStaysAtItsPlaceInAnotherLayoutAndIsCalledByItsNameThere)
{
    command({"set", "Night", "hotkey=ctrl+alt+z"});
    const NPTestProgram engine = startEngine();
    NPTestOutputOf("setxkbmap de");
    xdotool("keydown ctrl keydown alt key " + std::to_string(xKeyZ) + " keyup alt keyup ctrl");
    EXPECT_TRUE(becomes(0.8));
    EXPECT_TRUE(contains(command({"list"}), "⌃⌥Y (ctrl+alt+y)")) << command({"list"});
    xdotool("key ctrl+alt+y");
    EXPECT_TRUE(becomes(1.0));
    EXPECT_EQ(command({"set", "Night", "hotkey=ctrl+shift+ö"}), "⌃⇧Ö (ctrl+shift+ö)\n");
    xdotool("key ctrl+shift+odiaeresis");
    EXPECT_TRUE(becomes(0.8));
}

TEST_F(NPHotKeysOfEngineTest, ChangedHotKeyWorksAtOnceAndTheFormerNoMore)
{
    const NPTestProgram engine = startEngine();
    EXPECT_EQ(command({"set", "Night", "hotkey=super+F5"}), "⌘F5 (super+f5)\n");
    xdotool("key ctrl+alt+d key super+F5");
    EXPECT_TRUE(becomes(0.8));
    EXPECT_EQ(command({"set", "Night", "hotkey=none"}), "no hot key\n");
    NPTestXClient other(server.displayName());
    other.grab(xKeyF5, XCB_MOD_MASK_4); // free again
}

TEST_F(NPHotKeysOfEngineTest, CombinationOfAnotherProgramIsReportedAndTheOthersWork)
{
    NPTestXClient other(server.displayName());
    other.grab(xKeyD, xControlAlt);
    command({"new", "Red", "dim=40%", "hotkey=ctrl+alt+f", "manual-fade=0"});
    const NPTestProgram engine = startEngine();
    EXPECT_TRUE(contains(command({"list"}), "\nThe hot key of Night does not work: another program has it\n"))
        << command({"list"});
    EXPECT_FALSE(contains(command({"list"}), "The hot key of Red"));
    xdotool("key ctrl+alt+d key ctrl+alt+f");
    EXPECT_TRUE(becomes(0.6));

    other.ungrab(xKeyD, xControlAlt);
    command({"deactivate", "Red"}); // whatever changes any setting tries again
    EXPECT_FALSE(contains(command({"list"}), "does not work")) << command({"list"});
    xdotool("key ctrl+alt+d");
    EXPECT_TRUE(becomes(0.8));
}

TEST_F(NPHotKeysOfEngineTest, SettingATakenCombinationSaysSo)
{
    NPTestXClient other(server.displayName());
    other.grab(xKeyD, xControlAlt);
    const NPTestProgram engine = startEngine();
    command({"set", "Night", "hotkey=none"});
    EXPECT_EQ(command({"set", "Night", "hotkey=ctrl+alt+d"}),
              "⌃⌥D (ctrl+alt+d)\nThe hot key of Night does not work: another program has it\n");
}

TEST_F(NPHotKeysOfDesktopTest, ShortcutOfTheDesktopChangesTheScreen)
{
    NPTestPortalBackEnd::addPortal(bus, true);
    NPTestPortalBackEnd backEnd;
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return backEnd.questions().size() == 1; }));
    const std::string question = backEnd.questions().front();
    const std::string name = question.substr(0, question.find('='));
    EXPECT_EQ(question, name + "=Night:CTRL+ALT+d ");
    EXPECT_TRUE(NPTestEventually([&] {
        return contains(command({"list"}), "\nThe desktop's key for Night: Press CTRL+ALT+d\n");
    })) << command({"list"});
    backEnd.activate(name, 1000);
    backEnd.deactivate(name, 1100);
    EXPECT_TRUE(becomes(0.8));
    backEnd.activate(name, 2000);
    backEnd.deactivate(name, 2100);
    EXPECT_TRUE(becomes(1.0));
}

TEST_F(NPHotKeysOfDesktopTest, ShortcutWorksAgainWhenTheSessionBusIsBack)
{
    NPTestPortalBackEnd::addPortal(bus, true);
    auto backEnd = std::make_unique<NPTestPortalBackEnd>();
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return backEnd->questions().size() == 1; }));
    backEnd.reset();
    bus.end();
    bus.begin();
    backEnd = std::make_unique<NPTestPortalBackEnd>();
    ASSERT_TRUE(NPTestEventually([&] { return backEnd->questions().size() == 1; })) << engine.errors();
    const std::string question = backEnd->questions().front();
    const std::string name = question.substr(0, question.find('='));
    EXPECT_TRUE(NPTestEventually([&] {
        return contains(command({"list"}), "\nThe desktop's key for Night: Press CTRL+ALT+d\n");
    })) << command({"list"});
    backEnd->activate(name, 1000);
    backEnd->deactivate(name, 1100);
    EXPECT_TRUE(becomes(0.8));
}

// Without the program's name; what else is missing in the test's session is told in lines of its own.
std::string linesAboutHotKeys(const std::string& errors)
{
    const std::string start = "nightpane-cli: ";
    std::string found;
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(start + "Hot keys")) {
            found += line.substr(start.size()) + '\n';
        }
    }
    return found;
}

TEST_F(NPHotKeysOfDesktopTest, DesktopWithoutShortcutsIsReportedAndTheRestWorks)
{
    NPTestPortalBackEnd::addPortal(bus, false);
    const NPTestProgram engine = startEngine();
    const std::string line = "\nThe hot key of Night does not work: the desktop has no global shortcuts\n";
    EXPECT_TRUE(NPTestEventually([&] { return contains(command({"list"}), line); })) << command({"list"});
    EXPECT_EQ(linesAboutHotKeys(engine.errors()), "Hot keys do not work: the desktop has no global shortcuts\n");
    command({"activate", "Night"});
    EXPECT_TRUE(becomes(0.8));
}

TEST_F(NPHotKeysOfDesktopTest, WithoutASessionBusOneLineSaysSo)
{
    const NPTestVariable noBus("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const NPTestProgram engine({NP_TEST_CLI, "run"});
    EXPECT_TRUE(NPTestEventually([&] { return !linesAboutHotKeys(engine.errors()).empty(); }));
    EXPECT_EQ(linesAboutHotKeys(engine.errors()),
              "Hot keys do not work: there is no session bus to ask the desktop for them\n");
}
