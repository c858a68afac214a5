// What happens on the machine and the desktop around the program. Adapters post it on one of three notification
// centres, on the main thread, with no object; whoever wants to know observes. Nothing is posted where the
// platform cannot tell, so the logic depends on none of these. Each may come more often than there is a reason.
//
// Display reconfiguration comes with its flags from NPDisplayServices; jumps of the wall clock from NPClock.
#pragma once

#include "Foundation/QXNotificationCenter.h"

#include <string_view>

// On the workspace centre.
inline constexpr std::string_view NSWorkspaceDidWakeNotification = "NSWorkspaceDidWakeNotification"; // from sleep
inline constexpr std::string_view NSWorkspaceSessionDidBecomeActiveNotification =
    "NSWorkspaceSessionDidBecomeActiveNotification"; // the user is back at the machine after another one was there
inline constexpr std::string_view NSWorkspaceDidTerminateApplicationNotification =
    "NSWorkspaceDidTerminateApplicationNotification"; // another application has ended

// On the distributed centre, where programs tell each other.
inline constexpr std::string_view NSScreenColorSpaceDidChangeNotification =
    "NSScreenColorSpaceDidChangeNotification"; // a display got another colour profile
inline constexpr std::string_view NPScreenSaverDidStartNotification = "com.apple.screensaver.didstart";
inline constexpr std::string_view NPScreenSaverDidStopNotification = "com.apple.screensaver.didstop";

// On the default centre: displays came or went, or their arrangement, resolution or the like has changed.
inline constexpr std::string_view NSApplicationDidChangeScreenParametersNotification =
    "NSApplicationDidChangeScreenParametersNotification";

// The two centres besides the default one. Adapters are given them, and may come up after the first observers.
struct NPWorkspaceEvents {
    QXNotificationCenter workspace;
    QXNotificationCenter distributed;
};
