// Sleep, sessions and screen savers around nightpane-cli run: on a real X server, with a stand-in for the login manager
// on a bus of the test's own.
#include "Desktop/Support/NPTestProgram.h"
#include "Desktop/Support/NPTestRandR.h"
#include "Desktop/Support/NPTestXServer.h"
#include "Foundation/QXPropertyList.h"
#include "Platform/Linux/NPTestMockService.h"
#include "Platform/Linux/NPTestSessionBus.h"
#include "Support/ColorProfiles.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <optional>
#include <thread>

namespace {

class NPWorkspaceOfEngineTest : public testing::Test {
protected:
    NPWorkspaceOfEngineTest() { randr.setGamma("screen", NPTestIdentityGamma()); }

    std::filesystem::path settingsFile() const
    {
        return folder / "config/nightpane/org.nightpane.Nightpane.plist";
    }

    // Settings of the application as somebody has made them before: the periodic rewriting off, so that nothing
    // but an event brings a table back.
    void writeSettings(bool deactivateForScreenSaver) const
    {
        const QXData data =
            QXPropertyListBinaryData(QXDictionary{{"ContinuouslyApply", false},
                                                  {"ApplyToColorProfile", false},
                                                  {"NPDeactivateForScreenSaver", deactivateForScreenSaver}})
                .value();
        std::filesystem::create_directories(folder / "config/nightpane");
        writeFile(settingsFile(), data);
    }

    static int run(std::vector<std::string> words)
    {
        words.insert(words.begin(), NP_TEST_CLI);
        return NPTestProgram(words).wait();
    }

    // With an effect on.
    void startEngine(bool deactivateForScreenSaver = false)
    {
        writeSettings(deactivateForScreenSaver);
        ASSERT_EQ(run({"new", "Night", "dim=20%"}), 0);
        engine.emplace(std::vector<std::string>{NP_TEST_CLI, "run"});
        ASSERT_TRUE(NPTestEventually([this] { return engine->output().contains("screen"); })) << engine->errors();
        ASSERT_TRUE(NPTestEventually([] { return run({"activate", "Night", "--fade", "none"}) == 0; }));
        ASSERT_TRUE(NPTestEventually([this] { return isDimmed(); }));
    }

    NPTestGamma gamma() const { return randr.gamma("screen"); }
    bool isDimmed() const { return gamma()[0].back() == 52428; } // 80 % of 65535
    bool isAsBefore() const { return gamma() == NPTestIdentityGamma(); }

    // As a driver does when the machine wakes.
    void loseTable() const { randr.setGamma("screen", NPTestIdentityGamma()); }

    void xset(const std::string& arguments) const
    {
        NPTestOutputOf("DISPLAY=" + server.displayName() + " xset " + arguments);
    }

    void setSessionActive(bool flag) const
    {
        manager.tell("at('/org/freedesktop/login1/session/c2')"
                     ".UpdateProperties('org.freedesktop.login1.Session', {'Active': "
                     + std::string(flag ? "True" : "False") + "})");
    }

    void wake() const
    {
        manager.tell("mock.EmitSignal('org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', [False])");
    }

    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTemporaryFolder folder;
    const NPTestVariable display{"DISPLAY", server.displayName()};
    const NPTestVariable wayland{"WAYLAND_DISPLAY", std::nullopt};
    const NPTestVariable config{"XDG_CONFIG_HOME", (folder / "config").string()};
    const NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    const NPTestVariable session{"XDG_SESSION_ID", "c2"};
    const NPTestVariable zone{"TZ", "UTC"};
    NPTestRandR randr{server.displayName()};
    NPTestSessionBus bus;
    const NPTestVariable systemBus{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()};
    const NPTestMockService manager = NPTestMockService::loginManager();
    std::optional<NPTestProgram> engine;
};

} // namespace

TEST_F(NPWorkspaceOfEngineTest, BringsItsTablesBackWhenTheMachineWakesAndALittleLater)
{
    startEngine();
    loseTable();
    wake();
    ASSERT_TRUE(NPTestEventually([this] { return isDimmed(); }));
    loseTable(); // the driver is late
    EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); }));
}

TEST_F(NPWorkspaceOfEngineTest, AnActivationThatFallsIntoSleepIsMadeUpFor)
{
    writeSettings(false);
    // Not by the program "faketime", which stays between us and what it starts.
    const auto at = [](const std::string& time, std::vector<std::string> words) {
        const NPTestVariable library("LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1");
        const NPTestVariable begin("FAKETIME", "@2024-06-01 " + time);
        const NPTestVariable monotonic("FAKETIME_DONT_FAKE_MONOTONIC", "1");
        words.insert(words.begin(), NP_TEST_CLI);
        return NPTestProgram(words);
    };
    const std::vector<std::string> night{"new",         "Night", "dim=20%", "activate=21:00", "deactivate=12:00",
                                         "timed-fade=0"};
    ASSERT_EQ(at("20:30:00", night).wait(), 0);
    engine.emplace(at("20:59:55", {"run"}));
    ASSERT_TRUE(NPTestEventually([this] { return engine->output().contains("screen"); })) << engine->errors();
    engine->signal(SIGSTOP); // as in sleep, it gets no turn while the moment passes
    std::this_thread::sleep_for(std::chrono::seconds(6));
    EXPECT_FALSE(isDimmed());
    wake();
    engine->signal(SIGCONT);
    EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); })) << engine->errors();
}

TEST_F(NPWorkspaceOfEngineTest, BringsItsTablesBackWhenItsSessionDoes)
{
    manager.tell("mock.AddSession('c2', 'seat0', 500, 'ann', True)");
    startEngine();
    loseTable();
    EXPECT_TRUE(NPTestEventually([this] {
        setSessionActive(false); // again and again: nobody says from when on the engine listens
        setSessionActive(true);
        return isDimmed();
    }));
}

TEST_F(NPWorkspaceOfEngineTest, StepsAsideForTheScreenSaverWhenItIsToldTo)
{
    startEngine(true);
    xset("s activate");
    EXPECT_TRUE(NPTestEventually([this] { return isAsBefore(); }));
    xset("s reset");
    EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); }));
    engine->signal(SIGTERM);
    EXPECT_EQ(engine->wait(), 0);
    EXPECT_TRUE(isAsBefore());
}

TEST_F(NPWorkspaceOfEngineTest, StaysDuringTheScreenSaverOtherwise)
{
    startEngine();
    xset("s activate");
    xset("s reset");
    ASSERT_EQ(run({"status"}), 0); // it has had a turn
    EXPECT_TRUE(isDimmed());
}

// As a desktop does when the user chooses another profile: it loads its table, and sets the profile.
TEST_F(NPWorkspaceOfEngineTest, BringsItsTableBackWhenAnotherProgramChangesTheDisplaysProfile)
{
    startEngine();
    for (const char* const text : {"first", "second"}) {
        loseTable();
        randr.setOutputProperty("screen", "_ICC_PROFILE", profileOf({{"cprt", bytesOf(text)}}));
        EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); }));
    }
}

TEST_F(NPWorkspaceOfEngineTest, AScreenSaverIsNoReasonToStartSwitchedOff)
{
    startEngine(true);
    xset("s activate");
    ASSERT_TRUE(NPTestEventually([this] { return isAsBefore(); }));
    engine->signal(SIGTERM);
    ASSERT_EQ(engine->wait(), 0);
    xset("s reset");
    engine.emplace(std::vector<std::string>{NP_TEST_CLI, "run"});
    EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); }));
}

TEST_F(NPWorkspaceOfEngineTest, ASettingThatAnotherProgramChangesSwitchesIt)
{
    startEngine();
    const auto change = [this](bool active) {
        const QXValue settings = QXPropertyListFromData(contentOf<QXData>(settingsFile())).value();
        QXDictionary changed = *settings.dictionary();
        changed.insert_or_assign("EffectActive", QXValue(active));
        writeFile(folder / "new", QXPropertyListBinaryData(changed).value());
        std::filesystem::rename(folder / "new", settingsFile());
    };
    ASSERT_TRUE(NPTestEventually([this] { // it is written a little after it is on
        return contentOf(settingsFile()).contains("ScreenState");
    }));
    change(false);
    EXPECT_TRUE(NPTestEventually([this] { return isAsBefore(); }));
    change(true);
    EXPECT_TRUE(NPTestEventually([this] { return isDimmed(); }));
}
