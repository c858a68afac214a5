// The little that the program needs of the MIT-SCREEN-SAVER extension, which tells when the X server's own screen
// saver begins and ends.
//
// Written out here because loading the client library for three requests would slow down every start.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"

#include <cstdint>
#include <expected>
#include <optional>
#include <string>

class NPScreenSaverX11 {
public:
    // Has its changes announced on the connection. The error ends a sentence about the server.
    static std::expected<NPScreenSaverX11, std::string> switchOn(NPConnectionX11& connection);

    // Whether it ran when it was switched on.
    bool wasActive() const { return _wasActive; }

    // Whether it runs, when that is what the event tells.
    std::optional<bool> activeFromEvent(const xcb_generic_event_t& event) const;

private:
    NPScreenSaverX11(std::uint8_t firstEvent, bool wasActive) : _firstEvent(firstEvent), _wasActive(wasActive) {}

    std::uint8_t _firstEvent;
    bool _wasActive;
};
