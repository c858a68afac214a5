#include "Foundation/QXLog.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

namespace {

TEST(QXLog, WritesOneLineToStandardError)
{
    testing::internal::CaptureStderr();
    QXLog("first");
    QXLog("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first\n\n");
}

TEST(QXLog, GoesToTheSinkForAsLongAsTheRedirectionLives)
{
    std::vector<std::string> outer;
    std::vector<std::string> inner;
    testing::internal::CaptureStderr();
    {
        const QXLogRedirection toOuter([&](std::string_view line) { outer.emplace_back(line); });
        QXLog("1");
        {
            const QXLogRedirection toInner([&](std::string_view line) { inner.emplace_back(line); });
            QXLog("2");
        }
        QXLog("3");
    }
    QXLog("4");
    EXPECT_EQ(outer, (std::vector<std::string>{"1", "3"}));
    EXPECT_EQ(inner, std::vector<std::string>{"2"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "4\n");
}

TEST(QXLog, ASinkMayLogItself)
{
    std::vector<std::string> lines;
    const QXLogRedirection redirection([&](std::string_view line) {
        lines.emplace_back(line);
        if (lines.size() == 1) {
            QXLog("again");
        }
    });
    QXLog("once");
    EXPECT_EQ(lines, (std::vector<std::string>{"once", "again"}));
}

TEST(QXLog, IsSafeFromSeveralThreads)
{
    std::mutex mutex;
    std::size_t count = 0;
    const QXLogRedirection redirection([&](std::string_view line) {
        const std::lock_guard lock(mutex);
        count += line.size();
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 100; ++j) {
                QXLog("x");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 400U);
}

} // namespace
