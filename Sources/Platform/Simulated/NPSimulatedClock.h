// Time that passes when it is told to: both clocks, the timers on them, and the main queue.
//
// Awake, both clocks advance; asleep, the wall clock alone. Timers fire in the order of their due times,
// each at its own moment, so a year with every timer in it passes without waiting. Other threads' pauses end
// when their time has come; while the main thread itself waits for another thread, pauses take no time, and the
// clocks have advanced by them when it goes on.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPClock.h"
#include "Platform/NPMainQueue.h"
#include "Platform/NPTimerServices.h"
#include "Platform/NPWaitServices.h"

#include <mutex>
#include <optional>
#include <vector>

class NPSimulatedClock final : public NPClock, public NPTimerServices, public NPMainQueue, public NPWaitServices {
public:
    NPSimulatedClock(QXDate start, QXNotificationCenter& notifications);
    ~NPSimulatedClock() override;

    QXDate now() const override;
    double monotonicTime() const override;
    std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                      std::uint64_t leeway) override;
    std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                      std::uint64_t leeway) override;
    void performOnMain(std::function<void()> work) override;
    std::unique_ptr<NPSleeper> makeSleeper() override;
    void waitOnMain(std::condition_variable& signal, std::unique_lock<std::mutex>& lock,
                    const std::function<bool()>& condition) override;

    // Lets time pass: serves the main queue and fires every timer that falls due, the last moment included.
    void advance(double seconds);
    void advanceTo(QXDate date); // nothing when the date has passed

    // The machine sleeps that long and wakes: the jump is announced, then wall-clock timers that fell due
    // fire.
    void sleep(double seconds);

    // Somebody sets the wall clock: announced, then timers that are due by the new time fire.
    void setWallClock(QXDate date);

    // The moment of the next firing as wall-clock time, or none when no timer is armed.
    std::optional<QXDate> nextFireDate() const;

    // How many timers are armed.
    std::size_t timerCount() const;

    // Waits, in real time, until so many other threads make a pause. False when that takes far too long.
    bool waitForSleepers(std::size_t count);

private:
    class Timer;
    class Sleeper;
    struct Pauses;
    using Nanoseconds = std::int64_t; // on the monotonic clock, which starts at 0

    QXDate _wallTimeAt(Nanoseconds monotonic) const;
    Nanoseconds _monotonicTimeAt(QXDate wall) const;
    Nanoseconds _dueTime(const Timer& timer) const;
    std::shared_ptr<Timer> _nextTimer() const;
    void _serveMainQueue();

    QXNotificationCenter& _notifications;
    QXDate _wallAnchor;             // the wall clock when the monotonic clock …
    Nanoseconds _monotonicAnchor = 0; // … showed this
    Nanoseconds _monotonic = 0;
    std::uint64_t _timersMade = 0;
    std::vector<std::weak_ptr<Timer>> _timers;
    const std::shared_ptr<Pauses> _pauses; // outlives the clock where a sleeper does
    std::mutex _queueMutex;
    std::vector<std::function<void()>> _queue;
};
