#include "Platform/Linux/Keyboard/NPKeymap.h"

#include "Platform/NPKeyCodes.h"

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

std::optional<NPKeymap> NPKeymap::withKeymap(xkb_keymap* keymap, xkb_layout_index_t layout)
{
    NPKeymap made;
    made._keymap.reset(keymap);
    made._state.reset(keymap != nullptr ? xkb_state_new(keymap) : nullptr);
    if (!made._state) {
        return std::nullopt;
    }
    made.selectLayout(layout);
    return made;
}

void NPKeymap::selectLayout(xkb_layout_index_t layout)
{
    xkb_state_update_mask(_state.get(), 0, 0, 0, 0, 0, layout);
}

std::string NPKeymap::charactersForKeyCode(std::uint16_t keyCode) const
{
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
