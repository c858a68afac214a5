// What an X server says about its outputs and CRTCs, read in one go.
#pragma once

#include "Platform/Linux/NPBaseRecordX11.h"
#include "Platform/Linux/NPConnectionX11.h"

#include <xcb/randr.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// A connected output.
struct NPOutputX11 {
    xcb_randr_output_t output = 0;
    xcb_randr_crtc_t crtc = 0; // 0 when none drives it
    std::string connector;
    std::vector<std::uint8_t> edid; // as the server gives it: may be empty or damaged
};

// The part of the graphics hardware that scans out an area of the screen, to one output or to several that
// show the same. Gamma tables belong to it, not to the outputs.
struct NPCrtcX11 {
    xcb_randr_crtc_t crtc = 0;
    NPRect area; // in the coordinates of the X screen
    xcb_randr_mode_t mode = 0;
    std::uint16_t rotation = 0;
    NPHardwareTable table; // what it shows now; empty when it has no gamma table
    xcb_atom_t recordName = XCB_ATOM_NONE;
    std::optional<NPBaseRecordX11> record;
};

struct NPLayoutX11 {
    std::vector<NPOutputX11> outputs; // in RandR's order
    std::vector<NPCrtcX11> crtcs;     // all, also those that drive nothing
    xcb_randr_output_t primary = 0;   // 0 when none was chosen
    bool isEmulation = false;         // the server stores gamma tables, and applies none
    unsigned int firstRequest = 0;    // the sequence number of the first request that it was read with
};

// How much of a record's property to ask for, in units of 4 bytes: more than the largest table takes.
inline constexpr std::uint32_t NPLongestBaseRecordX11 = 1U << 17;

// A gamma table out of a reply; empty when there is no reply.
NPHardwareTable NPHardwareTableFromReplyX11(const xcb_randr_get_crtc_gamma_reply_t* reply);

// The record out of a reply for its property; none when there is none, or no reply.
std::optional<NPBaseRecordX11> NPBaseRecordFromReplyX11(const xcb_get_property_reply_t* reply);

// Reads the layout. The requests of a kind are all sent before the first reply is awaited: three waits for a
// layout, however many outputs there are.
class NPLayoutReaderX11 {
public:
    // Asks the server for RandR 1.3 and for an event at every change of an output or CRTC. `alongside` may send
    // requests that travel with ours: it is called when something has come from the server and more is about to be
    // asked. The error is one line for people.
    static std::expected<NPLayoutReaderX11, std::string> make(NPConnectionX11& connection,
                                                              const std::function<void()>& alongside = {});

    // None when the server does not respond or has gone.
    std::optional<NPLayoutX11> read();

    std::uint8_t firstEvent() const { return _firstEvent; } // the number of RandR's first event
    xcb_atom_t edidName() const { return _edidName; }

private:
    explicit NPLayoutReaderX11(NPConnectionX11& connection) : _connection(&connection) {}

    NPConnectionX11* _connection;
    xcb_atom_t _edidName = XCB_ATOM_NONE;
    xcb_atom_t _emulationName = XCB_ATOM_NONE;
    std::uint8_t _firstEvent = 0;
};
