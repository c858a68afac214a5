#include "Platform/Linux/NPWakeAnnouncer.h"

#include "Platform/NPClock.h"

#include <time.h>

#include <array>
#include <utility>

namespace {

// From one announcement to the next: 1, 5, 15 and 60 seconds after the wake.
constexpr std::array<std::uint64_t, 4> pauses{1'000'000'000, 4'000'000'000, 10'000'000'000, 45'000'000'000};
constexpr std::uint64_t leeway = 100'000'000;

// The clocks are read one after the other, and no machine falls asleep for less than this.
constexpr double shortestSleep = 0.25;

double seconds(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

} // namespace

double NPSecondsAsleep()
{
    return seconds(CLOCK_BOOTTIME) - seconds(CLOCK_MONOTONIC); // the one goes on in sleep, the other does not
}

NPWakeAnnouncer::NPWakeAnnouncer(NPTimerServices& timers, QXNotificationCenter& notifications,
                                 NPWorkspaceEvents& events, std::function<double()> secondsAsleep)
    : _timers(timers), _events(events), _secondsAsleep(std::move(secondsAsleep)), _sleptBefore(_secondsAsleep())
{
    notifications.addObserver(_observer, std::string(NPSystemClockDidChangeNotification), nullptr,
                              [this](const QXNotification&) { _clockDidChange(); });
}

void NPWakeAnnouncer::_clockDidChange()
{
    const double slept = _secondsAsleep();
    if (slept - std::exchange(_sleptBefore, slept) >= shortestSleep) {
        didWake();
    }
}

void NPWakeAnnouncer::didWake()
{
    _announceAgain(0);
    _events.workspace.postNotification(NSWorkspaceDidWakeNotification, nullptr);
}

// A wake during the repetitions of an earlier one begins them anew.
void NPWakeAnnouncer::_announceAgain(std::size_t position)
{
    _timer.reset();
    if (position == pauses.size()) {
        return;
    }
    _timer = _timers.makeMonotonicTimer(pauses[position], pauses[position], leeway);
    _timer->setEventHandler([this, position] {
        _announceAgain(position + 1);
        _events.workspace.postNotification(NSWorkspaceDidWakeNotification, nullptr);
    });
    _timer->resume();
}
