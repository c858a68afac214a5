// The status item in real status areas.
#include "Desktop/Application/NPTestApplication.h"

#include "Desktop/Application/NPTestTrayHost.h"

#include <sstream>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";

class NPStatusItemTest : public NPTestApplication {
protected:
    NPStatusItemTest()
    {
        writeSettings(withStatusItem);
        addNight();
    }

    static bool isNightOn() { return runCli({"list"}).output.find("\nNight           on") != std::string::npos; }
};

class NPStatusItemX11Test : public NPStatusItemTest {
protected:
    // Waits for the icon; its place on the screen. Throws when none comes.
    static std::pair<int, int> iconCenter()
    {
        std::pair<int, int> center;
        const bool isShown = NPTestEventually([&] {
            std::istringstream windows(NPTestShell("xdotool search --onlyvisible --classname nightpane"));
            for (std::string window; std::getline(windows, window);) {
                int x = 0;
                int y = 0;
                int width = 0;
                int height = 0;
                std::istringstream geometry(NPTestShell("eval $(xdotool getwindowgeometry --shell " + window
                                                        + ") && echo $X $Y $WIDTH $HEIGHT"));
                if (geometry >> x >> y >> width >> height && width >= 8 && width <= 64 && height <= 64) {
                    center = {x + width / 2, y + height / 2};
                    return true;
                }
            }
            return false;
        });
        if (!isShown) {
            throw std::runtime_error("no icon is shown");
        }
        return center;
    }

    static void click(std::pair<int, int> place)
    {
        NPTestShell("xdotool mousemove " + std::to_string(place.first) + ' ' + std::to_string(place.second)
                    + " sleep 0.3 click 1");
    }

    // The menu is a window of ours that is wider than the icon.
    static bool isMenuOpen()
    {
        return NPTestShell(
                   "for w in $(xdotool search --onlyvisible --classname nightpane); do "
                   "eval $(xdotool getwindowgeometry --shell $w); [ $WIDTH -gt 100 ] && echo yes; done; true")
                   .find("yes")
               != std::string::npos;
    }

    NPTestSessionBus bus;
};

class NPStatusItemNotifierTest : public NPStatusItemTest {
protected:
    NPTestSessionBus bus;
};

} // namespace

TEST_F(NPStatusItemX11Test, OpensItsMenuAndSwitchesAnEffect)
{
    const NPTestProgram tray({"/usr/bin/trayer", "--edge", "bottom", "--width", "20"});
    const NPTestProgram program = start();
    ASSERT_EQ(gamma(), NPTestDimmedBy20());
    click(iconCenter());
    ASSERT_TRUE(NPTestEventually(isMenuOpen));
    NPTestShell("xdotool key Down Down Down Return"); // past the switch for all and the default effect
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_FALSE(isNightOn());
}

TEST_F(NPStatusItemX11Test, AppearsInATrayThatComesLater)
{
    const NPTestProgram program = start();
    const NPTestProgram tray({"/usr/bin/trayer", "--edge", "bottom", "--width", "20"});
    EXPECT_NO_THROW(iconCenter());
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

TEST_F(NPStatusItemNotifierTest, QuitsByItsMenu)
{
    NPTestTrayHost host(bus.address());
    NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
    host.choose("Quit Nightpane");
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
}
