// Comes back to a bus that has gone: it is tried after 1, 5, 30 and 60 seconds, then every minute, until it works.
// Nothing runs before and after that. Main thread only.
#pragma once

#include "Platform/NPTimerServices.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

// Before each attempt; the last one goes on for ever.
inline constexpr std::array<std::chrono::seconds, 4> NPBusRetryPauses{
    std::chrono::seconds(1), std::chrono::seconds(5), std::chrono::seconds(30), std::chrono::seconds(60)};

class NPBusRetry {
public:
    // The attempt says whether it has worked. The timers outlive the object.
    NPBusRetry(NPTimerServices& timers, std::function<bool()> attempt);

    // The bus has gone. The first attempt comes later, so whatever told of the loss may be destroyed by it.
    void begin();

private:
    void _wait(std::size_t position);

    NPTimerServices& _timers;
    const std::function<bool()> _attempt;
    std::shared_ptr<NPTimerSource> _timer; // of the next attempt
};
