// Tells when the machine has woken from sleep.
//
// It finds out by itself, without asking any service: the kernel announces a jump of the wall clock after each
// sleep (NPSystemClockDidChangeNotification), and the time that the machine has slept in all tells such a jump
// from a clock that was set. Whoever learns of a wake in another way says so with didWake().
//
// Each wake is announced at once and again about 1, 5, 15 and 60 seconds later: graphics drivers and desktops put
// back tables of their own until well after the first moment. Nothing runs in between wakes. Main thread only.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPTimerServices.h"
#include "Platform/NPWorkspaceEvents.h"

#include <functional>
#include <memory>

// Seconds that the machine has slept since it was started.
double NPSecondsAsleep();

class NPWakeAnnouncer {
public:
    // Listens on the default centre and posts on the workspace centre. All of it outlives the object.
    NPWakeAnnouncer(NPTimerServices& timers, QXNotificationCenter& notifications, NPWorkspaceEvents& events,
                    std::function<double()> secondsAsleep = NPSecondsAsleep);

    void didWake();

private:
    void _clockDidChange();
    void _announceAgain(std::size_t position);

    NPTimerServices& _timers;
    NPWorkspaceEvents& _events;
    const std::function<double()> _secondsAsleep;
    double _sleptBefore;
    std::shared_ptr<NPTimerSource> _timer; // of the next repetition
    QXNotificationObserver _observer;
};
