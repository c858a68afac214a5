// However the session ends, nightpane leaves as it does at Quit: displays as they were, settings on the disk.
#include "Desktop/Application/NPTestApplication.h"
#include "Desktop/Application/NPTestSessionManager.h"

#include <signal.h>

#include <fstream>

namespace {

class NPSessionEndTest : public NPTestApplication {
protected:
    // Whether a process of this name is a child of nobody's and guards this test's server.
    static bool isGuardAlive(pid_t program) { return !NPTestShell("pgrep -P " + std::to_string(program)).empty(); }

    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
    NPTestVariable noSystemBus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

class NPEndSignalTest : public NPSessionEndTest, public testing::WithParamInterface<int> {};

} // namespace

TEST_P(NPEndSignalTest, LeavesAsAtQuit)
{
    addNight();
    NPTestProgram program = start();
    ASSERT_EQ(gamma(), NPTestDimmedBy20());
    ASSERT_EQ(run({"--toggle"}).status, 0);
    ASSERT_EQ(run({"--toggle"}).status, 0);
    program.signal(GetParam());
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_TRUE(storedSettings().contains("EffectActive"));
}

INSTANTIATE_TEST_SUITE_P(EachSignal, NPEndSignalTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(NPSessionEndTest, OutlivesTheTerminalWhenItWasAskedTo)
{
    addNight();
    const NPTestProgram shell({"/bin/sh", "-c", "trap '' HUP; exec " NP_TEST_PROGRAM});
    ASSERT_TRUE(NPTestEventually([&] { return std::filesystem::exists(folder / "nightpane.socket"); }));
    shell.signal(SIGHUP);
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_EQ(run({"--quit"}).status, 0);
}

// Programs that it starts, a browser for example, could not be ended by signals that they inherit blocked.
TEST_F(NPSessionEndTest, BlocksNoSignal)
{
    const NPTestProgram program = start();
    EXPECT_EQ(NPTestShell("grep SigBlk /proc/" + std::to_string(program.process()) + "/status"),
              "SigBlk:\t0000000000000000\n");
}

TEST_F(NPSessionEndTest, LeavesWhenTheSessionManagerEndsTheSession)
{
    NPTestSessionManager manager;
    const NPTestVariable session("SESSION_MANAGER", manager.address());
    addNight();
    NPTestProgram program = start({"--preferences"});
    ASSERT_TRUE(NPTestEventually([&] { return manager.hasClient(); }));
    ASSERT_NE(windowNamed("Nightpane"), "");
    ASSERT_EQ(run({"--toggle"}).status, 0);
    ASSERT_EQ(run({"--toggle"}).status, 0);
    manager.endSession();
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_TRUE(storedSettings().contains("EffectActive"));
}

TEST_F(NPSessionEndTest, LosesNoSettingWhenTheDisplayServerGoes)
{
    addNight();
    NPTestProgram program = start();
    const pid_t process = program.process();
    ASSERT_EQ(run({"--toggle"}).status, 0);
    server.kill(); // within the half second that settings wait for more changes
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(storedSettings().at("EffectActive"), QXValue(false));
    EXPECT_TRUE(NPTestEventually([&] { return !isGuardAlive(process); }));
}

TEST_F(NPSessionEndTest, GivesTheDisplaysBackWhenItIsKilledWithItsWindowOpen)
{
    addNight();
    NPTestProgram program = start({"--preferences"});
    ASSERT_NE(windowNamed("Nightpane"), "");
    ASSERT_EQ(gamma(), NPTestDimmedBy20());
    program.signal(SIGKILL);
    program.wait();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
}

// An alert that comes before anything else does not keep it.
TEST_F(NPSessionEndTest, LeavesWhileAnAlertWaitsAtItsStart)
{
    std::filesystem::create_directories(folder / "share/applications");
    std::ofstream(folder / "share/applications/fluxgui.desktop")
        << "[Desktop Entry]\nType=Application\nName=f.lux\nExec=/bin/true\n";
    const NPTestVariable applications("XDG_DATA_HOME", folder / "share");
    NPTestProgram program({NP_TEST_PROGRAM});
    ASSERT_NE(windowNamed("Nightpane"), "");
    ASSERT_FALSE(std::filesystem::exists(folder / "nightpane.socket")) << "this is no alert";
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_FALSE(storedSettings().contains("QXFluxWarned")); // it comes again
}
