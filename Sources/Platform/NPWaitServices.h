// Waiting threads. Like timers they go by the platform's clock, so that no test waits for real seconds.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

// The pauses that one thread makes.
class NPSleeper {
public:
    virtual ~NPSleeper() = default;

    // Returns after so many seconds on the monotonic clock, or once wake() has been called.
    virtual void sleepForTimeInterval(double seconds) = 0;

    // Ends the pause that is being made, and every later one before it begins. From any thread.
    virtual void wake() = 0;
};

class NPWaitServices {
public:
    virtual ~NPWaitServices() = default;

    virtual std::unique_ptr<NPSleeper> makeSleeper() = 0;

    // Blocks the main thread until the condition holds; it is asked with the lock held, first at once and then
    // whenever somebody signals. Timers do not fire meanwhile.
    virtual void waitOnMain(std::condition_variable& signal, std::unique_lock<std::mutex>& lock,
                            const std::function<bool()>& condition) = 0;
};
