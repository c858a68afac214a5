#include "HotKey/JXHotKeyCenter.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXSharedScope.h"
#include "Foundation/QXWeakTarget.h"
#include "HotKey/JXKeyNames.h"

#include <algorithm>
#include <iterator>

namespace {

// Caps lock plays no part in what is registered.
std::uint32_t registrationMask(std::uint64_t flags)
{
    return JXCarbonModifierFlags(flags) & ~JXCarbonCapsLockMask;
}

// keyCode = %hu AND modifierFlags = %lu
JXHotKeyPredicate combinationPredicate(std::uint16_t keyCode, std::uint64_t modifierFlags)
{
    return [wanted = JXHotKey(keyCode, modifierFlags)](const JXHotKey& hotKey) { return hotKey == wanted; };
}

// A key-up event in either case: what tells press from release is which action is invoked.
JXKeyEvent keyEvent(const NPHotKeyEvent& event, const JXHotKey& hotKey)
{
    JXKeyEvent made;
    made.locationX = event.x;
    made.locationY = event.y;
    made.modifierFlags = event.modifierFlags;
    made.timestamp = event.timestamp;
    made.keyCode = hotKey.keyCode();
    return made;
}

} // namespace

std::shared_ptr<JXHotKeyCenter> sharedHotKeyCenter()
{
    return QXSharedScope::current().instance<JXHotKeyCenter>([] {
        const std::shared_ptr<JXHotKeyCenter> center(new JXHotKeyCenter(NPCurrentPlatform().hotKeys));
        center->_start();
        return center;
    });
}

void JXHotKeyCenter::_start()
{
    _handlers = _services.installHandlers({weakTarget(weak_from_this(), &JXHotKeyCenter::_hotKeyPressed),
                                           weakTarget(weak_from_this(), &JXHotKeyCenter::_hotKeyReleased),
                                           {}});
}

JXHotKeyRegistered JXHotKeyCenter::registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                             JXHotKeyTask task, NPHotKeyLabel label)
{
    return _registerHotKey(JXHotKey::hotKeyWithKeyCode(keyCode, modifierFlags, std::move(task)), std::move(label));
}

JXHotKeyRegistered JXHotKeyCenter::registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                             std::shared_ptr<JXHotKeyTarget> target,
                                                             std::optional<JXHotKeyAction> action,
                                                             std::shared_ptr<void> object, NPHotKeyLabel label)
{
    return registerHotKeyWithKeyCode(keyCode, modifierFlags, std::move(target), std::move(action), std::nullopt,
                                     std::move(object), std::move(label));
}

JXHotKeyRegistered JXHotKeyCenter::registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                             std::shared_ptr<JXHotKeyTarget> target,
                                                             std::optional<JXHotKeyAction> action,
                                                             std::optional<JXHotKeyAction> pressedAction,
                                                             std::shared_ptr<void> object, NPHotKeyLabel label)
{
    return _registerHotKey(
        {keyCode, modifierFlags,
         JXHotKey::Invocation{
             std::move(target), std::move(action), std::move(pressedAction), std::move(object), {}}},
        std::move(label));
}

JXHotKeyRegistered JXHotKeyCenter::_registerHotKey(JXHotKey hotKey, NPHotKeyLabel label)
{
    if (hasRegisteredHotKeyWithKeyCode(hotKey.keyCode(), hotKey.modifierFlags())) {
        return std::unexpected("it is registered already");
    }
    auto ref = _services.registerHotKey({hotKey.keyCode(), registrationMask(hotKey.modifierFlags()),
                                         NPHotKeyID{.id = _nextHotKeyID}, std::move(label)});
    if (!ref) {
        return std::unexpected(std::move(ref.error()));
    }
    const auto registered = std::make_shared<JXHotKey>(hotKey);
    registered->setHotKeyRef(std::move(*ref));
    registered->setHotKeyID(_nextHotKeyID++);
    _registeredHotKeys.push_back(registered);
    return {};
}

bool JXHotKeyCenter::hasRegisteredHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags) const
{
    return !hotKeysMatchingPredicate(combinationPredicate(keyCode, modifierFlags)).empty();
}

JXHotKeySet JXHotKeyCenter::hotKeysMatchingPredicate(const JXHotKeyPredicate& predicate) const
{
    JXHotKeySet matches;
    std::ranges::copy_if(_registeredHotKeys, std::back_inserter(matches),
                         [&](const std::shared_ptr<JXHotKey>& hotKey) { return predicate(*hotKey); });
    return matches;
}

JXHotKeySet JXHotKeyCenter::registeredHotKeys() const
{
    return hotKeysMatchingPredicate([](const JXHotKey& hotKey) { return hotKey.hotKeyRef() != nullptr; });
}

void JXHotKeyCenter::unregisterHotKey(const std::shared_ptr<JXHotKey>& hotKey)
{
    if (!hotKey->hotKeyRef()) {
        return;
    }
    const std::shared_ptr<JXHotKey> held = hotKey; // the argument may be the set's own
    held->setHotKeyRef(nullptr);
    std::erase_if(_registeredHotKeys,
                  [&](const std::shared_ptr<JXHotKey>& registered) { return *registered == *held; });
}

void JXHotKeyCenter::unregisterHotKeysMatchingPredicate(const JXHotKeyPredicate& predicate)
{
    for (const std::shared_ptr<JXHotKey>& hotKey : hotKeysMatchingPredicate(predicate)) {
        unregisterHotKey(hotKey);
    }
}

// target = %@
void JXHotKeyCenter::unregisterHotKeysWithTarget(const std::shared_ptr<JXHotKeyTarget>& target)
{
    unregisterHotKeysMatchingPredicate([&](const JXHotKey& hotKey) { return hotKey.target() == target; });
}

// target = %@ AND actionString = %@
void JXHotKeyCenter::unregisterHotKeysWithTarget(const std::shared_ptr<JXHotKeyTarget>& target,
                                                 const std::string& action)
{
    unregisterHotKeysMatchingPredicate(
        [&](const JXHotKey& hotKey) { return hotKey.target() == target && hotKey.actionString() == action; });
}

void JXHotKeyCenter::unregisterHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags)
{
    unregisterHotKeysMatchingPredicate(combinationPredicate(keyCode, modifierFlags));
}

void JXHotKeyCenter::unregisterAllHotKeys()
{
    const JXHotKeySet all = _registeredHotKeys;
    for (const std::shared_ptr<JXHotKey>& hotKey : all) {
        unregisterHotKey(hotKey);
    }
}

// hotKeyID = %u. The signature is not looked at: the platform delivers nobody else's events.
std::shared_ptr<JXHotKey> JXHotKeyCenter::_hotKeyWithID(std::uint32_t identifier) const
{
    const JXHotKeySet matches =
        hotKeysMatchingPredicate([&](const JXHotKey& hotKey) { return hotKey.hotKeyID() == identifier; });
    if (matches.size() > 1) {
        QXLog("ERROR!");
    }
    return matches.empty() ? nullptr : matches.front();
}

void JXHotKeyCenter::_hotKeyPressed(const NPHotKeyEvent& event)
{
    if (const std::shared_ptr<JXHotKey> hotKey = _hotKeyWithID(event.identifier.id)) {
        hotKey->invokePressedWithEvent(keyEvent(event, *hotKey));
    }
}

void JXHotKeyCenter::_hotKeyReleased(const NPHotKeyEvent& event)
{
    if (const std::shared_ptr<JXHotKey> hotKey = _hotKeyWithID(event.identifier.id)) {
        hotKey->invokeWithEvent(keyEvent(event, *hotKey));
    }
}
