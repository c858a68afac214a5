// Gives displays their identifiers.
//
// An identifier is the 32-bit FNV-1a hash of what the display says of itself (NPEdid::identity), so it stays
// with the display wherever it is plugged in. Of several displays that say the same, the one whose connector
// comes first by name has that identifier, and the others one in which the name of their connector counts
// as well. A display that says nothing is known by its connector alone. An identifier is never 0 and never
// given twice.
#pragma once

#include "Platform/NPDisplayServices.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

class NPDisplayIdentities {
public:
    struct Screen {
        std::uint32_t output; // the platform's handle of the output that the display is connected to
        std::string connector;
        std::string edidIdentity; // empty when there is no usable EDID
    };

    // The identifiers of all connected displays, in their order. A display that stays where it is keeps the
    // identifier it had at the last call, also when its twin has come or gone.
    std::vector<NPDisplayID> identify(std::span<const Screen> screens);

private:
    struct Known {
        std::string edidIdentity;
        NPDisplayID identifier;
    };

    NPDisplayID _freeIdentifier(const Screen& screen) const;
    bool _isTaken(NPDisplayID identifier) const;

    std::map<std::uint32_t, Known> _known; // by output
};
