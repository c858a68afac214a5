// The windows and alerts of the program as people meet them, read and worked over AT-SPI as by a screen reader.
#include "Desktop/Application/NPTestAccessibility.h"
#include "Desktop/Application/NPTestApplication.h"
#include "Desktop/Application/NPTestTrayHost.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";
const std::string noEffect = "<key>NPEffectGroups</key><array><dict><key>NPEffectName</key>"
                             "<string>Nothing</string></dict></array>";
const std::string betaFeed = "<key>SUFeedURL</key><string>https://beta.example.org/appcast.xml</string>";

class NPApplicationWindowsTest : public NPTestApplication {
protected:
    void chooseInMenu(const std::string& label) const
    {
        ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
        host.choose(label);
    }

    // Whether it has the keyboard, or comes to have it.
    bool isFocused(const std::string& name) const
    {
        return NPTestEventually([&] {
            const std::vector<NPTestAccessibility::Element> all = windows.elements();
            const auto found = std::ranges::find(all, name, &NPTestAccessibility::Element::name);
            return found != all.end() && found->isFocused;
        });
    }

    void installFlux() const
    {
        std::filesystem::create_directories(folder / "data/applications");
        std::ofstream(folder / "data/applications/fluxgui.desktop")
            << "[Desktop Entry]\nType=Application\nName=f.lux\nExec=/bin/true\n";
    }

    std::string settings() const { return NPTestShell("plistutil -i '" + settingsFile() + "'"); }
    bool isSet(const std::string& key) const { return settings().find("<key>" + key) != std::string::npos; }

    // Of the first window with a title: "x y width height".
    static std::vector<int> geometryOf(const std::string& title)
    {
        std::istringstream text(NPTestShell("eval $(xdotool search --onlyvisible --name '^" + title
                                            + "$' getwindowgeometry --shell) && echo $X $Y $WIDTH $HEIGHT"));
        std::vector<int> numbers;
        for (int number = 0; text >> number;) {
            numbers.push_back(number);
        }
        return numbers;
    }

    NPTestVariable data{"XDG_DATA_HOME", (folder / "data").string()};
    NPTestSessionBus bus;
    NPTestAccessibility windows{bus.address()};
    NPTestTrayHost host{bus.address()};
};

} // namespace

TEST_F(NPApplicationWindowsTest, AboutWindowNamesTheProgramAndItsVersion)
{
    writeSettings(withStatusItem);
    addNight();
    const NPTestProgram program = start();
    chooseInMenu("About Nightpane");
    EXPECT_NE(windowNamed("About Nightpane"), "");
    EXPECT_TRUE(windows.elementNamed("Application icon"));
    std::string text;
    for (const NPTestAccessibility::Element& element : windows.elements()) {
        text = element.name == "About Nightpane" && element.canFocus ? windows.textAt(element) : text;
    }
    EXPECT_TRUE(text.starts_with("Nightpane\nVersion " NP_TEST_VERSION "\nCopyright © ")) << text;
    EXPECT_NE(text.find("libsodium"), std::string::npos) << text;
}

TEST_F(NPApplicationWindowsTest, AboutWindowSpeaksTheLanguageOfTheDesktop)
{
    writeSettings(withStatusItem);
    addNight();
    const NPTestVariable german("LC_ALL", "de_DE.UTF-8");
    const NPTestProgram program = start();
    chooseInMenu("Über Nightpane");
    ASSERT_TRUE(windows.elementNamed("Programmsymbol"));
    std::string text;
    for (const NPTestAccessibility::Element& element : windows.elements()) {
        text = element.name == "Über Nightpane" && element.canFocus ? windows.textAt(element) : text;
    }
    EXPECT_NE(text.find("\nMit Hilfe dieser Bibliotheken\n"), std::string::npos) << text;
}

TEST_F(NPApplicationWindowsTest, AboutWindowIsMovedByItsIconAndClosedByEscape)
{
    writeSettings(withStatusItem);
    addNight();
    const NPTestProgram program = start();
    chooseInMenu("About Nightpane");
    ASSERT_NE(windowNamed("About Nightpane"), "");
    const std::vector<int> before = geometryOf("About Nightpane");
    ASSERT_EQ(before.size(), 4U);
    const std::string icon = std::to_string(before[0] + 60) + ' ' + std::to_string(before[1] + 60);
    EXPECT_TRUE(NPTestEventually([&] {
        NPTestShell(
            "xdotool mousemove " + icon
            + " mousedown 1 sleep 0.2 mousemove_relative 40 30 sleep 0.1 mousemove_relative 40 30 sleep 0.2 "
              "mouseup 1");
        const std::vector<int> after = geometryOf("About Nightpane");
        return after.size() == 4 && after[0] > before[0] && after[1] > before[1];
    }));
    NPTestShell("xdotool windowactivate --sync " + windowNamed("About Nightpane") + " key Escape");
    EXPECT_TRUE(NPTestEventually([] { return !isWindowVisible("About Nightpane"); }));
}

TEST_F(NPApplicationWindowsTest, WarnsThatNoEffectDoesAnythingAndLeadsToThePreferences)
{
    writeSettings(noEffect);
    const NPTestProgram program = start();
    EXPECT_TRUE(windows.elementNamed("No effect has been chosen."));
    EXPECT_TRUE(isFocused("Open preferences..."));
    windows.press("Open preferences...");
    EXPECT_TRUE(windows.elementNamed("Effects:"));
    EXPECT_TRUE(NPTestEventually([&] { return !windows.shows("No effect has been chosen."); }));
}

TEST_F(NPApplicationWindowsTest, EscapeCancelsTheWarningAndItsEffectsRunOn)
{
    writeSettings(noEffect);
    const NPTestProgram program = start();
    EXPECT_TRUE(windows.elementNamed("No effect has been chosen."));
    NPTestShell("xdotool search --sync --onlyvisible --name '^Nightpane$' windowactivate --sync key Escape");
    EXPECT_TRUE(NPTestEventually([&] { return windows.elements().empty(); }));
    EXPECT_EQ(run({"--toggle"}).status, 0);
}

TEST_F(NPApplicationWindowsTest, WarnsOfAProgramThatChangesColorsToo)
{
    installFlux();
    addNight();
    const NPTestProgram program({NP_TEST_PROGRAM});
    EXPECT_TRUE(windows.elementNamed("f.lux is present on this computer."));
    const std::vector<NPTestAccessibility::Element> shown = windows.elements();
    EXPECT_TRUE(std::ranges::any_of(shown, [](const NPTestAccessibility::Element& element) {
        return element.name.ends_with(
            " and f.lux both change the colors of the screen and may interfere with each "
            "other. Do not use both at the same time.");
    }));
    EXPECT_FALSE(isSet("QXFluxWarned"));
    windows.press("Continue");
    EXPECT_TRUE(NPTestEventually([&] { return isSet("QXFluxWarned"); }));
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
}

TEST_F(NPApplicationWindowsTest, QuittingAtThatWarningEndsTheProgramAndItComesAgain)
{
    installFlux();
    addNight();
    for (int time = 0; time < 2; ++time) {
        NPTestProgram program({NP_TEST_PROGRAM});
        windows.press("Quit");
        EXPECT_EQ(program.wait(), 0) << program.errors();
        EXPECT_FALSE(isSet("QXFluxWarned"));
    }
}

TEST_F(NPApplicationWindowsTest, SaysThatTheUpdateFeedsAddressIsNone)
{
    writeSettings("<key>SUFeedURL</key><string>/home/feed.xml</string>");
    addNight();
    const NPTestProgram program = start();
    EXPECT_TRUE(windows.elementNamed("The update feed’s address is not valid: /home/feed.xml"));
    windows.press("OK");
    EXPECT_TRUE(NPTestEventually([&] { return windows.elements().empty(); }));
}

TEST_F(NPApplicationWindowsTest, ReturnsToTheStandardFeed)
{
    writeSettings(betaFeed);
    addNight();
    const NPTestProgram program = start({"--preferences"});
    windows.press("Automatic Updates…");
    windows.press("Return to Stable Updates…");
    EXPECT_TRUE(windows.elementNamed("Return to the feed for stable updates?"));
    windows.press("Cancel");
    EXPECT_TRUE(NPTestEventually([&] { return !windows.shows("Cancel"); }));
    EXPECT_TRUE(isSet("SUFeedURL"));
    windows.press("Return to Stable Updates…");
    windows.press("Switch to Stable Updates");
    EXPECT_TRUE(NPTestEventually([&] { return !isSet("SUFeedURL"); }));
    EXPECT_TRUE(NPTestEventually([&] { return !windows.shows("Return to Stable Updates…"); }));
    windows.press("Done");
    EXPECT_TRUE(NPTestEventually([&] { return !windows.shows("Done"); }));
}

TEST_F(NPApplicationWindowsTest, TabReachesEveryControlOfTheWindowInItsOrder)
{
    addNight();
    const NPTestProgram program = start({"--preferences"});
    const std::string window = windowNamed("Nightpane");
    const std::vector<std::string> order{"Deactivate Nightpane",
                                         "Activate the effects whenever Nightpane starts",
                                         "Show Nightpane in the status area",
                                         "Deactivate the effects while the screen saver runs",
                                         "Keep other programs from changing the screens back",
                                         "Automatic Updates…"};
    NPTestShell("xdotool windowactivate --sync " + window);
    for (const std::string& name : order) {
        NPTestShell("xdotool key Tab");
        EXPECT_TRUE(isFocused(name)) << name;
    }
    for (const NPTestAccessibility::Element& element : windows.elements()) {
        const bool isCell = element.role == "tree item"; // of an effect without a hot key
        EXPECT_FALSE(element.canFocus && element.name.empty() && !isCell) << element.role;
    }
}

TEST_F(NPApplicationWindowsTest, MenusAreReachedByTheKeyboardAlone)
{
    addNight();
    const NPTestProgram program = start({"--preferences"});
    NPTestShell("xdotool windowactivate --sync " + windowNamed("Nightpane") + " key alt sleep 0.3 key Down");
    EXPECT_TRUE(windows.elementNamed("Quit Nightpane"));
    NPTestShell("xdotool key Return");
    EXPECT_NE(windowNamed("About Nightpane"), "");
}
