// A hot-key service and a keyboard layout in memory, with everything that can go wrong with real ones.
#pragma once

#include "Platform/NPHotKeyHandlerList.h"
#include "Platform/NPKeyboardLayout.h"
#include "Platform/Simulated/NPActionLog.h"

#include <map>

// Each call is one line of the action log: "hotkey register 1 2 0x1800" (id, key code, modifier mask),
// "hotkey register 1 2 0x1800 refused", "hotkey unregister 1".
class NPSimulatedHotKeys final : public NPHotKeyServices {
public:
    explicit NPSimulatedHotKeys(NPActionLog& log);

    std::expected<NPHotKeyRef, std::string> registerHotKey(const NPHotKeyRequest& request) override;
    NPHotKeySubscription installHandlers(NPHotKeyHandlers handlers) override
    {
        return _handlers.add(std::move(handlers));
    }
    std::optional<std::string> trigger(NPHotKeyID identifier) const override;

    // Another program takes a combination, or lets it go; announced when it was registered here.
    void take(std::uint16_t keyCode, std::uint32_t modifierMask,
              const std::string& reason = "another program has it");
    void letGo(std::uint16_t keyCode, std::uint32_t modifierMask);

    // The service goes, and comes back with that reason empty; announced.
    void setUnavailable(const std::string& reason);

    // Keys go down and come up. False when nothing is registered for them, so that they reach whatever has
    // the focus.
    bool press(std::uint16_t keyCode, std::uint32_t modifierMask);
    bool release(std::uint16_t keyCode, std::uint32_t modifierMask);

    // An event as the platform would deliver it.
    void deliverPressed(const NPHotKeyEvent& event) const { _handlers.pressed(event); }
    void deliverReleased(const NPHotKeyEvent& event) const { _handlers.released(event); }

    // In the order of registration.
    std::vector<NPHotKeyRequest> registered() const;

    // The desktop's words for what has to be pressed, by the label's name.
    std::map<std::string, std::string> triggers;

private:
    using Combination = std::pair<std::uint16_t, std::uint32_t>;
    struct State;
    class Registration;

    std::optional<NPHotKeyEvent> _eventFor(std::uint16_t keyCode, std::uint32_t modifierMask) const;
    std::optional<std::string> _refusal(const NPHotKeyRequest& request) const;

    std::shared_ptr<State> _state; // registrations may outlive the service
    NPHotKeyHandlerList _handlers;
    std::map<Combination, std::string> _taken;
    std::string _unavailable;
};

// The US layout, but for the keys that are told otherwise.
class NPSimulatedKeyboardLayout final : public NPKeyboardLayout {
public:
    std::string charactersForKeyCode(std::uint16_t keyCode) const override
    {
        const auto found = _characters.find(keyCode);
        return found == _characters.end() ? NPUSKeyboardLayout().charactersForKeyCode(keyCode) : found->second;
    }
    void setCharacters(std::uint16_t keyCode, std::string characters)
    {
        _characters.insert_or_assign(keyCode, std::move(characters));
    }

private:
    std::map<std::uint16_t, std::string> _characters;
};
