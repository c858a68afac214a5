// The list of windows that the window manager keeps, and from it: which applications there are.
//
// An application is a client of the X server, known by the numbers of its windows. One that has no window in the
// list, or keeps running without any, cannot be told from one that has ended. Without a window manager that keeps
// the list there is nothing to see.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"

#include <cstdint>
#include <optional>
#include <set>

class NPWindowListX11 {
public:
    // Has changes announced on the connection.
    static std::optional<NPWindowListX11> switchOn(NPConnectionX11& connection); // none: no response

    bool isChange(const xcb_generic_event_t& event) const;

    // Reads the list again. True when an application has left it since it was read last.
    bool readAgain(NPConnectionX11& connection);

private:
    explicit NPWindowListX11(xcb_atom_t name) : _name(name) {}

    xcb_atom_t _name;
    std::set<std::uint32_t> _clients; // the part of their windows' numbers that all of a client share
};
