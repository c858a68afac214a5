// What a display's colour profile says, for the command "profile".
#pragma once

#include "Platform/NPColorProfileServices.h"

// The profile must be there. "custom" (whether it is one of ours), "location" (of the display's own profile,
// when it has one), "samples" (of the base table), "baseFrom" ("private" of a custom profile, "table", "formula"
// or "display", when the profile has no table), "formula" (red, green, blue: "minimum", "maximum", "gamma"),
// "tags" ("signature", "size") and "size" in bytes.
QXDictionary NPProfileDescription(const NPDisplayProfile& profile);

// The same for people.
std::string NPProfileText(const QXDictionary& description);
