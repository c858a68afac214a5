// Gives an X server's displays back on behalf of a process that ended without doing so.
#pragma once

#include "Platform/Linux/NPBaseRecordX11.h"

#include <cstdint>
#include <map>
#include <string>

// What is to be known about the process, the owner of the tables.
struct NPDisplayRecoveryX11 {
    std::string displayName; // empty: the one in DISPLAY
    std::uint64_t owner = 0;
    std::uint32_t ownerWindow = 0;                        // the window that marks its connection; 0 for none
    std::map<std::uint32_t, NPBaseRecordX11> baseRecords; // by CRTC
};

// The name of the window that marks an owner's connection to the server.
std::string NPOwnerWindowNameX11(std::uint64_t owner);

// Writes the tables back and deletes their records, and puts back the profiles in the server that custom ones have
// replaced, on a connection of its own; waits until the server has done so. Leaves CRTCs alone that have no record
// by this owner: they have their own table again, or another run of the program has taken them over. Leaves the
// profiles alone while anybody drives the displays. False when the server stopped responding on the way: it is then
// worth another try.
bool NPRecoverDisplaysX11(const NPDisplayRecoveryX11& recovery);
