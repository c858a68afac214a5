#include "HotKey/JXKeyNames.h"

#include <algorithm>
#include <string_view>

namespace {

struct SpecialKey {
    std::uint16_t keyCode;
    std::string_view text;
};

constexpr std::uint16_t commandKeyCode = 55;
constexpr std::uint16_t shiftKeyCode = 56;
constexpr std::uint16_t optionKeyCode = 58;
constexpr std::uint16_t controlKeyCode = 59;

constexpr SpecialKey specialKeys[] = {
    {36, "↩"},
    {48, "⇥"},
    {49, "⎵"},
    {51, "⌫"},
    {53, "⎋"},
    {commandKeyCode, "⌘"},
    {shiftKeyCode, "⇧"},
    {57, "⇪"},
    {optionKeyCode, "⌥"},
    {controlKeyCode, "⌃"},
    {60, "⇧"},
    {61, "⌥"},
    {62, "⌃"},
    {63, "⌘"}, // the function key; it shows the command glyph, and always has
    {72, "🔊"},
    {73, "🔈"},
    {74, "🔇"},
    {117, "⌦"},
    {115, "↖"},
    {119, "↘"},
    {116, "⇞"},
    {121, "⇟"},
    {122, "F1"},
    {120, "F2"},
    {99, "F3"},
    {118, "F4"},
    {96, "F5"},
    {97, "F6"},
    {98, "F7"},
    {100, "F8"},
    {101, "F9"},
    {109, "F10"},
    {103, "F11"},
    {111, "F12"},
    {105, "F13"},
    {107, "F14"},
    {113, "F15"},
    {106, "F16"},
    {64, "F17"},
    {79, "F18"},
    {80, "F19"},
    {90, "F20"},
    {123, "←"},
    {124, "→"},
    {125, "↓"},
    {126, "↑"},
};

// Empty for a key that has no glyph or name of its own.
constexpr std::string_view specialText(std::uint16_t keyCode)
{
    const auto* found = std::ranges::find(specialKeys, keyCode, &SpecialKey::keyCode);
    return found == std::end(specialKeys) ? std::string_view() : found->text;
}

// The keys whose own glyph would only repeat the modifier's. The right-hand ones, caps lock and function are
// on purpose not among them, and show both.
constexpr bool showsModifiersOnly(std::uint16_t keyCode)
{
    return keyCode == commandKeyCode || keyCode == shiftKeyCode || keyCode == optionKeyCode
           || keyCode == controlKeyCode;
}

} // namespace

std::string JXStringFromKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags, const NPKeyboardLayout& layout)
{
    if (keyCode == 0 && modifierFlags == 0) {
        return {};
    }
    std::string text;
    constexpr std::pair<std::uint64_t, std::uint16_t> modifiers[] = {{NPControlFlag, controlKeyCode},
                                                                     {NPOptionFlag, optionKeyCode},
                                                                     {NPShiftFlag, shiftKeyCode},
                                                                     {NPCommandFlag, commandKeyCode}};
    for (const auto& [flag, glyphKeyCode] : modifiers) {
        if ((modifierFlags & flag) != 0) {
            text += specialText(glyphKeyCode);
        }
    }
    if (showsModifiersOnly(keyCode)) {
        return text;
    }
    const std::string_view special = specialText(keyCode);
    // The layout is asked for the bare key: the modifiers are shown already, and D with option is still D.
    return text + (special.empty() ? layout.charactersForKeyCode(keyCode) : std::string(special));
}

std::uint32_t JXCarbonModifierFlags(std::uint64_t modifierFlags)
{
    return ((modifierFlags & NPCommandFlag) != 0 ? NPHotKeyCommandMask : 0U)
           | ((modifierFlags & NPShiftFlag) != 0 ? NPHotKeyShiftMask : 0U)
           | ((modifierFlags & NPCapsLockFlag) != 0 ? JXCarbonCapsLockMask : 0U)
           | ((modifierFlags & NPOptionFlag) != 0 ? NPHotKeyOptionMask : 0U)
           | ((modifierFlags & NPControlFlag) != 0 ? NPHotKeyControlMask : 0U);
}
