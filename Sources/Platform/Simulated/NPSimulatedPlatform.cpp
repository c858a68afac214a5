#include "Platform/Simulated/NPSimulatedPlatform.h"

void NPSimulatedTimeZones::setSystemTimeZone(std::shared_ptr<const QXTimeZone> zone)
{
    _zone.current = std::move(zone);
    _notifications.postNotification(NPSystemTimeZoneDidChangeNotification, nullptr);
}
