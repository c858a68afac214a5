#include "Screens/NPWorkQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>

TEST(NPWorkQueue, DoesWorkInItsOrder)
{
    std::vector<int> done;
    {
        NPWorkQueue queue(1);
        for (int i = 0; i < 100; ++i) {
            queue.perform([&done, i] { done.push_back(i); });
        }
    }
    ASSERT_EQ(done.size(), 100U);
    EXPECT_TRUE(std::ranges::is_sorted(done));
}

TEST(NPWorkQueue, DoesItApartFromTheCallingThread)
{
    std::thread::id worker;
    NPWorkQueue queue(1);
    queue.perform([&] { worker = std::this_thread::get_id(); });
    queue.waitUntilIdle();
    EXPECT_NE(worker, std::thread::id());
    EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(NPWorkQueue, DoesAsMuchAtATimeAsItIsWide)
{
    NPWorkQueue queue(3);
    std::latch all(3); // each piece waits until three run
    for (int i = 0; i < 3; ++i) {
        queue.perform([&] { all.arrive_and_wait(); });
    }
    queue.waitUntilIdle();
    EXPECT_TRUE(all.try_wait());
}

TEST(NPWorkQueue, DoesNoMoreAtATimeThanItIsWide)
{
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    NPWorkQueue queue(2);
    for (int i = 0; i < 200; ++i) {
        queue.perform([&] {
            const int now = ++running;
            most = std::max(most.load(), now);
            --running;
        });
    }
    queue.waitUntilIdle();
    EXPECT_GE(most, 1);
    EXPECT_LE(most, 2);
}

TEST(NPWorkQueue, TakesWorkFromWork)
{
    std::atomic<int> done = 0;
    NPWorkQueue queue(1);
    queue.perform([&] {
        ++done;
        queue.perform([&] { ++done; });
    });
    queue.waitUntilIdle();
    EXPECT_EQ(done, 2);
}

TEST(NPWorkQueue, IsIdleWithoutWork)
{
    NPWorkQueue queue(4);
    queue.waitUntilIdle();
    SUCCEED();
}
