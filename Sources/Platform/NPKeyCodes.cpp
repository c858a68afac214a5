#include "Platform/NPKeyCodes.h"

#include <algorithm>

namespace {

constexpr std::uint16_t xKeyCodeOffset = 8; // X key codes 0 to 7 are no keys
constexpr std::uint16_t lastXKeyCode = 255;

// Two pairs are less than obvious. Code 50 is the key left of 1 on ANSI keyboards, and 10 the additional key
// of ISO keyboards; the codes belong to these places, whatever is printed there. Code 71 clears on some
// keyboards and locks the numbers on others; it is the same key.
constexpr NPKey keys[] = {
    // The main block: ANSI keys from the top left, and the keys that ISO and JIS keyboards have besides.
    {50, 41, "TLDE", "", "`", "grave"},
    {18, 2, "AE01", "", "1", "1"},
    {19, 3, "AE02", "", "2", "2"},
    {20, 4, "AE03", "", "3", "3"},
    {21, 5, "AE04", "", "4", "4"},
    {23, 6, "AE05", "", "5", "5"},
    {22, 7, "AE06", "", "6", "6"},
    {26, 8, "AE07", "", "7", "7"},
    {28, 9, "AE08", "", "8", "8"},
    {25, 10, "AE09", "", "9", "9"},
    {29, 11, "AE10", "", "0", "0"},
    {27, 12, "AE11", "", "-", "minus"},
    {24, 13, "AE12", "", "=", "equal"},
    {51, 14, "BKSP", "backspace", "", "BackSpace"},
    {48, 15, "TAB", "tab", "", "Tab"},
    {12, 16, "AD01", "", "q", "q"},
    {13, 17, "AD02", "", "w", "w"},
    {14, 18, "AD03", "", "e", "e"},
    {15, 19, "AD04", "", "r", "r"},
    {17, 20, "AD05", "", "t", "t"},
    {16, 21, "AD06", "", "y", "y"},
    {32, 22, "AD07", "", "u", "u"},
    {34, 23, "AD08", "", "i", "i"},
    {31, 24, "AD09", "", "o", "o"},
    {35, 25, "AD10", "", "p", "p"},
    {33, 26, "AD11", "", "[", "bracketleft"},
    {30, 27, "AD12", "", "]", "bracketright"},
    {36, 28, "RTRN", "return", "", "Return"},
    {57, 58, "CAPS", "caps-lock", "", "Caps_Lock", true},
    {0, 30, "AC01", "", "a", "a"},
    {1, 31, "AC02", "", "s", "s"},
    {2, 32, "AC03", "", "d", "d"},
    {3, 33, "AC04", "", "f", "f"},
    {5, 34, "AC05", "", "g", "g"},
    {4, 35, "AC06", "", "h", "h"},
    {38, 36, "AC07", "", "j", "j"},
    {40, 37, "AC08", "", "k", "k"},
    {37, 38, "AC09", "", "l", "l"},
    {41, 39, "AC10", "", ";", "semicolon"},
    {39, 40, "AC11", "", "'", "apostrophe"},
    {42, 43, "BKSL", "", "\\", "backslash"},
    {56, 42, "LFSH", "left-shift", "", "Shift_L", true},
    {10, 86, "LSGT", "", "<", "less"},
    {6, 44, "AB01", "", "z", "z"},
    {7, 45, "AB02", "", "x", "x"},
    {8, 46, "AB03", "", "c", "c"},
    {9, 47, "AB04", "", "v", "v"},
    {11, 48, "AB05", "", "b", "b"},
    {45, 49, "AB06", "", "n", "n"},
    {46, 50, "AB07", "", "m", "m"},
    {43, 51, "AB08", "", ",", "comma"},
    {47, 52, "AB09", "", ".", "period"},
    {44, 53, "AB10", "", "/", "slash"},
    {60, 54, "RTSH", "right-shift", "", "Shift_R", true},
    {59, 29, "LCTL", "left-ctrl", "", "Control_L", true},
    {58, 56, "LALT", "left-alt", "", "Alt_L", true},
    {55, 125, "LWIN", "left-super", "", "Super_L", true},
    {49, 57, "SPCE", "space", " ", "space"},
    {54, 126, "RWIN", "right-super", "", "Super_R", true},
    {61, 100, "RALT", "right-alt", "", "Alt_R", true},
    {62, 97, "RCTL", "right-ctrl", "", "Control_R", true},
    {63, 464, "", "fn", "", "", true},
    {110, 127, "COMP", "menu", "", "Menu"},
    {93, 124, "AE13", "yen", "", "yen"},
    {94, 89, "AB11", "ro", "", "underscore"},
    {102, 123, "HJCV", "eisu", "", "Hangul_Hanja"},
    {104, 122, "HNGL", "kana", "", "Hangul"},
    // Above, beside and between: function, editing, arrow and media keys.
    {53, 1, "ESC", "escape", "", "Escape"},
    {122, 59, "FK01", "f1", "", "F1"},
    {120, 60, "FK02", "f2", "", "F2"},
    {99, 61, "FK03", "f3", "", "F3"},
    {118, 62, "FK04", "f4", "", "F4"},
    {96, 63, "FK05", "f5", "", "F5"},
    {97, 64, "FK06", "f6", "", "F6"},
    {98, 65, "FK07", "f7", "", "F7"},
    {100, 66, "FK08", "f8", "", "F8"},
    {101, 67, "FK09", "f9", "", "F9"},
    {109, 68, "FK10", "f10", "", "F10"},
    {103, 87, "FK11", "f11", "", "F11"},
    {111, 88, "FK12", "f12", "", "F12"},
    {105, 183, "FK13", "f13", "", "F13"},
    {107, 184, "FK14", "f14", "", "F14"},
    {113, 185, "FK15", "f15", "", "F15"},
    {106, 186, "FK16", "f16", "", "F16"},
    {64, 187, "FK17", "f17", "", "F17"},
    {79, 188, "FK18", "f18", "", "F18"},
    {80, 189, "FK19", "f19", "", "F19"},
    {90, 190, "FK20", "f20", "", "F20"},
    {114, 110, "INS", "insert", "", "Insert"},
    {117, 111, "DELE", "delete", "", "Delete"},
    {115, 102, "HOME", "home", "", "Home"},
    {119, 107, "END", "end", "", "End"},
    {116, 104, "PGUP", "page-up", "", "Prior"},
    {121, 109, "PGDN", "page-down", "", "Next"},
    {123, 105, "LEFT", "left", "", "Left"},
    {124, 106, "RGHT", "right", "", "Right"},
    {125, 108, "DOWN", "down", "", "Down"},
    {126, 103, "UP", "up", "", "Up"},
    {72, 115, "VOL+", "volume-up", "", "XF86AudioRaiseVolume"},
    {73, 114, "VOL-", "volume-down", "", "XF86AudioLowerVolume"},
    {74, 113, "MUTE", "mute", "", "XF86AudioMute"},
    // The keypad.
    {71, 69, "NMLK", "num-lock", "", "Num_Lock", false, true},
    {81, 117, "KPEQ", "kp-equal", "=", "KP_Equal", false, true},
    {75, 98, "KPDV", "kp-divide", "/", "KP_Divide", false, true},
    {67, 55, "KPMU", "kp-multiply", "*", "KP_Multiply", false, true},
    {89, 71, "KP7", "kp-7", "7", "KP_7", false, true},
    {91, 72, "KP8", "kp-8", "8", "KP_8", false, true},
    {92, 73, "KP9", "kp-9", "9", "KP_9", false, true},
    {78, 74, "KPSU", "kp-minus", "-", "KP_Subtract", false, true},
    {86, 75, "KP4", "kp-4", "4", "KP_4", false, true},
    {87, 76, "KP5", "kp-5", "5", "KP_5", false, true},
    {88, 77, "KP6", "kp-6", "6", "KP_6", false, true},
    {69, 78, "KPAD", "kp-plus", "+", "KP_Add", false, true},
    {83, 79, "KP1", "kp-1", "1", "KP_1", false, true},
    {84, 80, "KP2", "kp-2", "2", "KP_2", false, true},
    {85, 81, "KP3", "kp-3", "3", "KP_3", false, true},
    {82, 82, "KP0", "kp-0", "0", "KP_0", false, true},
    {65, 83, "KPDL", "kp-decimal", ".", "KP_Decimal", false, true},
    {95, 121, "KPPT", "kp-comma", ",", "KP_Separator", false, true},
    {76, 96, "KPEN", "kp-enter", "", "KP_Enter", false, true},
};

} // namespace

std::span<const NPKey> NPKeyTable()
{
    return keys;
}

const NPKey* NPKeyWithVirtualCode(std::uint16_t virtualCode)
{
    const auto* found = std::ranges::find(keys, virtualCode, &NPKey::virtualCode);
    return found == std::end(keys) ? nullptr : found;
}

const NPKey* NPKeyWithLinuxCode(std::uint16_t linuxCode)
{
    const auto* found = std::ranges::find(keys, linuxCode, &NPKey::linuxCode);
    return found == std::end(keys) ? nullptr : found;
}

std::optional<std::uint8_t> NPXKeyCodeFromLinuxCode(std::uint16_t linuxCode)
{
    const bool hasXKeyCode = linuxCode > 0 && linuxCode <= lastXKeyCode - xKeyCodeOffset;
    return hasXKeyCode ? std::optional(static_cast<std::uint8_t>(linuxCode + xKeyCodeOffset)) : std::nullopt;
}

std::optional<std::uint16_t> NPLinuxCodeFromXKeyCode(std::uint8_t xKeyCode)
{
    const bool isKey = xKeyCode > xKeyCodeOffset;
    return isKey ? std::optional(static_cast<std::uint16_t>(xKeyCode - xKeyCodeOffset)) : std::nullopt;
}
