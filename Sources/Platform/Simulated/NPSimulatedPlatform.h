// The whole platform in memory: what the tests run on, and what the program runs on where there is no
// usable screen.
#pragma once

#include "Platform/NPPlatform.h"
#include "Platform/Simulated/NPActionLog.h"
#include "Platform/Simulated/NPSimulatedClock.h"
#include "Platform/Simulated/NPSimulatedDefaults.h"
#include "Platform/Simulated/NPSimulatedDisplays.h"
#include "Platform/Simulated/NPSimulatedHotKeys.h"

// The system's time zone, which can be changed.
class NPSimulatedTimeZones final : public NPTimeZoneServices {
public:
    explicit NPSimulatedTimeZones(QXNotificationCenter& notifications) : _notifications(notifications) {}

    const QXTimeZone& systemTimeZone() const override { return _zone; }

    // Somebody changes the system's zone; announced.
    void setSystemTimeZone(std::shared_ptr<const QXTimeZone> zone);

private:
    // Follows the zone in force, so that a reference to it stays good.
    class Zone final : public QXTimeZone {
    public:
        int secondsFromGMT(QXDate at) const override { return current->secondsFromGMT(at); }
        int daylightSavingTimeOffset(QXDate at) const override { return current->daylightSavingTimeOffset(at); }
        std::shared_ptr<const QXTimeZone> current = std::make_shared<QXFixedTimeZone>();
    };

    QXNotificationCenter& _notifications;
    Zone _zone;
};

class NPSimulatedPlatform {
public:
    explicit NPSimulatedPlatform(QXDate start = QXDate{0.0})
        : clock(start, notifications), defaults(log, notifications), timeZones(notifications), displays(log),
          hotKeys(log)
    {
    }
    NPSimulatedPlatform(const NPSimulatedPlatform&) = delete;
    NPSimulatedPlatform& operator=(const NPSimulatedPlatform&) = delete;

    // From now on the action log also has who begins and ends to observe what on which centre:
    // "default: observe NAME", "workspace: …", "distributed: …", and "observe displays".
    void logObservers();

    NPPlatform services()
    {
        return {clock,    clock,   clock,          timeZones,     defaults,       displays,
                displays, hotKeys, keyboardLayout, notifications, workspaceEvents};
    }

    NPActionLog log;
    QXNotificationCenter notifications;
    NPWorkspaceEvents workspaceEvents;
    NPSimulatedClock clock;
    NPSimulatedDefaults defaults;
    NPSimulatedTimeZones timeZones;
    NPSimulatedDisplays displays;
    NPSimulatedHotKeys hotKeys;
    NPSimulatedKeyboardLayout keyboardLayout;
};
