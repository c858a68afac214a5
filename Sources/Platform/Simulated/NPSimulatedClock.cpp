#include "Platform/Simulated/NPSimulatedClock.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <limits>
#include <set>
#include <utility>

namespace {

constexpr double nanosecondsPerSecond = 1e9;
constexpr double furthest = 9e18; // due times beyond this never come
constexpr auto never = static_cast<std::int64_t>(furthest);

std::int64_t saturated(double nanoseconds)
{
    const double bounded = nanoseconds < furthest ? std::max(nanoseconds, -furthest) : furthest; // NaN: never
    return static_cast<std::int64_t>(bounded);
}

} // namespace

class NPSimulatedClock::Timer final : public NPTimerSource {
public:
    Timer(std::optional<QXDate> firstWallDue, Nanoseconds firstMonotonicDue, std::uint64_t interval,
          std::uint64_t number)
        : wallDue(firstWallDue), monotonicDue(firstMonotonicDue), order(number),
          _interval(std::max<std::uint64_t>(interval, 1))
    {
    }

    void setEventHandler(std::function<void()> handler) override { _handler = std::move(handler); }
    void resume() override { armed = !_cancelled; }
    void cancel() override
    {
        armed = false;
        _cancelled = true;
        const auto dropped = std::exchange(_handler, nullptr); // last: it may hold the last reference to this
    }

    void fire(Nanoseconds monotonic, QXDate wall)
    {
        // What was missed, in a jump or before resume(), counts as one firing; the phase stays.
        if (wallDue) {
            const double interval = static_cast<double>(_interval) / nanosecondsPerSecond;
            const double missed = std::floor(std::max(wall.timeIntervalSince(*wallDue), 0.0) / interval);
            const QXDate next = wallDue->addingTimeInterval((missed + 1.0) * interval);
            // Intervals below what a date can tell apart must advance all the same.
            const double least = std::nextafter(wall.timeIntervalSinceReferenceDate, furthest);
            wallDue = next > wall ? next : QXDate{least};
        } else {
            const auto elapsed = static_cast<std::uint64_t>(monotonic - monotonicDue);
            const std::uint64_t wait = _interval - elapsed % _interval;
            const auto room = static_cast<std::uint64_t>(never - monotonic);
            monotonicDue = wait < room ? monotonic + static_cast<Nanoseconds>(wait) : never;
        }
        if (const std::function<void()> handler = _handler) { // a copy: the handler may cancel its timer
            handler();
        }
    }

    bool armed = false;
    std::optional<QXDate> wallDue; // on the wall clock, or none: on the monotonic one
    Nanoseconds monotonicDue;
    const std::uint64_t order; // which was made first, for equal due times

private:
    std::uint64_t _interval;
    bool _cancelled = false;
    std::function<void()> _handler;
};

// The pauses of other threads.
struct NPSimulatedClock::Pauses {
    std::mutex mutex; // guards what follows
    std::condition_variable change;
    Nanoseconds now = 0;
    bool mainWaits = false;
    std::multiset<Nanoseconds> ends;

    void passTo(Nanoseconds moment)
    {
        const std::lock_guard lock(mutex);
        now = std::max(now, moment);
        change.notify_all();
    }

    // While the main thread waits, time passes for nobody but the sleepers.
    Nanoseconds setMainWaits(bool waits)
    {
        const std::lock_guard lock(mutex);
        mainWaits = waits;
        change.notify_all();
        return now;
    }
};

class NPSimulatedClock::Sleeper final : public NPSleeper {
public:
    explicit Sleeper(std::shared_ptr<Pauses> pauses) : _pauses(std::move(pauses)) {}

    void sleepForTimeInterval(double seconds) override
    {
        std::unique_lock lock(_pauses->mutex);
        const Nanoseconds end = _pauses->now + saturated(seconds * nanosecondsPerSecond);
        const auto entry = _pauses->ends.insert(end);
        _pauses->change.notify_all();
        _pauses->change.wait(lock, [&] { return _isAwake || _pauses->mainWaits || _pauses->now >= end; });
        _pauses->ends.erase(entry);
        if (_pauses->mainWaits && !_isAwake) {
            _pauses->now = std::max(_pauses->now, end);
        }
    }

    void wake() override
    {
        const std::lock_guard lock(_pauses->mutex);
        _isAwake = true;
        _pauses->change.notify_all();
    }

private:
    const std::shared_ptr<Pauses> _pauses;
    bool _isAwake = false;
};

NPSimulatedClock::NPSimulatedClock(QXDate start, QXNotificationCenter& notifications)
    : _notifications(notifications), _wallAnchor(start), _pauses(std::make_shared<Pauses>())
{
}

NPSimulatedClock::~NPSimulatedClock() = default;

QXDate NPSimulatedClock::now() const
{
    return _wallTimeAt(_monotonic);
}

double NPSimulatedClock::monotonicTime() const
{
    return static_cast<double>(_monotonic) / nanosecondsPerSecond;
}

std::shared_ptr<NPTimerSource> NPSimulatedClock::makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                                    std::uint64_t)
{
    const Nanoseconds due = saturated(static_cast<double>(_monotonic) + static_cast<double>(delay));
    auto timer = std::make_shared<Timer>(std::nullopt, due, interval, _timersMade++);
    _timers.push_back(timer);
    return timer;
}

std::shared_ptr<NPTimerSource> NPSimulatedClock::makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                                    std::uint64_t)
{
    auto timer = std::make_shared<Timer>(start, 0, interval, _timersMade++);
    _timers.push_back(timer);
    return timer;
}

void NPSimulatedClock::performOnMain(std::function<void()> work)
{
    const std::lock_guard lock(_queueMutex);
    _queue.push_back(std::move(work));
}

std::unique_ptr<NPSleeper> NPSimulatedClock::makeSleeper()
{
    return std::make_unique<Sleeper>(_pauses);
}

void NPSimulatedClock::waitOnMain(std::condition_variable& signal, std::unique_lock<std::mutex>& lock,
                                  const std::function<bool()>& condition)
{
    _pauses->setMainWaits(true);
    signal.wait(lock, condition);
    _monotonic = std::max(_monotonic, _pauses->setMainWaits(false));
}

bool NPSimulatedClock::waitForSleepers(std::size_t count)
{
    constexpr std::chrono::seconds patience{20};
    std::unique_lock lock(_pauses->mutex);
    return _pauses->change.wait_for(lock, patience, [&] {
        const auto after = _pauses->ends.upper_bound(_pauses->now); // the others are about to end
        return static_cast<std::size_t>(std::distance(after, _pauses->ends.end())) == count;
    });
}

void NPSimulatedClock::advance(double seconds)
{
    const Nanoseconds end = saturated(static_cast<double>(_monotonic) + seconds * nanosecondsPerSecond);
    _serveMainQueue();
    while (const std::shared_ptr<Timer> timer = _nextTimer()) {
        const Nanoseconds due = _dueTime(*timer);
        if (due > end) {
            break;
        }
        _monotonic = std::max(_monotonic, due);
        _pauses->passTo(_monotonic);
        timer->fire(_monotonic, now());
        _serveMainQueue();
    }
    _monotonic = std::max(_monotonic, end); // a handler may have let more time pass
    _pauses->passTo(_monotonic);
}

void NPSimulatedClock::advanceTo(QXDate date)
{
    const Nanoseconds target = _monotonicTimeAt(date);
    if (target > _monotonic) {
        advance(static_cast<double>(target - _monotonic) / nanosecondsPerSecond);
    }
}

void NPSimulatedClock::sleep(double seconds)
{
    setWallClock(now().addingTimeInterval(seconds));
}

void NPSimulatedClock::setWallClock(QXDate date)
{
    _wallAnchor = date;
    _monotonicAnchor = _monotonic;
    _notifications.postNotification(NPSystemClockDidChangeNotification, nullptr);
    advance(0.0);
}

std::optional<QXDate> NPSimulatedClock::nextFireDate() const
{
    const std::shared_ptr<Timer> timer = _nextTimer();
    return timer ? std::optional(_wallTimeAt(std::max(_dueTime(*timer), _monotonic))) : std::nullopt;
}

std::size_t NPSimulatedClock::timerCount() const
{
    return static_cast<std::size_t>(std::ranges::count_if(_timers, [](const std::weak_ptr<Timer>& weak) {
        const std::shared_ptr<Timer> timer = weak.lock();
        return timer && timer->armed;
    }));
}

QXDate NPSimulatedClock::_wallTimeAt(Nanoseconds monotonic) const
{
    return _wallAnchor.addingTimeInterval(static_cast<double>(monotonic - _monotonicAnchor)
                                          / nanosecondsPerSecond);
}

// The first moment at which the wall clock shows at least that time: a double counts the nanoseconds of a
// date far too coarsely to divide them out.
NPSimulatedClock::Nanoseconds NPSimulatedClock::_monotonicTimeAt(QXDate wall) const
{
    Nanoseconds moment = saturated(static_cast<double>(_monotonicAnchor)
                                   + std::ceil(wall.timeIntervalSince(_wallAnchor) * nanosecondsPerSecond));
    constexpr Nanoseconds step = 16;
    while (_wallTimeAt(moment) < wall && static_cast<double>(moment) < furthest) {
        moment += step;
    }
    return moment;
}

NPSimulatedClock::Nanoseconds NPSimulatedClock::_dueTime(const Timer& timer) const
{
    return timer.wallDue ? _monotonicTimeAt(*timer.wallDue) : timer.monotonicDue;
}

std::shared_ptr<NPSimulatedClock::Timer> NPSimulatedClock::_nextTimer() const
{
    std::shared_ptr<Timer> next;
    Nanoseconds nextDue = std::numeric_limits<Nanoseconds>::max();
    for (const std::weak_ptr<Timer>& weak : _timers) {
        const std::shared_ptr<Timer> timer = weak.lock();
        if (!timer || !timer->armed) {
            continue;
        }
        const Nanoseconds due = _dueTime(*timer);
        if (!next || due < nextDue || (due == nextDue && timer->order < next->order)) {
            next = timer;
            nextDue = due;
        }
    }
    return next;
}

void NPSimulatedClock::_serveMainQueue()
{
    std::erase_if(_timers, [](const std::weak_ptr<Timer>& timer) { return timer.expired(); });
    std::vector<std::function<void()>> work;
    for (;;) {
        {
            const std::lock_guard lock(_queueMutex);
            work = std::exchange(_queue, {});
        }
        if (work.empty()) {
            return;
        }
        for (const std::function<void()>& item : work) {
            item();
        }
    }
}
