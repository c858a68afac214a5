// The little that the hot keys and the keyboard layout need of the XKB extension.
//
// Written out here because the client library's XKB header is no C++ (it names a member "explicit"), and
// because loading that library for four requests would slow down every start. See overview.md.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"

#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>

class NPXkbX11 {
public:
    // Switches the extension on for the connection: a key that is held down repeats its presses only, and
    // changes of the keyboard map are announced. The error ends a sentence about the server.
    static std::expected<NPXkbX11, std::string> switchOn(NPConnectionX11& connection);

    // Has changes of the layout that is in force announced as well, on a connection that has XKB on.
    static void announceLayoutChanges(const NPConnectionX11& connection);

    // Whether the event tells that the keyboard map may have changed.
    bool isKeyboardChange(const xcb_generic_event_t& event) const;

    // The question for the names of the keys, for keyNames().
    static unsigned int requestKeyNames(const NPConnectionX11& connection);

    // The key codes by their names ("AC03") and other names. Empty when the server tells none.
    static std::map<std::string, xcb_keycode_t> keyNames(NPConnectionX11& connection, unsigned int sequence);

private:
    explicit NPXkbX11(std::uint8_t firstEvent) : _firstEvent(firstEvent) {}

    std::uint8_t _firstEvent;
};
