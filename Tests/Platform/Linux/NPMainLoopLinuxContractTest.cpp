#include "Contract/NPTimerContract.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPTestClocks.h"

namespace {

struct LinuxHarness {
    NPClock& clock() { return loop; }
    NPTimerServices& timers() { return loop; }
    NPMainQueue& mainQueue() { return loop; }
    QXNotificationCenter& notifications() { return center; }
    void pass(double seconds)
    {
        loop.processEvents();
        constexpr int steps = 50; // so that timers fire near their own moments
        for (int step = 0; step < steps; ++step) {
            clocks.pass(seconds / steps);
            loop.processEvents();
        }
    }
    void block(double seconds) { clocks.pass(seconds); }
    void jump(double seconds) { clocks.jump(seconds); }

    NPTestClocks clocks{NPTestClocks::Mode::held};
    QXNotificationCenter center;
    NPMainLoopLinux loop{center};
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, NPTimerContract, LinuxHarness);
