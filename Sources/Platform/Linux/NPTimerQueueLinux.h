// The timers on one of the kernel's clocks, in the order of their due times, and the descriptor that becomes
// readable when the first of them is due.
//
// The main loop has two: on the monotonic clock and on the wall clock. A queue says which timers are due, and
// the loop merges the answers, so that timers on different clocks fire in one order.
#pragma once

#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/NPTimerServices.h"

#include <time.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class NPTimerQueueLinux final : public std::enable_shared_from_this<NPTimerQueueLinux> {
public:
    using Nanoseconds = std::int64_t; // since the clock's zero

    // A due time that does not come.
    static constexpr Nanoseconds never = std::numeric_limits<Nanoseconds>::max();

    class Timer;

    // A timer that has fallen due and has not fired yet.
    struct Firing {
        std::uint64_t overdue; // nanoseconds since it fell due
        std::uint64_t order;   // among timers of equal due times
        std::weak_ptr<Timer> timer;

        // Does nothing when the timer has been cancelled or has gone since.
        void fire() const;

        bool isBefore(const Firing& other) const
        {
            return overdue != other.overdue ? overdue > other.overdue : order < other.order;
        }
    };

    explicit NPTimerQueueLinux(clockid_t clock); // stops the program when the kernel gives no timer

    // The time on the queue's clock.
    Nanoseconds now() const;

    // A timer, suspended. It may outlive the queue and is then dead. `order` decides between equal due times.
    std::shared_ptr<NPTimerSource> makeTimer(Nanoseconds due, std::uint64_t interval, std::uint64_t order);

    // Appends a firing for every timer that is due, and sets each timer to its next due time.
    void takeDueTimers(std::vector<Firing>& firings);

    // Readable when the first timer is due, and when the queue's clock has been set: so says poll; nothing is
    // to be read from it. Whoever sees it readable calls descriptorIsReady().
    int descriptor() const { return _descriptor.get(); }
    void descriptorIsReady();

    // Whether the clock has been set, or the machine has slept, since the last call. Only the wall clock can.
    bool takeClockChange() { return std::exchange(_clockChanged, false); }

    // While deferred, changes reach the descriptor with the next arm(); otherwise at once.
    void setDeferred(bool deferred) { _deferred = deferred; }
    void arm();

private:
    void _insert(Timer& timer);
    void _remove(const Timer& timer);
    void _place(Timer& timer);
    Nanoseconds _nextDueTime() const;
    bool _set(Nanoseconds due, int flags) const;

    const clockid_t _clock;
    NPFileDescriptor _descriptor;
    std::vector<Timer*> _timers; // those that run, the next one last; a timer takes itself out when it goes
    std::optional<Nanoseconds> _armed; // what the descriptor is set to, if known
    bool _deferred = false;
    bool _clockChanged = false;
};
