#include "Platform/Linux/Keyboard/NPKeyboardLayoutX11.h"

#include "Platform/Linux/NPXkbX11.h"

#include <xkbcommon/xkbcommon-x11.h>

std::unique_ptr<NPKeyboardLayoutX11> NPKeyboardLayoutX11::open(const std::string& displayName)
{
    auto connection = NPConnectionX11::open(displayName);
    if (!connection) {
        return nullptr;
    }
    std::unique_ptr<NPKeyboardLayoutX11> layout(new NPKeyboardLayoutX11(std::move(*connection)));
    return layout->_begin() ? std::move(layout) : nullptr;
}

bool NPKeyboardLayoutX11::_begin()
{
    if (!NPXkbX11::switchOn(_connection)
        || xkb_x11_setup_xkb_extension(_connection.handle(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                       XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                       nullptr, nullptr, nullptr, nullptr)
               == 0) {
        return false;
    }
    NPXkbX11::announceLayoutChanges(_connection);
    _context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    return _context && _readMap();
}

// Nothing else than changes is announced on this connection.
bool NPKeyboardLayoutX11::_mapHasChanged() const
{
    bool hasChanged = false;
    while (const NPContentX11<xcb_generic_event_t> event{xcb_poll_for_event(_connection.handle())}) {
        hasChanged = true;
    }
    return hasChanged;
}

bool NPKeyboardLayoutX11::_readMap() const
{
    xcb_connection_t* const handle = _connection.handle();
    const std::int32_t device = xkb_x11_get_core_keyboard_device_id(handle);
    xkb_keymap* const keymap =
        xkb_x11_keymap_new_from_device(_context.get(), handle, device, XKB_KEYMAP_COMPILE_NO_FLAGS);
    std::optional<NPKeymap> read = NPKeymap::withKeymap(keymap, 0);
    const std::unique_ptr<xkb_state, NPKeymapRelease> now(
        read ? xkb_x11_state_new_from_device(keymap, handle, device) : nullptr);
    if (!now) {
        return false;
    }
    read->selectLayout(xkb_state_serialize_layout(now.get(), XKB_STATE_LAYOUT_EFFECTIVE));
    _keymap = std::move(read);
    return true;
}

std::string NPKeyboardLayoutX11::charactersForKeyCode(std::uint16_t keyCode) const
{
    if (_mapHasChanged()) {
        _readMap();
    }
    return _keymap->charactersForKeyCode(keyCode);
}
