// Key combinations as people write them: "ctrl+alt+d", "super+shift+F5", "none".
//
// The modifiers are ctrl, alt, shift and super; control, option, cmd, command, meta and win are understood as
// well, and case does not matter. The key is named by the character that it gives without modifiers in the
// keyboard layout, or else on a US keyboard; by its name ("return", "page-up", "kp-0"; see NPKeyCodes.h); or
// by its virtual key code ("key-200"), which names every key.
#pragma once

#include "HotKey/JXHotKey.h"
#include "Platform/NPKeyboardLayout.h"

#include <string_view>

// None for "none". The error says what was expected and what it was not, to follow "'ctl+d' is not".
// Refused, because it would take the key from every application: a key of the main block or the keypad
// without any modifier, and a modifier as the key.
std::expected<std::optional<JXHotKey>, std::string> JXHotKeyFromWords(std::string_view words,
                                                                      const NPKeyboardLayout& layout);

// The words that read back as what the platform is asked for: flags other than the four modifiers have none.
std::string JXWordsFromHotKey(const std::optional<JXHotKey>& hotKey, const NPKeyboardLayout& layout);
