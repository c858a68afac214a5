#include "Platform/Linux/NPMainLoopLinux.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXLog.h"
#include "Platform/Linux/NPFileDescriptor.h"
#include "Platform/Linux/NPTimerQueueLinux.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <deque>
#include <map>
#include <mutex>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Nanoseconds = NPTimerQueueLinux::Nanoseconds;

constexpr double nanosecondsPerSecond = 1e9;
constexpr double furthestSecond = 9e9; // since 1970: as far as 64 bits of nanoseconds reach, about

// What epoll reports for the loop's own descriptors; watches have the tokens after them.
enum : std::uint64_t { wakeToken, monotonicToken, wallToken, firstWatchToken };

double secondsFrom(Nanoseconds nanoseconds)
{
    return static_cast<double>(nanoseconds) / nanosecondsPerSecond;
}

// The first nanosecond since 1970 at which NPMainLoopLinux::now() is not before the date.
Nanoseconds unixNanosecondsFromDate(QXDate date)
{
    const double second = std::floor(date.timeIntervalSinceReferenceDate);
    const double fraction = date.timeIntervalSinceReferenceDate - second;
    const double unixSecond = second + QXUnixEpochToReferenceDate;
    if (!(unixSecond < furthestSecond)) {
        return NPTimerQueueLinux::never; // also for what is not a number
    }
    if (unixSecond < -furthestSecond) {
        return -NPTimerQueueLinux::never;
    }
    auto nanosecond = static_cast<Nanoseconds>(std::ceil(fraction * nanosecondsPerSecond));
    if (secondsFrom(nanosecond) < fraction) {
        ++nanosecond; // the product was rounded down
    }
    return static_cast<Nanoseconds>(unixSecond) * 1'000'000'000 + nanosecond;
}

} // namespace

// What the loop is made of. Watches refer to it weakly, so that they may outlive it.
struct NPMainLoopLinux::State {
    struct Watch {
        int descriptor; // -1 for one that is called before waiting
        std::function<void(std::uint32_t ready)> handler;
    };
    using WatchMap = std::map<std::uint64_t, std::shared_ptr<const Watch>>; // by token
    class Registration;

    explicit State(QXNotificationCenter* center);
    bool addToEpoll(int descriptor, std::uint32_t events, std::uint64_t token) const;
    void removeWatch(std::uint64_t token);

    void turn(int timeoutMilliseconds);
    void prepareToWait();
    void setServing(bool flag);
    void serveDescriptors(std::span<const epoll_event> events);
    void serveTimers();

    void addWork(std::function<void()> item);
    void wakeLoop();
    bool hasWork();
    void serveWork();
    void acknowledgeWake();

    QXNotificationCenter* const notifications; // may be none
    const std::thread::id thread = std::this_thread::get_id();
    const NPFileDescriptor epoll{epoll_create1(EPOLL_CLOEXEC)};
    const NPFileDescriptor wake{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
    const std::shared_ptr<NPTimerQueueLinux> monotonicTimers =
        std::make_shared<NPTimerQueueLinux>(CLOCK_MONOTONIC);
    const std::shared_ptr<NPTimerQueueLinux> wallTimers = std::make_shared<NPTimerQueueLinux>(CLOCK_REALTIME);

    WatchMap descriptorWatches;
    WatchMap waitWatches;
    std::uint64_t nextToken = firstWatchToken;
    std::uint64_t timersMade = 0;
    std::vector<NPTimerQueueLinux::Firing> spareFirings; // kept for its memory

    // Within a turn everything is looked at once more before the loop waits, so nothing has to wake it.
    bool serving = false;
    bool stopped = false;

    std::mutex workMutex;
    std::deque<std::function<void()>> work;
    std::atomic<bool> woken = false; // the wake descriptor is readable, or about to be
};

// What the holder of an NPWatch holds. The watch itself stays alive while its handler runs.
class NPMainLoopLinux::State::Registration {
public:
    Registration(std::weak_ptr<State> state, std::uint64_t token) : _state(std::move(state)), _token(token) {}
    ~Registration()
    {
        if (const std::shared_ptr<State> state = _state.lock()) {
            state->removeWatch(_token);
        }
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    const std::weak_ptr<State> _state;
    const std::uint64_t _token;
};

NPMainLoopLinux::State::State(QXNotificationCenter* center) : notifications(center)
{
    const bool ready = addToEpoll(wake.get(), EPOLLIN, wakeToken)
                       && addToEpoll(monotonicTimers->descriptor(), EPOLLIN, monotonicToken)
                       && addToEpoll(wallTimers->descriptor(), EPOLLIN, wallToken);
    QXAssert(ready, "epoll_create1");
}

bool NPMainLoopLinux::State::addToEpoll(int descriptor, std::uint32_t events, std::uint64_t token) const
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = token;
    return epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void NPMainLoopLinux::State::removeWatch(std::uint64_t token)
{
    waitWatches.extract(token); // the node goes after the map is whole again: it may hold other watches
    if (const auto node = descriptorWatches.extract(token)) {
        epoll_ctl(epoll.get(), EPOLL_CTL_DEL, node.mapped()->descriptor, nullptr);
    }
}

void NPMainLoopLinux::State::turn(int timeoutMilliseconds)
{
    prepareToWait();
    std::array<epoll_event, 16> events;
    const int timeout = stopped || hasWork() ? 0 : timeoutMilliseconds;
    const int count = epoll_wait(epoll.get(), events.data(), static_cast<int>(events.size()), timeout);
    QXAssert(count >= 0 || errno == EINTR, "epoll_wait");
    serveDescriptors(std::span(events).first(static_cast<std::size_t>(std::max(count, 0))));
    serveTimers();
    serveWork();
}

void NPMainLoopLinux::State::prepareToWait()
{
    // By token, because a handler may add and drop watches.
    for (auto next = waitWatches.begin(); next != waitWatches.end();) {
        const auto [token, watch] = *next;
        watch->handler(0);
        next = waitWatches.upper_bound(token);
    }
    monotonicTimers->arm();
    wallTimers->arm();
}

void NPMainLoopLinux::State::setServing(bool flag)
{
    serving = flag;
    monotonicTimers->setDeferred(flag);
    wallTimers->setDeferred(flag);
}

void NPMainLoopLinux::State::serveDescriptors(std::span<const epoll_event> events)
{
    for (const epoll_event& event : events) {
        const std::uint64_t token = event.data.u64;
        switch (token) {
        case wakeToken:
            acknowledgeWake();
            break;
        case monotonicToken:
            monotonicTimers->descriptorIsReady();
            break;
        case wallToken:
            wallTimers->descriptorIsReady();
            if (wallTimers->takeClockChange() && notifications != nullptr) {
                notifications->postNotification(NPSystemClockDidChangeNotification, nullptr);
            }
            break;
        default:
            // A token is never used again: an event for a watch that has gone meets nobody, also when its
            // descriptor's number has been given to another file since.
            if (const auto found = descriptorWatches.find(token); found != descriptorWatches.end()) {
                const std::shared_ptr<const Watch> watch = found->second;
                watch->handler(event.events);
            }
        }
    }
}

void NPMainLoopLinux::State::serveTimers()
{
    std::vector<NPTimerQueueLinux::Firing> firings = std::move(spareFirings); // a handler may serve events
    monotonicTimers->takeDueTimers(firings);
    wallTimers->takeDueTimers(firings);
    std::ranges::sort(firings, [](const auto& left, const auto& right) { return left.isBefore(right); });
    for (const NPTimerQueueLinux::Firing& firing : firings) {
        firing.fire();
    }
    firings.clear();
    spareFirings = std::move(firings);
}

void NPMainLoopLinux::State::addWork(std::function<void()> item)
{
    {
        const std::lock_guard lock(workMutex);
        work.push_back(std::move(item));
    }
    if (std::this_thread::get_id() != thread || !serving) {
        wakeLoop();
    }
}

// At most one write for each time that the loop wakes.
void NPMainLoopLinux::State::wakeLoop()
{
    if (!woken.exchange(true)) {
        eventfd_write(wake.get(), 1);
    }
}

bool NPMainLoopLinux::State::hasWork()
{
    const std::lock_guard lock(workMutex);
    return !work.empty();
}

void NPMainLoopLinux::State::acknowledgeWake()
{
    eventfd_t count = 0;
    eventfd_read(wake.get(), &count);
    woken = false; // what was added before this is served in the same turn
}

// Only what is queued now: work that queues work must not keep the loop from its descriptors.
void NPMainLoopLinux::State::serveWork()
{
    std::unique_lock lock(workMutex);
    for (std::size_t count = work.size(); count > 0 && !work.empty(); --count) {
        const std::function<void()> item = std::move(work.front());
        work.pop_front();
        lock.unlock();
        item();
        lock.lock();
    }
}

NPMainLoopLinux::NPMainLoopLinux() : _state(std::make_shared<State>(nullptr)) {}

NPMainLoopLinux::NPMainLoopLinux(QXNotificationCenter& notifications)
    : _state(std::make_shared<State>(&notifications))
{
}

NPMainLoopLinux::~NPMainLoopLinux() = default;

QXDate NPMainLoopLinux::now() const
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return QXDate{static_cast<double>(time.tv_sec) - QXUnixEpochToReferenceDate + secondsFrom(time.tv_nsec)};
}

double NPMainLoopLinux::monotonicTime() const
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + secondsFrom(time.tv_nsec);
}

std::shared_ptr<NPTimerSource> NPMainLoopLinux::makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                                   std::uint64_t)
{
    const Nanoseconds now = _state->monotonicTimers->now();
    const auto room = static_cast<std::uint64_t>(NPTimerQueueLinux::never - now);
    const Nanoseconds due = delay < room ? now + static_cast<Nanoseconds>(delay) : NPTimerQueueLinux::never;
    return _state->monotonicTimers->makeTimer(due, interval, _state->timersMade++);
}

std::shared_ptr<NPTimerSource> NPMainLoopLinux::makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                                   std::uint64_t)
{
    return _state->wallTimers->makeTimer(unixNanosecondsFromDate(start), interval, _state->timersMade++);
}

void NPMainLoopLinux::performOnMain(std::function<void()> work)
{
    _state->addWork(std::move(work));
}

NPWatch NPMainLoopLinux::watchFileDescriptor(int descriptor, std::uint32_t events,
                                             std::function<void(std::uint32_t ready)> handler)
{
    const std::uint64_t token = _state->nextToken++;
    if (!_state->addToEpoll(descriptor, events, token)) {
        QXLog("epoll_ctl error; " + std::error_code(errno, std::generic_category()).message());
        return nullptr;
    }
    _state->descriptorWatches.emplace(
        token, std::make_shared<const State::Watch>(State::Watch{descriptor, std::move(handler)}));
    return std::make_shared<State::Registration>(_state, token);
}

NPWatch NPMainLoopLinux::watchBeforeWaiting(std::function<void()> handler)
{
    const std::uint64_t token = _state->nextToken++;
    auto called = [handler = std::move(handler)](std::uint32_t) { handler(); };
    _state->waitWatches.emplace(token, std::make_shared<const State::Watch>(State::Watch{-1, std::move(called)}));
    return std::make_shared<State::Registration>(_state, token);
}

void NPMainLoopLinux::run()
{
    const bool outer = _state->serving;
    _state->setServing(true);
    while (!_state->stopped) {
        _state->turn(-1);
    }
    _state->stopped = false;
    _state->setServing(outer);
}

void NPMainLoopLinux::stop()
{
    _state->stopped = true;
}

int NPMainLoopLinux::fileDescriptor() const
{
    return _state->epoll.get();
}

void NPMainLoopLinux::processEvents(int timeoutMilliseconds)
{
    const bool outer = _state->serving;
    _state->setServing(true);
    _state->turn(timeoutMilliseconds);
    prepareToWait(); // the caller may wait next, for the loop's descriptor
    _state->setServing(outer);
}

void NPMainLoopLinux::prepareToWait()
{
    _state->prepareToWait();
    if (_state->hasWork()) {
        _state->wakeLoop();
    }
}
