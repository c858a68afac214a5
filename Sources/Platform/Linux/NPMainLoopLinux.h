// The main loop of the programs on Linux: one epoll set that waits for timers, file descriptors and work
// from other threads. It is also the clock, the timer service and the main queue of its platform.
#pragma once

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
    NPMainLoopLinux(); // stops the program when the kernel gives no epoll set or timers
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
    // stays the caller's; drop the watch before closing it.
    [[nodiscard]] NPWatch watchFileDescriptor(int descriptor, std::uint32_t events,
                                              std::function<void(std::uint32_t ready)> handler);

    // Called once per turn, before the loop waits: for connections that buffer what they have read or are
    // to write. Installed for as long as somebody holds the result.
    [[nodiscard]] NPWatch watchBeforeWaiting(std::function<void()> handler);

    // Serves events until stop() is called, from a handler or before.
    void run();
    void stop();

    // To be driven by another loop: when this descriptor is readable, call processEvents().
    int fileDescriptor() const;

    // Serves what is ready; waits up to so many milliseconds for something to become ready (-1: for ever).
    void processEvents(int timeoutMilliseconds = 0);

private:
    struct State;
    std::shared_ptr<State> _state;
};
