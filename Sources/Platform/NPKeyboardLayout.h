// What the keys give in the keyboard layout that the user types with.
#pragma once

#include "Platform/NPKeyCodes.h"

#include <string>

class NPKeyboardLayout {
public:
    virtual ~NPKeyboardLayout() = default;

    // The character or characters, in UTF-8, that a key (by its virtual code) gives without modifiers in the
    // layout in force now, in the case that the layout gives. Empty when it gives none, as a dead key or a
    // function key does; control characters count as none.
    virtual std::string charactersForKeyCode(std::uint16_t keyCode) const = 0;
};

// The layout of US keyboards: the last choice, where the user's own cannot be known.
class NPUSKeyboardLayout final : public NPKeyboardLayout {
public:
    std::string charactersForKeyCode(std::uint16_t keyCode) const override
    {
        const NPKey* key = NPKeyWithVirtualCode(keyCode);
        return key == nullptr ? std::string() : std::string(key->usCharacter);
    }
};
