// An XKB keyboard map with one of its layouts selected, and no modifier down: what its keys give.
#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct NPKeymapRelease {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
    void operator()(xkb_state* state) const { xkb_state_unref(state); }
};

class NPKeymap {
public:
    // Takes the map over. None when it is nullptr.
    static std::optional<NPKeymap> withKeymap(xkb_keymap* keymap, xkb_layout_index_t layout);

    // One that the map does not have stands for another, as the map decides.
    void selectLayout(xkb_layout_index_t layout);

    // As NPKeyboardLayout has it.
    std::string charactersForKeyCode(std::uint16_t keyCode) const;

private:
    NPKeymap() = default;

    std::unique_ptr<xkb_keymap, NPKeymapRelease> _keymap;
    std::unique_ptr<xkb_state, NPKeymapRelease> _state;
};
