// The keyboard layout of an X server, by its XKB keyboard map: the layout that is switched to at the moment,
// when there are several.
//
// Asking costs nothing but a look at the connection while the map stays the same; after a change it is read
// again. When the server goes, the last map stays. For one thread.
#pragma once

#include "Platform/Linux/NPConnectionX11.h"
#include "Platform/NPKeyboardLayout.h"

#include <xkbcommon/xkbcommon.h>

#include <memory>

class NPKeyboardLayoutX11 final : public NPKeyboardLayout {
public:
    // None when there is no such display or it has no XKB extension.
    static std::unique_ptr<NPKeyboardLayoutX11> open(const std::string& displayName);

    std::string charactersForKeyCode(std::uint16_t keyCode) const override;

private:
    struct Release {
        void operator()(xkb_context* context) const { xkb_context_unref(context); }
        void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
        void operator()(xkb_state* state) const { xkb_state_unref(state); }
    };

    explicit NPKeyboardLayoutX11(NPConnectionX11 connection) : _connection(std::move(connection)) {}

    bool _begin();
    bool _mapHasChanged() const;
    bool _readMap() const;

    NPConnectionX11 _connection;
    std::unique_ptr<xkb_context, Release> _context;
    mutable std::unique_ptr<xkb_keymap, Release> _keymap;
    mutable std::unique_ptr<xkb_state, Release> _state; // the layout in force, no modifiers
};
