#include "Platform/Linux/NPWakeAnnouncer.h"

#include "Platform/NPClock.h"
#include "Platform/Simulated/NPActionLog.h"
#include "Platform/Simulated/NPSimulatedClock.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class NPWakeAnnouncerTest : public testing::Test {
protected:
    NPWakeAnnouncerTest()
    {
        events.workspace.addObserver(
            observer, std::string(NSWorkspaceDidWakeNotification), nullptr,
            [this](const QXNotification&) { wakes.push_back(clock.monotonicTime() - begin); });
    }

    void jumpAfterSleepOf(double seconds)
    {
        slept += seconds;
        notifications.postNotification(NPSystemClockDidChangeNotification, nullptr);
    }

    QXNotificationCenter notifications;
    NPWorkspaceEvents events;
    NPSimulatedClock clock{QXDate{0.0}, notifications};
    const double begin = clock.monotonicTime();
    double slept = 1000.0;
    std::vector<double> wakes;
    QXNotificationObserver observer;
    NPWakeAnnouncer announcer{clock, notifications, events, [this] { return slept; }};
};

} // namespace

TEST_F(NPWakeAnnouncerTest, AnnouncesAWakeAtOnceAndFourTimesMore)
{
    announcer.didWake();
    EXPECT_EQ(std::vector<double>{0.0}, wakes);
    clock.advance(1000.0);
    EXPECT_EQ((std::vector<double>{0.0, 1.0, 5.0, 15.0, 60.0}), wakes);
}

TEST_F(NPWakeAnnouncerTest, TakesAJumpAfterSleepForAWake)
{
    jumpAfterSleepOf(30.0);
    EXPECT_EQ(std::vector<double>{0.0}, wakes);
}

TEST_F(NPWakeAnnouncerTest, TakesAJumpWithoutSleepForAClockThatWasSet)
{
    jumpAfterSleepOf(0.0);
    jumpAfterSleepOf(0.0001); // the clocks are not read in the same moment
    clock.advance(100.0);
    EXPECT_TRUE(wakes.empty());
}

TEST_F(NPWakeAnnouncerTest, TellsAClockThatIsSetAfterAWakeFromTheWake)
{
    jumpAfterSleepOf(30.0);
    jumpAfterSleepOf(0.0);
    EXPECT_EQ(std::vector<double>{0.0}, wakes);
}

TEST_F(NPWakeAnnouncerTest, BeginsAnewWithAWakeDuringTheRepetitions)
{
    announcer.didWake();
    clock.advance(2.0);
    announcer.didWake();
    clock.advance(100.0);
    EXPECT_EQ((std::vector<double>{0.0, 1.0, 2.0, 3.0, 7.0, 17.0, 62.0}), wakes);
}

TEST_F(NPWakeAnnouncerTest, AnObserverMayDeclareAWake)
{
    bool declared = false;
    QXNotificationObserver other;
    events.workspace.addObserver(other, std::string(NSWorkspaceDidWakeNotification), nullptr,
                                 [&](const QXNotification&) {
                                     if (!std::exchange(declared, true)) {
                                         announcer.didWake();
                                     }
                                 });
    announcer.didWake();
    clock.advance(100.0);
    EXPECT_EQ((std::vector<double>{0.0, 0.0, 1.0, 5.0, 15.0, 60.0}), wakes);
}

TEST(NPSecondsAsleep, HoldsStillWhileAwake)
{
    EXPECT_NEAR(NPSecondsAsleep(), NPSecondsAsleep(), 0.2);
    EXPECT_GE(NPSecondsAsleep(), -0.001);
}
