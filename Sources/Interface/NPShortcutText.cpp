#include "Interface/NPShortcutText.h"

#include "Platform/NPHotKeyServices.h"

#include <QStringList>

#include <utility>

namespace {

// The glyphs that stand for keys without a character, and Qt's names for those keys.
constexpr std::pair<const char*, Qt::Key> glyphs[] = {
    {"↩", Qt::Key_Return},    {"⇥", Qt::Key_Tab},         {"⎵", Qt::Key_Space},       {" ", Qt::Key_Space},
    {"⌫", Qt::Key_Backspace}, {"⌦", Qt::Key_Delete},      {"⎋", Qt::Key_Escape},      {"↖", Qt::Key_Home},
    {"↘", Qt::Key_End},       {"⇞", Qt::Key_PageUp},      {"⇟", Qt::Key_PageDown},    {"←", Qt::Key_Left},
    {"→", Qt::Key_Right},     {"↑", Qt::Key_Up},          {"↓", Qt::Key_Down},        {"⇪", Qt::Key_CapsLock},
    {"🔊", Qt::Key_VolumeUp}, {"🔈", Qt::Key_VolumeDown}, {"🔇", Qt::Key_VolumeMute},
};

Qt::KeyboardModifiers modifiersOf(std::uint64_t flags)
{
    Qt::KeyboardModifiers modifiers;
    modifiers.setFlag(Qt::ControlModifier, (flags & NPControlFlag) != 0);
    modifiers.setFlag(Qt::AltModifier, (flags & NPOptionFlag) != 0);
    modifiers.setFlag(Qt::ShiftModifier, (flags & NPShiftFlag) != 0);
    modifiers.setFlag(Qt::MetaModifier, (flags & NPCommandFlag) != 0);
    return modifiers;
}

// Upper case, except where that is another number of characters (ß).
QString keyCap(const QString& key)
{
    const QString upper = key.toUpper();
    return upper.size() == key.size() ? upper : key;
}

} // namespace

QKeySequence NPShortcutKeys(const std::string& key, std::uint64_t modifierFlags)
{
    if (key.empty()) {
        return {};
    }
    for (const auto& [glyph, name] : glyphs) {
        if (key == glyph) {
            return QKeySequence(QKeyCombination(modifiersOf(modifierFlags), name));
        }
    }
    const QString text = keyCap(QString::fromStdString(key));
    const QKeySequence named = QKeySequence::fromString(text, QKeySequence::PortableText);
    if (named.count() != 1 || named[0].key() == Qt::Key_unknown
        || named[0].keyboardModifiers() != Qt::NoModifier) {
        return {};
    }
    return QKeySequence(QKeyCombination(modifiersOf(modifierFlags), named[0].key()));
}

QString NPShortcutText(const std::string& key, std::uint64_t modifierFlags)
{
    if (key.empty()) {
        return {};
    }
    const QKeySequence keys = NPShortcutKeys(key, modifierFlags);
    if (!keys.isEmpty()) {
        return keys.toString(QKeySequence::NativeText);
    }
    // Qt writes the modifiers in front of any key: take them from one whose name is known.
    QString text =
        QKeySequence(QKeyCombination(modifiersOf(modifierFlags), Qt::Key_A)).toString(QKeySequence::NativeText);
    text.chop(1);
    return text + keyCap(QString::fromStdString(key));
}
