// nightpane-cli as a user runs it, on real X servers and a session bus of the test's own.
#include "Desktop/Support/NPTestProgram.h"
#include "Desktop/Support/NPTestRFBClient.h"
#include "Desktop/Support/NPTestRandR.h"
#include "Desktop/Support/NPTestXServer.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>

namespace {

struct Ended {
    int status;
    std::string output;
    std::string errors;
};

// What identity becomes when it is dimmed by 20 %.
NPTestGamma dimmedBy20()
{
    NPTestGamma gamma = NPTestIdentityGamma();
    for (auto& channel : gamma) {
        std::ranges::transform(channel, channel.begin(), [](std::uint16_t value) {
            return static_cast<std::uint16_t>(std::lround(value * 0.8));
        });
    }
    return gamma;
}

long lines(const std::string& text)
{
    return std::ranges::count(text, '\n');
}

// The numbers of a process's children, each followed by a space.
std::string childrenOf(pid_t process)
{
    const std::string number = std::to_string(process);
    std::string children;
    std::getline(std::ifstream("/proc/" + number + "/task/" + number + "/children"), children);
    return children;
}

// What a process calls itself, given as the first of such a list; empty when there is none.
std::string nameOf(const std::string& children)
{
    std::string name;
    if (!children.empty()) {
        std::getline(std::ifstream("/proc/" + std::to_string(std::stoi(children)) + "/comm"), name);
    }
    return name;
}

class NPCommandLineTest : public testing::Test {
protected:
    explicit NPCommandLineTest(NPTestXServer xServer = NPTestXServer::xvfb())
        : server(std::move(xServer)), display("DISPLAY", server.displayName()),
          config("XDG_CONFIG_HOME", (folder / "config").string()),
          caches("XDG_CACHE_HOME", (folder / "caches").string()),
          runtime("XDG_RUNTIME_DIR", folder.path().string()),
          systemBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (folder / "none").string()), zone("TZ", "UTC"),
          randr(server.displayName())
    {
        for (const NPTestRandR::Output& output : randr.outputs()) {
            if (output.crtc != 0) {
                randr.setGamma(output.crtc, NPTestIdentityGamma());
            }
        }
    }

    static Ended run(std::vector<std::string> words)
    {
        words.insert(words.begin(), NP_TEST_CLI);
        NPTestProgram program(words);
        const int status = program.wait();
        return {status, program.output(), program.errors()};
    }

    // An engine that has told of its first screen.
    static NPTestProgram startEngine()
    {
        NPTestProgram engine({NP_TEST_CLI, "run"});
        if (!NPTestEventually([&] { return engine.output().find(": ") != std::string::npos; })) {
            throw std::runtime_error("the engine does not start: " + engine.errors());
        }
        return engine;
    }

    NPTestGamma gamma() const
    {
        for (const NPTestRandR::Output& output : randr.outputs()) {
            if (output.crtc != 0) {
                return randr.gamma(output.crtc);
            }
        }
        throw std::runtime_error("no output is driven");
    }

    bool hasRecords() const { return !randr.rootPropertyNames("_NIGHTPANE_BASE").empty(); }

    std::string settingsFile() const { return folder / "config/nightpane/org.nightpane.Nightpane.plist"; }

    NPTestXServer server;
    NPTemporaryFolder folder;
    NPTestVariable display;
    NPTestVariable config;
    NPTestVariable caches;
    NPTestVariable runtime;
    NPTestVariable systemBus; // a colour service of the machine's is none of the tests' business
    NPTestVariable zone;
    NPTestRandR randr;
};

class NPCommandLineAloneTest : public NPCommandLineTest {
protected:
    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
};

// What a session of its own has, from cron, ssh or su: no bus, and a folder that the others do not see.
class OtherSession {
public:
    OtherSession() { std::filesystem::create_directory(_folder.path() / "runtime"); }

private:
    NPTemporaryFolder _folder;
    NPTestVariable _runtime{"XDG_RUNTIME_DIR", (_folder.path() / "runtime").string()};
    NPTestVariable _noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
};

class NPCommandLineBusTest : public NPCommandLineTest {
protected:
    using NPCommandLineTest::NPCommandLineTest;
    NPTestSessionBus bus;
};

class NPCommandLineScreensTest : public NPCommandLineTest {
protected:
    NPCommandLineScreensTest() : NPCommandLineTest(NPTestXServer::xorg())
    {
        server.switchOn(3);
        for (const std::string name : {"DUMMY0", "DUMMY1", "DUMMY2"}) {
            randr.setGamma(name, NPTestIdentityGamma());
        }
    }
    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
};

class NPCommandLinePluggingTest : public NPCommandLineTest {
protected:
    NPCommandLinePluggingTest() : NPCommandLineTest(NPTestXServer::xvnc()) {}
    NPTestVariable noBus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
};

TEST_F(NPCommandLineAloneTest, ACommandAloneShowsTheEffectAndLeavesItOn)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    EXPECT_EQ(gamma(), dimmedBy20());
    EXPECT_NE(run({"screens"}).output.find("Night   on"), std::string::npos);
    ASSERT_EQ(run({"deactivate", "Night"}).status, 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_FALSE(hasRecords());
}

TEST_F(NPCommandLineAloneTest, WhatOneCommandLeftOnTheNextOneRestores)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    for (const std::string command : {"off", "restore"}) {
        ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
        EXPECT_TRUE(hasRecords());
        ASSERT_EQ(run({command}).status, 0);
        EXPECT_EQ(gamma(), NPTestIdentityGamma()) << command;
        EXPECT_FALSE(hasRecords());
    }
}

TEST_F(NPCommandLineAloneTest, AnEngineTakesOverWhatACommandLeftOnWithoutStacking)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    NPTestProgram engine = startEngine();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
}

class NPCommandLineSignalTest : public NPCommandLineAloneTest, public testing::WithParamInterface<int> {};

TEST_P(NPCommandLineSignalTest, EndsTheEngineWithEveryTableAsItWas)
{
    const NPTestGamma calibrated = NPTestSeededGamma(7);
    randr.setGamma(randr.outputs().front().crtc, calibrated);
    ASSERT_EQ(run({"new", "Night", "invert=on"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    NPTestProgram engine = startEngine();
    EXPECT_NE(gamma(), calibrated);
    engine.signal(GetParam());
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_EQ(gamma(), calibrated);
    EXPECT_FALSE(hasRecords());
}

INSTANTIATE_TEST_SUITE_P(EachSignal, NPCommandLineSignalTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(NPCommandLineAloneTest, AKilledEngineLeavesNoScreenChanged)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    for (int round = 0; round < 2; ++round) {
        NPTestProgram engine = startEngine();
        ASSERT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
        engine.signal(SIGKILL);
        EXPECT_EQ(engine.wait(), -SIGKILL);
        EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma() && !hasRecords(); }));
    }
}

TEST_F(NPCommandLineAloneTest, AGuardThatIsKilledIsReplacedByAnother)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
    const std::string replaced = "another one has taken its place";
    for (int round = 1; round <= 2; ++round) {
        const std::string former = childrenOf(engine.process());
        ::kill(std::stoi(former), SIGKILL);
        ASSERT_TRUE(NPTestEventually([&] {
            const std::string children = childrenOf(engine.process());
            return !children.empty() && children != former && nameOf(children) == "nightpane-guard";
        })) << engine.errors();
        EXPECT_TRUE(NPTestEventually([&] {
            const std::string errors = engine.errors();
            const std::size_t first = errors.find(replaced);
            return first != std::string::npos
                   && (errors.find(replaced, first + 1) != std::string::npos) == (round == 2);
        })) << engine.errors();
    }
    engine.signal(SIGKILL);
    EXPECT_EQ(engine.wait(), -SIGKILL);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma() && !hasRecords(); }));
}

TEST_F(NPCommandLineAloneTest, AnEngineWithAReplacedGuardEndsAsAnyOther)
{
    NPTestProgram engine = startEngine();
    const std::string former = childrenOf(engine.process());
    ::kill(std::stoi(former), SIGKILL);
    ASSERT_TRUE(NPTestEventually([&] {
        const std::string children = childrenOf(engine.process());
        return children != former && nameOf(children) == "nightpane-guard";
    }));
    const int guard = std::stoi(childrenOf(engine.process()));
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_TRUE(NPTestEventually([&] { return ::kill(guard, 0) != 0; }));
}

TEST_F(NPCommandLineAloneTest, ASecondEngineIsRefused)
{
    const NPTestProgram engine = startEngine();
    const Ended second = run({"run"});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.errors,
              "nightpane-cli: Nightpane is already running (process " + std::to_string(engine.process()) + ")\n");
}

TEST_F(NPCommandLineAloneTest, WithoutABusNothingChangesBehindARunningEngine)
{
    const NPTestProgram engine = startEngine();
    const Ended refused = run({"off"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.errors.find("cannot be reached over the session bus"), std::string::npos);
    EXPECT_EQ(run({"list"}).status, 0);
}

TEST_F(NPCommandLineAloneTest, TheStatusTellsOfAnEngineThatCannotBeAsked)
{
    const NPTestProgram engine = startEngine();
    const std::string process = std::to_string(engine.process());
    EXPECT_NE(run({"status"}).output.find("runs (process " + process + ")"), std::string::npos);
    EXPECT_NE(run({"off"}).errors.find("end it with: kill " + process), std::string::npos);
}

TEST_F(NPCommandLineAloneTest, AfterAnEngineNoCommandBringsItsEffectBackBesideActivating)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%", "manual-fade=0"}).status, 0);
    ASSERT_EQ(run({"new", "Other"}).status, 0);
    ASSERT_EQ(run({"activate", "Night"}).status, 0);
    NPTestProgram engine = startEngine();
    engine.signal(SIGTERM);
    ASSERT_EQ(engine.wait(), 0);
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"set", "Night", "timed-fade=1"},
                                               {"rename", "Other", "Third"},

                                               {"remove", "Third"}}) {
        ASSERT_EQ(run(words).status, 0);
        EXPECT_EQ(gamma(), NPTestIdentityGamma()) << words.front();
    }
    ASSERT_EQ(run({"on"}).status, 0);
    EXPECT_EQ(gamma(), dimmedBy20());
}

TEST_F(NPCommandLineAloneTest, CommandsAtTheSameTimeLoseNothing)
{
    std::vector<NPTestProgram> programs;
    for (int i = 0; i < 6; ++i) {
        programs.emplace_back(std::vector<std::string>{NP_TEST_CLI, "new", "Effect" + std::to_string(i)});
    }
    for (NPTestProgram& program : programs) {
        EXPECT_EQ(program.wait(), 0) << program.errors();
    }
    const std::string list = run({"list"}).output;
    for (int i = 0; i < 6; ++i) {
        EXPECT_NE(list.find("Effect" + std::to_string(i)), std::string::npos) << list;
    }
}

TEST_F(NPCommandLineAloneTest, OffGivesTheScreenBackAlsoWhenNothingCanBeSavedOrIsRecorded)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    std::filesystem::remove_all(folder / "config");
    writeFile(folder / "config", std::string("a file where the folder should be"));
    EXPECT_EQ(run({"off"}).status, 1); // cannot be saved
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_FALSE(hasRecords());
}

TEST_F(NPCommandLineAloneTest, WithoutAServerWhatNeedsScreensFails)
{
    const NPTestVariable none("DISPLAY", std::nullopt);
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"restore"}, {"screens"}, {"table", "1"}}) {
        const Ended ended = run(words);
        EXPECT_EQ(ended.status, 1) << words.front();
        EXPECT_EQ(lines(ended.errors), 1) << ended.errors;
        EXPECT_EQ(ended.output, "");
    }
    const Ended recorded = run({"on"});
    EXPECT_EQ(recorded.status, 0);
    EXPECT_NE(recorded.errors.find("no screen changes: "), std::string::npos) << recorded.errors;
}

TEST_F(NPCommandLineAloneTest, ADeviceIsNeitherReplacedNorSetAside)
{
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::filesystem::create_directories(std::filesystem::path(settingsFile()).parent_path());
    std::filesystem::create_symlink(pipe, settingsFile());
    ASSERT_EQ(run({"new", "Night"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_NE(run({"list"}).output.find("Night"), std::string::npos);

    NPTestProgram reader({"/bin/cat", pipe});
    EXPECT_EQ(run({"export", "Night", pipe}).status, 0);
    EXPECT_EQ(reader.wait(), 0);
    EXPECT_NE(reader.output().find("<string>Night</string>"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

// Somebody reads neither the events nor the log; nothing may wait for that.
TEST_F(NPCommandLineAloneTest, AnEngineWhoseOutputIsStuckStillGivesTheScreenBack)
{
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    ASSERT_EQ(::fcntl(pipe[1], F_SETFL, O_NONBLOCK), 0);
    const std::string filling(65536, 'x');
    while (::write(pipe[1], filling.data(), filling.size()) > 0) {
    }
    ASSERT_EQ(::fcntl(pipe[1], F_SETFL, 0), 0);
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    NPTestProgram engine({"/bin/sh", "-c", "exec \"$0\" run >&" + std::to_string(pipe[1]) + " 2>&1", NP_TEST_CLI});
    // The table shows since before; the lock tells that the engine is up.
    ASSERT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST_F(NPCommandLineBusTest, ASecondEngineIsRefusedInAnotherSessionToo)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
    {
        const OtherSession session;
        const Ended second = run({"run"});
        EXPECT_EQ(second.status, 1);
        EXPECT_EQ(second.errors, "nightpane-cli: Nightpane is already running (process "
                                     + std::to_string(engine.process()) + ")\n");
    }
    EXPECT_EQ(gamma(), dimmedBy20());
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_EQ(gamma(), NPTestIdentityGamma());
    EXPECT_FALSE(hasRecords());
}

TEST_F(NPCommandLineBusTest, CommandsOfAnotherSessionChangeNothingBehindAnEngine)
{
    const NPTestProgram engine = startEngine();
    const std::string process = std::to_string(engine.process());
    const OtherSession session;
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"off"}, {"new", "Night"}}) {
        const Ended refused = run(words);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.errors, "nightpane-cli: Nightpane is running (process " + process
                                      + ") but cannot be reached over the session bus; end it with: kill "
                                      + process + "\n");
    }
    EXPECT_EQ(run({"list"}).status, 0);
}

TEST_F(NPCommandLineBusTest, OfTwoEnginesOnDifferentDisplaysTheBusHasOne)
{
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
    const NPTestXServer otherServer = NPTestXServer::xvfb();
    const NPTestVariable otherDisplay("DISPLAY", otherServer.displayName());
    const NPTemporaryFolder otherFolder;
    const NPTestVariable otherRuntime("XDG_RUNTIME_DIR", otherFolder.path().string());
    const Ended second = run({"run"});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(lines(second.errors), 1) << second.errors;
    EXPECT_NE(second.errors.find("Nightpane is already running"), std::string::npos) << second.errors;
    EXPECT_TRUE(NPTestRandR(otherServer.displayName()).rootPropertyNames("_NIGHTPANE").empty());
}

TEST_F(NPCommandLineAloneTest, OfTwoEnginesThatStartAtATimeOneRuns)
{
    for (int round = 0; round < 10; ++round) {
        NPTestProgram one({NP_TEST_CLI, "run"});
        const OtherSession session;
        const NPTestVariable otherUser("XDG_CONFIG_HOME", (folder / "other").string());
        NPTestProgram other({NP_TEST_CLI, "run"});
        EXPECT_TRUE(NPTestEventually([&] {
            const bool isOneRefused = one.errors().find("already running") != std::string::npos;
            return isOneRefused != (other.errors().find("already running") != std::string::npos);
        }));
        NPTestProgram& runs = one.errors().find("already running") == std::string::npos ? one : other;
        EXPECT_TRUE(NPTestEventually([&] { return runs.output().find("white") != std::string::npos; }));
        runs.signal(SIGTERM);
        EXPECT_EQ(runs.wait(), 0);
        EXPECT_EQ((&runs == &one ? other : one).wait(), 1);
    }
}

TEST_F(NPCommandLineBusTest, CommandsActThroughTheRunningEngine)
{
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
    EXPECT_NE(run({"list", "--json"}).output.find("\"name\":\"Night\""), std::string::npos);
    ASSERT_EQ(run({"set", "Night", "dim=off"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    const Ended misuse = run({"set", "Night", "dim=200%"});
    EXPECT_EQ(misuse.status, 2);
    EXPECT_EQ(lines(misuse.errors), 1);
    const Ended failure = run({"activate", "Day"});
    EXPECT_EQ(failure.status, 1);
    EXPECT_EQ(failure.errors, "nightpane-cli: there is no effect 'Day'\n");
}

TEST_F(NPCommandLineBusTest, CommandsReachTheEngineAgainWhenTheBusIsBack)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%", "manual-fade=0"}).status, 0);
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
    bus.end();
    bus.begin();
    EXPECT_TRUE(NPTestEventually([&] { return run({"activate", "Night"}).status == 0; })) << engine.errors();
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
}

TEST_F(NPCommandLineBusTest, SwitchingOffThroughTheBusGivesTheScreenBackAtOnce)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    const NPTestProgram engine = startEngine();
    ASSERT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
    ASSERT_EQ(run({"off"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    ASSERT_EQ(run({"on"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == dimmedBy20(); }));
}

TEST_F(NPCommandLineScreensTest, AnEffectActsOnItsScreensAlone)
{
    ASSERT_EQ(run({"new", "Second", "dim=20%", "screens=2"}).status, 0);
    ASSERT_EQ(run({"activate", "Second", "--fade", "none"}).status, 0);
    EXPECT_EQ(randr.gamma("DUMMY0"), NPTestIdentityGamma());
    EXPECT_EQ(randr.gamma("DUMMY1"), dimmedBy20());
    EXPECT_EQ(randr.gamma("DUMMY2"), NPTestIdentityGamma());
    EXPECT_EQ(run({"list"}).output.find("mixed"), std::string::npos);
}

// A screen that shows an effect when it is switched off.
class NPCommandLineOfflineScreenTest : public NPCommandLineBusTest {
protected:
    NPCommandLineOfflineScreenTest() : NPCommandLineBusTest(NPTestXServer::xorg())
    {
        server.switchOn(2);
        randr.setGamma("DUMMY0", NPTestIdentityGamma());
        randr.setGamma("DUMMY1", NPTestIdentityGamma());
        crtc = randr.output("DUMMY1").crtc;
        EXPECT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
        EXPECT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    }

    // With an engine that has noticed.
    NPTestProgram startEngineAndSwitchOff() const
    {
        NPTestProgram engine = startEngine();
        EXPECT_TRUE(NPTestEventually([&] { return run({"status"}).output.find(" runs ") != std::string::npos; }));
        EXPECT_TRUE(NPTestEventually([&] { return randr.gamma("DUMMY1") == dimmedBy20(); }));
        server.xrandr("--output DUMMY1 --off");
        EXPECT_TRUE(NPTestEventually([&] { return run({"screens"}).output.find("DUMMY1") == std::string::npos; }));
        return engine;
    }

    void switchOn() const { server.xrandr("--output DUMMY1 --mode 640x480 --right-of DUMMY0"); }

    xcb_randr_crtc_t crtc = 0;
};

TEST_F(NPCommandLineOfflineScreenTest, ComesBackAsItIsWhenTheEffectHasGone)
{
    const NPTestProgram engine = startEngineAndSwitchOff();
    ASSERT_EQ(run({"remove", "Night"}).status, 0);
    switchOn();
    EXPECT_TRUE(NPTestEventually([&] { return randr.gamma("DUMMY1") == NPTestIdentityGamma(); }));
}

TEST_F(NPCommandLineOfflineScreenTest, IsGivenBackBySwitchingOffThroughAnEngine)
{
    const NPTestProgram engine = startEngineAndSwitchOff();
    ASSERT_EQ(run({"off"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return randr.gamma(crtc) == NPTestIdentityGamma() && !hasRecords(); }));
}

TEST_F(NPCommandLineOfflineScreenTest, IsGivenBackBySwitchingOffAlone)
{
    server.xrandr("--output DUMMY1 --off");
    ASSERT_EQ(randr.gamma(crtc), dimmedBy20());
    ASSERT_EQ(run({"off"}).status, 0);
    EXPECT_EQ(randr.gamma(crtc), NPTestIdentityGamma());
    EXPECT_FALSE(hasRecords());
}

TEST_F(NPCommandLineOfflineScreenTest, ComesBackWithTheEffectThatIsStillOn)
{
    const NPTestProgram engine = startEngineAndSwitchOff();
    switchOn();
    ASSERT_TRUE(NPTestEventually([&] { return run({"screens"}).output.find("DUMMY1") != std::string::npos; }));
    EXPECT_TRUE(NPTestEventually([&] { return randr.gamma("DUMMY1") == dimmedBy20(); }));
}

TEST_F(NPCommandLinePluggingTest, AScreenPluggedInWhileAnEffectIsOnShowsIt)
{
    ASSERT_EQ(run({"new", "Night", "dim=20%"}).status, 0);
    ASSERT_EQ(run({"activate", "Night", "--fade", "none"}).status, 0);
    const NPTestProgram engine = startEngine();
    NPTestRFBClient client(server.rfbSocket());
    client.setScreens({{1, 0, 0, 1280, 720}, {2, 1280, 0, 800, 600}});
    EXPECT_TRUE(NPTestEventually([&] {
        const auto outputs = randr.outputs();
        return std::ranges::count_if(outputs,
                                     [&](const NPTestRandR::Output& output) {
                                         return output.crtc != 0 && randr.gamma(output.crtc) == dimmedBy20();
                                     })
               == 2;
    }));
}

TEST_F(NPCommandLineAloneTest, MisuseEndsWithTwoAndOneLine)
{
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{},
                                               {"dance"},
                                               {"activate"},
                                               {"new", "A", "dim"},
                                               {"new", "A", "dim=x"},
                                               {"location", "91", "0"},
                                               {"sun", "--at", "yesterday"},
                                               {"run", "--platform", "amiga"},
                                               {"activate", "Default Effect", "--fade", "x"}}) {
        const Ended ended = run(words);
        EXPECT_EQ(ended.status, 2) << (words.empty() ? "" : words.back());
        EXPECT_EQ(lines(ended.errors), 1) << ended.errors;
        EXPECT_EQ(ended.output, "");
    }
}

TEST_F(NPCommandLineAloneTest, ABrokenSettingsFileIsSetAsideAndTheProgramGoesOn)
{
    std::filesystem::create_directories(std::filesystem::path(settingsFile()).parent_path());
    writeFile(settingsFile(), std::string("bplist00garbage"));
    const Ended ended = run({"new", "Night"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(lines(ended.errors), 1) << ended.errors;
    int asides = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(settingsFile()).parent_path())) {
        asides += entry.is_regular_file() && contentOf(entry.path()) == "bplist00garbage" ? 1 : 0;
    }
    EXPECT_EQ(asides, 1);
    EXPECT_NE(run({"list"}).output.find("Night"), std::string::npos);
}

TEST_F(NPCommandLineAloneTest, SettingsThatCannotBeSavedFailTheCommandInOneLine)
{
    writeFile(folder / "config", std::string("a file where the folder should be"));
    const Ended ended = run({"new", "Night"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(lines(ended.errors), 1) << ended.errors;
}

TEST_F(NPCommandLineAloneTest, SettingsOfEveryWrongTypeStopNothing)
{
    const std::string wrong = "<plist version=\"1.0\"><dict>"
                              "<key>ScreenState</key><string>x</string><key>EffectActive</key><string>y</string>"
                              "<key>NPLocationLatitude</key><array/><key>NPLocationLongitude</key><data/>"
                              "<key>ContinuouslyApply</key><date>2026-01-01T00:00:00Z</date>"
                              "<key>NPEffectGroups</key><array><integer>5</integer><dict>"
                              "<key>NPEffectName</key><integer>7</integer><key>Dim</key><string>on</string>"
                              "<key>NPTimerActivationKind</key><integer>1</integer>"
                              "<key>NPTimerActivationHour</key><integer>99</integer>"
                              "<key>NPTimerActivationMinute</key><integer>-5</integer>"
                              "<key>NPTimerDeactivationKind</key><integer>1</integer>"
                              "<key>NPTimerDeactivationHour</key><integer>25</integer>"
                              "<key>AffectedScreenSet</key><string>all</string>"
                              "<key>NPManualTransitionDuration</key><string>slow</string>"
                              "</dict></array></dict></plist>";
    std::filesystem::create_directories(std::filesystem::path(settingsFile()).parent_path());
    writeFile(settingsFile(), wrong);
    NPTestProgram engine = startEngine();
    EXPECT_NE(run({"list"}).output.find("22:00      07:00"), std::string::npos) << run({"list"}).output;
    engine.signal(SIGTERM);
    EXPECT_EQ(engine.wait(), 0);
}

TEST_F(NPCommandLineAloneTest, WhatIsNoEffectFileIsNotImported)
{
    const std::string file = folder / "effect";
    for (const std::string& content :
         {std::string(), std::string("<plist><dict><key>a</key>"), std::string("<plist><array/></plist>"),
          std::string("bplist00\0\0\0", 11), std::string(100000, '['), "<plist>" + std::string(100000, 'x')}) {
        writeFile(file, content);
        const Ended ended = run({"import", file});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(lines(ended.errors), 1) << ended.errors;
    }
    const Ended missing = run({"import", folder / "nothing"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(lines(missing.errors), 1);
}

TEST_F(NPCommandLineAloneTest, AnExportedEffectIsAnXMLPropertyListThatImportsAgain)
{
    const std::string file = folder / "Night.nightpane-effect";
    ASSERT_EQ(run({"new", "Night & \"Day\"", "dim=20%", "hue=12.5", "vividness=30%"}).status, 0);
    ASSERT_EQ(run({"export", "Night & \"Day\"", file}).status, 0);
    EXPECT_EQ(
        NPTestOutputOf("/usr/bin/python3 -c 'import plistlib, sys; "
                       "print(plistlib.load(open(sys.argv[1], \"rb\"), fmt=plistlib.FMT_XML)[\"NPEffectName\"])' "
                       + file),
        "Night & \"Day\"\n");
    ASSERT_EQ(run({"import", file}).status, 0);
    const std::string list = run({"list"}).output;
    EXPECT_EQ(list.find("Night & \"Day\"") == list.rfind("Night & \"Day\""), false);
}

TEST_F(NPCommandLineAloneTest, ASimulatedDayRunsToItsEndAndTellsOfEveryChange)
{
    std::string day = contentOf(NP_TEST_EXAMPLE_DAY);
    const std::size_t speed = day.find("<real>1440.0</real>");
    ASSERT_NE(speed, std::string::npos);
    day.replace(speed, 19, "<real>100000</real>");
    const std::string file = folder / "day.plist";
    writeFile(file, day);
    const Ended ended = run({"--platform", "simulated:" + file, "run"});
    EXPECT_EQ(ended.status, 0) << ended.errors;
    for (const std::string line :
         {"09:00:00  Desk: \"Paper\" is on", "12:00:00  Desk: disconnected",
          "12:40:00  Desk: connected; \"Paper\" is on", "15:20:00  Laptop: \"Dark Reading\" is on",
          "15:45:00  Laptop: its own table", "18:18:19  Desk: \"Night\" is on", "06:07:16  Desk: its own table"}) {
        EXPECT_NE(ended.output.find(line), std::string::npos) << line << " in\n" << ended.output;
    }
}

TEST_F(NPCommandLineAloneTest, AnEngineWhoseServerGoesAwayEndsInOneLine)
{
    NPTestProgram engine = startEngine();
    server.kill();
    EXPECT_EQ(engine.wait(), 1);
    EXPECT_NE(engine.errors().find("the display server has gone"), std::string::npos) << engine.errors();
}

TEST_F(NPCommandLineAloneTest, WithoutAServerTheEngineRefusesAndTheListStillWorks)
{
    const NPTestVariable nowhere("DISPLAY", ":4711");
    const Ended engine = run({"run"});
    EXPECT_EQ(engine.status, 1);
    EXPECT_EQ(lines(engine.errors), 1) << engine.errors;
    EXPECT_EQ(run({"list"}).status, 0);
    EXPECT_EQ(run({"screens", "--platform", "x11"}).status, 1);
}

} // namespace
