// The displays that an X server's layout amounts to, and what changed between two lists of them.
#pragma once

#include "Platform/Linux/NPDisplayIdentities.h"
#include "Platform/Linux/NPLayoutX11.h"

#include <set>
#include <string>
#include <vector>

// A connected display that a CRTC drives.
struct NPDisplayX11 {
    NPDisplayID identifier = 0;
    xcb_randr_output_t output = 0;
    xcb_randr_crtc_t crtc = 0;
    std::string name; // for people: what the display calls itself, else its connector
    std::string connector;
    std::vector<std::uint8_t> edid; // as the server gives it
    NPRect area;      // in the coordinates of the X screen
    xcb_randr_mode_t mode = 0;
    std::uint16_t rotation = 0;
    std::size_t tableSize = 0;
    std::size_t monitor = 0; // the position among the server's monitors, in the order that older programs know
    bool isCopy = false;     // shares its CRTC, and so its table, with a display before it in the list
};

using NPDisplayListX11 = std::vector<NPDisplayX11>;

// The primary display first, then RandR's order; at most NPDisplayListCapacity of them.
NPDisplayListX11 NPDisplayListFromLayoutX11(const NPLayoutX11& layout, NPDisplayIdentities& identities);

// What the server's events told since the last list. A display may have gone and come back, or a CRTC been
// set anew, without any difference in the list.
struct NPLayoutEventsX11 {
    bool any = false;
    std::set<xcb_randr_crtc_t> crtcsSet;
    std::set<xcb_randr_output_t> outputsInterrupted; // disconnected, or driven by no CRTC, in between
};

struct NPDisplayChangeX11 {
    NPDisplayID identifier;
    std::uint32_t flags; // NPDisplayChangeFlags

    bool operator==(const NPDisplayChangeX11& other) const = default;
};

// Removed displays first, then the others in the order of the list.
std::vector<NPDisplayChangeX11> NPDisplayChangesX11(const NPDisplayListX11& before, const NPDisplayListX11& after,
                                                    const NPLayoutEventsX11& events);
