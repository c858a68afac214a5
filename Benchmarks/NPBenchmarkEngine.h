// An engine on the simulated platform, with as many groups and displays as a benchmark asks for.
#pragma once

#include "Foundation/QXRuleTimeZone.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Simulated/NPSimulatedPlatform.h"
#include "Screens/NPScreenManager.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

class NPBenchmarkEngine {
public:
    // The groups differ: their effects, their screens, and timers of every kind. The time zone has daylight
    // saving, and the location is confirmed.
    NPBenchmarkEngine(std::size_t groups, std::size_t displays);

    NPEffectManager& effects() { return *sharedEffectManager(); }
    NPScreenManager& screens() { return *sharedScreenManager(); }

    NPSimulatedPlatform platform;
    QXSharedScope scope;
};

// The settings of the group at a place in the list.
QXDictionary NPBenchmarkGroup(std::size_t index, std::size_t displays);
