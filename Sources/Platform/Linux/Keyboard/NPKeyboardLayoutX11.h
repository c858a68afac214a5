// The keyboard layout of an X server, by its XKB keyboard map: the layout that is switched to at the moment,
// when there are several.
//
// Asking costs nothing but a look at the connection while the map stays the same; after a change it is read
// again. When the server goes, the last map stays. For one thread.
#pragma once

#include "Platform/Linux/Keyboard/NPKeymap.h"
#include "Platform/Linux/NPConnectionX11.h"
#include "Platform/NPKeyboardLayout.h"

#include <memory>

class NPKeyboardLayoutX11 final : public NPKeyboardLayout {
public:
    // None when there is no such display or it has no XKB extension.
    static std::unique_ptr<NPKeyboardLayoutX11> open(const std::string& displayName);

    std::string charactersForKeyCode(std::uint16_t keyCode) const override;

private:
    explicit NPKeyboardLayoutX11(NPConnectionX11 connection) : _connection(std::move(connection)) {}

    bool _begin();
    bool _mapHasChanged() const;
    bool _readMap() const;

    NPConnectionX11 _connection;
    std::unique_ptr<xkb_context, NPKeymapRelease> _context;
    mutable std::optional<NPKeymap> _keymap; // some, from the beginning on
};
