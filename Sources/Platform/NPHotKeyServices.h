// System-wide hot keys: key combinations that reach the program whatever has the keyboard focus.
#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

// The modifiers of a combination, as the platform is asked for them: all of these and no others must be down.
// The state of caps lock and num lock plays no part.
enum NPHotKeyModifierMask : std::uint32_t {
    NPHotKeyCommandMask = 0x100, // the Super key of PC keyboards
    NPHotKeyShiftMask = 0x200,
    NPHotKeyOptionMask = 0x800, // the Alt key
    NPHotKeyControlMask = 0x1000,
};

// The modifiers that are down during a key event.
enum NPModifierFlags : std::uint64_t {
    NPCapsLockFlag = 0x10000,
    NPShiftFlag = 0x20000,
    NPControlFlag = 0x40000,
    NPOptionFlag = 0x80000,
    NPCommandFlag = 0x100000,
    NPFunctionFlag = 0x800000,
};

// Under which a combination is registered, and which its events carry.
struct NPHotKeyID {
    std::uint32_t signature = 0x68746B31; // "htk1"
    std::uint32_t id = 0;
};

// For desktops where the user decides in the desktop's own settings which keys are pressed.
struct NPHotKeyLabel {
    std::string name;        // the same in every run for the same purpose: the desktop remembers by it
    std::string description; // for people
};

struct NPHotKeyRequest {
    std::uint16_t keyCode = 0;      // virtual, see NPKeyCodes.h
    std::uint32_t modifierMask = 0; // of NPHotKeyModifierMask
    NPHotKeyID identifier;
    NPHotKeyLabel label;
};

struct NPHotKeyEvent {
    NPHotKeyID identifier;
    double x = 0.0; // where the pointer is, in global display coordinates; 0 when the platform does not say
    double y = 0.0;
    std::uint64_t modifierFlags = 0; // NPModifierFlags
    double timestamp = 0.0;          // seconds on the platform's event clock
};

// Called on the main thread. A handler may register and unregister anything, what is being delivered included.
struct NPHotKeyHandlers {
    std::function<void(const NPHotKeyEvent&)> pressed;  // once, however long the keys are held
    std::function<void(const NPHotKeyEvent&)> released; // once for each press, unless unregistered meanwhile

    // Combinations that were refused may be had now, or registered ones have been lost: the service has come
    // up or gone, or the keyboard has changed. To be answered by registering everything anew.
    std::function<void()> availabilityChanged;
};

// Keep a combination registered, and handlers installed, for as long as somebody holds them. Either may be
// held for longer than the service lives.
using NPHotKeyRef = std::shared_ptr<void>;
using NPHotKeySubscription = std::shared_ptr<void>;

class NPHotKeyServices {
public:
    virtual ~NPHotKeyServices() = default;

    // Registers a combination. The error says in a few words why it cannot be had ("another program has it").
    // A service that has to ask the desktop first may accept it now and announce the refusal as a change of
    // availability; from then on it refuses the combination here.
    virtual std::expected<NPHotKeyRef, std::string> registerHotKey(const NPHotKeyRequest& request) = 0;

    [[nodiscard]] virtual NPHotKeySubscription installHandlers(NPHotKeyHandlers handlers) = 0;

    // What has to be pressed for a registered hot key, in the desktop's own words. None where it is what was
    // asked for.
    virtual std::optional<std::string> trigger(NPHotKeyID identifier) const = 0;
};
