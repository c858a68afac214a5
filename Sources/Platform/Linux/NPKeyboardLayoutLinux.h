// The keyboard layout of the session that the program runs in: the Wayland compositor's, or else the X server's,
// or else a US keyboard's.
//
// What reads it is in a module of its own (nightpane-keyboard.so), loaded when a key's character is first
// asked for: the engine, which asks for none, does without the keyboard libraries.
#pragma once

#include "Platform/Linux/NPModuleLinux.h"
#include "Platform/NPKeyboardLayout.h"

#include <memory>

class NPKeyboardLayoutLinux final : public NPKeyboardLayout {
public:
    // Of the X display of that name. When it is empty, of the Wayland compositor in WAYLAND_DISPLAY or of the X
    // display in DISPLAY.
    explicit NPKeyboardLayoutLinux(std::string displayName = {},
                                   std::vector<std::string> folders = NPModuleFolders())
        : _displayName(std::move(displayName)), _folders(std::move(folders))
    {
    }

    std::string charactersForKeyCode(std::uint16_t keyCode) const override;

private:
    std::string _displayName;
    std::vector<std::string> _folders;
    mutable std::unique_ptr<const NPKeyboardLayout> _layout; // none until it is first asked for
};

// The module's one function: the layout as above, or none when there is no such display or it has no XKB
// extension. A compositor that cannot be understood is worth a line of the log, one that is not there is not.
using NPKeyboardModuleEntry = void (*)(const std::string& displayName, void (*log)(std::string_view line),
                                       std::unique_ptr<const NPKeyboardLayout>& layout);
inline constexpr const char* NPKeyboardModuleEntryName = "NPOpenKeyboardLayout";
