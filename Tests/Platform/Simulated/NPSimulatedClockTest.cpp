// What the simulated clock has beyond what every platform's clock must do.
#include "Platform/Simulated/NPSimulatedClock.h"

#include "Support/NPEngineTest.h"

#include <atomic>
#include <thread>

namespace {

constexpr std::uint64_t second = 1'000'000'000;

class NPSimulatedClockTest : public testing::Test {
protected:
    // A running timer that writes its letter.
    std::shared_ptr<NPTimerSource> started(std::shared_ptr<NPTimerSource> timer, char letter)
    {
        timer->setEventHandler([this, letter] {
            fired += letter;
            seen.push_back(clock.now().timeIntervalSinceReferenceDate);
        });
        timer->resume();
        return timer;
    }
    std::shared_ptr<NPTimerSource> every(std::uint64_t seconds, char letter)
    {
        return started(clock.makeMonotonicTimer(seconds * second, seconds * second, 0), letter);
    }
    std::shared_ptr<NPTimerSource> at(double date, char letter)
    {
        return started(clock.makeWallClockTimer(QXDate{date}, 100'000 * second, 0), letter);
    }

    QXNotificationCenter notifications;
    NPSimulatedClock clock{QXDate{1000.0}, notifications};
    std::string fired;
    std::vector<double> seen;
};

TEST_F(NPSimulatedClockTest, TimeStandsStillUntilItIsToldToPass)
{
    EXPECT_EQ(clock.now(), QXDate{1000.0});
    clock.advance(2.5);
    EXPECT_EQ(clock.now(), QXDate{1002.5});
    EXPECT_EQ(clock.monotonicTime(), 2.5);
}

TEST_F(NPSimulatedClockTest, AsleepTheWallClockAloneAdvances)
{
    clock.advance(1.0);
    clock.sleep(3600.0);
    EXPECT_EQ(clock.now(), QXDate{4601.0});
    EXPECT_EQ(clock.monotonicTime(), 1.0);
}

TEST_F(NPSimulatedClockTest, SettingTheWallClockLeavesTheOtherOne)
{
    clock.advance(1.0);
    clock.setWallClock(QXDate{0.0});
    clock.advance(1.0);
    EXPECT_EQ(clock.now(), QXDate{1.0});
    EXPECT_EQ(clock.monotonicTime(), 2.0);
}

TEST_F(NPSimulatedClockTest, TimersFireInTheOrderOfTheirDueTimesEachAtItsOwnMoment)
{
    const auto wall = at(1005.0, 'w');
    const auto slow = every(4, 's');
    const auto fast = every(2, 'f');
    clock.advance(6.0);
    EXPECT_EQ(fired, "fsfwf"); // of equal times, the one made first
    EXPECT_EQ(seen, (std::vector{1002.0, 1004.0, 1004.0, 1005.0, 1006.0}));
    EXPECT_EQ(clock.now(), QXDate{1006.0});
}

TEST_F(NPSimulatedClockTest, AdvancingToADateServesItsVeryMoment)
{
    const auto wall = at(1005.0, 'w');
    clock.advanceTo(QXDate{1005.0});
    EXPECT_EQ(fired, "w");
    EXPECT_EQ(clock.now(), QXDate{1005.0});
    clock.advanceTo(QXDate{1001.0});
    EXPECT_EQ(clock.now(), QXDate{1005.0});
}

TEST_F(NPSimulatedClockTest, JumpIsAnnouncedBeforeTheTimersThatItMakesDue)
{
    const auto wall = at(1005.0, 'w');
    QXNotificationObserver observer;
    notifications.addObserver(observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                              [this](const QXNotification&) { fired += '!'; });
    clock.sleep(10.0);
    EXPECT_EQ(fired, "!w");
    clock.setWallClock(QXDate{0.0});
    EXPECT_EQ(fired, "!w!");
}

TEST_F(NPSimulatedClockTest, TimerCancelledByTheAnnouncementOfAJumpDoesNotFire)
{
    const auto wall = at(1005.0, 'w');
    QXNotificationObserver observer;
    notifications.addObserver(observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                              [&](const QXNotification&) { wall->cancel(); });
    clock.sleep(10.0);
    EXPECT_EQ(fired, "");
}

TEST_F(NPSimulatedClockTest, NextFireDateIsTheEarliestOfTheArmedTimers)
{
    EXPECT_EQ(clock.nextFireDate(), std::nullopt);
    const auto wall = at(1005.0, 'w');
    const auto relative = every(8, 'r');
    EXPECT_EQ(clock.nextFireDate(), QXDate{1005.0});
    wall->cancel();
    EXPECT_EQ(clock.nextFireDate(), QXDate{1008.0});
    clock.setWallClock(QXDate{0.0});
    EXPECT_EQ(clock.nextFireDate(), QXDate{8.0});
}

TEST_F(NPSimulatedClockTest, CountsArmedTimersThatSomebodyHolds)
{
    auto one = every(1, 'a');
    const auto suspended = clock.makeMonotonicTimer(second, second, 0);
    EXPECT_EQ(clock.timerCount(), 1U);
    suspended->resume();
    EXPECT_EQ(clock.timerCount(), 2U);
    one.reset();
    EXPECT_EQ(clock.timerCount(), 1U);
    suspended->cancel();
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(NPSimulatedClockTest, TimersMadeByFiringTimersFireInTheSameAdvance)
{
    std::shared_ptr<NPTimerSource> inner;
    const auto outer = clock.makeMonotonicTimer(second, 100 * second, 0);
    outer->setEventHandler([&] { inner = every(1, 'i'); });
    outer->resume();
    clock.advance(3.0);
    EXPECT_EQ(seen, (std::vector{1002.0, 1003.0}));
}

TEST_F(NPSimulatedClockTest, WallClockTimerNeverSeesATimeBeforeItsDate)
{
    clock.setWallClock(QXDate{794318400.1234567});
    for (int i = 1; i <= 1000; ++i) {
        const QXDate date = clock.now().addingTimeInterval(0.0123456789 * i);
        const auto timer = clock.makeWallClockTimer(date, 100'000 * second, 0);
        bool early = true;
        timer->setEventHandler([&] { early = clock.now() < date; });
        timer->resume();
        clock.advance(13.0);
        EXPECT_FALSE(early) << i;
    }
}

TEST_F(NPSimulatedClockTest, DatesThatNeverComeDoNotFire)
{
    const auto far = at(63113904000.0, 'f'); // the distant future
    const auto endless = at(1e300, 'e');
    clock.advance(1e9);
    EXPECT_EQ(fired, "");
    EXPECT_EQ(clock.timerCount(), 2U);
}

TEST_F(NPSimulatedClockTest, PauseOfAnotherThreadEndsWhenItsTimeHasCome)
{
    const std::unique_ptr<NPSleeper> sleeper = clock.makeSleeper();
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        sleeper->sleepForTimeInterval(1.0);
        isOver = true;
    });
    EXPECT_TRUE(clock.waitForSleepers(1));
    clock.advance(0.5);
    EXPECT_TRUE(clock.waitForSleepers(1));
    EXPECT_FALSE(isOver);
    clock.advance(0.5);
    other.join();
    EXPECT_TRUE(isOver);
}

TEST_F(NPSimulatedClockTest, PauseEndsWhenItIsWoken)
{
    const std::unique_ptr<NPSleeper> sleeper = clock.makeSleeper();
    std::thread other([&] {
        sleeper->sleepForTimeInterval(1.0);
        sleeper->sleepForTimeInterval(1.0); // and so does every later one
    });
    EXPECT_TRUE(clock.waitForSleepers(1));
    sleeper->wake();
    other.join();
    EXPECT_EQ(clock.monotonicTime(), 0.0);
}

TEST_F(NPSimulatedClockTest, PausesPassWhileTheMainThreadWaits)
{
    const std::unique_ptr<NPSleeper> sleeper = clock.makeSleeper();
    std::mutex mutex;
    std::condition_variable signal;
    bool isOver = false;
    std::thread other([&] {
        sleeper->sleepForTimeInterval(1.0);
        sleeper->sleepForTimeInterval(2.0);
        const std::lock_guard lock(mutex);
        isOver = true;
        signal.notify_all();
    });
    {
        std::unique_lock lock(mutex);
        clock.waitOnMain(signal, lock, [&] { return isOver; });
    }
    other.join();
    EXPECT_EQ(clock.monotonicTime(), 3.0);
}

} // namespace
