#include "Platform/Simulated/NPSimulatedPlatform.h"

void NPSimulatedTimeZones::setSystemTimeZone(std::shared_ptr<const QXTimeZone> zone)
{
    _zone.current = std::move(zone);
    _notifications.postNotification(NPSystemTimeZoneDidChangeNotification, nullptr);
}

void NPSimulatedPlatform::logObservers()
{
    const auto logUnder = [this](QXNotificationCenter& center, const std::string& name) {
        center.setTrace([this, name](const std::string& line) { log.add(name + ": " + line); });
    };
    logUnder(notifications, "default");
    logUnder(workspaceEvents.workspace, "workspace");
    logUnder(workspaceEvents.distributed, "distributed");
    displays.setLogsCallbacks();
}
