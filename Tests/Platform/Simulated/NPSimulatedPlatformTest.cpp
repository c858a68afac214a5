#include "Platform/Simulated/NPSimulatedPlatform.h"

#include "Foundation/QXSharedScope.h"
#include "Support/NPEngineTest.h"
#include "Support/NPTestTimeZone.h"

namespace {

TEST(NPSimulatedPlatform, StartsAtTheGivenTimeAtGMTWithoutDisplays)
{
    NPSimulatedPlatform platform(QXDate{1234.0});
    const NPPlatform services = platform.services();
    EXPECT_EQ(services.clock.now(), QXDate{1234.0});
    EXPECT_EQ(services.timeZones.systemTimeZone().secondsFromGMT(QXDate{0.0}), 0);
    EXPECT_EQ(services.displays.onlineDisplayList(10), NPDisplayList());
    EXPECT_EQ(platform.log.text(), "");
}

TEST(NPSimulatedPlatform, ReferenceToTheTimeZoneFollowsItsChangeWhichIsAnnounced)
{
    NPSimulatedPlatform platform;
    const QXTimeZone& zone = platform.services().timeZones.systemTimeZone();
    NPNotificationCounter changes(platform.notifications, NPSystemTimeZoneDidChangeNotification);
    platform.timeZones.setSystemTimeZone(NPTestTimeZone::berlin());
    EXPECT_EQ(zone.secondsFromGMT(dateOf("2026-07-01T00:00:00Z")), 7200);
    EXPECT_EQ(zone.daylightSavingTimeOffset(dateOf("2026-07-01T00:00:00Z")), 3600);
    EXPECT_EQ(changes.take(), 1);
}

TEST(NPSimulatedPlatform, LogHoldsTheCallsOfEveryServiceInTheirOrder)
{
    NPSimulatedPlatform platform;
    platform.displays.plug({.identifier = 1});
    platform.displays.setDisplayTransferTable(1, QXGammaTableIdentity());
    platform.defaults.setObject(1, "a");
    platform.displays.restoreColorSyncSettings();
    EXPECT_EQ(platform.log.lines(),
              (std::vector<std::string>{"write 1 256 1 1 1", "defaults set a", "restore all"}));
    platform.log.clear();
    EXPECT_EQ(platform.log.text(), "");
}

TEST(NPSimulatedPlatform, InstalledServicesAreThoseOfTheScope)
{
    NPSimulatedPlatform platform;
    const QXSharedScope scope;
    NPInstallPlatform(platform.services());
    EXPECT_EQ(&NPCurrentPlatform().clock, &platform.clock);
    EXPECT_EQ(&NPCurrentPlatform().notifications, &platform.notifications);
}

TEST(NPPlatformDeathTest, ServicesThatNobodyInstalledStopTheProgram)
{
    const QXSharedScope scope;
    EXPECT_DEATH((void)NPCurrentPlatform(), "NPInstallPlatform");
}

} // namespace
