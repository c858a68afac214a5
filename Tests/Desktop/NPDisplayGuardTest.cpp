// The guard process: what happens to the displays when the program ends, and what does not.
#include "Platform/Linux/NPDisplayGuard.h"

#include "Desktop/Support/NPTestEngine.h"
#include "Platform/Linux/NPDisplayRecoveryX11.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* recordPrefix = "_NIGHTPANE_BASE_TABLE_";

const NPTestGamma ownTable = NPTestSeededGamma(3);

NPTestGamma halfOf(const NPTestGamma& gamma)
{
    return NPTestGammaOf(NPTestHalf(NPTestRecordOf(gamma)));
}

// 'S' for one that sleeps, 'Z' for one that has ended, 0 for none.
char stateOf(int process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t end = text.rfind(')');
    return end == std::string::npos ? '\0' : text.at(end + 2);
}

bool hasEnded(int process)
{
    const char state = stateOf(process);
    return state == '\0' || state == 'Z';
}

// What its descriptors are, by number.
std::map<int, std::string> descriptorsOf(int process)
{
    std::map<int, std::string> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        descriptors[std::stoi(entry.path().filename())] = std::filesystem::read_symlink(entry.path());
    }
    return descriptors;
}

// Half of the own table is on the display of an Xvfb, and a guard knows it; by this process.
class NPDisplayGuardTest : public testing::Test {
protected:
    NPDisplayGuardTest()
    {
        randr.setGamma("screen", ownTable);
        displays = NPTestOpen(server, loop, guard.get());
        showHalf();
    }

    void showHalf()
    {
        const NPDisplayID display = displays->mainDisplay();
        displays->setDisplayTransferTable(display, NPTestHalf(displays->copyDisplayProfile(display).baseTable));
        displays->finishWriting();
    }

    NPTestGamma shown() const { return randr.gamma("screen"); }

    std::unique_ptr<NPDisplayGuard> guard = NPDisplayGuard::start();
    NPTestXServer server = NPTestXServer::xvfb();
    NPTestRandR randr{server.displayName()};
    NPMainLoopLinux loop;
    std::unique_ptr<NPDisplayServicesX11> displays;
};

// Whether a client lives on whose window of that name a recovery for owner 5 takes for the owner's.
bool isAliveAfterRecovery(const NPTestXServer& server, const std::string& windowName)
{
    xcb_connection_t* const client = xcb_connect(server.displayName().c_str(), nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(client)).data->root;
    const xcb_window_t window = xcb_generate_id(client);
    xcb_create_window(client, 0, window, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0,
                      nullptr);
    xcb_change_property(client, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(windowName.size()), windowName.data());
    std::free(xcb_get_input_focus_reply(client, xcb_get_input_focus(client), nullptr));

    NPDisplayRecoveryX11 recovery;
    recovery.displayName = server.displayName();
    recovery.owner = 5;
    recovery.ownerWindow = window;
    EXPECT_TRUE(NPRecoverDisplaysX11(recovery));

    xcb_get_input_focus_reply_t* const reply =
        xcb_get_input_focus_reply(client, xcb_get_input_focus(client), nullptr);
    const bool isAlive = reply != nullptr;
    std::free(reply);
    xcb_disconnect(client);
    return isAlive;
}

// Fades without end until killed; ready after the first tables.
void fadeUntilKilled(const std::string& displayName, const NPTestEngine::Ready& ready)
{
    const auto guard = NPDisplayGuard::start();
    NPMainLoopLinux loop;
    const auto displays = NPDisplayServicesX11::open(displayName, loop, guard.get());
    const NPDisplayID display = (*displays)->mainDisplay();
    (*displays)->copyDisplayProfile(display);
    for (std::uint32_t i = 0;; ++i) {
        (*displays)->setDisplayTransferTable(display, NPTestRecordOf(NPTestSeededGamma(100 + i % 50)));
        loop.processEvents();
        if (i == 100) {
            (*displays)->finishWriting(); // the display is changed
            ready();
        }
    }
}

} // namespace

TEST(NPDisplayGuard, RestoresEveryDisplayWhenTheProgramIsKilled)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(3);
    const NPTestRandR randr(server.displayName());
    for (const std::uint32_t i : {0U, 1U, 2U}) {
        randr.setGamma("DUMMY" + std::to_string(i), NPTestSeededGamma(i));
    }
    NPTestEngine engine(
        [&](const NPTestEngine::Ready& ready) { NPTestShowHalfUntilKilled(server.displayName(), true, ready); });
    ASSERT_EQ(randr.gamma("DUMMY2"), halfOf(NPTestSeededGamma(2)));
    engine.kill();
    EXPECT_TRUE(NPTestWaitUntil([&] { return randr.rootPropertyNames(recordPrefix).empty(); }));
    for (const std::uint32_t i : {0U, 1U, 2U}) {
        EXPECT_EQ(randr.gamma("DUMMY" + std::to_string(i)), NPTestSeededGamma(i)) << i;
    }
}

TEST(NPDisplayGuard, RestoresSoonAfterTheKill)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    double worst = 0.0;
    for (int round = 0; round < 10; ++round) {
        randr.setGamma("screen", ownTable);
        NPTestEngine engine([&](const NPTestEngine::Ready& ready) {
            NPTestShowHalfUntilKilled(server.displayName(), true, ready);
        });
        ASSERT_EQ(randr.gamma("screen"), halfOf(ownTable));
        const auto start = Clock::now();
        engine.kill();
        ASSERT_TRUE(NPTestWaitUntil([&] { return randr.gamma("screen") == ownTable; }));
        worst = std::max(worst, NPTestMillisecondsSince(start));
    }
    std::cout << "from SIGKILL to the own table, worst of 10: " << worst << " ms\n";
    EXPECT_LT(worst, 1000.0);
}

TEST(NPDisplayGuard, RestoresForGoodInTheMiddleOfAFade)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    randr.setGamma("screen", ownTable);
    for (int round = 0; round < 20; ++round) {
        NPTestEngine engine(
            [&](const NPTestEngine::Ready& ready) { fadeUntilKilled(server.displayName(), ready); });
        engine.kill();
        ASSERT_TRUE(NPTestWaitUntil([&] { return randr.gamma("screen") == ownTable; }));
        ASSERT_TRUE(randr.rootPropertyNames(recordPrefix).empty());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_EQ(randr.gamma("screen"), ownTable) << "a table of the fade came late";
    }
}

TEST(NPDisplayGuard, RestoresOnAServerThatWasSuspendedDuringTheCrash)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    randr.setGamma("screen", ownTable);
    NPTestEngine engine([&](const NPTestEngine::Ready& ready) { fadeUntilKilled(server.displayName(), ready); });
    server.suspend();
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the fade goes on into the socket
    engine.kill();
    server.resume();
    EXPECT_TRUE(NPTestWaitUntil(
        [&] { return randr.gamma("screen") == ownTable && randr.rootPropertyNames(recordPrefix).empty(); }));
}

TEST(NPDisplayGuard, RestoresWhenTheProgramAborts)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    randr.setGamma("screen", ownTable);
    NPTestEngine engine([&](const NPTestEngine::Ready& ready) {
        NPTestShowHalfUntilKilled(server.displayName(), true, [&] {
            ready();
            std::raise(SIGABRT);
        });
    });
    EXPECT_EQ(engine.wait(), -SIGABRT);
    EXPECT_TRUE(NPTestWaitUntil([&] { return randr.gamma("screen") == ownTable; }));
}

TEST(NPDisplayGuard, RestoresForAProgramWithoutStandardDescriptors)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    for (const int closed : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        randr.setGamma("screen", ownTable);
        NPTestEngine engine([&](const NPTestEngine::Ready& ready) {
            ::close(closed);
            NPTestShowHalfUntilKilled(server.displayName(), true, ready);
        });
        ASSERT_EQ(randr.gamma("screen"), halfOf(ownTable)) << closed;
        engine.kill();
        EXPECT_TRUE(NPTestWaitUntil([&] { return randr.gamma("screen") == ownTable; })) << closed;
    }
}

TEST_F(NPDisplayGuardTest, DoesNothingAfterAGoodbye)
{
    guard->goodbye();
    EXPECT_EQ(stateOf(guard->processIdentifier()), '\0') << "it has ended, and was waited for";
    EXPECT_EQ(shown(), halfOf(ownTable));
    EXPECT_EQ(randr.rootPropertyNames(recordPrefix).size(), 1U);
}

TEST_F(NPDisplayGuardTest, RestoresWhenTheChannelClosesWithoutAGoodbye)
{
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return shown() == ownTable; }));
    EXPECT_TRUE(NPTestWaitUntil([&] { return randr.rootPropertyNames(recordPrefix).empty(); }));
}

TEST_F(NPDisplayGuardTest, LeavesADisplayAloneThatHasItsTableAgain)
{
    displays->restoreColorSyncSettings();
    randr.setGamma("screen", NPTestSeededGamma(4)); // by another program
    const int process = guard->processIdentifier();
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(process); }));
    EXPECT_EQ(shown(), NPTestSeededGamma(4));
}

TEST_F(NPDisplayGuardTest, LeavesADisplayAloneThatAnotherRunHasTakenOver)
{
    const auto other = NPTestOpen(server, loop);
    const NPDisplayID display = other->mainDisplay();
    other->copyDisplayProfile(display);
    other->setDisplayTransferTable(display, NPTestRecordOf(NPTestSeededGamma(5)));
    other->finishWriting();
    const int process = guard->processIdentifier();
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(process); }));
    EXPECT_EQ(shown(), NPTestSeededGamma(5));
    other->restoreColorSyncSettings();
    EXPECT_EQ(shown(), ownTable);
}

TEST_F(NPDisplayGuardTest, IgnoresTheSignalsThatEndASession)
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        ::kill(guard->processIdentifier(), number);
    }
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return shown() == ownTable; }));
}

TEST_F(NPDisplayGuardTest, ProgramGoesOnWhenTheGuardIsKilled)
{
    ::kill(guard->processIdentifier(), SIGKILL);
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(guard->processIdentifier()); }));
    displays->restoreColorSyncSettings();
    randr.setGamma("screen", NPTestSeededGamma(6));
    showHalf(); // has another own table to tell the guard
    EXPECT_EQ(shown(), halfOf(NPTestSeededGamma(6)));
    guard->goodbye();
}

TEST_F(NPDisplayGuardTest, LearnsOfAnotherOwnTable)
{
    displays->restoreColorSyncSettings();
    randr.setGamma("screen", NPTestSeededGamma(6));
    showHalf();
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return shown() == NPTestSeededGamma(6); }));
}

TEST_F(NPDisplayGuardTest, HoldsNothingButTheChannelAndStandardError)
{
    const auto descriptors = descriptorsOf(guard->processIdentifier());
    ASSERT_EQ(descriptors.size(), 4U);
    EXPECT_EQ(descriptors.at(0), "/dev/null");
    EXPECT_EQ(descriptors.at(1), "/dev/null");
    EXPECT_EQ(descriptors.at(2), std::filesystem::read_symlink("/proc/self/fd/2"));
    EXPECT_TRUE(descriptors.at(3).starts_with("socket:"));
}

TEST_F(NPDisplayGuardTest, HasASessionOfItsOwnAndNoFolder)
{
    const std::string process = std::to_string(guard->processIdentifier());
    EXPECT_EQ(getsid(guard->processIdentifier()), guard->processIdentifier());
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + process + "/cwd"), "/");
}

TEST_F(NPDisplayGuardTest, GoodbyeDoesNotWaitForASuspendedGuard)
{
    ::kill(guard->processIdentifier(), SIGSTOP);
    const auto start = Clock::now();
    guard->goodbye();
    EXPECT_LT(NPTestMillisecondsSince(start), 1000.0);
    ::kill(guard->processIdentifier(), SIGCONT);
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(guard->processIdentifier()); }));
    EXPECT_EQ(shown(), halfOf(ownTable));
}

TEST_F(NPDisplayGuardTest, EndsWhenTheServerHasGone)
{
    server.kill();
    const int process = guard->processIdentifier();
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(process); }));
}

TEST(NPDisplayGuard, EndsWhenThereIsNothingToRestore)
{
    auto guard = NPDisplayGuard::start();
    ASSERT_TRUE(guard);
    const int process = guard->processIdentifier();
    guard.reset();
    EXPECT_TRUE(NPTestWaitUntil([&] { return hasEnded(process); }));
}

TEST(NPDisplayRecoveryX11, ResamplesATableOfAnotherSize)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    const xcb_randr_crtc_t crtc = randr.crtcs().front();
    NPDisplayRecoveryX11 recovery;
    recovery.displayName = server.displayName();
    recovery.owner = 5;
    recovery.baseRecords[crtc] = NPBaseRecordX11{1, 5, NPHardwareTableIdentity(1024)};
    randr.setRootProperty(NPBaseRecordX11Name(crtc), NPBaseRecordX11Encode(recovery.baseRecords[crtc]));
    EXPECT_TRUE(NPRecoverDisplaysX11(recovery));
    EXPECT_EQ(randr.gamma(crtc), NPTestIdentityGamma());
}

TEST(NPDisplayRecoveryX11, VanishedCrtcDoesNotKeepTheOthersFromTheirTables)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    const xcb_randr_crtc_t crtc = randr.crtcs().front();
    NPDisplayRecoveryX11 recovery;
    recovery.displayName = server.displayName();
    recovery.owner = 5;
    for (const xcb_randr_crtc_t one : {crtc - 1, crtc}) {
        recovery.baseRecords[one] = NPBaseRecordX11{1, 5, NPHardwareTableIdentity(256)};
        randr.setRootProperty(NPBaseRecordX11Name(one), NPBaseRecordX11Encode(recovery.baseRecords[one]));
    }
    EXPECT_TRUE(NPRecoverDisplaysX11(recovery));
    EXPECT_EQ(randr.gamma(crtc), NPTestIdentityGamma());
    EXPECT_TRUE(randr.rootPropertyNames(recordPrefix).empty());
}

TEST(NPDisplayRecoveryX11, OwnersConnectionIsEnded)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    EXPECT_FALSE(isAliveAfterRecovery(server, NPOwnerWindowNameX11(5)));
}

TEST(NPDisplayRecoveryX11, ConnectionOfSomebodyElseIsNotEnded)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    EXPECT_TRUE(isAliveAfterRecovery(server, "Nightpane"));
    EXPECT_TRUE(isAliveAfterRecovery(server, NPOwnerWindowNameX11(50)));
}
