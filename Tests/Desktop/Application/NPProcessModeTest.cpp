// What nightpane is to task bars, window switchers, launchers and the start of a session.
#include "Desktop/Application/NPTestApplication.h"
#include "Desktop/Application/NPTestRootMessages.h"
#include "Desktop/Application/NPTestTrayHost.h"
#include "Platform/Linux/NPDesktopEntry.h"
#include "Platform/Linux/NPLoginItemsLinux.h"

#include <algorithm>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";

class NPProcessModeTest : public NPTestApplication {
protected:
    NPProcessModeTest() { addNight(); }

    static bool isListed() { return listedWindows().find("nightpane") != std::string::npos; }

    // The command of an entry's group, as a launcher runs it: for the program under test, without files.
    static std::string commandOf(const std::string& group)
    {
        const std::string text = contentOf(NP_TEST_DESKTOP_FILE);
        const std::size_t start = text.find("\nExec=nightpane", text.find('[' + group + ']'));
        const std::size_t words = start + std::string("\nExec=nightpane").size();
        std::string command = NP_TEST_PROGRAM + text.substr(words, text.find('\n', words) - words);
        if (const std::size_t file = command.find(" %f"); file != std::string::npos) {
            command.erase(file, 3);
        }
        return command;
    }

    static int launch(const std::string& group)
    {
        NPTestProgram launcher({"/bin/sh", "-c", "exec " + commandOf(group)});
        return launcher.wait();
    }

    NPTestSessionBus bus;
    NPTestVariable noSystemBus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

class NPStatusItemOnlyTest : public NPProcessModeTest {
protected:
    NPStatusItemOnlyTest()
    {
        writeSettings(withStatusItem);
        addNight();
    }

    NPTestTrayHost host{bus.address()};
};

} // namespace

TEST_F(NPStatusItemOnlyTest, IsInTheTaskBarWhileAWindowIsOpen)
{
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    EXPECT_FALSE(isListed());
    EXPECT_EQ(run({}).status, 0);
    EXPECT_TRUE(NPTestEventually(isListed));
    const std::string state = NPTestShell("xprop -id " + windowNamed("Nightpane") + " _NET_WM_STATE");
    EXPECT_EQ(state.find("SKIP"), std::string::npos) << state;
    NPTestShell("wmctrl -c Nightpane");
    EXPECT_TRUE(NPTestEventually([] { return !isListed(); }));
    EXPECT_TRUE(host.hasItem());
}

TEST_F(NPStatusItemOnlyTest, StaysInTheTaskBarUntilTheLastWindowCloses)
{
    const NPTestProgram program = start({"--preferences"});
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem() && isListed(); }));
    host.choose("About Nightpane");
    ASSERT_NE(windowNamed("About Nightpane"), "");
    NPTestShell("wmctrl -F -c Nightpane");
    EXPECT_TRUE(NPTestEventually([] { return !isWindowVisible("Nightpane"); }));
    EXPECT_TRUE(isListed());
    NPTestShell("wmctrl -c 'About Nightpane'");
    EXPECT_TRUE(NPTestEventually([] { return !isListed(); }));
}

// What the session starts at login: the icon comes, and no window with it.
TEST_F(NPStatusItemOnlyTest, TheLoginItemStartsItWithoutAWindow)
{
    const std::string label = "org.nightpane.Nightpane.Launcher";
    ASSERT_TRUE(
        NPLoginItemsLinux(NPDesktopFolders::ofEnvironment(), NP_TEST_LAUNCHER).setLoginItemEnabled(label, true));
    const auto entry = NPDesktopEntry::parse(contentOf(folder / ("config/autostart/" + label + ".desktop")));
    ASSERT_TRUE(entry);
    NPTestProgram session({"/bin/sh", "-c", "exec " + entry->value("Exec").value()});
    EXPECT_TRUE(NPTestEventually([&] { return host.hasItem(); })) << session.errors();
    EXPECT_EQ(gamma(), NPTestDimmedBy20());
    EXPECT_FALSE(isListed());
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(session.wait(), 0); // the launcher has become the program: it left nothing behind
}

TEST_F(NPProcessModeTest, TheLauncherEntryReopensTheWindow)
{
    NPTestProgram program = start();
    EXPECT_FALSE(isListed());
    EXPECT_EQ(launch("Desktop Entry"), 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_TRUE(NPTestEventually(isListed));
    NPTestShell("wmctrl -c Nightpane");
    EXPECT_TRUE(NPTestEventually([] { return !isListed(); }));
    EXPECT_EQ(launch("Desktop Entry"), 0);
    EXPECT_TRUE(NPTestEventually(isListed));
}

// Without an icon, nothing else would show that a click in the desktop's menu has started it.
TEST_F(NPProcessModeTest, AStartFromTheDesktopOpensTheWindow)
{
    const NPTestVariable token("DESKTOP_STARTUP_ID", "panel_TIME1");
    const NPTestProgram program = start();
    EXPECT_NE(windowNamed("Nightpane"), "");
}

TEST_F(NPProcessModeTest, AStartBySomethingElseOpensNone)
{
    const NPTestProgram program = start();
    EXPECT_EQ(run({"--toggle"}).status, 0); // it answers: it has begun
    EXPECT_FALSE(isWindowVisible("Nightpane"));
}

TEST_F(NPProcessModeTest, TheLauncherEntrysActionsWork)
{
    NPTestProgram program = start();
    EXPECT_EQ(launch("Desktop Action Toggle"), 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_EQ(launch("Desktop Action Toggle"), 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
    EXPECT_FALSE(isListed());
    EXPECT_EQ(launch("Desktop Action Preferences"), 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_EQ(launch("Desktop Action Quit"), 0);
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(NPProcessModeTest, ASecondStartBringsTheWindowInFrontOfOthers)
{
    const NPTestProgram program = start({"--preferences"});
    const std::string window = windowNamed("Nightpane");
    const NPTestProgram terminal({"/usr/bin/xterm"});
    ASSERT_TRUE(NPTestEventually([] { return listedWindows().find("xterm") != std::string::npos; }));
    const std::string number = NPTestShell("xdotool search --onlyvisible --class xterm | head -n 1 | tr -d '\\n'");
    NPTestShell("xdotool windowactivate --sync " + number);
    ASSERT_EQ(activeWindow(), number);
    EXPECT_EQ(run({}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return activeWindow() == window; }));
    NPTestShell("xdotool windowminimize --sync " + window);
    EXPECT_EQ(run({}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return activeWindow() == window; }));
}

// Window managers let a window take the keyboard only when it says which click of the user's asked for it.
TEST_F(NPProcessModeTest, ASecondStartHandsOnWhatTheDesktopGaveIt)
{
    const NPTestProgram program = start();
    NPTestRootMessages messages(server.displayName());
    const NPTestVariable token("DESKTOP_STARTUP_ID", "panel/nightpane/12-3-host \"x\"_TIME41234567");
    EXPECT_EQ(run({}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return std::ranges::count(messages.activations(), 41234567U) == 1; }));
    EXPECT_EQ(messages.startups(),
              std::vector<std::string>{"remove: ID=\"panel/nightpane/12-3-host \\\"x\\\"_TIME41234567\""});
}

// Else the desktop would show that it waits for a window.
TEST_F(NPStatusItemOnlyTest, AStartWithoutAWindowIsOverForTheDesktop)
{
    NPTestRootMessages messages(server.displayName());
    const NPTestVariable token("DESKTOP_STARTUP_ID", "panel_TIME1");
    const NPTestProgram program = start();
    EXPECT_TRUE(NPTestEventually([&] { return !messages.startups().empty(); }));
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return messages.startups().size() == 2; }));
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(messages.startups(), std::vector<std::string>(3, "remove: ID=\"panel_TIME1\""));
}
