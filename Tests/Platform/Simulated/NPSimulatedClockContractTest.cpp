#include "Contract/NPTimerContract.h"
#include "Platform/Simulated/NPSimulatedClock.h"

namespace {

struct SimulatedHarness {
    NPClock& clock() { return simulated; }
    NPTimerServices& timers() { return simulated; }
    NPMainQueue& mainQueue() { return simulated; }
    QXNotificationCenter& notifications() { return center; }
    void pass(double seconds) { simulated.advance(seconds); }
    void block(double seconds) { simulated.advance(seconds); } // nothing takes time here
    void jump(double seconds) { simulated.setWallClock(simulated.now().addingTimeInterval(seconds)); }

    QXNotificationCenter center;
    NPSimulatedClock simulated{QXDate{800000000.0}, center};
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, NPTimerContract, SimulatedHarness);
