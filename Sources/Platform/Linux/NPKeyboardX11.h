// What an X server says of its keyboard: which of its key codes is which key, and which of its modifiers are
// Alt, Super and num lock.
//
// Keys are found by their names in the XKB keyboard description, because the same key has another code where
// the server does not read its keyboards from the kernel. A server that names none has the kernel's codes.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"

#include <cstdint>
#include <map>
#include <optional>

// X modifiers are bits: Shift 1, Lock 2, Control 4, and five more whose meaning the keyboard map decides.
using NPModifiersX11 = std::uint16_t;

class NPKeyboardX11 {
public:
    // The server's XKB extension must have been switched on for the connection. None when the server does not
    // respond.
    static std::optional<NPKeyboardX11> read(NPConnectionX11& connection);

    // By the virtual key code; none for a key that the keyboard does not have.
    std::optional<xcb_keycode_t> keyCode(std::uint16_t virtualCode) const;

    // The modifiers of a hot key (NPHotKeyModifierMask); none when the keyboard lacks one of them.
    std::optional<NPModifiersX11> modifiers(std::uint32_t modifierMask) const;

    NPModifiersX11 numLock() const { return _numLock; } // 0 when there is none

    // The key-event flags (NPModifierFlags) for the modifiers that are down.
    std::uint64_t modifierFlags(NPModifiersX11 modifiers) const;

    friend bool operator==(const NPKeyboardX11&, const NPKeyboardX11&) = default;

private:
    std::map<std::uint16_t, xcb_keycode_t> _keyCodes; // by the virtual code
    NPModifiersX11 _alt = 0;
    NPModifiersX11 _super = 0;
    NPModifiersX11 _numLock = 0;
};
