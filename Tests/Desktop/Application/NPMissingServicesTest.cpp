// nightpane where something is missing that most desktops have: it runs, says so once, and loses nothing. What it says
// is compared as a whole.
#include "Desktop/Application/NPTestApplication.h"

#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";
const std::string noSessionBusLine =
    "nightpane: there is no session bus: nightpane-cli cannot reach this instance\n";

class NPMissingServicesTest : public NPTestApplication {
protected:
    // Several parts miss the system bus; each says so in its own time, and once.
    static std::string withoutSystemBusLines(const std::string& errors)
    {
        std::string others;
        std::set<std::string> found;
        std::istringstream lines(errors);
        for (std::string line; std::getline(lines, line);) {
            if (line.find("system bus") != std::string::npos
                || line.find("Failed to open bus") != std::string::npos) {
                EXPECT_TRUE(found.insert(line).second) << errors;
            } else {
                others += line + '\n';
            }
        }
        EXPECT_FALSE(found.empty()) << errors;
        return others;
    }

    // Works with it for a while, ends it, and answers what it has said.
    static std::string workWith(NPTestProgram& program, int status = 0)
    {
        for (int time = 0; time < 2; ++time) {
            EXPECT_EQ(run({"--toggle"}).status, 0);
        }
        EXPECT_EQ(run({"--quit"}).status, 0);
        EXPECT_EQ(program.wait(), status);
        return program.errors();
    }

    NPTestVariable noSystemBus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

class NPMissingBusTest : public NPMissingServicesTest {
protected:
    NPTestVariable noSessionBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
};

class NPMissingSystemBusTest : public NPMissingServicesTest {
protected:
    NPTestSessionBus bus;
};

class NPMissingDesktopTest : public NPMissingBusTest, public testing::WithParamInterface<const char*> {};

} // namespace

TEST_F(NPMissingBusTest, SettingsThatCannotBeReadAreSetAside)
{
    std::filesystem::create_directories(folder / "config/nightpane");
    std::ofstream(settingsFile()) << "no property list";
    NPTestProgram program = start();
    EXPECT_NE(windowNamed("Nightpane"), ""); // as at the first start
    const std::string errors = workWith(program);
    EXPECT_TRUE(errors.starts_with("nightpane: Unreadable settings were set aside as ")) << errors;
    EXPECT_EQ(withoutSystemBusLines(errors.substr(errors.find('\n') + 1)), noSessionBusLine);
    long kept = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "config/nightpane")) {
        kept += contentOf(entry.path()) == "no property list" ? 1 : 0;
    }
    EXPECT_EQ(kept, 1);
    EXPECT_TRUE(storedSettings().contains("ScreenState"));
}

// Values of other types than those meant stand for nothing, and stay in the file.
TEST_F(NPMissingBusTest, SettingsOfOtherTypesHinderNothing)
{
    writeSettings("<key>EffectActive</key><dict/><key>ScreenState</key><integer>7</integer>"
                  "<key>ShowStatusItem</key><array/><key>ContinuouslyApply</key><string>?</string>"
                  "<key>NPLocationLatitude</key><data></data><key>Another</key><string>mine</string>");
    NPTestProgram program = start();
    EXPECT_EQ(withoutSystemBusLines(workWith(program)), noSessionBusLine);
    EXPECT_EQ(storedSettings().at("Another"), QXValue("mine"));
}

TEST_F(NPMissingBusTest, AHomeThatCannotBeWrittenKeepsWhatItHas)
{
    addNight();
    const auto before = contentOf(settingsFile());
    const std::string settings = folder / "config/nightpane";
    const std::string others = folder / "config";
    for (const std::string& path : {settingsFile(), settings, others}) {
        std::filesystem::permissions(path, std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::remove);
    }
    // The superuser can write everywhere, unless this right is taken away.
    const std::string asUser =
        ::geteuid() == 0 ? "setpriv --bounding-set -dac_override --inh-caps -dac_override " : "";
    NPTestProgram program({"/bin/sh", "-c", "exec " + asUser + NP_TEST_PROGRAM});
    ASSERT_TRUE(NPTestEventually([&] { return std::filesystem::exists(folder / "nightpane.socket"); }))
        << program.errors();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 1); // not everything was saved
    EXPECT_EQ(withoutSystemBusLines(program.errors()), noSessionBusLine + "nightpane: Settings cannot be saved in "
                                                           + settingsFile() + ": Permission denied\n");
    EXPECT_EQ(contentOf(settingsFile()), before);
    for (const std::string& path : {others, settings}) {
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
}

TEST_F(NPMissingBusTest, NoHomeAtAllLeavesSettingsInMemory)
{
    const NPTestVariable home("HOME", "/proc/nightpane");
    const NPTestVariable settings("XDG_CONFIG_HOME", "/proc/nightpane");
    const NPTestVariable cache("XDG_CACHE_HOME", folder / "cache"); // of colour profiles, which are another matter
    NPTestProgram program = start();
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_EQ(withoutSystemBusLines(workWith(program, 1)),
              noSessionBusLine
                  + "nightpane: Settings cannot be saved in "
                    "/proc/nightpane/nightpane/org.nightpane.Nightpane.plist: No such file or directory\n");
}

TEST_F(NPMissingSystemBusTest, NoStatusAreaLeavesTheWindow)
{
    const std::string line =
        "nightpane: There is no status area, or not yet: starting Nightpane again opens its window\n";
    writeSettings(withStatusItem);
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(run({}).status, 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_TRUE(NPTestEventually([&] { return program.errors().find(line) != std::string::npos; }));
    EXPECT_EQ(withoutSystemBusLines(workWith(program)), line);
}

TEST_F(NPMissingSystemBusTest, NoSystemBusIsSaidOnce)
{
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(withoutSystemBusLines(workWith(program)), "");
}

TEST_F(NPMissingBusTest, NoSessionBusLeavesTheSecondStart)
{
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(run({}).status, 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_EQ(withoutSystemBusLines(workWith(program)), noSessionBusLine);
}

TEST_F(NPMissingServicesTest, ASessionBusThatHasGoneIsNoHindrance)
{
    const NPTestVariable gone("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder / "gone").string());
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(withoutSystemBusLines(workWith(program)),
              "nightpane: the session bus cannot be reached: No such file or directory\n");
}

// Neither X server nor compositor: effects and windows show nothing, settings and commands work all the same.
TEST_P(NPMissingDesktopTest, RunsWithoutDisplaysAndWindows)
{
    const bool isWayland = std::string(GetParam()) == "wayland-4321";
    const NPTestVariable noDisplay("DISPLAY", isWayland ? std::nullopt : std::optional<std::string>(GetParam()));
    const NPTestVariable noCompositor("WAYLAND_DISPLAY",
                                      isWayland ? std::optional<std::string>(GetParam()) : std::nullopt);
    writeSettings(withStatusItem);
    NPTestProgram program = start();
    const NPTestEnded second = run({});
    EXPECT_EQ(second.status, 1);
    EXPECT_TRUE(second.errors.ends_with(", but it was started where there is no desktop to show windows on\n"))
        << second.errors;
    EXPECT_EQ(withoutSystemBusLines(workWith(program)),
              "nightpane: no display can be changed here: effects show nothing\n" + noSessionBusLine
                  + (isWayland
                         ? "nightpane: Windows cannot be shown: neither the Wayland compositor nor an X server "
                           "can be reached. Is Qt's plugin for Wayland installed?\n"
                         : "nightpane: There is no desktop to show windows on\n"));
    EXPECT_TRUE(storedSettings().contains("EffectActive"));
}

INSTANTIATE_TEST_SUITE_P(EachKind, NPMissingDesktopTest, testing::Values("", ":4321", "wayland-4321"));

// One that the user asks for is tried first; it is no reason to do without windows.
TEST_F(NPMissingBusTest, APlatformOfQtThatIsNotThereIsPassedOver)
{
    const NPTestVariable platform("QT_QPA_PLATFORM", "nonexistent");
    NPTestProgram program = start({"--preferences"});
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_EQ(withoutSystemBusLines(workWith(program)), noSessionBusLine);
}
