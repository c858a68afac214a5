// The keys of a keyboard, and what each system calls them.
//
// A key is a place, not a character: what it gives depends on the layout. Hot keys and effect files name a
// key by its virtual key code, so that a file means the same key on every system.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

struct NPKey {
    std::uint16_t virtualCode;
    std::uint16_t linuxCode;       // the kernel's (evdev) code
    std::string_view xkbName;      // the key's name in XKB keyboard descriptions; empty when X has no such key
    std::string_view word;         // what people call a key that has no character to be called by; else empty
    std::string_view usCharacter;  // in UTF-8, what the key gives without modifiers on a US keyboard; or empty
    std::string_view usKeysym;     // the name of the keysym that it gives there
    bool isModifier = false;
    bool isOnKeypad = false;
};

// Every key that is known, each once: no two have the same virtual code, Linux code, XKB name or word. Keys
// of the main block come before the keypad's, which repeat some characters.
std::span<const NPKey> NPKeyTable();

// nullptr for a code that no key of the table has.
const NPKey* NPKeyWithVirtualCode(std::uint16_t virtualCode);
const NPKey* NPKeyWithLinuxCode(std::uint16_t linuxCode);

// The X key code that goes with the kernel's code on an X server that reads its keyboards from the kernel,
// as all now do. X key codes end at 255; none for keys beyond.
std::optional<std::uint8_t> NPXKeyCodeFromLinuxCode(std::uint16_t linuxCode);
std::optional<std::uint16_t> NPLinuxCodeFromXKeyCode(std::uint8_t xKeyCode); // none for 0 to 7, which are no keys
