// The displays' own colour profiles.
#pragma once

#include "Platform/NPDisplayServices.h"
#include "ScreenGamma/QXColorProfile.h"

#include <optional>
#include <string>

// What a display's own profile says: the table it is to show while no effect is on, and where the profile
// lies (an absolute URL; none when it is no file).
struct NPDisplayProfile {
    QXGammaTable baseTable; // sampleCount 0 when there is none: such a display is never written
    std::optional<std::string> location;

    // The profile that the display uses now, of which custom ones are copies. None where profiles are not
    // managed: such a display cannot have a custom one.
    std::optional<QXColorProfile> profile = std::nullopt;
};

// A display that uses this profile. When it is a custom one of ours, the base table and the location are those
// of the profile that it was made from.
NPDisplayProfile NPDisplayProfileFromColorProfile(QXColorProfile profile);

// Called on the main thread when a display has got another profile and it was not us who gave it: what
// copyDisplayProfile() says of it has changed, and the display may have been made to show the new one's table.
using NPDisplayProfileCallback = std::function<void(NPDisplayID display)>;

class NPColorProfileServices {
public:
    virtual ~NPColorProfileServices() = default;

    // The display's own profile as it is now. Its base table is never one that an effect of ours has
    // changed, also when an earlier run ended without giving the display back.
    virtual NPDisplayProfile copyDisplayProfile(NPDisplayID display) = 0;

    [[nodiscard]] virtual NPDisplaySubscription registerProfileCallback(NPDisplayProfileCallback callback) = 0;
};
