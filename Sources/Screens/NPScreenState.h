// What is on, per display, as it is kept in the user defaults under "ScreenState".
//
// A dictionary: a key is a display's identifier as decimal text, or "AllScreens"; a value is a dictionary
// of "GroupIdentifier" (text), "Active" (boolean) and "Date" (the moment of the change; for a timer's
// change the event's time).
#pragma once

#include "Foundation/QXDate.h"
#include "Platform/NPDisplayServices.h"
#include "Platform/NPUserDefaults.h"

#include <optional>
#include <string>

inline constexpr std::string_view NPScreenStateKey = "ScreenState";
inline constexpr std::string_view NPAllScreensKey = "AllScreens";

struct NPScreenStateEntry {
    std::string groupIdentifier;
    bool active = false;
    QXDate date;
};

// The display's own entry or, only when it has none at all, the one for all screens. None when that entry
// is not whole: an invalid own entry does not fall back.
std::optional<NPScreenStateEntry> NPScreenStateForScreen(const NPUserDefaults& defaults, NPDisplayID screen);

// Records a change for those screens; an empty list means all. Activating on all screens drops every other
// entry; deactivating on all overwrites each entry that is there, whichever group wrote it, and so records
// nothing where there is none.
void NPRememberScreenState(NPUserDefaults& defaults, const NPScreenStateEntry& entry,
                           const NPDisplayList& screens);

// Drops the entries of screens outside the list, "AllScreens" included; all of them for an empty list.
void NPForgetScreenStateOfUnlistedScreens(NPUserDefaults& defaults, const NPDisplayList& screens);
