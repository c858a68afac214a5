#include "Platform/Linux/NPKeyboardLayoutLinux.h"

#include "Foundation/QXLog.h"

std::string NPKeyboardLayoutLinux::charactersForKeyCode(std::uint16_t keyCode) const
{
    if (!_layout) {
        // Nothing is said about a missing module: names are then as on a US keyboard, which is good enough to go on.
        if (const auto entry = NPLoadModule(_folders, "nightpane-keyboard.so", NPKeyboardModuleEntryName)) {
            reinterpret_cast<NPKeyboardModuleEntry>(*entry)(_displayName, QXLog, _layout);
        }
        if (!_layout) {
            _layout = std::make_unique<NPUSKeyboardLayout>();
        }
    }
    return _layout->charactersForKeyCode(keyCode);
}
