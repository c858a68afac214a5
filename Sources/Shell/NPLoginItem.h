// Starting at login, by a small launcher program that the desktop starts, which starts the application and ends.
// Whether it does is known to the desktop alone: no setting of ours says it. Works on the installed desktop.
#pragma once

#include "Platform/NPWindows.h"

#include <memory>
#include <string>
#include <string_view>

// The launcher's identifier, under which the desktop knows its job.
inline constexpr std::string_view NPLauncherBundleIdentifier = "org.nightpane.Nightpane.Launcher";

// The launcher's file URL, inside the main bundle.
std::string NPLauncherURL();

bool NPLoginItemIsEnabled();

// False, with a line in the log, when it could not be done.
bool NPSetLoginItemEnabled(bool enabled);

// Whether the program is where programs are kept, in any folder "Applications" of whatever depth.
bool NPAppIsInApplicationsFolder();

// What the check box "open at login" does when it has been switched. The answer is what it is to show: whether the
// item is enabled now. Somebody who enables it for a program that lies about elsewhere is told, on the window, that
// it may not work.
bool NPOpenAtLoginDidChange(bool enabled, const std::shared_ptr<NPWindow>& window);
