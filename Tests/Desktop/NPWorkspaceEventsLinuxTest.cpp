// What happens on a desktop, as it reaches the notification centres: on real X servers and a bus of the test's own.
#include "Platform/Linux/NPWorkspaceEventsLinux.h"

#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestProgram.h"
#include "Foundation/QXLog.h"
#include "Platform/Linux/NPTestMockService.h"
#include "Platform/Linux/NPTestSessionBus.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Support/ColorProfiles.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const std::string_view setting = "NPDeactivateForScreenSaver";
const std::string started = "started";
const std::string stopped = "stopped";
const std::string ended = "ended";
const std::string parameters = "parameters";
const std::string colorSpace = "colour space";

class NPWorkspaceEventsLinuxTest : public testing::Test {
protected:
    explicit NPWorkspaceEventsLinuxTest(NPTestXServer xServer = NPTestXServer::xvfb()) : server(std::move(xServer))
    {
        note(world.workspaceEvents.distributed, NPScreenSaverDidStartNotification, started);
        note(world.workspaceEvents.distributed, NPScreenSaverDidStopNotification, stopped);
        note(world.workspaceEvents.workspace, NSWorkspaceDidTerminateApplicationNotification, ended);
        note(world.notifications, NSApplicationDidChangeScreenParametersNotification, parameters);
        note(world.workspaceEvents.distributed, NSScreenColorSpaceDidChangeNotification, colorSpace);
    }

    void note(QXNotificationCenter& center, std::string_view name, const std::string& word)
    {
        center.addObserver(observer, std::string(name), nullptr,
                           [this, word](const QXNotification&) { heard.push_back(word); });
    }

    NPPlatform platform()
    {
        const NPPlatform simulated = world.services();
        return {loop,
                loop,
                loop,
                simulated.timeZones,
                simulated.defaults,
                *displays,
                *displays,
                simulated.hotKeys,
                simulated.keyboardLayout,
                simulated.notifications,
                simulated.workspaceEvents};
    }

    void wantScreenSaver() { world.defaults.setObject(true, setting); }

    void xset(const std::string& arguments) const
    {
        NPTestOutputOf("DISPLAY=" + server.displayName() + " xset " + arguments);
    }

    bool hear(const std::vector<std::string>& expected)
    {
        return NPTestTurnUntil(loop, [&] { return heard == expected; });
    }

    // For what is not to come: an event of the server that comes after it.
    void settle()
    {
        for (int i = 0; i < 20; ++i) {
            loop.processEvents(5);
        }
    }

    NPTestXServer server;
    std::vector<std::string> log;
    QXLogRedirection redirection{[this](std::string_view line) { log.emplace_back(line); }};
    NPSimulatedPlatform world{QXDate{0.0}};
    NPMainLoopLinux loop{world.notifications};
    std::unique_ptr<NPDisplayServicesX11> displays = NPTestOpen(server, loop);
    std::vector<std::string> heard;
    QXNotificationObserver observer;
    NPWorkspaceEventsLinux events{platform(), loop, server.displayName(), {NP_TEST_MODULE_FOLDER}};
};

class NPWorkspaceEventsAloneTest : public NPWorkspaceEventsLinuxTest {
protected:
    const NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
    const NPTestVariable noRuntime{"XDG_RUNTIME_DIR", std::nullopt};
};

class NPWorkspaceEventsScreensTest : public NPWorkspaceEventsLinuxTest {
protected:
    NPWorkspaceEventsScreensTest() : NPWorkspaceEventsLinuxTest(NPTestXServer::xorg()) {}
};

} // namespace

TEST_F(NPWorkspaceEventsAloneTest, TellsOfTheServersScreenSaver)
{
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    xset("s activate");
    EXPECT_TRUE(hear({started}));
    xset("s reset");
    EXPECT_TRUE(hear({started, stopped}));
    xset("s activate");
    EXPECT_TRUE(hear({started, stopped, started}));
    EXPECT_TRUE(log.empty());
}

TEST_F(NPWorkspaceEventsAloneTest, TellsOfAScreenSaverThatRunsAlready)
{
    xset("s activate");
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    EXPECT_TRUE(hear({started}));
}

TEST_F(NPWorkspaceEventsAloneTest, WatchesTheScreenSaverOnlyOnceTheSettingWantsIt)
{
    events.watchScreenSaverForSetting(setting);
    xset("s activate");
    settle();
    xset("s reset");
    settle();
    EXPECT_TRUE(heard.empty());
    wantScreenSaver();
    xset("s activate");
    EXPECT_TRUE(hear({started}));
}

TEST_F(NPWorkspaceEventsAloneTest, TellsOfTheEndAlsoWhenTheSettingIsSwitchedOffMeanwhile)
{
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    xset("s activate");
    ASSERT_TRUE(hear({started}));
    world.defaults.setObject(false, setting);
    xset("s reset");
    EXPECT_TRUE(hear({started, stopped}));
}

TEST_F(NPWorkspaceEventsAloneTest, AScreenSaverEndsWithItsServer)
{
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    xset("s activate");
    ASSERT_TRUE(hear({started}));
    server.kill();
    EXPECT_TRUE(hear({started, stopped}));
}

TEST_F(NPWorkspaceEventsAloneTest, TellsThatAnApplicationHasEnded)
{
    const NPTestVariable display("DISPLAY", server.displayName());
    NPTestProgram windowManager({"/usr/bin/openbox", "--sm-disable"});
    NPTestProgram staying({"/usr/bin/xterm"});
    NPTestProgram leaving({"/usr/bin/xterm"});
    events.watchApplications();
    const auto windows = [this] {
        const std::string list =
            NPTestOutputOf("DISPLAY=" + server.displayName() + " xprop -root _NET_CLIENT_LIST");
        return std::ranges::count(list, 'x');
    };
    ASSERT_TRUE(NPTestEventually([&] { return windows() == 2; }));
    settle();
    EXPECT_TRUE(heard.empty());
    leaving.signal(SIGTERM);
    EXPECT_TRUE(hear({ended}));
    settle();
    EXPECT_EQ(std::vector<std::string>{ended}, heard);
}

TEST_F(NPWorkspaceEventsAloneTest, AnApplicationThatClosesOneOfItsWindowsHasNotEnded)
{
    const auto setList = [this](const std::string& windows) {
        NPTestOutputOf("DISPLAY=" + server.displayName()
                       + " xprop -root -f _NET_CLIENT_LIST 32x -set _NET_CLIENT_LIST " + windows);
    };
    setList("0x400001,0x400002,0x600001");
    events.watchApplications();
    setList("0x400002,0x600001");
    settle();
    EXPECT_TRUE(heard.empty());
    setList("0x600001");
    EXPECT_TRUE(hear({ended}));
}

TEST_F(NPWorkspaceEventsAloneTest, WithoutAServerItSaysSoOnce)
{
    NPWorkspaceEventsLinux lost(platform(), loop, ":4711");
    wantScreenSaver();
    lost.watchScreenSaverForSetting(setting);
    lost.watchApplications();
    EXPECT_EQ(std::vector<std::string>{"The desktop is not watched: No X server lets us in at display \":4711\""},
              log);
}

TEST_F(NPWorkspaceEventsAloneTest, WaitsWithoutWaking)
{
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    events.watchApplications();
    settle();
    const double begin = loop.monotonicTime();
    loop.processEvents(500);
    EXPECT_GE(loop.monotonicTime() - begin, 0.49);
}

TEST_F(NPWorkspaceEventsLinuxTest, TheServersAndTheDesktopsScreenSaverAreOne)
{
    NPTestSessionBus bus;
    const NPTestMockService saver = NPTestMockService::gnomeScreenSaver();
    const auto announce = [&](const std::string& isActive) {
        saver.tell("mock.EmitSignal('org.gnome.ScreenSaver', 'ActiveChanged', 'b', [" + isActive + "])");
    };
    wantScreenSaver();
    events.watchScreenSaverForSetting(setting);
    settle(); // until the bus has set up what is listened for
    xset("s activate");
    ASSERT_TRUE(hear({started}));
    announce("True");
    settle();
    xset("s reset");
    settle();
    EXPECT_EQ(std::vector<std::string>{started}, heard);
    announce("False");
    EXPECT_TRUE(hear({started, stopped}));
    EXPECT_TRUE(log.empty());
}

TEST_F(NPWorkspaceEventsScreensTest, TellsOnceOfNewScreenParameters)
{
    server.switchOn(3);
    EXPECT_TRUE(hear({parameters}) || heard.size() > 1); // as many as the server makes steps of it
    settle();
    heard.clear();
    server.xrandr("--output DUMMY0 --mode 800x600 --output DUMMY1 --mode 800x600 --output DUMMY2 --mode 800x600");
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return !heard.empty(); }));
    settle();
    EXPECT_LE(heard.size(), 4U);
    EXPECT_EQ(heard, std::vector<std::string>(heard.size(), parameters));
}

TEST_F(NPWorkspaceEventsScreensTest, AnotherMainDisplayIsANewScreenParameter)
{
    server.switchOn(2);
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return displays->onlineDisplayList(3)->size() == 2; }));
    settle();
    heard.clear();
    server.xrandr("--output DUMMY1 --primary");
    EXPECT_TRUE(hear({parameters}));
    EXPECT_EQ(displays->mainDisplay(), NPTestDisplay(*displays, "DUMMY1"));
    settle();
    EXPECT_EQ(heard, std::vector<std::string>{parameters});
}

TEST_F(NPWorkspaceEventsScreensTest, TellsOnceOfTheProfilesThatAnotherProgramSets)
{
    server.switchOn(2);
    ASSERT_TRUE(NPTestTurnUntil(loop, [&] { return displays->onlineDisplayList(3)->size() == 2; }));
    settle();
    heard.clear();
    for (const std::string name : {"DUMMY0", "DUMMY1"}) {
        displays->copyDisplayProfile(NPTestDisplay(*displays, name)); // as whoever shows an effect there has done
    }
    const NPTestRandR randr(server.displayName());
    randr.grabServer(); // so that both arrive together
    for (const std::string name : {"DUMMY0", "DUMMY1"}) {
        randr.setOutputProperty(name, "_ICC_PROFILE", profileOf({{"cprt", bytesOf("another")}}));
    }
    randr.ungrabServer();
    EXPECT_TRUE(hear({colorSpace}));
    settle();
    EXPECT_EQ(heard, std::vector<std::string>{colorSpace});
}
