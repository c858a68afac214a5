// The two clocks. Nothing else in the program reads the time.
#pragma once

#include "Foundation/QXDate.h"

#include <string_view>

// Posted on the default notification centre, with no object, when the wall clock has jumped: somebody set it,
// or the machine woke from sleep. Before the timers that have become due by it fire.
inline constexpr std::string_view NPSystemClockDidChangeNotification = "NPSystemClockDidChangeNotification";

class NPClock {
public:
    virtual ~NPClock() = default;

    // The wall clock: jumps when somebody sets it.
    virtual QXDate now() const = 0;

    // Seconds on a clock that only goes forward, at one second a second, and stands still while the
    // machine sleeps. Its zero is arbitrary.
    virtual double monotonicTime() const = 0;
};
