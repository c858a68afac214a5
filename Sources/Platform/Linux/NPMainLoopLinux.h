// The main loop of the programs on Linux: one epoll set that waits for timers, file descriptors and work
// from other threads. It is also the clock, the timer service and the main queue of its platform.
//
// The thread that makes the loop is the main thread; all but performOnMain() is for it alone. Each turn of
// the loop serves the descriptors that are ready, then the timers that are due on either clock, the longest
// overdue first, then the work that has been queued. A handler may add and drop watches and timers, its own
// included, and serve events itself. Watches and timers may outlive the loop; they are dead then. With
// nothing to do the loop sleeps without waking.
//
// CLOCK_REALTIME is the wall clock; CLOCK_MONOTONIC is the other one, and stands still in sleep. When the wall
// clock was set, or the machine has slept, the loop wakes at once, announces it, and fires what is due by the
// new time. Timers fire as soon as they are due: leeway is permission, and is not needed.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPClock.h"
#include "Platform/NPMainQueue.h"
#include "Platform/NPTimerServices.h"

#include <cstdint>
#include <functional>
#include <memory>

// Keeps a file-descriptor watch installed for as long as somebody holds it.
using NPWatch = std::shared_ptr<void>;

class NPMainLoopLinux final : public NPClock, public NPTimerServices, public NPMainQueue {
public:
    // Announces changes of the wall clock on that centre, if given. Stops the program when the kernel gives
    // no epoll set or timers.
    NPMainLoopLinux();
    explicit NPMainLoopLinux(QXNotificationCenter& notifications);
    ~NPMainLoopLinux() override;
    NPMainLoopLinux(const NPMainLoopLinux&) = delete;
    NPMainLoopLinux& operator=(const NPMainLoopLinux&) = delete;

    QXDate now() const override;
    double monotonicTime() const override;
    std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                      std::uint64_t leeway) override;
    std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                      std::uint64_t leeway) override;
    void performOnMain(std::function<void()> work) override;

    // Calls the handler with the epoll events (EPOLLIN …) that are ready, level-triggered. The descriptor
    // stays the caller's; drop the watch before closing it. Gives nullptr, and a line in the log, for what
    // cannot be watched: a regular file, or a descriptor that is being watched already.
    [[nodiscard]] NPWatch watchFileDescriptor(int descriptor, std::uint32_t events,
                                              std::function<void(std::uint32_t ready)> handler);

    // Called once per turn, before the loop waits: for connections that buffer what they have read or are
    // to write. Installed for as long as somebody holds the result.
    [[nodiscard]] NPWatch watchBeforeWaiting(std::function<void()> handler);

    // Serves events until stop() is called, from a handler or before; the turn in progress ends first.
    void run();
    void stop();

    // To be driven by another loop: when this descriptor is readable, call processEvents(); before the other loop
    // waits after having done anything else, prepareToWait().
    int fileDescriptor() const;
    void prepareToWait();

    // Serves what is ready; waits up to so many milliseconds for something to become ready (-1: for ever).
    void processEvents(int timeoutMilliseconds = 0);

private:
    struct State;
    std::shared_ptr<State> _state;
};
