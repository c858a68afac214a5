// The two clocks. Nothing else in the program reads the time.
#pragma once

#include "Foundation/QXDate.h"

class NPClock {
public:
    virtual ~NPClock() = default;

    // The wall clock: jumps when somebody sets it.
    virtual QXDate now() const = 0;

    // Seconds on a clock that only goes forward, at one second a second, and stands still while the
    // machine sleeps. Its zero is arbitrary.
    virtual double monotonicTime() const = 0;
};
