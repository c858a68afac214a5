// The warning that f.lux is installed: both programs rewrite the displays' gamma tables and would fight over them.
// Works on the installed platform and desktop.
#pragma once

#include <string_view>

// Setting: the warning has been read. Never cleared.
inline constexpr std::string_view QXFluxWarnedKey = "QXFluxWarned";

// By which f.lux is looked up: the name of its desktop entry and of its command.
inline constexpr std::string_view QXFluxBundleIdentifier = "fluxgui";

// Warns when f.lux is installed and the warning has not been read yet; false only then. It counts as read once it
// has been closed with "Continue". Blocks until it is answered; "Quit" ends the program (NPWorkspace::terminate).
bool QXFluxCheckAtLaunch();

// The warning itself. False when the program is to end.
bool QXFluxShowWarning(std::string_view fluxPath);
