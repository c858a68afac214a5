#include "Foundation/QXWeakTarget.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Target {
    void append(const std::string& text, int count)
    {
        for (int i = 0; i < count; ++i) {
            written += text;
        }
    }
    void dropOwner(std::shared_ptr<Target>* owner)
    {
        owner->reset();
        written = "still here";
    }

    std::string written;
};

TEST(QXWeakTarget, CallsTheOperationWithItsArguments)
{
    const auto target = std::make_shared<Target>();
    const auto callback = weakTarget(target, &Target::append);
    callback("ab", 2);
    EXPECT_EQ(target->written, "abab");
}

TEST(QXWeakTarget, DoesNotKeepTheTargetAliveAndDoesNothingOnceItHasGone)
{
    auto target = std::make_shared<Target>();
    const std::weak_ptr<Target> watched = target;
    const auto callback = weakTarget(target, &Target::append);
    target.reset();
    EXPECT_TRUE(watched.expired());
    callback("ab", 2);
}

TEST(QXWeakTarget, MayBeMadeFromAWeakReference)
{
    const auto target = std::make_shared<Target>();
    weakTarget(std::weak_ptr<Target>(target), &Target::append)("x", 1);
    EXPECT_EQ(target->written, "x");
}

TEST(QXWeakTarget, HoldsTheTargetWhileTheOperationRuns)
{
    auto target = std::make_shared<Target>();
    const std::weak_ptr<Target> watched = target;
    weakTarget(target, &Target::dropOwner)(&target);
    EXPECT_TRUE(watched.expired());
}

} // namespace
