// The status item in real status areas.
#include "Desktop/Application/NPTestApplication.h"

#include "Desktop/Application/NPTestPicture.h"
#include "Desktop/Application/NPTestTrayHost.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";

struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class NPStatusItemTest : public NPTestApplication {
protected:
    NPStatusItemTest()
    {
        writeSettings(withStatusItem);
        addNight();
    }

    // A window of the program that is to be seen, wider than the one and not than the other.
    static std::optional<Place> windowOfWidth(int least, int most)
    {
        std::istringstream windows(NPTestShell("xdotool search --onlyvisible --classname nightpane"));
        for (std::string window; std::getline(windows, window);) {
            Place place;
            std::istringstream geometry(NPTestShell("eval $(xdotool getwindowgeometry --shell " + window
                                                    + ") && echo $X $Y $WIDTH $HEIGHT"));
            if (geometry >> place.x >> place.y >> place.width >> place.height && place.width >= least
                && place.width <= most) {
                return place;
            }
        }
        return std::nullopt;
    }

    static bool isNightOn() { return runCli({"list"}).output.find("\nNight           on") != std::string::npos; }
};

// A status area for X11, in front of a ground of some colour.
struct Panel {
    std::string name;
    std::vector<std::string> command;
    std::string configuration; // of tint2, which reads it from a file
};

std::string tint2Configuration(const std::string& colour)
{
    return "rounded = 0\nborder_width = 0\nbackground_color = " + colour
           + " 100\nborder_color = #000000 0\npanel_items = S\npanel_size = 100% 32\npanel_background_id = 1\n"
             "systray_padding = 4 4 4\nsystray_icon_size = 24\n";
}

const std::vector<Panel> panels = {
    {"TrayerLight",
     {"/usr/bin/trayer", "--edge", "bottom", "--transparent", "true", "--alpha", "0", "--tint", "0xf0f0f0"},
     ""},
    {"TrayerDark",
     {"/usr/bin/trayer", "--edge", "bottom", "--transparent", "true", "--alpha", "0", "--tint", "0x202020"},
     ""},
    {"Tint2Light", {"/usr/bin/tint2", "-c"}, tint2Configuration("#f4f4f4")},
    {"Tint2Dark", {"/usr/bin/tint2", "-c"}, tint2Configuration("#181818")},
};

class NPStatusItemX11Test : public NPStatusItemTest, public testing::WithParamInterface<Panel> {
protected:
    NPTestProgram startPanel() const { return startPanel(GetParam()); }

    NPTestProgram startPanel(const Panel& panel) const
    {
        std::vector<std::string> command = panel.command;
        if (!panel.configuration.empty()) {
            command.push_back(folder / "tint2rc");
            std::ofstream(command.back()) << panel.configuration;
        }
        return NPTestProgram(command);
    }

    bool standsOut() const
    {
        constexpr int strong = 110;
        constexpr int few = 30; // pixels
        return picture(icon()).countThatStandOut(strong) > few;
    }

    // Waits for the icon. Throws when none comes.
    static Place icon()
    {
        std::optional<Place> place;
        if (!NPTestEventually([&] { return (place = windowOfWidth(8, 64)).has_value(); })) {
            throw std::runtime_error("no icon is shown");
        }
        return *place;
    }

    NPTestPicture picture(const Place& place) const
    {
        return NPTestPicture::ofScreen(server.displayName(), place.x, place.y, place.width, place.height);
    }

    // Clicks on the icon and waits for the menu. Throws when none opens.
    static Place openMenu()
    {
        constexpr int wide = 100;
        const Place place = icon();
        NPTestShell("xdotool mousemove " + std::to_string(place.x + place.width / 2) + ' '
                    + std::to_string(place.y + place.height / 2) + " sleep 0.3 click 1");
        std::optional<Place> menu;
        if (!NPTestEventually([&] { return (menu = windowOfWidth(wide, 1000)).has_value(); })) {
            throw std::runtime_error("no menu opens");
        }
        return *menu;
    }

    // What the menu looks like, once it is drawn. The pointer is on the icon.
    NPTestPicture drawnMenu() const
    {
        const Place menu = openMenu();
        NPTestPicture last = picture(menu);
        NPTestEventually([&] {
            NPTestShell("sleep 0.2");
            return std::exchange(last, picture(menu)) == last && last.countThatStandOut(64) > 100;
        });
        return last;
    }

    static void chooseNight()
    {
        NPTestShell("xdotool key Down Down Down Return"); // past the switch for all and the default effect
        EXPECT_TRUE(NPTestEventually([] { return !windowOfWidth(100, 1000); }));
    }

    NPTestSessionBus bus;
};

class NPStatusItemNotifierTest : public NPStatusItemTest {
protected:
    NPTestSessionBus bus;
};

} // namespace

TEST_P(NPStatusItemX11Test, OpensItsMenuAndTheEffectThatIsChosenChangesWithItsMark)
{
    const NPTestProgram panel = startPanel();
    const NPTestProgram program = start();
    ASSERT_EQ(gamma(), NPTestDimmedBy20());
    const NPTestPicture menuWithNight = drawnMenu();
    chooseNight();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_FALSE(isNightOn());
    EXPECT_NE(drawnMenu(), menuWithNight); // the mark has gone
    chooseNight();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
    EXPECT_EQ(drawnMenu(), menuWithNight);
}

TEST_P(NPStatusItemX11Test, StandsOutFromThePanel)
{
    const NPTestProgram panel = startPanel();
    const NPTestProgram program = start();
    EXPECT_TRUE(NPTestEventually([&] { return standsOut(); }));
    ASSERT_EQ(run({"--toggle"}).status, 0); // the other image
    NPTestShell("sleep 0.5");
    EXPECT_TRUE(NPTestEventually([&] { return standsOut(); }));
}

TEST_P(NPStatusItemX11Test, StandsOutFromThePanelThatComesNext)
{
    const auto isOther = [](const Panel& panel) {
        return panel.command[0] == GetParam().command[0] && panel.name != GetParam().name;
    };
    std::optional<NPTestProgram> panel = startPanel();
    const NPTestProgram program = start();
    EXPECT_TRUE(NPTestEventually([&] { return standsOut(); }));
    NPTestShell("sleep 0.5"); // until it has taken the panel's colour
    panel->signal(SIGTERM);
    panel->wait();
    EXPECT_TRUE(NPTestEventually([] { return !windowOfWidth(8, 64); }));
    const NPTestProgram next = startPanel(*std::ranges::find_if(panels, isOther));
    EXPECT_TRUE(NPTestEventually([&] { return standsOut(); }));
}

INSTANTIATE_TEST_SUITE_P(EachPanel, NPStatusItemX11Test, testing::ValuesIn(panels),
                         [](const auto& panel) { return panel.param.name; });

TEST_P(NPStatusItemX11Test, AppearsInAStatusAreaThatComesLaterAndAgainInTheNext)
{
    const NPTestProgram program = start();
    {
        NPTestProgram panel = startPanel();
        EXPECT_NO_THROW(icon());
        panel.signal(SIGTERM);
        panel.wait();
        EXPECT_TRUE(NPTestEventually([] { return !windowOfWidth(8, 64); }));
    }
    const NPTestProgram panel = startPanel();
    EXPECT_NO_THROW(openMenu());
}

TEST_F(NPStatusItemNotifierTest, ShowsTheWholeMenuOverTheBus)
{
    NPTestTrayHost host(bus.address());
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    const std::vector<NPTestTrayHost::MenuItem> menu = host.menu();
    std::vector<std::string> labels;
    for (const NPTestTrayHost::MenuItem& item : menu) {
        labels.push_back(item.label);
    }
    EXPECT_EQ(labels[0], "Deactivate Nightpane");
    EXPECT_EQ(labels[1], "");
    EXPECT_EQ(labels[2], "Default Effect");
    EXPECT_EQ(labels[3], "Night");
    EXPECT_EQ(labels.back(), "Quit Nightpane");
    EXPECT_FALSE(menu[2].isOn);
    EXPECT_TRUE(menu[3].isOn);
}

TEST_F(NPStatusItemNotifierTest, SwitchesTheEffectThatIsChosenAndTheMarkFollows)
{
    NPTestTrayHost host(bus.address());
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    host.choose("Night");
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_TRUE(NPTestEventually([&] { return !host.menu().at(3).isOn; }));
    EXPECT_EQ(runCli({"activate", "Night"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return host.menu().at(3).isOn; }));
}

TEST_F(NPStatusItemNotifierTest, FollowsTheListOfEffects)
{
    NPTestTrayHost host(bus.address());
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    const std::size_t before = host.menu().size();
    EXPECT_EQ(runCli({"new", "Movie", "hotkey=ctrl+alt+m"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return host.menu().size() == before + 1; }));
    EXPECT_EQ(host.menu().at(4).label, "Movie");
    EXPECT_EQ(host.menu().at(4).shortcut, "Control+Alt+M");
}

TEST_F(NPStatusItemNotifierTest, AppearsAtAHostThatComesLater)
{
    const NPTestProgram program = start();
    NPTestTrayHost host(bus.address());
    EXPECT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
}

// Some hosts open the menu at a click with the second button alone.
TEST_F(NPStatusItemNotifierTest, OpensItsMenuByItselfAtAClick)
{
    NPTestTrayHost host(bus.address());
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    host.activate();
    EXPECT_TRUE(NPTestEventually([] { return windowOfWidth(100, 1000).has_value(); }));
    NPTestShell("xdotool key Down Down Down Return");
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
}

// Some desktops have the watcher long before the panel.
TEST_F(NPStatusItemNotifierTest, WaitsForAHostThatTheWatcherKnows)
{
    NPTestTrayHost host(bus.address(), false);
    const NPTestProgram program = start();
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_FALSE(host.hasItem());
    host.registerHost();
    EXPECT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
}

TEST_F(NPStatusItemNotifierTest, ComesBackWhenTheHostWasStartedAnew)
{
    auto host = std::make_unique<NPTestTrayHost>(bus.address());
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host->hasItem(); }));
    host = nullptr;
    host = std::make_unique<NPTestTrayHost>(bus.address());
    EXPECT_TRUE(NPTestEventually([&] { return host->hasItem(); }));
    EXPECT_TRUE(host->menu().at(3).isOn);
}

TEST_F(NPStatusItemNotifierTest, QuitsByItsMenu)
{
    NPTestTrayHost host(bus.address());
    NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    host.choose("Quit Nightpane");
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
}
