#include "Platform/Linux/Keyboard/NPKeyboardLayoutX11.h"

#include "Platform/Linux/NPXkbX11.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <array>
#include <string_view>

namespace {

// Keypads give their characters on the second level, which num lock selects; it belongs to the key.
constexpr xkb_level_index_t keypadLevel = 1;

// Without a terminating zero; the longest is some ten bytes.
using Characters = std::array<char, 64>;

std::string printable(std::string_view characters)
{
    const bool isControl =
        !characters.empty() && (static_cast<unsigned char>(characters[0]) < 0x20 || characters[0] == 0x7F);
    return isControl ? std::string() : std::string(characters);
}

std::string keypadCharacters(xkb_keymap* keymap, xkb_keycode_t code, xkb_layout_index_t layout)
{
    const xkb_keysym_t* keysyms = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, code, layout, keypadLevel, &keysyms) != 1) {
        return {};
    }
    Characters characters{};
    xkb_keysym_to_utf8(keysyms[0], characters.data(), characters.size());
    return printable(characters.data());
}

} // namespace

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
    std::unique_ptr<xkb_keymap, Release> keymap(
        xkb_x11_keymap_new_from_device(_context.get(), handle, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap) {
        return false;
    }
    const std::unique_ptr<xkb_state, Release> now(xkb_x11_state_new_from_device(keymap.get(), handle, device));
    std::unique_ptr<xkb_state, Release> state(xkb_state_new(keymap.get()));
    if (!now || !state) {
        return false;
    }
    const xkb_layout_index_t layout = xkb_state_serialize_layout(now.get(), XKB_STATE_LAYOUT_EFFECTIVE);
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, layout);
    _keymap = std::move(keymap);
    _state = std::move(state);
    return true;
}

std::string NPKeyboardLayoutX11::charactersForKeyCode(std::uint16_t keyCode) const
{
    if (_mapHasChanged()) {
        _readMap();
    }
    const NPKey* key = NPKeyWithVirtualCode(keyCode);
    const xkb_keycode_t code = key == nullptr
                                   ? XKB_KEYCODE_INVALID
                                   : xkb_keymap_key_by_name(_keymap.get(), std::string(key->xkbName).c_str());
    if (code == XKB_KEYCODE_INVALID) {
        return {};
    }
    Characters characters{};
    xkb_state_key_get_utf8(_state.get(), code, characters.data(), characters.size());
    const std::string given = printable(characters.data());
    return given.empty() && key->isOnKeypad
               ? keypadCharacters(_keymap.get(), code, xkb_state_key_get_layout(_state.get(), code))
               : given;
}

extern "C" [[gnu::visibility("default")]] void
NPOpenKeyboardLayout(const std::string& displayName, std::unique_ptr<const NPKeyboardLayout>& layout);

// The module's entry point.
void NPOpenKeyboardLayout(const std::string& displayName, std::unique_ptr<const NPKeyboardLayout>& layout)
{
    layout = NPKeyboardLayoutX11::open(displayName);
}
