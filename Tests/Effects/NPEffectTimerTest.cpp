#include "Effects/NPEffectTimer.h"

#include "Foundation/QXWeakTarget.h"
#include "Platform/Simulated/NPSimulatedClock.h"
#include "Support/NPEngineTest.h"

#include <cmath>
#include <limits>
#include <vector>

namespace {

// Notes how a timer was asked for, and hands out one of the clock.
class RecordingTimerServices final : public NPTimerServices {
public:
    explicit RecordingTimerServices(NPTimerServices& services) : _services(services) {}

    std::shared_ptr<NPTimerSource> makeMonotonicTimer(std::uint64_t delay, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        nanoseconds = {delay, interval, leeway};
        return _services.makeMonotonicTimer(delay, interval, leeway);
    }
    std::shared_ptr<NPTimerSource> makeWallClockTimer(QXDate start, std::uint64_t interval,
                                                      std::uint64_t leeway) override
    {
        wallClockStart = start;
        nanoseconds = {interval, leeway};
        return _services.makeWallClockTimer(start, interval, leeway);
    }

    std::vector<std::uint64_t> nanoseconds;
    std::optional<QXDate> wallClockStart;

private:
    NPTimerServices& _services;
};

// Notes each firing, as seconds after the start.
struct Target {
    explicit Target(const NPClock& clock) : _clock(clock), _start(clock.now()) {}

    void fired(NPEffectTimer& timer)
    {
        firings.push_back(_clock.now().timeIntervalSince(_start));
        lastTimer = &timer;
    }
    std::vector<double> firings;
    const NPEffectTimer* lastTimer = nullptr;

private:
    const NPClock& _clock;
    QXDate _start;
};

class NPEffectTimerTest : public testing::Test {
protected:
    QXDate inSeconds(double seconds) const { return clock.now().addingTimeInterval(seconds); }

    std::shared_ptr<NPEffectTimer> relative(double interval, NPEffectTimer::Target operation, bool repeats)
    {
        return NPEffectTimer::scheduledEffectTimerWithTimeInterval(services, interval, std::move(operation), {},
                                                                   repeats, interval / 4);
    }
    std::shared_ptr<NPEffectTimer> atDate(QXDate date)
    {
        return NPEffectTimer::scheduledEffectTransitionTimerWithFireDate(
            services, date, weakTarget(target, &Target::fired), std::string("data"));
    }

    QXNotificationCenter notifications;
    NPSimulatedClock clock{QXDate{0.0}, notifications};
    RecordingTimerServices services{clock};
    std::shared_ptr<Target> target = std::make_shared<Target>(clock);
};

TEST_F(NPEffectTimerTest, WallClockTimerFiresOnceAtItsDateAndIsInvalidatedThen)
{
    const auto timer = atDate(inSeconds(5));
    EXPECT_EQ(timer->fireDate(), inSeconds(5));
    clock.advance(4.999);
    EXPECT_TRUE(target->firings.empty());
    clock.advance(200000);
    EXPECT_EQ(target->firings, (std::vector{5.0}));
    EXPECT_EQ(target->lastTimer, timer.get());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(NPEffectTimerTest, WallClockTimerFiresRightAfterASleepInWhichItsDatePassed)
{
    atDate(inSeconds(3600));
    clock.advance(60);
    clock.sleep(7200);
    EXPECT_EQ(target->firings, (std::vector{7260.0}));
}

TEST_F(NPEffectTimerTest, WallClockTimerIsNotLaterByTheTimeAsleep)
{
    atDate(inSeconds(3600));
    clock.sleep(1800);
    clock.advance(1799);
    EXPECT_TRUE(target->firings.empty());
    clock.advance(2);
    EXPECT_EQ(target->firings, (std::vector{3600.0}));
}

TEST_F(NPEffectTimerTest, WallClockTimerFollowsAClockSetBack)
{
    atDate(inSeconds(10));
    clock.setWallClock(QXDate{-100.0});
    clock.advance(109);
    EXPECT_TRUE(target->firings.empty());
    clock.advance(1);
    EXPECT_EQ(target->firings, (std::vector{10.0}));
}

TEST_F(NPEffectTimerTest, WallClockTimerOfAPastDateFiresAtOnce)
{
    atDate(inSeconds(-1000));
    clock.advance(0);
    EXPECT_EQ(target->firings, (std::vector{0.0}));
}

TEST_F(NPEffectTimerTest, WallClockTimerAllowsTenMillisecondsAndRepeatsPracticallyNever)
{
    atDate(QXDate{1234.5})->invalidate();
    EXPECT_EQ(services.wallClockStart, QXDate{1234.5});
    EXPECT_EQ(services.nanoseconds, (std::vector<std::uint64_t>{100'000'000'000'000, 10'000'000}));
}

TEST_F(NPEffectTimerTest, RelativeTimerAsksForItsIntervalAndToleranceInNanoseconds)
{
    relative(6.0, {}, true)->invalidate();
    EXPECT_EQ(services.nanoseconds, (std::vector<std::uint64_t>{6'000'000'000, 6'000'000'000, 1'500'000'000}));
}

TEST_F(NPEffectTimerTest, RepeatingTimerFiresEveryIntervalUntilInvalidated)
{
    const auto timer = relative(6.0, weakTarget(target, &Target::fired), true);
    EXPECT_EQ(timer->fireDate(), std::nullopt);
    clock.advance(20);
    EXPECT_EQ(target->firings, (std::vector{6.0, 12.0, 18.0}));
    timer->invalidate();
    clock.advance(20);
    EXPECT_EQ(target->firings.size(), 3U);
}

TEST_F(NPEffectTimerTest, RelativeTimerStandsStillWhileTheMachineSleeps)
{
    const auto timer = relative(6.0, weakTarget(target, &Target::fired), true);
    clock.advance(5);
    clock.sleep(1000);
    EXPECT_TRUE(target->firings.empty());
    clock.advance(1);
    EXPECT_EQ(target->firings, (std::vector{1006.0}));
    timer->invalidate();
}

TEST_F(NPEffectTimerTest, TimerThatDoesNotRepeatFiresOnce)
{
    relative(6.0, weakTarget(target, &Target::fired), false);
    clock.advance(100);
    EXPECT_EQ(target->firings, (std::vector{6.0}));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(NPEffectTimerTest, OperationIsCalledBeforeTheTimerInvalidatesItself)
{
    std::size_t armedMeanwhile = 0;
    relative(1.0, [&](NPEffectTimer&) { armedMeanwhile = clock.timerCount(); }, false);
    clock.advance(1);
    EXPECT_EQ(armedMeanwhile, 1U);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(NPEffectTimerTest, TimerNeitherKeepsItsTargetAliveNorNeedsIt)
{
    const auto repeating = relative(1.0, weakTarget(target, &Target::fired), true);
    relative(1.0, weakTarget(target, &Target::fired), false);
    const std::weak_ptr<Target> gone = target;
    target.reset();
    EXPECT_TRUE(gone.expired());
    clock.advance(1);
    EXPECT_EQ(clock.timerCount(), 1U); // the one that does not repeat has invalidated itself all the same
    repeating->invalidate();
}

TEST_F(NPEffectTimerTest, TargetIsHeldWhileItsOperationRuns)
{
    struct Suicidal {
        void fired(NPEffectTimer&)
        {
            self.reset();
            done = 1;
        }
        std::shared_ptr<Suicidal> self;
        int done = 0;
    };
    auto suicidal = std::make_shared<Suicidal>();
    const std::weak_ptr<Suicidal> weak = suicidal;
    relative(1.0, weakTarget(suicidal, &Suicidal::fired), false);
    suicidal->self = suicidal;
    suicidal.reset();
    EXPECT_FALSE(weak.expired());
    clock.advance(1);
    EXPECT_TRUE(weak.expired());
}

TEST_F(NPEffectTimerTest, InvalidatingInItsOwnFiringStopsTheTimer)
{
    int firings = 0;
    relative(
        1.0,
        [&](NPEffectTimer& timer) {
            ++firings;
            timer.invalidate();
            timer.invalidate();
        },
        true);
    clock.advance(10);
    EXPECT_EQ(firings, 1);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(NPEffectTimerTest, InvalidatedTimerReleasesWhatItsHandlerHolds)
{
    const auto held = std::make_shared<int>(1);
    const auto timer = relative(1.0, [held](NPEffectTimer&) {}, true);
    EXPECT_EQ(held.use_count(), 2);
    timer->invalidate();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NPEffectTimerTest, ScheduledTimerLivesUntilItIsInvalidated)
{
    std::weak_ptr<NPEffectTimer> weak = relative(1.0, weakTarget(target, &Target::fired), true);
    clock.advance(2);
    EXPECT_EQ(target->firings.size(), 2U);
    ASSERT_FALSE(weak.expired());
    weak.lock()->invalidate();
    EXPECT_TRUE(weak.expired());
}

TEST_F(NPEffectTimerTest, WritingTheFireDateDoesNotMoveTheTimer)
{
    const auto timer = atDate(inSeconds(5));
    timer->setFireDate(inSeconds(100));
    clock.advance(6);
    EXPECT_EQ(target->firings, (std::vector{5.0}));
    EXPECT_EQ(timer->fireDate(), QXDate{100.0});
    timer->setFireDate(std::nullopt);
    EXPECT_EQ(timer->fireDate(), std::nullopt);
}

TEST_F(NPEffectTimerTest, UserInfoCanBeReadAndWrittenAtAnyTime)
{
    const auto timer = atDate(inSeconds(5));
    EXPECT_EQ(std::any_cast<std::string>(timer->userInfo()), "data");
    timer->setUserInfo(7);
    clock.advance(6);
    EXPECT_EQ(std::any_cast<int>(timer->userInfo()), 7);
    timer->setUserInfo({});
    EXPECT_FALSE(timer->userInfo().has_value());
}

TEST(NPNanosecondsFromSeconds, ConvertsTheDoubleProductToACount)
{
    EXPECT_EQ(NPNanosecondsFromSeconds(0.1), 100'000'000U);
    EXPECT_EQ(NPNanosecondsFromSeconds(0.0078125), 7'812'500U);
    EXPECT_EQ(NPNanosecondsFromSeconds(1.9e-9), 1U);
    EXPECT_EQ(NPNanosecondsFromSeconds(0.0), 0U);
}

TEST(NPNanosecondsFromSeconds, ConvertsCountsAboveTheSignedRange)
{
    EXPECT_EQ(NPNanosecondsFromSeconds(9223372036.854775808), 9'223'372'036'854'775'808U);
    EXPECT_EQ(NPNanosecondsFromSeconds(1e10), 10'000'000'000'000'000'000U);
}

TEST(NPNanosecondsFromSeconds, KeepsWhatIsNoCountWithinTheRange)
{
    EXPECT_EQ(NPNanosecondsFromSeconds(-1.0), 0U);
    EXPECT_EQ(NPNanosecondsFromSeconds(std::nan("")), 0U);
    EXPECT_EQ(NPNanosecondsFromSeconds(1e30), std::numeric_limits<std::uint64_t>::max());
}

} // namespace
