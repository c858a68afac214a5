// Which process drives the displays of an X screen: at most one engine at a time, from whatever session, user or
// machine it was started.
//
// The engine owns a selection of the server, _NIGHTPANE_S0 on screen 0, as window managers do. The server releases it
// when the engine's connection ends, however that happens. The owning window says which process it is.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"

#include <expected>
#include <optional>
#include <string>

struct NPDisplayOwnerX11 {
    int process = 0; // 0 when it does not say
    std::string host; // where the process runs; empty for this machine
};

// For messages: " (process 12)", " (process 12 on kitchen)", or nothing.
std::string NPDisplayOwnerText(const NPDisplayOwnerX11& owner);

// Who drives the displays of the X screen of that name (empty: the one in DISPLAY). None when nobody does, and when
// there is no such server or it does not respond.
std::optional<NPDisplayOwnerX11> NPFindDisplayOwnerX11(const std::string& displayName);

// Whether somebody drives the displays of the connection's X screen. Yes when the server does not respond.
bool NPHasDisplayOwnerX11(NPConnectionX11& connection);

// Makes a connection the owner while its displays are being opened. Its questions travel with those of others, so
// that nothing has to be awaited for them alone.
class NPDisplayClaimX11 {
public:
    // The window, of this connection, will own the selection. Only sends.
    NPDisplayClaimX11(NPConnectionX11& connection, xcb_window_t window);

    // Says on the window who we are, and asks who owns the displays. From here to take() the server serves this
    // connection alone, so that of two starts at a time only one finds the displays free. To be called when a reply
    // to a later request than the constructor's has come.
    void ask();

    // Takes the displays, or tells whose they are. On a server that does not respond it does neither; whoever asks
    // next notices.
    std::expected<void, NPDisplayOwnerX11> take();

private:
    NPConnectionX11& _connection;
    const xcb_window_t _window;
    const unsigned int _selectionRequest;
    const unsigned int _processNameRequest;
    xcb_atom_t _selection = XCB_ATOM_NONE;
    xcb_atom_t _processName = XCB_ATOM_NONE;
    unsigned int _ownerRequest = 0;
};
