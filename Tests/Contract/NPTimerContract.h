// What every platform's clock, timers and main queue must do, whatever they are made of.
//
// A platform's test instantiates the cases with a harness:
//
//     struct Harness {
//         NPClock& clock();
//         NPTimerServices& timers();
//         NPMainQueue& mainQueue();
//         QXNotificationCenter& notifications();
//         void pass(double seconds);      // lets that much awake time pass, and serves what falls due
//         void block(double seconds);     // the same, but nothing is served meanwhile, where that can be
//         void jump(double seconds);      // the wall clock jumps, because somebody set it or the machine slept
//     };
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPClock.h"
#include "Platform/NPMainQueue.h"
#include "Platform/NPTimerServices.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

template<class Harness> class NPTimerContract : public testing::Test {
protected:
    using Source = std::shared_ptr<NPTimerSource>;
    static constexpr std::uint64_t longest = std::numeric_limits<std::uint64_t>::max();

    static std::uint64_t nanoseconds(double seconds) { return static_cast<std::uint64_t>(seconds * 1e9); }
    QXDate in(double seconds) { return harness.clock().now().addingTimeInterval(seconds); }

    // A running timer that writes its letter to `fired`.
    Source lettered(Source timer, char letter)
    {
        timer->setEventHandler([this, letter] { fired += letter; });
        timer->resume();
        return timer;
    }
    Source monotonic(double delay, double interval, char letter = 'm')
    {
        return lettered(harness.timers().makeMonotonicTimer(nanoseconds(delay), nanoseconds(interval), 0), letter);
    }
    Source wall(double start, double interval, char letter = 'w')
    {
        return lettered(harness.timers().makeWallClockTimer(in(start), nanoseconds(interval), 0), letter);
    }

    Harness harness;
    std::string fired;
};

TYPED_TEST_SUITE_P(NPTimerContract);

TYPED_TEST_P(NPTimerContract, ATimerDoesNothingBeforeItIsResumed)
{
    const auto timer = this->harness.timers().makeMonotonicTimer(0, this->nanoseconds(1), 0);
    timer->setEventHandler([this] { this->fired += 'm'; });
    this->harness.pass(2.5);
    EXPECT_EQ(this->fired, "");
    timer->resume();
    this->harness.pass(0.1);
    EXPECT_EQ(this->fired, "m"); // due at 0, 1 and 2: delivered as one
}

TYPED_TEST_P(NPTimerContract, AMonotonicTimerFiresNotBeforeItsDelay)
{
    const double start = this->harness.clock().monotonicTime();
    double firedAfter = 0.0;
    const auto timer = this->harness.timers().makeMonotonicTimer(this->nanoseconds(1), this->longest, 0);
    timer->setEventHandler([&] { firedAfter = this->harness.clock().monotonicTime() - start; });
    timer->resume();
    this->harness.pass(3);
    EXPECT_GE(firedAfter, 0.999999);
}

TYPED_TEST_P(NPTimerContract, AWallClockTimerNeverSeesATimeBeforeItsStart)
{
    for (int i = 0; i < 20; ++i) {
        const QXDate start = this->in(0.2 + 0.013 * i);
        bool early = true;
        const auto timer = this->harness.timers().makeWallClockTimer(start, this->longest, 0);
        timer->setEventHandler([&] { early = this->harness.clock().now() < start; });
        timer->resume();
        this->harness.pass(1);
        EXPECT_FALSE(early);
    }
}

TYPED_TEST_P(NPTimerContract, AWallClockTimerWhoseDateHasPassedFiresAtOnce)
{
    const auto timer = this->wall(-1e9, 1e9);
    this->harness.pass(0.0);
    EXPECT_EQ(this->fired, "w");
}

TYPED_TEST_P(NPTimerContract, ATimerRepeatsUntilItIsCancelled)
{
    const auto timer = this->monotonic(0.5, 1);
    this->harness.pass(1);
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "mm");
    timer->cancel();
    this->harness.pass(2);
    EXPECT_EQ(this->fired, "mm");
}

TYPED_TEST_P(NPTimerContract, ACancelledTimerDoesNotResume)
{
    const auto timer = this->monotonic(0, 1);
    timer->cancel();
    timer->resume();
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "");
}

TYPED_TEST_P(NPTimerContract, DroppingATimerCancelsIt)
{
    auto timer = this->monotonic(0.5, 1);
    timer.reset();
    this->harness.pass(2);
    EXPECT_EQ(this->fired, "");
}

TYPED_TEST_P(NPTimerContract, AnIntervalOfZeroCountsAsOne)
{
    const auto timer = this->harness.timers().makeMonotonicTimer(0, 0, 0);
    timer->setEventHandler([&] {
        this->fired += 'm';
        if (this->fired.size() == 3) {
            timer->cancel();
        }
    });
    timer->resume();
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "mmm");
}

TYPED_TEST_P(NPTimerContract, DelaysAndIntervalsOfAnyLengthAreKept)
{
    const auto never = this->lettered(this->harness.timers().makeMonotonicTimer(this->longest, 1, 0), 'n');
    const auto once = this->lettered(this->harness.timers().makeMonotonicTimer(0, this->longest, 0), 'o');
    const auto wallOnce =
        this->lettered(this->harness.timers().makeWallClockTimer(this->in(1), this->longest, 0), 'w');
    const auto distant = this->lettered(this->harness.timers().makeWallClockTimer(QXDistantFuture, 1, 0), 'd');
    this->harness.pass(2);
    EXPECT_EQ(this->fired, "ow");
}

TYPED_TEST_P(NPTimerContract, ADateThatIsNotANumberNeverComes)
{
    const QXDate none{std::numeric_limits<double>::quiet_NaN()};
    const auto timer = this->lettered(this->harness.timers().makeWallClockTimer(none, 1, 0), 'w');
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "");
}

TYPED_TEST_P(NPTimerContract, WhatIsDueOnBothClocksFiresInTheOrderOfTheDueTimes)
{
    const auto third = this->wall(3, 1e9, 'c');
    const auto fourth = this->monotonic(4, 1e9, 'd');
    const auto first = this->wall(1, 1e9, 'a');
    const auto second = this->monotonic(2, 1e9, 'b');
    this->harness.block(5);
    this->harness.pass(0.0);
    EXPECT_EQ(this->fired, "abcd");
}

TYPED_TEST_P(NPTimerContract, AfterAJumpTheLongestOverdueFiresFirst)
{
    const auto monotonic = this->monotonic(0, 1e9, 'm');
    const auto late = this->wall(2, 1e9, 'l');
    const auto early = this->wall(1, 1e9, 'e');
    this->harness.jump(5);
    this->harness.pass(0.0);
    EXPECT_EQ(this->fired, "elm");
}

TYPED_TEST_P(NPTimerContract, AClockSetForwardFiresWallClockTimersAlone)
{
    const auto monotonic = this->monotonic(1000, 1e9);
    const auto wall = this->wall(1000, 1e9);
    this->harness.jump(1001);
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "w");
}

TYPED_TEST_P(NPTimerContract, AClockSetBackDelaysWallClockTimersAlone)
{
    const auto monotonic = this->monotonic(1, 1e9);
    const auto wall = this->wall(1, 1e9);
    this->harness.jump(-3);
    this->harness.pass(2);
    EXPECT_EQ(this->fired, "m");
    this->harness.pass(3);
    EXPECT_EQ(this->fired, "mw");
}

TYPED_TEST_P(NPTimerContract, ARepeatingWallClockTimerFiresOnceForWhatItMissedInAJump)
{
    const auto wall = this->wall(1, 1);
    this->harness.jump(100.5);
    this->harness.pass(0.0);
    EXPECT_EQ(this->fired, "w");
    this->harness.pass(0.9);
    EXPECT_EQ(this->fired, "ww"); // the phase is that of the start
}

TYPED_TEST_P(NPTimerContract, AJumpIsAnnouncedOnceBeforeTheTimersThatBecameDueByItFire)
{
    const auto wall = this->wall(1000, 1e9);
    QXNotificationObserver observer;
    this->harness.notifications().addObserver(observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                                              [this](const QXNotification&) { this->fired += 'j'; });
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "");
    this->harness.jump(1001);
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "jw");
}

TYPED_TEST_P(NPTimerContract, AJumpIsAnnouncedWhenNoTimerRuns)
{
    QXNotificationObserver observer;
    this->harness.notifications().addObserver(observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                                              [this](const QXNotification&) { this->fired += 'j'; });
    this->harness.jump(-5.0);
    this->harness.pass(0.5);
    this->harness.jump(7.0);
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "jj");
}

TYPED_TEST_P(NPTimerContract, AHandlerMayCancelItsOwnTimer)
{
    const auto timer = this->harness.timers().makeMonotonicTimer(0, this->nanoseconds(0.25), 0);
    timer->setEventHandler([&] {
        this->fired += 'm';
        timer->cancel();
    });
    timer->resume();
    this->harness.pass(2);
    EXPECT_EQ(this->fired, "m");
}

TYPED_TEST_P(NPTimerContract, AHandlerMayDropTheLastReferenceToItsTimer)
{
    auto timer = this->harness.timers().makeMonotonicTimer(0, this->nanoseconds(0.25), 0);
    const auto data = std::make_shared<std::string>("held while it runs");
    std::string read;
    timer->setEventHandler([&timer, &read, data] {
        timer.reset();
        read = *data;
    });
    timer->resume();
    this->harness.pass(1);
    EXPECT_EQ(read, "held while it runs");
    EXPECT_EQ(data.use_count(), 1);
}

TYPED_TEST_P(NPTimerContract, ATimerHeldByItsOwnHandlerGoesWhenItIsCancelled)
{
    auto timer = this->harness.timers().makeMonotonicTimer(0, 1, 0);
    const std::weak_ptr<NPTimerSource> watched = timer;
    timer->setEventHandler([timer] { timer->cancel(); });
    timer->resume();
    timer.reset();
    EXPECT_FALSE(watched.expired());
    this->harness.pass(0.1);
    EXPECT_TRUE(watched.expired());
}

TYPED_TEST_P(NPTimerContract, CancellingATimerThatOnlyItsHandlerHoldsLetsItGo)
{
    auto timer = this->harness.timers().makeMonotonicTimer(0, 1, 0);
    NPTimerSource* const source = timer.get();
    const std::weak_ptr<NPTimerSource> watched = timer;
    timer->setEventHandler([timer] {});
    timer->resume();
    timer.reset();
    source->cancel();
    EXPECT_TRUE(watched.expired());
}

TYPED_TEST_P(NPTimerContract, AHandlerMayCancelATimerThatIsDueToo)
{
    const auto victim = this->monotonic(1, 1e9, 'v');
    const auto killer = this->harness.timers().makeMonotonicTimer(this->nanoseconds(0.5), this->longest, 0);
    killer->setEventHandler([&] {
        this->fired += 'k';
        victim->cancel();
    });
    killer->resume();
    this->harness.block(2);
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "k");
}

TYPED_TEST_P(NPTimerContract, AHandlerMayDropATimerThatIsDueToo)
{
    auto victim = this->monotonic(1, 1e9, 'v');
    const auto killer = this->harness.timers().makeMonotonicTimer(this->nanoseconds(0.5), this->longest, 0);
    killer->setEventHandler([&] { victim.reset(); });
    killer->resume();
    this->harness.block(2);
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "");
}

TYPED_TEST_P(NPTimerContract, AHandlerMayStartATimer)
{
    std::shared_ptr<NPTimerSource> second;
    const auto first = this->harness.timers().makeMonotonicTimer(0, this->longest, 0);
    first->setEventHandler([&] { second = this->monotonic(0.25, 1e9, 's'); });
    first->resume();
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "s");
}

TYPED_TEST_P(NPTimerContract, AHandlerMayGiveItsTimerAnotherHandler)
{
    const auto timer = this->harness.timers().makeMonotonicTimer(0, this->nanoseconds(1), 0);
    timer->setEventHandler([&] {
        this->fired += 'a';
        timer->setEventHandler([&] { this->fired += 'b'; });
    });
    timer->resume();
    this->harness.pass(0.5);
    this->harness.pass(1);
    EXPECT_EQ(this->fired, "ab");
}

TYPED_TEST_P(NPTimerContract, QueuedWorkRunsInOrderAndNotInsideTheCaller)
{
    this->harness.mainQueue().performOnMain([this] {
        this->fired += 'a';
        this->harness.mainQueue().performOnMain([this] { this->fired += 'c'; });
        this->fired += 'b';
    });
    EXPECT_EQ(this->fired, "");
    this->harness.pass(0.1);
    this->harness.pass(0.1);
    EXPECT_EQ(this->fired, "abc");
}

TYPED_TEST_P(NPTimerContract, WorkQueuedByATimerRunsAfterItsHandler)
{
    const auto timer = this->harness.timers().makeMonotonicTimer(0, this->longest, 0);
    timer->setEventHandler([this] {
        this->harness.mainQueue().performOnMain([this] { this->fired += 'q'; });
        this->fired += 't';
    });
    timer->resume();
    this->harness.pass(0.5);
    EXPECT_EQ(this->fired, "tq");
}

REGISTER_TYPED_TEST_SUITE_P(
    NPTimerContract, ATimerDoesNothingBeforeItIsResumed, AMonotonicTimerFiresNotBeforeItsDelay,
    AWallClockTimerNeverSeesATimeBeforeItsStart, AWallClockTimerWhoseDateHasPassedFiresAtOnce,
    ATimerRepeatsUntilItIsCancelled, ACancelledTimerDoesNotResume, DroppingATimerCancelsIt,
    AnIntervalOfZeroCountsAsOne, DelaysAndIntervalsOfAnyLengthAreKept, ADateThatIsNotANumberNeverComes,
    WhatIsDueOnBothClocksFiresInTheOrderOfTheDueTimes, AfterAJumpTheLongestOverdueFiresFirst,
    AClockSetForwardFiresWallClockTimersAlone, AClockSetBackDelaysWallClockTimersAlone,
    ARepeatingWallClockTimerFiresOnceForWhatItMissedInAJump,
    AJumpIsAnnouncedOnceBeforeTheTimersThatBecameDueByItFire, AJumpIsAnnouncedWhenNoTimerRuns,
    AHandlerMayCancelItsOwnTimer, AHandlerMayDropTheLastReferenceToItsTimer,
    ATimerHeldByItsOwnHandlerGoesWhenItIsCancelled, CancellingATimerThatOnlyItsHandlerHoldsLetsItGo,
    AHandlerMayCancelATimerThatIsDueToo, AHandlerMayDropATimerThatIsDueToo, AHandlerMayStartATimer,
    AHandlerMayGiveItsTimerAnotherHandler, QueuedWorkRunsInOrderAndNotInsideTheCaller,
    WorkQueuedByATimerRunsAfterItsHandler);
