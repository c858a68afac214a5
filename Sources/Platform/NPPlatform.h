// The platform services together, as the composition root hands them to the logic.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPClock.h"
#include "Platform/NPColorProfileServices.h"
#include "Platform/NPDisplayServices.h"
#include "Platform/NPHotKeyServices.h"
#include "Platform/NPKeyboardLayout.h"
#include "Platform/NPMainQueue.h"
#include "Platform/NPTimeZoneServices.h"
#include "Platform/NPTimerServices.h"
#include "Platform/NPUserDefaults.h"
#include "Platform/NPWorkspaceEvents.h"

// References only: the owner of the services outlives everything that is given them.
struct NPPlatform {
    NPClock& clock;
    NPTimerServices& timers;
    NPMainQueue& mainQueue;
    NPTimeZoneServices& timeZones;
    NPUserDefaults& defaults;
    NPDisplayServices& displays;
    NPColorProfileServices& profiles;
    NPHotKeyServices& hotKeys;
    const NPKeyboardLayout& keyboardLayout;
    QXNotificationCenter& notifications; // the default centre
    NPWorkspaceEvents& workspaceEvents;
};

// Makes the services those of the current QXSharedScope; the shared instances take them from there. Called
// once per scope, before the first shared instance is used.
void NPInstallPlatform(const NPPlatform& platform);

// The installed services. Stops the program when there are none.
const NPPlatform& NPCurrentPlatform();
