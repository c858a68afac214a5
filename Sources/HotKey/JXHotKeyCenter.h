// The registry of the program's system-wide hot keys: registers combinations with the platform, and has the
// events of each invoke what its hot key is for.
//
// An action may do anything here: unregister everything, register its own combination again, or let go of
// the centre's owner. Main thread only, except that several threads may ask for the shared centre.
#pragma once

#include "HotKey/JXHotKey.h"

#include <vector>

// Each hot key once, in the order of registration.
using JXHotKeySet = std::vector<std::shared_ptr<JXHotKey>>;

using JXHotKeyPredicate = std::function<bool(const JXHotKey& hotKey)>;

// True when the hot key has been registered. Otherwise the error says in a few words why not, and nothing has
// changed.
using JXHotKeyRegistered = std::expected<void, std::string>;

class JXHotKeyCenter : public std::enable_shared_from_this<JXHotKeyCenter> {
public:
    JXHotKeyCenter(const JXHotKeyCenter&) = delete;
    JXHotKeyCenter& operator=(const JXHotKeyCenter&) = delete;

    // Refused without asking the platform when that very combination is registered here. The target is kept
    // for as long as its hot key is registered.
    JXHotKeyRegistered registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                 JXHotKeyTask task, NPHotKeyLabel label = {});
    JXHotKeyRegistered registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                 std::shared_ptr<JXHotKeyTarget> target,
                                                 std::optional<JXHotKeyAction> action,
                                                 std::shared_ptr<void> object, NPHotKeyLabel label = {});
    JXHotKeyRegistered registerHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                                 std::shared_ptr<JXHotKeyTarget> target,
                                                 std::optional<JXHotKeyAction> action,
                                                 std::optional<JXHotKeyAction> pressedAction,
                                                 std::shared_ptr<void> object, NPHotKeyLabel label = {});

    bool hasRegisteredHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags) const;
    JXHotKeySet hotKeysMatchingPredicate(const JXHotKeyPredicate& predicate) const;
    JXHotKeySet registeredHotKeys() const; // hotKeyRef != NULL

    // Removes the hot key that equals it as well. One without a registration is ignored, so that a value that
    // equals a registered hot key does no harm.
    void unregisterHotKey(const std::shared_ptr<JXHotKey>& hotKey);

    void unregisterHotKeysMatchingPredicate(const JXHotKeyPredicate& predicate);
    void unregisterHotKeysWithTarget(const std::shared_ptr<JXHotKeyTarget>& target);
    void unregisterHotKeysWithTarget(const std::shared_ptr<JXHotKeyTarget>& target, const std::string& action);
    void unregisterHotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags);
    void unregisterAllHotKeys();

private:
    friend std::shared_ptr<JXHotKeyCenter> sharedHotKeyCenter();
    explicit JXHotKeyCenter(NPHotKeyServices& services) : _services(services) {}

    void _start();
    JXHotKeyRegistered _registerHotKey(JXHotKey hotKey, NPHotKeyLabel label);
    std::shared_ptr<JXHotKey> _hotKeyWithID(std::uint32_t identifier) const;
    void _hotKeyPressed(const NPHotKeyEvent& event);
    void _hotKeyReleased(const NPHotKeyEvent& event);

    NPHotKeyServices& _services;
    NPHotKeySubscription _handlers;
    JXHotKeySet _registeredHotKeys;
    std::uint32_t _nextHotKeyID = 1; // only grows: an id is never used again
};

// The one centre of the current scope, on the platform that is installed there. Made on first use, by
// whichever thread comes first; there is no other way to a centre.
std::shared_ptr<JXHotKeyCenter> sharedHotKeyCenter();
