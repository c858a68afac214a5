// Timer event sources, delivered on the main thread.
#pragma once

#include "Foundation/QXDate.h"

#include <cstdint>
#include <functional>
#include <memory>

// One timer. It is created suspended, fires from resume() on, and never after cancel(). Sources that are
// due at the same wake-up fire in the order of their due times. A source never fires before it is due; the
// leeway only allows it to be later. Firings that were missed are delivered as one.
class NPTimerSource {
public:
    virtual ~NPTimerSource() = default; // cancels
    virtual void setEventHandler(std::function<void()> handler) = 0;
    virtual void resume() = 0;
    virtual void cancel() = 0; // also drops the handler, once a running one has returned
};

class NPTimerServices {
public:
    virtual ~NPTimerServices() = default;

    // First due `delay` after now on the monotonic clock, then every `interval`. All in nanoseconds. The
    // due times keep their phase however late a firing is. An interval of 0 counts as 1.
    virtual std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                              std::uint64_t leeway) = 0;

    // First due when the wall clock reaches the date (at once when it has), whatever happened in between:
    // sleep, or a clock that was set. Then every `interval` nanoseconds of wall-clock time.
    virtual std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                              std::uint64_t leeway) = 0;
};
