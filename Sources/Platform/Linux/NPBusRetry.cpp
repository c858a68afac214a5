#include "Platform/Linux/NPBusRetry.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::uint64_t second = 1'000'000'000;

// Before each attempt; the last one goes on for ever.
constexpr std::array<std::uint64_t, 4> pauses{second, 5 * second, 30 * second, 60 * second};

} // namespace

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
    const std::uint64_t pause = pauses[position];
    _timer = _timers.makeMonotonicTimer(pause, pause, pause / 10);
    _timer->setEventHandler([this, position] {
        _timer.reset();
        if (!_attempt() && !_timer) {
            _wait(std::min(position + 1, pauses.size() - 1));
        }
    });
    _timer->resume();
}
