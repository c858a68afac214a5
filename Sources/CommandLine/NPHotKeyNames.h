// Hot keys as the commands read and print them: with the names that keys have in the user's keyboard layout.
//
// The engine knows no layout, and names keys by what they give on a US keyboard. The process that the user
// talks to translates.
#pragma once

#include "HotKey/JXHotKey.h"
#include "Platform/NPControl.h"
#include "Platform/NPKeyboardLayout.h"

// The settings with the hot key in the engine's words. What is no combination stays as it is, for the engine
// to say what is wrong with it.
NPControlSettings NPSettingsForEngine(NPControlSettings settings, const NPKeyboardLayout& layout);

// A list of effects as NPControl gives it, with the hot keys in the layout's words under "settings", and
// "glyphs" in each "hotKey".
QXArray NPEffectsWithHotKeyNames(const QXArray& effects, const NPKeyboardLayout& layout);

// "⌃⌥D (ctrl+alt+d)" for an effect of such a list; empty when it has no hot key.
std::string NPHotKeyText(const QXDictionary& effect);

// One line about what is not as the effect says: "The hot key of Night does not work: another program has it".
// Empty when all is well.
std::string NPHotKeyRemark(const QXDictionary& effect);
