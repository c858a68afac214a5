#include "Foundation/QXTimeZone.h"

#include <gtest/gtest.h>

namespace {

TEST(QXFixedTimeZone, IsGMTByDefault)
{
    EXPECT_EQ(QXFixedTimeZone().secondsFromGMT(QXDate{0.0}), 0);
}

TEST(QXFixedTimeZone, HasOneOffsetAndNoDaylightSavingTime)
{
    const QXFixedTimeZone zone(-12600);
    EXPECT_EQ(zone.secondsFromGMT(QXDate{0.0}), -12600);
    EXPECT_EQ(zone.secondsFromGMT(QXDate{1e9}), -12600);
    EXPECT_EQ(zone.daylightSavingTimeOffset(QXDate{1e9}), 0);
}

} // namespace
