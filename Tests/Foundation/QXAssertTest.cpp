#include "Foundation/QXAssert.h"

#include <gtest/gtest.h>

namespace {

TEST(QXAssert, DoesNothingWhenTheConditionHolds)
{
    QXAssert(true, "never seen");
}

TEST(QXAssertDeathTest, StopsTheProgramWithItsTextOnStandardError)
{
    EXPECT_DEATH(QXAssert(false, "_groups.count > 1"), "^Assertion failed: _groups.count > 1\n$");
}

TEST(QXAssertDeathTest, EndsTheProgramAbnormally)
{
    EXPECT_EXIT(QXAssert(false, "text"), testing::KilledBySignal(6), "text");
}

} // namespace
