// nightpane from its start to its end, on a real X server.
#include "Desktop/Application/NPTestApplication.h"

#include <signal.h>

#include <algorithm>

namespace {

class NPApplicationAloneTest : public NPTestApplication {
protected:
    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
    NPTestVariable noSystemBus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

class NPApplicationBusTest : public NPTestApplication {
protected:
    NPTestSessionBus bus;
};

} // namespace

TEST_F(NPApplicationAloneTest, ShowsTheEffectsAndGivesTheDisplaysBackAtTheEnd)
{
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(gamma(), NPTestDimmedBy20());
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
}

TEST_F(NPApplicationAloneTest, GivesTheDisplaysBackWhenItIsKilled)
{
    addNight();
    NPTestProgram program = start();
    program.signal(SIGKILL);
    program.wait();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
}

TEST_F(NPApplicationAloneTest, QuitEndsTheInstanceThatRuns)
{
    addNight();
    NPTestProgram program = start();
    EXPECT_EQ(run({"--quit"}).status, 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(run({"--quit"}).status, 0); // nothing to do
}

TEST_F(NPApplicationAloneTest, TheFirstRunOpensTheWindow)
{
    const NPTestProgram program = start();
    EXPECT_NE(windowNamed("Nightpane"), "");
}

TEST_F(NPApplicationAloneTest, ASecondStartOpensTheWindowOfTheFirstWithoutATray)
{
    addNight();
    const NPTestProgram program = start();
    EXPECT_FALSE(isWindowVisible("Nightpane"));
    const NPTestEnded second = run({});
    EXPECT_EQ(second.status, 0) << second.errors;
    EXPECT_NE(windowNamed("Nightpane"), "");
}

TEST_F(NPApplicationAloneTest, ClosingTheWindowEndsNothing)
{
    addNight();
    NPTestProgram program = start({"--preferences"});
    const std::string window = windowNamed("Nightpane");
    NPTestShell("xdotool key --window " + window + " --clearmodifiers alt+F4");
    EXPECT_TRUE(NPTestEventually([] { return !isWindowVisible("Nightpane"); }));
    EXPECT_EQ(gamma(), NPTestDimmedBy20());
    EXPECT_EQ(run({}).status, 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
}

TEST_F(NPApplicationAloneTest, ToggleSwitchesTheEffectsOffAndOnAgain)
{
    addNight();
    const NPTestProgram program = start();
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
}

TEST_F(NPApplicationAloneTest, AnEffectFileIsHandedToTheInstanceThatRuns)
{
    addNight();
    const std::string file = folder / "Night.nightpane-effect";
    ASSERT_EQ(runCli({"export", "Night", file}).status, 0);
    NPTestProgram program = start();
    EXPECT_EQ(run({file}).status, 0);
    program.signal(SIGTERM);
    ASSERT_EQ(program.wait(), 0);
    const std::string effects = runCli({"list"}).output;
    const std::size_t first = effects.find("\nNight ");
    EXPECT_NE(effects.find("\nNight ", first + 1), std::string::npos) << effects;
}

TEST_F(NPApplicationAloneTest, AnEffectFileMayComeWithTheFirstStart)
{
    addNight();
    const std::string file = folder / "Night.nightpane-effect";
    ASSERT_EQ(runCli({"export", "Night", file}).status, 0);
    NPTestProgram program = start({file});
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_EQ(run({"--quit"}).status, 0);
    ASSERT_EQ(program.wait(), 0);
    const std::string effects = runCli({"list"}).output;
    EXPECT_NE(effects.find("\nNight ", effects.find("\nNight ") + 1), std::string::npos) << effects;
}

TEST_F(NPApplicationAloneTest, WhatIsNoEffectFileIsShownInAnAlert)
{
    addNight();
    const NPTestProgram program = start();
    EXPECT_EQ(run({settingsFile() + "-missing"}).status, 0); // whoever clicks on a file reads no terminal
    EXPECT_NE(windowNamed("Nightpane"), "");
}

TEST_F(NPApplicationAloneTest, SaysOnceThatTheEngineOfATerminalHasTheDisplays)
{
    addNight();
    NPTestProgram engine({NP_TEST_CLI, "run"});
    ASSERT_TRUE(NPTestEventually([&] { return !engine.output().empty(); }));
    const NPTestEnded second = run({});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(std::ranges::count(second.errors, '\n'), 1) << second.errors;
    EXPECT_TRUE(second.errors.starts_with("nightpane: Nightpane is running (process ")) << second.errors;
}

TEST_F(NPApplicationAloneTest, ShowsSimulatedDisplaysBesideTheInstanceThatRuns)
{
    const NPTestProgram first = start();
    NPTestProgram simulated({NP_TEST_PROGRAM, "--platform", "simulated", "--preferences"});
    EXPECT_TRUE(NPTestEventually([] {
        return NPTestShell("xdotool search --onlyvisible --name '^Nightpane$'").find('\n') != std::string::npos;
    }));
    simulated.signal(SIGINT);
    EXPECT_EQ(simulated.wait(), 0);
}

TEST_F(NPApplicationBusTest, TheCommandLineWorksAgainstIt)
{
    addNight();
    const NPTestProgram program = start();
    // It is on the bus a moment after its tables are on the screens.
    EXPECT_TRUE(NPTestEventually([] { return runCli({"deactivate", "Night"}).status == 0; })) << program.errors();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_EQ(runCli({"activate", "Night"}).errors, "");
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestDimmedBy20(); }));
}

TEST(NPProgram, TellsItsVersionAndOptionsWithoutADisplay)
{
    const NPTestVariable noDisplay("DISPLAY", std::nullopt);
    EXPECT_TRUE(NPTestShell(std::string(NP_TEST_PROGRAM) + " --version").starts_with("nightpane "));
    EXPECT_NE(NPTestShell(std::string(NP_TEST_PROGRAM) + " --help").find("--preferences"), std::string::npos);
    EXPECT_EQ(NPTestShell(std::string(NP_TEST_PROGRAM) + " --colour || echo $?"), "2\n");
}
