#include "Platform/Linux/NPTimerQueueLinux.h"

#include "Foundation/QXAssert.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

using Nanoseconds = NPTimerQueueLinux::Nanoseconds;

// The first due time after `now` that keeps the phase. `due` is not after `now`. The differences are formed
// unsigned, where those of any two times fit.
Nanoseconds dueTimeAfter(Nanoseconds now, Nanoseconds due, std::uint64_t interval)
{
    const std::uint64_t elapsed = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(due);
    const std::uint64_t wait = interval - elapsed % interval;
    const std::uint64_t room =
        static_cast<std::uint64_t>(NPTimerQueueLinux::never) - static_cast<std::uint64_t>(now);
    return wait < room ? static_cast<Nanoseconds>(static_cast<std::uint64_t>(now) + wait)
                       : NPTimerQueueLinux::never;
}

} // namespace

class NPTimerQueueLinux::Timer final : public NPTimerSource, public std::enable_shared_from_this<Timer> {
public:
    Timer(std::weak_ptr<NPTimerQueueLinux> queue, Nanoseconds firstDue, std::uint64_t theInterval,
          std::uint64_t theOrder)
        : due(firstDue), interval(std::max<std::uint64_t>(theInterval, 1)), order(theOrder),
          _queue(std::move(queue))
    {
    }
    ~Timer() override { _leaveQueue(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void setEventHandler(std::function<void()> handler) override
    {
        _handler = std::make_shared<const std::function<void()>>(std::move(handler));
    }

    void resume() override
    {
        const std::shared_ptr<NPTimerQueueLinux> queue = _queue.lock();
        if (queue && !_running && !_cancelled) {
            _running = true;
            queue->_insert(*this);
        }
    }

    void cancel() override
    {
        _cancelled = true;
        _leaveQueue();
        const auto dropped = std::move(_handler); // last: it may hold the last reference to this timer
    }

    void fire() const
    {
        // Held: the handler may cancel its timer or give it another handler.
        if (const auto handler = _handler; handler && *handler && !_cancelled) {
            (*handler)();
        }
    }

    // The order of the queue: the next one last.
    static bool isLater(const Timer* left, const Timer* right)
    {
        return left->due != right->due ? left->due > right->due : left->order > right->order;
    }

    Nanoseconds due;
    const std::uint64_t interval;
    const std::uint64_t order;

private:
    void _leaveQueue()
    {
        if (std::exchange(_running, false)) {
            if (const std::shared_ptr<NPTimerQueueLinux> queue = _queue.lock()) {
                queue->_remove(*this);
            }
        }
    }

    const std::weak_ptr<NPTimerQueueLinux> _queue;
    std::shared_ptr<const std::function<void()>> _handler;
    bool _running = false;
    bool _cancelled = false;
};

void NPTimerQueueLinux::Firing::fire() const
{
    if (const std::shared_ptr<Timer> held = timer.lock()) {
        held->fire();
    }
}

NPTimerQueueLinux::NPTimerQueueLinux(clockid_t clock)
    : _clock(clock), _descriptor(timerfd_create(clock, TFD_NONBLOCK | TFD_CLOEXEC))
{
    QXAssert(static_cast<bool>(_descriptor), "timerfd_create");
    arm();
}

NPTimerQueueLinux::Nanoseconds NPTimerQueueLinux::now() const
{
    timespec time{};
    clock_gettime(_clock, &time);
    return Nanoseconds{time.tv_sec} * nanosecondsPerSecond + Nanoseconds{time.tv_nsec};
}

std::shared_ptr<NPTimerSource> NPTimerQueueLinux::makeTimer(Nanoseconds due, std::uint64_t interval,
                                                            std::uint64_t order)
{
    return std::make_shared<Timer>(weak_from_this(), due, interval, order);
}

void NPTimerQueueLinux::takeDueTimers(std::vector<Firing>& firings)
{
    if (_timers.empty()) {
        return;
    }
    const Nanoseconds time = now();
    while (_nextDueTime() <= time) {
        Timer& timer = *_timers.back();
        _timers.pop_back();
        const std::uint64_t overdue = static_cast<std::uint64_t>(time) - static_cast<std::uint64_t>(timer.due);
        firings.push_back({overdue, timer.order, timer.weak_from_this()});
        timer.due = dueTimeAfter(time, timer.due, timer.interval);
        _place(timer);
    }
}

// Setting the descriptor anew is what makes it unreadable again, and what tells of a change of the clock.
void NPTimerQueueLinux::descriptorIsReady()
{
    _armed.reset();
    if (_clock == CLOCK_REALTIME) {
        arm();
    }
}

void NPTimerQueueLinux::arm()
{
    const Nanoseconds due = _nextDueTime();
    if (_armed == due) {
        return;
    }
    // The wall clock's descriptor is armed even when no timer runs, to hear that the clock was set.
    const int cancelOnSet = _clock == CLOCK_REALTIME ? TFD_TIMER_CANCEL_ON_SET : 0;
    _armed = due;
    if (!_set(due, TFD_TIMER_ABSTIME | cancelOnSet)) {
        // The clock was set since the last time. Also outside of a turn the loop must hear of it, so the
        // descriptor becomes readable.
        QXAssert(errno == ECANCELED && _set(1, TFD_TIMER_ABSTIME), "timerfd_settime");
        _clockChanged = true;
        _armed.reset();
    }
}

bool NPTimerQueueLinux::_set(Nanoseconds due, int flags) const
{
    itimerspec setting{};
    // Not below 1: zero would disarm, and a date before the clock's zero is one that has passed.
    const Nanoseconds positive = std::max<Nanoseconds>(due, 1);
    setting.it_value = {positive / nanosecondsPerSecond, positive % nanosecondsPerSecond};
    return timerfd_settime(_descriptor.get(), flags, &setting, nullptr) == 0;
}

void NPTimerQueueLinux::_insert(Timer& timer)
{
    _place(timer);
    if (!_deferred) {
        arm();
    }
}

void NPTimerQueueLinux::_remove(const Timer& timer)
{
    const auto range = std::ranges::equal_range(_timers, &timer, Timer::isLater);
    _timers.erase(range.begin(), range.end());
    if (!_deferred) {
        arm();
    }
}

NPTimerQueueLinux::Nanoseconds NPTimerQueueLinux::_nextDueTime() const
{
    return _timers.empty() ? never : _timers.back()->due;
}

// Most timers that are set anew come soon again, and so go in near the end.
void NPTimerQueueLinux::_place(Timer& timer)
{
    _timers.insert(std::ranges::upper_bound(_timers, &timer, Timer::isLater), &timer);
}
