#include "Platform/Linux/NPBusRetry.h"

#include "Platform/Simulated/NPSimulatedPlatform.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class NPBusRetryTest : public testing::Test {
protected:
    NPSimulatedPlatform world{QXDate{0.0}};
    std::vector<double> attempts; // when
    bool works = false;
    NPBusRetry retry{world.clock, [this] {
                         attempts.push_back(world.clock.monotonicTime());
                         return works;
                     }};
};

} // namespace

TEST_F(NPBusRetryTest, DoesNothingBeforeTheLoss)
{
    world.clock.advance(1000.0);
    EXPECT_TRUE(attempts.empty());
    EXPECT_EQ(world.clock.timerCount(), 0U);
}

TEST_F(NPBusRetryTest, TriesAfterOneFiveThirtyAndSixtySecondsAndThenEveryMinute)
{
    const double begin = world.clock.monotonicTime();
    retry.begin();
    EXPECT_TRUE(attempts.empty());
    world.clock.advance(250.0);
    for (double& attempt : attempts) {
        attempt -= begin;
    }
    EXPECT_EQ(attempts, (std::vector<double>{1.0, 6.0, 36.0, 96.0, 156.0, 216.0}));
}

TEST_F(NPBusRetryTest, EndsWithTheAttemptThatWorks)
{
    retry.begin();
    world.clock.advance(2.0);
    works = true;
    world.clock.advance(1000.0);
    EXPECT_EQ(attempts.size(), 2U);
    EXPECT_EQ(world.clock.timerCount(), 0U);
}

TEST_F(NPBusRetryTest, BeginsAnewAfterAnotherLoss)
{
    works = true;
    retry.begin();
    world.clock.advance(10.0);
    retry.begin();
    world.clock.advance(1.0);
    EXPECT_EQ(attempts.size(), 2U);
}

TEST_F(NPBusRetryTest, LossThatIsToldTwiceIsOne)
{
    retry.begin();
    world.clock.advance(0.5);
    retry.begin();
    world.clock.advance(0.5);
    EXPECT_EQ(attempts.size(), 1U);
    EXPECT_EQ(world.clock.timerCount(), 1U);
}

TEST(NPBusRetry, LossDuringTheAttemptBeginsAnew)
{
    NPSimulatedPlatform world{QXDate{0.0}};
    int attempts = 0;
    std::unique_ptr<NPBusRetry> retry;
    retry = std::make_unique<NPBusRetry>(world.clock, [&] {
        if (++attempts == 1) {
            retry->begin();
        }
        return true;
    });
    retry->begin();
    world.clock.advance(100.0);
    EXPECT_EQ(attempts, 2);
}

TEST(NPBusRetry, OneThatHasGoneTriesNoMore)
{
    NPSimulatedPlatform world{QXDate{0.0}};
    int attempts = 0;
    {
        NPBusRetry retry(world.clock, [&] { return ++attempts > 0; });
        retry.begin();
    }
    world.clock.advance(100.0);
    EXPECT_EQ(attempts, 0);
}
