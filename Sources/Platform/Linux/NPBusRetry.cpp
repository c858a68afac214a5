#include "Platform/Linux/NPBusRetry.h"

#include <algorithm>
#include <utility>

NPBusRetry::NPBusRetry(NPTimerServices& timers, std::function<bool()> attempt)
    : _timers(timers), _attempt(std::move(attempt))
{
}

void NPBusRetry::begin()
{
    if (!_timer) {
        _wait(0);
    }
}

// What the attempt has brought back may be lost again before it returns.
void NPBusRetry::_wait(std::size_t position)
{
    const auto pause = static_cast<std::uint64_t>(std::chrono::nanoseconds(NPBusRetryPauses[position]).count());
    _timer = _timers.makeMonotonicTimer(pause, pause, pause / 10);
    _timer->setEventHandler([this, position] {
        _timer.reset();
        if (!_attempt() && !_timer) {
            _wait(std::min(position + 1, NPBusRetryPauses.size() - 1));
        }
    });
    _timer->resume();
}
