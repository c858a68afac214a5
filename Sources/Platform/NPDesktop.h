// What an application has besides the engine's services (NPPlatform): a desktop with a user in front of it. The
// engine of the command line has none of it, and does all its work without.
#pragma once

#include "Platform/NPAlerts.h"
#include "Platform/NPBundle.h"
#include "Platform/NPLoginItems.h"
#include "Platform/NPProcessMode.h"
#include "Platform/NPStatusBar.h"
#include "Platform/NPUpdaterServices.h"
#include "Platform/NPWorkspace.h"

// References only: the owner of the services outlives everything that is given them.
struct NPDesktop {
    const NPBundle& bundle;
    NPWorkspace& workspace;
    NPProcessMode& processMode;
    NPAlerts& alerts;
    NPStatusBar& statusBar;
    NPLoginItems& loginItems;
    NPUpdaterServices updater;
};

// Makes the services those of the current QXSharedScope; the shared instances take them from there. Called after
// NPInstallPlatform, once per scope and before the first of these shared instances is used.
void NPInstallDesktop(const NPDesktop& desktop);

// The installed services. Stops the program when there are none.
const NPDesktop& NPCurrentDesktop();
