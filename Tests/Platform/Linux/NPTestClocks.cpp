#include "Platform/Linux/NPTestClocks.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace {

using Nanoseconds = std::int64_t;
constexpr Nanoseconds nanosecondsPerSecond = 1'000'000'000;

struct TimerDescriptor {
    int clock;
    bool tellsOfJumps = false;
    bool jumped = false;
    Nanoseconds due = 0; // on its clock; 0: disarmed
};

std::mutex mutex; // for everything below
bool held = false;
Nanoseconds heldMonotonic = 0;
Nanoseconds heldWall = 0;
Nanoseconds wallShift = 0; // how far jumps have moved the wall clock
std::map<int, TimerDescriptor> descriptors;

timespec timespecFrom(Nanoseconds time)
{
    return {time / nanosecondsPerSecond, time % nanosecondsPerSecond};
}

Nanoseconds nanosecondsFrom(const timespec& time)
{
    return Nanoseconds{time.tv_sec} * nanosecondsPerSecond + Nanoseconds{time.tv_nsec};
}

Nanoseconds realTime(int clock)
{
    timespec time{};
    syscall(SYS_clock_gettime, clock, &time);
    return nanosecondsFrom(time);
}

Nanoseconds testTime(int clock)
{
    if (clock == CLOCK_MONOTONIC) {
        return held ? heldMonotonic : realTime(clock);
    }
    return (held ? heldWall : realTime(clock)) + wallShift;
}

// Returns when it is readable: the kernel's timer takes a moment.
void makeReadable(int descriptor)
{
    const itimerspec atOnce{{0, 0}, {0, 1}};
    syscall(SYS_timerfd_settime, descriptor, 0, &atOnce, nullptr);
    pollfd entry{descriptor, POLLIN, 0};
    poll(&entry, 1, 1000);
}

// The kernel's timer for a due time of the test's clock. Held clocks reach it in pass().
void armReally(int descriptor, const TimerDescriptor& timer)
{
    const Nanoseconds wait = timer.due - testTime(timer.clock);
    if (wait <= 0) {
        makeReadable(descriptor);
        return;
    }
    const itimerspec setting{{0, 0}, timespecFrom(held ? 0 : wait)};
    syscall(SYS_timerfd_settime, descriptor, 0, &setting, nullptr);
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (clock != CLOCK_REALTIME && clock != CLOCK_MONOTONIC) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    const std::lock_guard lock(mutex);
    *time = timespecFrom(testTime(clock));
    return 0;
}

extern "C" int timerfd_create(int clock, int flags) noexcept
{
    const auto descriptor = static_cast<int>(syscall(SYS_timerfd_create, clock, flags));
    const std::lock_guard lock(mutex);
    descriptors[descriptor] = TimerDescriptor{clock}; // the number may have been another timer's
    return descriptor;
}

extern "C" int timerfd_settime(int descriptor, int flags, const itimerspec* setting, itimerspec* former) noexcept
{
    const std::lock_guard lock(mutex);
    const auto found = descriptors.find(descriptor);
    const Nanoseconds due = nanosecondsFrom(setting->it_value);
    if (found == descriptors.end() || (flags & TFD_TIMER_ABSTIME) == 0 || due == 0) {
        return static_cast<int>(syscall(SYS_timerfd_settime, descriptor, flags, setting, former));
    }
    TimerDescriptor& timer = found->second;
    timer.due = due;
    timer.tellsOfJumps = (flags & TFD_TIMER_CANCEL_ON_SET) != 0;
    armReally(descriptor, timer);
    if (timer.tellsOfJumps && std::exchange(timer.jumped, false)) {
        errno = ECANCELED; // the timer is armed all the same
        return -1;
    }
    return 0;
}

NPTestClocks::NPTestClocks(Mode mode)
{
    const std::lock_guard lock(mutex);
    heldMonotonic = realTime(CLOCK_MONOTONIC);
    heldWall = realTime(CLOCK_REALTIME);
    held = mode == Mode::held;
}

NPTestClocks::~NPTestClocks()
{
    const std::lock_guard lock(mutex);
    held = false;
    wallShift = 0;
    descriptors.clear();
}

void NPTestClocks::jump(double seconds)
{
    const std::lock_guard lock(mutex);
    wallShift += static_cast<Nanoseconds>(seconds * 1e9);
    for (auto& [descriptor, timer] : descriptors) {
        if (timer.tellsOfJumps) {
            timer.jumped = true;
            makeReadable(descriptor);
        }
    }
}

void NPTestClocks::pass(double seconds)
{
    const std::lock_guard lock(mutex);
    const auto step = static_cast<Nanoseconds>(seconds * 1e9);
    heldMonotonic += step;
    heldWall += step;
    for (const auto& [descriptor, timer] : descriptors) {
        if (timer.due != 0 && timer.due <= testTime(timer.clock)) {
            makeReadable(descriptor);
        }
    }
}
