#include "Effects/NPEffectTimer.h"

#include <limits>

namespace {

// A wall-clock timer ends with its first firing, so its repeat interval only has to be there.
constexpr std::uint64_t wallClockInterval = 100'000'000'000'000;
constexpr std::uint64_t wallClockLeeway = 10'000'000;

} // namespace

std::shared_ptr<NPEffectTimer> NPEffectTimer::scheduledEffectTimerWithTimeInterval(NPTimerServices& services,
                                                                                   double interval, Target target,
                                                                                   std::any userInfo, bool repeats,
                                                                                   double tolerance)
{
    const std::uint64_t nanoseconds = NPNanosecondsFromSeconds(interval);
    const std::uint64_t leeway = NPNanosecondsFromSeconds(tolerance);
    return timerWithDispatchSource(services.makeMonotonicTimer(nanoseconds, nanoseconds, leeway),
                                   std::move(target), std::move(userInfo), repeats, std::nullopt);
}

std::shared_ptr<NPEffectTimer> NPEffectTimer::scheduledEffectTransitionTimerWithFireDate(NPTimerServices& services,
                                                                                         QXDate fireDate,
                                                                                         Target target,
                                                                                         std::any userInfo)
{
    return timerWithDispatchSource(services.makeWallClockTimer(fireDate, wallClockInterval, wallClockLeeway),
                                   std::move(target), std::move(userInfo), false, fireDate);
}

std::shared_ptr<NPEffectTimer> NPEffectTimer::timerWithDispatchSource(std::shared_ptr<NPTimerSource> dispatchTimer,
                                                                      Target target, std::any userInfo,
                                                                      bool repeats, std::optional<QXDate> fireDate)
{
    const std::shared_ptr<NPEffectTimer> timer(
        new NPEffectTimer(std::move(dispatchTimer), std::move(userInfo), fireDate));
    // The handler holds the timer, the timer its source, the source the handler: cancelling breaks the ring.
    timer->_dispatchTimer->setEventHandler([timer, target = std::move(target), repeats] {
        const std::shared_ptr<NPEffectTimer> held = timer;
        target(*held);
        if (!repeats) {
            held->invalidate();
        }
    });
    timer->_dispatchTimer->resume();
    return timer;
}

NPEffectTimer::NPEffectTimer(std::shared_ptr<NPTimerSource> dispatchTimer, std::any userInfo,
                             std::optional<QXDate> fireDate)
    : _dispatchTimer(std::move(dispatchTimer)), _userInfo(std::move(userInfo)), _fireDate(fireDate)
{
}

void NPEffectTimer::invalidate()
{
    _dispatchTimer->cancel();
}

std::uint64_t NPNanosecondsFromSeconds(double seconds)
{
    constexpr double limit = 18446744073709551616.0; // 2 to the power 64
    const double nanoseconds = seconds * 1'000'000'000.0;
    if (!(nanoseconds > 0.0)) {
        return 0;
    }
    return nanoseconds >= limit ? std::numeric_limits<std::uint64_t>::max()
                                : static_cast<std::uint64_t>(nanoseconds);
}
