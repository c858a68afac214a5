// Key equivalents in the words of this desktop.
#pragma once

#include <QKeySequence>
#include <QString>

#include <cstdint>
#include <string>

// The combination, for a key named by the character or glyph that menu items carry ("d", "↩") and NPModifierFlags.
// Empty for a key that Qt has no name for.
QKeySequence NPShortcutKeys(const std::string& key, std::uint64_t modifierFlags);

// "Ctrl+Alt+D", in the user's language; empty without a key.
QString NPShortcutText(const std::string& key, std::uint64_t modifierFlags);
