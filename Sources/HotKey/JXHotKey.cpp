#include "HotKey/JXHotKey.h"

#include "Foundation/QXString.h"

#include <charconv>
#include <cstdint>

namespace {

// "<JXHotKey: 0x55d0c8a3f2b0>"
std::string genericDescription(const char* className, const void* object)
{
    char digits[2 * sizeof object];
    const auto end = std::to_chars(digits, std::end(digits), reinterpret_cast<std::uintptr_t>(object), 16).ptr;
    return QXFormat("<%@: 0x%@>", {className, std::string_view(digits, end)});
}

std::string flagsText(std::uint64_t flags)
{
    constexpr std::pair<std::uint64_t, std::string_view> names[] = {{NPControlFlag, "NSControlKeyMask"},
                                                                    {NPCommandFlag, "NSCommandKeyMask"},
                                                                    {NPShiftFlag, "NSShiftKeyMask"},
                                                                    {NPOptionFlag, "NSAlternateKeyMask"}};
    std::string text;
    for (const auto& [flag, name] : names) {
        if ((flags & flag) != 0) {
            text += (text.empty() ? "" : " | ") + std::string(name);
        }
    }
    return QXFormat("(%@)", {text});
}

} // namespace

JXHotKey::JXHotKey(std::uint16_t keyCode, std::uint64_t modifierFlags, Invocation invocation)
    : _keyCode(keyCode), _modifierFlags(modifierFlags),
      _invocation(std::make_shared<const Invocation>(std::move(invocation)))
{
}

JXHotKey JXHotKey::hotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags, JXHotKeyTask task)
{
    if (!task) {
        return {keyCode, modifierFlags};
    }
    return {keyCode, modifierFlags, Invocation{{}, {}, {}, {}, std::move(task)}};
}

JXHotKey::JXHotKey(const JXHotKey& other)
    : _keyCode(other._keyCode), _modifierFlags(other._modifierFlags), _invocation(other._invocation)
{
}

JXHotKey& JXHotKey::operator=(const JXHotKey& other)
{
    if (this != &other) {
        _keyCode = other._keyCode;
        _modifierFlags = other._modifierFlags;
        _invocation = other._invocation;
        _hotKeyRef.reset(); // it was the former combination's
        _hotKeyID = 0;
    }
    return *this;
}

std::shared_ptr<JXHotKeyTarget> JXHotKey::target() const
{
    return _invocation ? _invocation->target : nullptr;
}

std::optional<JXHotKeyAction> JXHotKey::action() const
{
    return _invocation ? _invocation->action : std::nullopt;
}

std::optional<JXHotKeyAction> JXHotKey::pressedAction() const
{
    return _invocation ? _invocation->pressedAction : std::nullopt;
}

std::shared_ptr<void> JXHotKey::object() const
{
    return _invocation ? _invocation->object : nullptr;
}

JXHotKeyTask JXHotKey::task() const
{
    return _invocation ? _invocation->task : JXHotKeyTask();
}

std::string JXHotKey::actionString() const
{
    return _invocation && _invocation->action ? _invocation->action->name() : std::string();
}

// What is invoked may end the hot key itself, so the invocation is held until it returns.
void JXHotKey::invokeWithEvent(const JXKeyEvent& event) const
{
    const std::shared_ptr<const Invocation> held = _invocation;
    if (!held) {
        return;
    }
    const bool responded =
        held->target && held->action && held->action->perform(*held->target, event, held->object);
    if (!responded && held->task) {
        held->task(event);
    }
}

// On purpose without the task: a task is for the release alone.
void JXHotKey::invokePressedWithEvent(const JXKeyEvent& event) const
{
    const std::shared_ptr<const Invocation> held = _invocation;
    if (held && held->target && held->pressedAction) {
        held->pressedAction->perform(*held->target, event, held->object);
    }
}

std::string JXHotKey::description() const
{
    const bool hasAction = _invocation && _invocation->target && _invocation->action;
    const std::string invocation =
        hasAction ? QXFormat("[%@ %@]", {genericDescription("JXHotKeyTarget", _invocation->target.get()),
                                         _invocation->action->name()})
                  : "(block)";
    return QXFormat(
        "%@\n\t(key: %@\n\tflags: %@\n\tinvokes: %@)",
        {genericDescription("JXHotKey", this), std::to_string(_keyCode), flagsText(_modifierFlags), invocation});
}
