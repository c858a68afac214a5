// A key combination, and what it invokes.
//
// Most hot keys are plain values: an effect's settings hold nothing but a key code and modifier flags. Those
// that JXHotKeyCenter makes also have a target with actions, or a task, and a registration with the platform
// while they are registered. A copy copies all but the registration, which only one can have: looking at hot
// keys never registers or unregisters any.
#pragma once

#include "Platform/NPHotKeyServices.h"

#include <optional>
#include <utility>

inline constexpr std::int32_t JXKeyUpEventType = 11;

// What the actions are given: a key-up event, also when the combination has been pressed.
struct JXKeyEvent {
    std::int32_t type = JXKeyUpEventType;
    double locationX = 0.0;
    double locationY = 0.0;
    std::uint64_t modifierFlags = 0;
    double timestamp = 0.0;
    std::int64_t windowNumber = -1; // of no window
    std::string characters = {};    // none: the key code tells which key it is
    std::string charactersIgnoringModifiers = {};
    bool isARepeat = false;
    std::uint16_t keyCode = 0;
};

// Whoever receives the actions of hot keys.
class JXHotKeyTarget {
public:
    virtual ~JXHotKeyTarget() = default;
};

// An operation of a class of targets, with its name. Targets of other classes do not respond to it. The
// object that it is given has to be of the type that it takes.
class JXHotKeyAction {
public:
    template<class Target, class Object>
    JXHotKeyAction(std::string name,
                   void (Target::*operation)(const JXKeyEvent& event, const std::shared_ptr<Object>& object))
        : _name(std::move(name)), _perform([operation](JXHotKeyTarget& target, const JXKeyEvent& event,
                                                       const std::shared_ptr<void>& object) {
              auto* responding = dynamic_cast<Target*>(&target);
              if (responding != nullptr) {
                  (responding->*operation)(event, std::static_pointer_cast<Object>(object));
              }
              return responding != nullptr;
          })
    {
    }

    const std::string& name() const { return _name; }

    // False when the target does not respond to the action.
    bool perform(JXHotKeyTarget& target, const JXKeyEvent& event, const std::shared_ptr<void>& object) const
    {
        return _perform(target, event, object);
    }

private:
    std::string _name;
    std::function<bool(JXHotKeyTarget&, const JXKeyEvent&, const std::shared_ptr<void>&)> _perform;
};

using JXHotKeyTask = std::function<void(const JXKeyEvent& event)>;

class JXHotKey {
public:
    // The flags are those of NPModifierFlags and possibly others (which of two Shift keys it was, and the like),
    // which are kept and count for identity.
    JXHotKey(std::uint16_t keyCode, std::uint64_t modifierFlags) : _keyCode(keyCode), _modifierFlags(modifierFlags)
    {
    }

    // Unregistered; the task may be empty, which makes a plain value.
    static JXHotKey hotKeyWithKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags, JXHotKeyTask task);

    // Ends the registration, if it has one.
    ~JXHotKey() = default;
    JXHotKey(const JXHotKey& other);
    JXHotKey& operator=(const JXHotKey& other);

    std::uint16_t keyCode() const { return _keyCode; }
    std::uint64_t modifierFlags() const { return _modifierFlags; } // as given

    // None, or empty, unless the centre has made the hot key with them.
    std::shared_ptr<JXHotKeyTarget> target() const;
    std::optional<JXHotKeyAction> action() const; // on release
    std::optional<JXHotKeyAction> pressedAction() const; // on press
    std::shared_ptr<void> object() const; // given to the actions
    JXHotKeyTask task() const; // on release, when there is no target that responds to an action
    std::string actionString() const;

    // The platform's registration; none while unregistered.
    const NPHotKeyRef& hotKeyRef() const { return _hotKeyRef; }
    void setHotKeyRef(NPHotKeyRef ref) { _hotKeyRef = std::move(ref); }
    std::uint32_t hotKeyID() const { return _hotKeyID; } // under which it was registered
    void setHotKeyID(std::uint32_t identifier) { _hotKeyID = identifier; }

    void invokeWithEvent(const JXKeyEvent& event) const; // the action, or else the task
    void invokePressedWithEvent(const JXKeyEvent& event) const; // the pressed action, or nothing

    // For logs: several lines.
    std::string description() const;

    // Identity is the combination alone.
    friend bool operator==(const JXHotKey& left, const JXHotKey& right)
    {
        return left._keyCode == right._keyCode && left._modifierFlags == right._modifierFlags;
    }
    std::uint64_t hash() const { return _modifierFlags ^ _keyCode; }

private:
    friend class JXHotKeyCenter;

    struct Invocation {
        std::shared_ptr<JXHotKeyTarget> target;
        std::optional<JXHotKeyAction> action;
        std::optional<JXHotKeyAction> pressedAction;
        std::shared_ptr<void> object;
        JXHotKeyTask task;
    };

    JXHotKey(std::uint16_t keyCode, std::uint64_t modifierFlags, Invocation invocation);

    std::uint16_t _keyCode;
    std::uint64_t _modifierFlags;
    std::shared_ptr<const Invocation> _invocation; // none for a plain value
    NPHotKeyRef _hotKeyRef;
    std::uint32_t _hotKeyID = 0;
};
