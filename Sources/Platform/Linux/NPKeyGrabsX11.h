// The key combinations that a connection has grabbed on the root window.
//
// A grab holds for one exact set of modifiers, so a combination that is to work with caps lock and num lock
// in any state takes several. All of them are asked for together, and answered in one go.
#pragma once

#include "Platform/Linux/NPKeyboardX11.h"

#include <expected>
#include <set>
#include <string>
#include <vector>

// As the server knows it; numLock is what may be down besides.
struct NPKeyGrabX11 {
    xcb_keycode_t keyCode = 0;
    NPModifiersX11 modifiers = 0;
    NPModifiersX11 numLock = 0;

    friend bool operator==(const NPKeyGrabX11&, const NPKeyGrabX11&) = default;
};

class NPKeyGrabsX11 {
public:
    // The connection must outlive the object.
    explicit NPKeyGrabsX11(NPConnectionX11& connection) : _connection(connection) {}

    // Grabs the combination, or what is missing of it. When any part is refused nothing of it is kept, and
    // the error says in a few words why.
    std::expected<void, std::string> take(const NPKeyGrabX11& grab);

    // Gives up all that these do not need.
    void keepOnly(const std::vector<NPKeyGrabX11>& grabs);

private:
    using Variant = std::pair<xcb_keycode_t, NPModifiersX11>;

    static std::set<Variant> _variants(const NPKeyGrabX11& grab);
    std::expected<void, std::string> _grab(const std::vector<Variant>& variants);
    void _ungrab(const Variant& variant);

    NPConnectionX11& _connection;
    std::set<Variant> _held;
};
