// The one timer object: relative and usually repeating, or bound to a date on the wall clock and firing
// once there, whatever sleep or a clock that was set did in between.
//
// A scheduled timer stays alive until it is invalidated; keep a reference only to invalidate it or to read
// its data. The target is held weakly (see weakTarget): when it has gone, a firing does nothing. A timer
// that does not repeat invalidates itself after its first firing, also then. Main thread only.
#pragma once

#include "Foundation/QXDate.h"
#include "Platform/NPTimerServices.h"

#include <any>
#include <functional>
#include <memory>
#include <optional>

class NPEffectTimer {
public:
    using Target = std::function<void(NPEffectTimer&)>;

    // First fires after the interval on the monotonic clock, then every interval; up to `tolerance` late.
    // Seconds. No fire date.
    static std::shared_ptr<NPEffectTimer> scheduledEffectTimerWithTimeInterval(NPTimerServices& services,
                                                                               double interval, Target target,
                                                                               std::any userInfo, bool repeats,
                                                                               double tolerance);

    // Fires once, at the date on the wall clock (at once when it has passed), up to 10 ms late.
    static std::shared_ptr<NPEffectTimer> scheduledEffectTransitionTimerWithFireDate(NPTimerServices& services,
                                                                                     QXDate fireDate,
                                                                                     Target target,
                                                                                     std::any userInfo);

    // Takes an event source that is set up but still suspended, and starts it.
    static std::shared_ptr<NPEffectTimer> timerWithDispatchSource(std::shared_ptr<NPTimerSource> dispatchTimer,
                                                                  Target target, std::any userInfo, bool repeats,
                                                                  std::optional<QXDate> fireDate);

    void invalidate(); // no firing afterwards

    const std::any& userInfo() const { return _userInfo; }
    void setUserInfo(std::any userInfo) { _userInfo = std::move(userInfo); }

    // Writing it does not move the timer.
    std::optional<QXDate> fireDate() const { return _fireDate; }
    void setFireDate(std::optional<QXDate> fireDate) { _fireDate = fireDate; }

private:
    NPEffectTimer(std::shared_ptr<NPTimerSource> dispatchTimer, std::any userInfo, std::optional<QXDate> fireDate);

    std::shared_ptr<NPTimerSource> _dispatchTimer;
    std::any _userInfo;
    std::optional<QXDate> _fireDate;
};

// Seconds as a count of nanoseconds: the product in double precision, truncated. Negative or not a number
// counts as 0, too large as the largest count.
std::uint64_t NPNanosecondsFromSeconds(double seconds);
