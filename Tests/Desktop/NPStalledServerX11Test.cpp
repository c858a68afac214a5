// A server that takes nothing for a while must hold nobody up, and shows the last table when it goes on.
#include "Desktop/Support/NPTestEngine.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <iostream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t manySteps = 5000; // far more than the socket's buffers hold

QXGammaTable step(std::uint32_t number)
{
    return NPTestRecordOf(NPTestSeededGamma(number));
}

double processorMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

// Fades the displays of a server for a second in 128 steps of the loop's timer. The processor time per step
// and display, in milliseconds.
double fade(NPMainLoopLinux& loop, NPDisplayServicesX11& displays)
{
    constexpr int steps = 128;
    const NPDisplayList list = displays.onlineDisplayList(NPDisplayListCapacity).value();
    int done = 0;
    const auto timer = loop.makeMonotonicTimer(0, 7'812'500, 0);
    timer->setEventHandler([&] {
        QXGammaTable table = QXGammaTableIdentity();
        QXGammaTableScaleToRange(table, 0.0F, 1.0F - static_cast<float>(++done) / (2.0F * steps));
        for (const NPDisplayID display : list) {
            displays.setDisplayTransferTable(display, table);
        }
    });
    timer->resume();
    const double start = processorMilliseconds();
    while (done < steps) {
        loop.processEvents(100);
    }
    return (processorMilliseconds() - start) / (steps * static_cast<double>(list.size()));
}

} // namespace

TEST(NPStalledServerX11, WritesReturnAtOnceAndTheLastTableArrives)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    server.suspend();
    const auto start = Clock::now();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        ASSERT_TRUE(displays->setDisplayTransferTable(displays->mainDisplay(), step(i)));
        loop.processEvents();
    }
    const double spent = NPTestMillisecondsSince(start);
    EXPECT_LT(spent, 5000.0) << "for " << manySteps << " steps";
    server.resume();
    const NPTestRandR randr(server.displayName());
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return randr.gamma("screen") == NPTestSeededGamma(manySteps); }));
}

TEST(NPStalledServerX11, HeldTableWakesTheLoopWhenTheServerGoesOn)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    server.suspend();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        displays->setDisplayTransferTable(displays->mainDisplay(), step(i));
    }
    loop.processEvents();
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        server.resume();
    });
    const auto start = Clock::now();
    loop.processEvents(8000);
    EXPECT_LT(NPTestMillisecondsSince(start), 4000.0);
    other.join();
    const NPTestRandR randr(server.displayName());
    EXPECT_TRUE(NPTestWaitUntil([&] { return randr.gamma("screen") == NPTestSeededGamma(manySteps); }));
}

TEST(NPStalledServerX11, EveryDisplayShowsItsOwnLastTable)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(4);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const NPDisplayList list = displays->onlineDisplayList(10).value();
    ASSERT_EQ(list.size(), 4U);
    server.suspend();
    for (std::uint32_t i = 1; i <= 400; ++i) {
        for (std::uint32_t display = 0; display < 4; ++display) {
            ASSERT_TRUE(displays->setDisplayTransferTable(list[display], step(1000 * display + i)));
        }
    }
    server.resume();
    ASSERT_TRUE(displays->finishWriting());
    const NPTestRandR randr(server.displayName());
    for (std::uint32_t display = 0; display < 4; ++display) {
        EXPECT_EQ(randr.gamma("DUMMY" + std::to_string(display)), NPTestSeededGamma(1000 * display + 400));
    }
}

TEST(NPStalledServerX11, HeldTableIsReadBack)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    server.suspend();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        displays->setDisplayTransferTable(displays->mainDisplay(), step(i));
    }
    QXGammaTable table;
    EXPECT_TRUE(displays->getDisplayTransferTable(displays->mainDisplay(), table));
    EXPECT_TRUE(QXGammaTableEqual(table, step(manySteps)));
}

TEST(NPStalledServerX11, WaitingEndsAndSaysSo)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    displays->setDisplayTransferTable(displays->mainDisplay(), step(1));
    server.suspend();
    const auto start = Clock::now();
    displays->restoreColorSyncSettings();
    EXPECT_FALSE(displays->finishWriting());
    EXPECT_LT(NPTestMillisecondsSince(start), 4000.0);
}

TEST(NPStalledServerX11, ReadingEndsThoughTheSocketIsFull)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(2);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    displays->copyDisplayProfile(displays->mainDisplay());
    loop.processEvents();
    server.suspend();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        ASSERT_TRUE(displays->setDisplayTransferTable(displays->mainDisplay(), step(i)));
    }
    const auto start = Clock::now();
    QXGammaTable table;
    EXPECT_FALSE(displays->getDisplayTransferTable(NPTestDisplay(*displays, "DUMMY1"), table));
    displays->setDisplayTransferTable(displays->mainDisplay(), step(1));
    loop.processEvents();
    EXPECT_LT(NPTestMillisecondsSince(start), 4000.0);
}

TEST(NPStalledServerX11, DisplayWhoseOwnTableCannotBeReadIsNotWritten)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    loop.processEvents();
    server.suspend();
    const auto start = Clock::now();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        ASSERT_FALSE(displays->setDisplayTransferTable(displays->mainDisplay(), step(i)));
    }
    EXPECT_LT(NPTestMillisecondsSince(start), 4000.0);
}

TEST(NPStalledServerX11, RestoringOvertakesHeldTables)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    const NPTestRandR randr(server.displayName());
    randr.setGamma("screen", NPTestSeededGamma(0));
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    server.suspend();
    for (std::uint32_t i = 1; i <= manySteps; ++i) {
        displays->setDisplayTransferTable(displays->mainDisplay(), step(i));
    }
    displays->restoreColorSyncSettings(); // gives up waiting
    server.resume();
    EXPECT_TRUE(NPTestTurnUntil(loop, [&] { return randr.gamma("screen") == NPTestSeededGamma(0); }));
    EXPECT_TRUE(displays->finishWriting());
    EXPECT_EQ(randr.gamma("screen"), NPTestSeededGamma(0));
    EXPECT_TRUE(randr.rootPropertyNames("_NIGHTPANE_BASE_TABLE_").empty());
}

TEST(NPStalledServerX11, ServerThatGoesOnAnswersAgain)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    loop.processEvents();
    server.suspend();
    QXGammaTable table;
    EXPECT_FALSE(displays->getDisplayTransferTable(displays->mainDisplay(), table));
    server.resume();
    EXPECT_TRUE(
        NPTestTurnUntil(loop, [&] { return displays->getDisplayTransferTable(displays->mainDisplay(), table); }));
}

TEST(NPFadeX11, StepTakesLittleProcessorTime)
{
    const NPTestXServer server = NPTestXServer::xvfb();
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    const double spent = fade(loop, *displays);
    std::cout << "processor time per step and display: " << spent * 1e3 << " us\n";
    EXPECT_LT(spent, 0.2);
}

TEST(NPFadeX11, StepOfTenDisplaysTakesLittleProcessorTime)
{
    const NPTestXServer server = NPTestXServer::xorg();
    server.switchOn(10);
    NPMainLoopLinux loop;
    const auto displays = NPTestOpen(server, loop);
    ASSERT_EQ(displays->onlineDisplayList(10)->size(), 10U);
    const double spent = fade(loop, *displays);
    std::cout << "processor time per step and display: " << spent * 1e3 << " us\n";
    EXPECT_LT(spent, 0.2);
}
