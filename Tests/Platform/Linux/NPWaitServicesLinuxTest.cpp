#include "Platform/Linux/NPWaitServicesLinux.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

TEST(NPWaitServicesLinux, PauseLastsAsLongAsItIsToLast)
{
    const auto start = std::chrono::steady_clock::now();
    NPWaitServicesLinux().makeSleeper()->sleepForTimeInterval(0.05);
    EXPECT_GE(secondsSince(start), 0.05);
}

TEST(NPWaitServicesLinux, PauseEndsWhenItIsWoken)
{
    const auto start = std::chrono::steady_clock::now();
    const std::unique_ptr<NPSleeper> sleeper = NPWaitServicesLinux().makeSleeper();
    std::thread other([&] {
        sleeper->sleepForTimeInterval(1000.0);
        sleeper->sleepForTimeInterval(1000.0);
    });
    sleeper->wake();
    other.join();
    EXPECT_LT(secondsSince(start), 100.0);
}

TEST(NPWaitServicesLinux, MainThreadWaitsForAnother)
{
    std::mutex mutex;
    std::condition_variable signal;
    bool isDone = false;
    std::thread other([&] {
        const std::lock_guard lock(mutex);
        isDone = true;
        signal.notify_all();
    });
    std::unique_lock lock(mutex);
    NPWaitServicesLinux().waitOnMain(signal, lock, [&] { return isDone; });
    EXPECT_TRUE(isDone);
    lock.unlock();
    other.join();
}
