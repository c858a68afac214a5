#include "Platform/Linux/NPMainLoopLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPTestClocks.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint64_t millisecond = 1'000'000;
constexpr std::uint64_t longest = std::numeric_limits<std::uint64_t>::max();

struct Pipe {
    Pipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
        reading = NPFileDescriptor(ends[0]);
        writing = NPFileDescriptor(ends[1]);
    }
    void write() const { EXPECT_EQ(::write(writing.get(), "x", 1), 1); }
    void read() const
    {
        char byte = 0;
        EXPECT_EQ(::read(reading.get(), &byte, 1), 1);
    }

    NPFileDescriptor reading;
    NPFileDescriptor writing;
};

bool isReadable(int descriptor, int timeoutMilliseconds = 0)
{
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, timeoutMilliseconds) == 1;
}

class NPMainLoopLinuxTest : public testing::Test {
protected:
    // Ends a run() that nothing else ends, so that a failure does not hang.
    std::shared_ptr<NPTimerSource> stopAfter(std::uint64_t delay)
    {
        auto timer = loop.makeMonotonicTimer(delay, longest, 0);
        timer->setEventHandler([this] { loop.stop(); });
        timer->resume();
        return timer;
    }

    NPTestClocks clocks{NPTestClocks::Mode::running};
    QXNotificationCenter notifications;
    NPMainLoopLinux loop{notifications};
};

TEST_F(NPMainLoopLinuxTest, RunReturnsAtOnceWhenItHasBeenStoppedBefore)
{
    loop.stop();
    loop.run();
}

TEST_F(NPMainLoopLinuxTest, RunServesAgainAfterItWasStopped)
{
    loop.stop();
    loop.run();
    bool served = false;
    loop.performOnMain([&] {
        served = true;
        loop.stop();
    });
    loop.run();
    EXPECT_TRUE(served);
}

TEST_F(NPMainLoopLinuxTest, TheClocksFollowTheKernels)
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    EXPECT_NEAR(QXUnixTimeFromDate(loop.now()), static_cast<double>(time.tv_sec), 2.0);
    clock_gettime(CLOCK_MONOTONIC, &time);
    EXPECT_NEAR(loop.monotonicTime(), static_cast<double>(time.tv_sec), 2.0);
}

TEST_F(NPMainLoopLinuxTest, MissedFiringsAreDeliveredAsOneAndThePhaseIsKept)
{
    constexpr double interval = 0.004;
    const double start = loop.monotonicTime();
    std::vector<double> phases;
    const auto timer = loop.makeMonotonicTimer(4 * millisecond, 4 * millisecond, 0);
    timer->setEventHandler([&] {
        phases.push_back((loop.monotonicTime() - start) / interval);
        std::this_thread::sleep_for(std::chrono::milliseconds(14)); // over three more due times
        if (phases.size() == 3) {
            loop.stop();
        }
    });
    timer->resume();
    loop.run();
    ASSERT_EQ(phases.size(), 3U);
    EXPECT_GE(phases[0], 1.0);
    EXPECT_GE(phases[1], phases[0] + 3.5); // 14 ms later, at once …
    EXPECT_GE(phases[2], 8.0);             // … and neither four times nor in a new phase
}

TEST_F(NPMainLoopLinuxTest, ATimerThatIsAlwaysDueKeepsNothingElseWaiting)
{
    const Pipe pipe;
    int firings = 0;
    const auto timer = loop.makeMonotonicTimer(0, 0, 0);
    timer->setEventHandler([&] { ++firings; });
    timer->resume();
    const NPWatch watch =
        loop.watchFileDescriptor(pipe.reading.get(), EPOLLIN, [&](std::uint32_t) { loop.stop(); });
    const auto late = loop.makeMonotonicTimer(5 * millisecond, longest, 0);
    late->setEventHandler([&] { pipe.write(); });
    late->resume();
    loop.run();
    EXPECT_GT(firings, 1);
}

TEST_F(NPMainLoopLinuxTest, WorkThatQueuesItselfKeepsNothingElseWaiting)
{
    std::function<void()> work = [&] { loop.performOnMain(work); };
    loop.performOnMain(work);
    const auto stopper = stopAfter(2 * millisecond);
    loop.run();
}

TEST_F(NPMainLoopLinuxTest, TheKernelWakesAWallClockTimerNeverBeforeItsDate)
{
    constexpr int count = 50;
    int left = count;
    int early = 0;
    std::vector<std::shared_ptr<NPTimerSource>> timers;
    for (int i = 0; i < count; ++i) {
        const QXDate date = loop.now().addingTimeInterval(0.002 + 0.000137 * i);
        timers.push_back(loop.makeWallClockTimer(date, longest, 0));
        timers.back()->setEventHandler([&, date] {
            early += loop.now() < date ? 1 : 0;
            if (--left == 0) {
                loop.stop();
            }
        });
        timers.back()->resume();
    }
    loop.run();
    EXPECT_EQ(early, 0);
}

TEST_F(NPMainLoopLinuxTest, AWallClockThatIsSetForwardWakesTheSleepingLoop)
{
    const auto safety = stopAfter(5000 * millisecond);
    bool fired = false;
    const auto timer = loop.makeWallClockTimer(loop.now().addingTimeInterval(3600), longest, 0);
    timer->setEventHandler([&] {
        fired = true;
        loop.stop();
    });
    timer->resume();
    std::thread somebody([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        clocks.jump(3601);
    });
    loop.run();
    somebody.join();
    EXPECT_TRUE(fired);
}

TEST_F(NPMainLoopLinuxTest, AWallClockThatIsSetWhileTheLoopIsBusyIsAnnounced)
{
    int announced = 0;
    QXNotificationObserver observer;
    notifications.addObserver(observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                              [&](const QXNotification&) { ++announced; });
    std::shared_ptr<NPTimerSource> timer;
    loop.performOnMain([&] {
        clocks.jump(-100);
        timer = loop.makeWallClockTimer(loop.now().addingTimeInterval(3600), longest, 0);
        timer->resume(); // the loop arms its descriptor before it waits, and learns of the change by that
    });
    const auto stopper = stopAfter(5 * millisecond);
    loop.run();
    EXPECT_EQ(announced, 1);
}

TEST_F(NPMainLoopLinuxTest, WallClockDatesOfAnySizeAreKept)
{
    std::string fired;
    std::vector<std::shared_ptr<NPTimerSource>> timers;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double date : {infinity, 1e300, 9e18, -infinity, -1e300, -978307200.0 - 1e6}) {
        timers.push_back(loop.makeWallClockTimer(QXDate{date}, 1, 0));
        timers.back()->setEventHandler([&fired, timer = timers.back().get(), date] {
            fired += date == -infinity ? 'a' : date == -1e300 ? 'b' : date < 0 ? 'c' : 'x';
            timer->cancel();
        });
        timers.back()->resume();
    }
    loop.processEvents();
    loop.processEvents();
    EXPECT_EQ(fired, "abc");
}

TEST_F(NPMainLoopLinuxTest, AWatchIsCalledForAsLongAsItsDescriptorIsReady)
{
    const Pipe pipe;
    int calls = 0;
    NPWatch watch = loop.watchFileDescriptor(pipe.reading.get(), EPOLLIN, [&](std::uint32_t ready) {
        EXPECT_EQ(ready, EPOLLIN);
        ++calls;
    });
    loop.processEvents();
    EXPECT_EQ(calls, 0);
    pipe.write();
    loop.processEvents();
    loop.processEvents();
    EXPECT_EQ(calls, 2);
    pipe.read();
    loop.processEvents();
    EXPECT_EQ(calls, 2);
    pipe.write();
    watch.reset();
    loop.processEvents();
    EXPECT_EQ(calls, 2);
}

TEST_F(NPMainLoopLinuxTest, AWatchHearsThatTheOtherEndIsClosed)
{
    Pipe pipe;
    std::uint32_t seen = 0;
    const NPWatch watch =
        loop.watchFileDescriptor(pipe.reading.get(), EPOLLIN, [&](std::uint32_t ready) { seen = ready; });
    pipe.writing.reset();
    loop.processEvents();
    EXPECT_TRUE(seen & EPOLLHUP);
}

TEST_F(NPMainLoopLinuxTest, AHandlerMayDropItsWatchAndCloseTheDescriptor)
{
    Pipe pipe;
    const auto data = std::make_shared<std::string>("held while it runs");
    std::string read;
    NPWatch watch;
    watch = loop.watchFileDescriptor(pipe.reading.get(), EPOLLIN, [&, data](std::uint32_t) {
        watch.reset();
        pipe.reading.reset();
        read = *data;
    });
    pipe.write();
    loop.processEvents();
    EXPECT_EQ(read, "held while it runs");
    EXPECT_EQ(data.use_count(), 1);
}

TEST_F(NPMainLoopLinuxTest, AHandlerMayDropAWatchThatIsReadyToo)
{
    const Pipe first;
    const Pipe second;
    int calls = 0;
    NPWatch firstWatch;
    NPWatch secondWatch;
    const auto dropBoth = [&](std::uint32_t) {
        ++calls;
        firstWatch.reset();
        secondWatch.reset();
    };
    firstWatch = loop.watchFileDescriptor(first.reading.get(), EPOLLIN, dropBoth);
    secondWatch = loop.watchFileDescriptor(second.reading.get(), EPOLLIN, dropBoth);
    first.write();
    second.write();
    loop.processEvents();
    loop.processEvents();
    EXPECT_EQ(calls, 1);
}

TEST_F(NPMainLoopLinuxTest, AnEventDoesNotReachAnotherFileThatGotTheSameDescriptor)
{
    Pipe first;
    Pipe second;
    const Pipe third;
    std::string calls;
    NPWatch firstWatch;
    NPWatch secondWatch;
    // Whichever is called first closes the other's descriptor and watches an idle file under its number.
    const auto replace = [&](NPWatch& otherWatch, Pipe& other) {
        calls += 'r';
        const int number = other.reading.get();
        otherWatch.reset();
        EXPECT_EQ(dup2(third.reading.get(), number), number);
        otherWatch = loop.watchFileDescriptor(number, EPOLLIN, [&](std::uint32_t) { calls += 'x'; });
    };
    firstWatch = loop.watchFileDescriptor(first.reading.get(), EPOLLIN,
                                          [&](std::uint32_t) { replace(secondWatch, second); });
    secondWatch = loop.watchFileDescriptor(second.reading.get(), EPOLLIN,
                                           [&](std::uint32_t) { replace(firstWatch, first); });
    first.write();
    second.write();
    loop.processEvents();
    EXPECT_EQ(calls, "r");
}

TEST_F(NPMainLoopLinuxTest, WhatCannotBeWatchedGivesNothingAndOneLine)
{
    std::vector<std::string> lines;
    const QXLogRedirection log([&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_EQ(loop.watchFileDescriptor(-1, EPOLLIN, [](std::uint32_t) {}), nullptr);
    EXPECT_EQ(lines, std::vector<std::string>{"epoll_ctl error; Bad file descriptor"});
}

TEST_F(NPMainLoopLinuxTest, TimersAndWatchesMayOutliveTheLoop)
{
    const Pipe pipe;
    auto shortLived = std::make_unique<NPMainLoopLinux>();
    const auto running = shortLived->makeMonotonicTimer(0, 1, 0);
    running->resume();
    const auto suspended = shortLived->makeWallClockTimer(QXDate{0.0}, 1, 0);
    NPWatch watch = shortLived->watchFileDescriptor(pipe.reading.get(), EPOLLIN, [](std::uint32_t) {});
    NPWatch before = shortLived->watchBeforeWaiting([] {});
    shortLived.reset();
    running->cancel();
    suspended->resume();
    watch.reset();
    before.reset();
    EXPECT_NE(fcntl(pipe.reading.get(), F_GETFD), -1);
}

TEST_F(NPMainLoopLinuxTest, HandlersBeforeWaitingAreCalledOncePerTurn)
{
    int calls = 0;
    NPWatch watch = loop.watchBeforeWaiting([&] {
        if (++calls == 3) {
            loop.stop();
        } else {
            loop.performOnMain([] {}); // what they queue is served without waiting
        }
    });
    loop.run();
    EXPECT_EQ(calls, 3);
    watch.reset();
    loop.processEvents();
    EXPECT_EQ(calls, 3);
}

TEST_F(NPMainLoopLinuxTest, AHandlerBeforeWaitingMayDropItselfAndOthers)
{
    std::string calls;
    NPWatch first;
    NPWatch second;
    first = loop.watchBeforeWaiting([&] {
        calls += 'a';
        first.reset();
        second.reset();
    });
    second = loop.watchBeforeWaiting([&] { calls += 'b'; });
    const NPWatch third = loop.watchBeforeWaiting([&] { calls += 'c'; });
    loop.stop();
    loop.performOnMain([] {});
    loop.processEvents(-1);
    EXPECT_EQ(calls, "acc"); // before waiting, and before the caller waits
}

TEST_F(NPMainLoopLinuxTest, WorkFromOtherThreadsRunsOnTheMainThreadInTheOrderOfEachThread)
{
    constexpr int threadCount = 4;
    constexpr int perThread = 2000;
    const std::thread::id mainThread = std::this_thread::get_id();
    std::array<int, threadCount> next{};
    bool ordered = true;
    int left = threadCount * perThread;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            for (int i = 0; i < perThread; ++i) {
                loop.performOnMain([&, number, i] {
                    ordered = ordered && next[number]++ == i && std::this_thread::get_id() == mainThread;
                    if (--left == 0) {
                        loop.stop();
                    }
                });
            }
        });
    }
    const auto safety = stopAfter(20000 * millisecond);
    loop.run();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(left, 0);
    EXPECT_TRUE(ordered);
}

TEST_F(NPMainLoopLinuxTest, ItsDescriptorIsReadableWhenAnotherLoopIsToDriveIt)
{
    EXPECT_FALSE(isReadable(loop.fileDescriptor()));

    loop.performOnMain([this] { loop.performOnMain([] {}); });
    EXPECT_TRUE(isReadable(loop.fileDescriptor()));
    loop.processEvents();
    EXPECT_TRUE(isReadable(loop.fileDescriptor())); // the work that was queued by work
    loop.processEvents();
    EXPECT_FALSE(isReadable(loop.fileDescriptor()));

    bool fired = false;
    const auto timer = loop.makeMonotonicTimer(2 * millisecond, longest, 0);
    timer->setEventHandler([&] { fired = true; });
    timer->resume(); // outside of a turn
    EXPECT_TRUE(isReadable(loop.fileDescriptor(), 5000));
    loop.processEvents();
    EXPECT_TRUE(fired);
    EXPECT_FALSE(isReadable(loop.fileDescriptor()));

    clocks.jump(10);
    EXPECT_TRUE(isReadable(loop.fileDescriptor(), 5000));
    loop.processEvents();
    loop.processEvents();
    EXPECT_FALSE(isReadable(loop.fileDescriptor()));
}

TEST_F(NPMainLoopLinuxTest, ACancelledTimerDoesNotMakeItsDescriptorReadable)
{
    const auto timer = loop.makeMonotonicTimer(millisecond, longest, 0);
    timer->resume();
    timer->cancel();
    EXPECT_FALSE(isReadable(loop.fileDescriptor(), 5));
}

TEST_F(NPMainLoopLinuxTest, AHandlerMayServeEventsItself)
{
    std::string calls;
    const auto inner = loop.makeMonotonicTimer(0, longest, 0);
    inner->setEventHandler([&] { calls += 'i'; });
    loop.performOnMain([&] {
        calls += 'a';
        inner->resume();
        loop.processEvents();
        calls += 'c';
    });
    loop.performOnMain([&] { calls += 'b'; });
    loop.processEvents();
    EXPECT_EQ(calls, "aibc");
}

TEST_F(NPMainLoopLinuxTest, ProcessEventsReturnsAfterItsTimeoutWhenNothingHappens)
{
    const double start = loop.monotonicTime();
    loop.processEvents(3);
    EXPECT_GE(loop.monotonicTime() - start, 0.003);
}

TEST_F(NPMainLoopLinuxTest, ASleepingLoopDoesNotWake)
{
    const auto far = loop.makeWallClockTimer(loop.now().addingTimeInterval(3600), longest, 0);
    far->resume();
    int turns = 0;
    const NPWatch watch = loop.watchBeforeWaiting([&] { ++turns; });
    const auto stopper = stopAfter(20 * millisecond);
    loop.run();
    EXPECT_EQ(turns, 1);
}

} // namespace
