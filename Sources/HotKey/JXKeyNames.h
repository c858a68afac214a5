// The short text that people see for a key combination: the glyphs of the modifiers, then the key's glyph or
// character, as in ⌃⌥⇧⌘D.
#pragma once

#include "HotKey/JXHotKey.h"
#include "Platform/NPPlatform.h"

// The modifiers come in a fixed order; a key without a glyph shows what the layout gives for it, in the
// layout's own case. Empty for key code 0 without flags, which is how no hot key at all shows. On any thread
// that the layout may be asked on.
std::string JXStringFromKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                const NPKeyboardLayout& layout = NPCurrentPlatform().keyboardLayout);

inline constexpr std::uint32_t JXCarbonCapsLockMask = 0x400;

// The modifier mask that goes with the flags: NPHotKeyModifierMask and JXCarbonCapsLockMask. The registration
// of a hot key leaves caps lock out.
std::uint32_t JXCarbonModifierFlags(std::uint64_t modifierFlags);
