// What happens around nightpane while it runs from the windows' own loop: sleep, the screen saver, settings that
// somebody else changes, and the warning about effects that do nothing.
#include "Desktop/Application/NPTestApplication.h"

#include "Foundation/QXPropertyList.h"
#include "Platform/Linux/NPTestMockService.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace {

// Nothing but an event brings a table back.
const std::string withoutRewriting = "<key>ContinuouslyApply</key><false/>";

class NPApplicationWorkspaceTest : public NPTestApplication {
protected:
    bool isDimmed() const { return gamma() == NPTestDimmedBy20(); }
    bool isAsBefore() const { return gamma() == NPTestIdentityGamma(); }
    void loseTable() const { randr.setGamma("screen", NPTestIdentityGamma()); } // as drivers do at a wake

    void xset(const std::string& arguments) const { NPTestShell("xset " + arguments); }

    // Of the program, each with its X identifier.
    static std::vector<std::string> windows()
    {
        std::vector<std::string> found;
        std::istringstream lines(NPTestShell("xdotool search --onlyvisible --name '^Nightpane$'"));
        for (std::string line; std::getline(lines, line);) {
            found.push_back(line);
        }
        return found;
    }

    // The settings once the program has written that it is on.
    QXDictionary settings() const
    {
        QXDictionary read;
        EXPECT_TRUE(NPTestEventually([&] {
            const auto list = QXPropertyListFromData(contentOf<QXData>(settingsFile()));
            read = list && list->dictionary() ? *list->dictionary() : QXDictionary();
            return read.contains("ScreenState") && read.contains("EffectActive");
        }));
        return read;
    }
    static QXData withEffectActive(QXDictionary settings, bool active)
    {
        settings.insert_or_assign("EffectActive", active);
        return QXPropertyListBinaryData(settings).value();
    }
};

// With a stand-in for the login manager, on a bus of the test's own.
class NPApplicationSleepTest : public NPApplicationWorkspaceTest {
protected:
    NPTestSessionBus bus;
    NPTestVariable systemBus{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()};
    NPTestMockService manager = NPTestMockService::loginManager();
};

class NPApplicationEditedTest : public NPApplicationWorkspaceTest {
protected:
    NPApplicationEditedTest()
    {
        writeSettings(withoutRewriting);
        addNight();
    }

    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
    NPTestVariable noSystemBus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

} // namespace

TEST_F(NPApplicationSleepTest, BringsItsTablesBackAtAWakeAndALittleLater)
{
    writeSettings(withoutRewriting);
    addNight();
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    loseTable();
    EXPECT_TRUE(NPTestEventually([&] { // again and again: nobody says from when on it listens
        manager.tell("mock.EmitSignal('org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', [False])");
        return isDimmed();
    }));
    loseTable(); // the driver is late
    EXPECT_TRUE(NPTestEventually([&] { return isDimmed(); }));
}

TEST_F(NPApplicationSleepTest, BringsItsTablesBackWhenItsSessionIsSwitchedAwayAndBack)
{
    writeSettings(withoutRewriting);
    addNight();
    manager.tell("mock.AddSession('c2', 'seat0', 500, 'ann', True)");
    const NPTestVariable session("XDG_SESSION_ID", "c2");
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    loseTable();
    EXPECT_TRUE(NPTestEventually([&] {
        for (const char* const active : {"False", "True"}) {
            manager.tell("at('/org/freedesktop/login1/session/c2')"
                         ".UpdateProperties('org.freedesktop.login1.Session', {'Active': "
                         + std::string(active) + "})");
        }
        return isDimmed();
    }));
}

TEST_F(NPApplicationEditedTest, StepsAsideForTheScreenSaverThatItIsToldOf)
{
    writeSettings(withoutRewriting + "<key>NPDeactivateForScreenSaver</key><true/>");
    addNight();
    NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(NPTestEventually([&] {
            xset("s activate");
            return isAsBefore();
        }));
        xset("s reset");
        EXPECT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    }
    EXPECT_EQ(settings().at("EffectActive"), QXValue(true));
}

TEST_F(NPApplicationEditedTest, BringsItsTablesBackWhenAnotherApplicationEnds)
{
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    loseTable(); // as a game does
    EXPECT_TRUE(NPTestEventually([&] { // one after the other: nobody says from when on it watches
        NPTestProgram other({"/usr/bin/xterm", "-title", "Another"});
        windowNamed("Another");
        other.signal(SIGTERM);
        other.wait();
        return NPTestEventually([&] { return isDimmed(); }, std::chrono::seconds(2));
    }));
}

TEST_F(NPApplicationEditedTest, SettingsThatAnotherProgramReplacesTakeEffect)
{
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    const QXDictionary running = settings();
    for (const bool active : {false, true}) {
        writeFile(folder / "new", withEffectActive(running, active));
        std::filesystem::rename(folder / "new", settingsFile());
        EXPECT_TRUE(NPTestEventually([&] { return active ? isDimmed() : isAsBefore(); }));
    }
}

TEST_F(NPApplicationEditedTest, SettingsThatAnEditorIsStillWritingAreLeftAloneUntilItIsDone)
{
    const NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    const QXData changed = withEffectActive(settings(), false);
    std::ofstream editor(settingsFile(), std::ios::binary);
    const auto write = [&](std::size_t begin, std::size_t end) {
        editor.write(reinterpret_cast<const char*>(changed.data()) + begin, static_cast<long>(end - begin));
        editor.flush();
    };
    write(0, changed.size() / 2);
    EXPECT_EQ(run({"--preferences"}).status, 0); // it has had a turn
    EXPECT_TRUE(isDimmed());
    write(changed.size() / 2, changed.size());
    editor.close();
    EXPECT_TRUE(NPTestEventually([&] { return isAsBefore(); }));
    EXPECT_EQ(program.errors().find("Unreadable"), std::string::npos) << program.errors();
}

TEST_F(NPApplicationEditedTest, SettingsThatSomebodySpoilsAreSetAsideAndNothingIsLost)
{
    NPTestProgram program = start();
    ASSERT_TRUE(NPTestEventually([&] { return isDimmed(); }));
    QXDictionary before = settings();
    QXData half = withEffectActive(before, true);
    half.resize(half.size() / 2);
    writeFile(settingsFile(), half);
    EXPECT_TRUE(NPTestEventually([&] { return program.errors().find("set aside as ") != std::string::npos; }));
    EXPECT_TRUE(isDimmed());
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(settings().at("NPEffectGroups"), before.at("NPEffectGroups"));
    EXPECT_EQ(std::ranges::count_if(
                  std::filesystem::directory_iterator(folder / "config/nightpane"),
                  [&](const auto& entry) { return entry.is_regular_file() && entry.file_size() == half.size(); }),
              1);
}

TEST_F(NPApplicationEditedTest, WarningAboutEffectsThatDoNothingLeadsToThePreferences)
{
    writeSettings("<key>NPEffectGroups</key><array><dict><key>NPEffectName</key><string>Nothing</string></dict>"
                  "</array>");
    NPTestProgram program = start();
    const std::string alert = windowNamed("Nightpane");
    ASSERT_NE(alert, "");
    // Meanwhile the engine goes on.
    ASSERT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] {
        const auto list = QXPropertyListFromData(contentOf<QXData>(settingsFile()));
        return list && list->dictionary() && list->dictionary()->contains("EffectActive")
               && list->dictionary()->at("EffectActive") == QXValue(false);
    }));
    NPTestShell("xdotool windowfocus --sync " + alert + " key Return");
    EXPECT_TRUE(NPTestEventually([&] {
        const std::vector<std::string> shown = windows();
        return shown.size() == 1 && shown.front() != alert;
    }));
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(NPApplicationEditedTest, WarningAboutEffectsThatDoNothingCanBeDismissed)
{
    writeSettings("<key>NPEffectGroups</key><array><dict><key>NPEffectName</key><string>Nothing</string></dict>"
                  "</array>");
    NPTestProgram program = start();
    const std::string alert = windowNamed("Nightpane");
    ASSERT_NE(alert, "");
    NPTestShell("xdotool windowfocus --sync " + alert + " key Escape");
    EXPECT_TRUE(NPTestEventually([&] { return windows().empty(); }));
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(program.wait(), 0);
}
