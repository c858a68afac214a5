// Menus as the logic sees them: lists of items. What the user sees is a mirror of them, which observes a menu and
// calls choose() on the item that was chosen. No menu knows its mirrors, so that it can be built and changed
// before there are any, and where there never will be one. Main thread only.
#pragma once

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class NPMenu;
class NPMenuItem;

// Whoever receives the actions of menu items.
class NPMenuTarget {
public:
    virtual ~NPMenuTarget() = default;
};

// An operation of a class of targets, with its name ("chooseEffect:").
class NPMenuAction {
public:
    NPMenuAction() = default; // none

    // One that is given the item that was chosen.
    template<class Target>
    NPMenuAction(std::string_view name, void (Target::*operation)(NPMenuItem& sender))
        : _name(name), _perform([operation](NPMenuTarget& target, NPMenuItem& sender) {
              if (auto* responding = dynamic_cast<Target*>(&target)) {
                  (responding->*operation)(sender);
              }
          })
    {
    }

    // One that does not ask which item it was.
    template<class Target>
    NPMenuAction(std::string_view name, void (Target::*operation)())
        : _name(name), _perform([operation](NPMenuTarget& target, NPMenuItem&) {
              if (auto* responding = dynamic_cast<Target*>(&target)) {
                  (responding->*operation)();
              }
          })
    {
    }

    std::string_view name() const { return _name; } // empty for none
    void perform(NPMenuTarget& target, NPMenuItem& sender) const
    {
        if (_perform) {
            _perform(target, sender);
        }
    }

private:
    std::string_view _name; // a literal
    std::function<void(NPMenuTarget&, NPMenuItem&)> _perform;
};

enum class NPMenuItemState : std::int32_t {
    mixed = -1, // on for a part of what it stands for: a dash
    off = 0,
    on = 1, // a check mark
};

// One line of a menu. Every setter that changes something is announced to the observers of its menu.
class NPMenuItem : public std::enable_shared_from_this<NPMenuItem> {
public:
    // The key equivalent is what the key gives without modifiers, as in "d"; empty for none.
    static std::shared_ptr<NPMenuItem> itemWithTitle(std::string title, NPMenuAction action = {},
                                                     std::string keyEquivalent = {});
    static std::shared_ptr<NPMenuItem> separatorItem();

    bool isSeparatorItem() const { return _isSeparator; }

    const std::string& title() const { return _title; }
    void setTitle(std::string title) { _set(_title, std::move(title)); }

    NPMenuItemState state() const { return _state; }
    void setState(NPMenuItemState state) { _set(_state, state); }

    // A text, in the case that the keyboard layout gives, and the modifiers (NPModifierFlags of NPHotKeyServices.h,
    // possibly with flags of no meaning here). It is only shown: the keys themselves are registered elsewhere.
    const std::string& keyEquivalent() const { return _keyEquivalent; }
    std::uint64_t keyEquivalentModifierMask() const { return _keyEquivalentModifierMask; }
    void setKeyEquivalent(std::string text) { _set(_keyEquivalent, std::move(text)); }
    void setKeyEquivalentModifierMask(std::uint64_t mask) { _set(_keyEquivalentModifierMask, mask); }

    bool isEnabled() const { return _isEnabled; } // a disabled item cannot be chosen
    void setEnabled(bool enabled) { _set(_isEnabled, enabled); }

    bool isHidden() const { return _isHidden; }
    void setHidden(bool hidden) { _set(_isHidden, hidden); }

    int indentationLevel() const { return _indentationLevel; } // 0 for none
    void setIndentationLevel(int level) { _set(_indentationLevel, level); }

    // For whoever made the item.
    std::int64_t tag() const { return _tag; }
    void setTag(std::int64_t tag) { _tag = tag; }
    const std::any& representedObject() const { return _representedObject; }
    void setRepresentedObject(std::any object) { _representedObject = std::move(object); }

    // The target is not kept: an item whose target has gone does nothing.
    std::shared_ptr<NPMenuTarget> target() const { return _target.lock(); }
    void setTarget(std::weak_ptr<NPMenuTarget> target) { _target = std::move(target); }
    const NPMenuAction& action() const { return _action; }

    // A menu that opens beside the item; none for a plain item.
    const std::shared_ptr<NPMenu>& submenu() const { return _submenu; }
    void setSubmenu(std::shared_ptr<NPMenu> submenu) { _set(_submenu, std::move(submenu)); }

    // The menu that it is in; none before it is inserted and after it was removed.
    std::shared_ptr<NPMenu> menu() const { return _menu.lock(); }

    // What a mirror calls: the target performs the action, unless the item is disabled. The action may change or
    // destroy anything, the menu and the item included; both are held until it returns.
    void choose();

private:
    friend class NPMenu;

    NPMenuItem() = default;

    template<class Value, class NewValue> void _set(Value& value, NewValue newValue)
    {
        if (value != newValue) {
            value = std::move(newValue);
            _announceChange();
        }
    }
    void _announceChange();

    bool _isSeparator = false;
    bool _isEnabled = true;
    bool _isHidden = false;
    NPMenuItemState _state = NPMenuItemState::off;
    int _indentationLevel = 0;
    std::string _title;
    std::string _keyEquivalent;
    std::uint64_t _keyEquivalentModifierMask = 0;
    std::int64_t _tag = 0;
    std::any _representedObject;
    NPMenuAction _action;
    std::weak_ptr<NPMenuTarget> _target;
    std::shared_ptr<NPMenu> _submenu;
    std::weak_ptr<NPMenu> _menu;
};

using NPMenuItemList = std::vector<std::shared_ptr<NPMenuItem>>;

// What a mirror does; each may be empty. They are called after the change, and must not change the menu.
struct NPMenuObserver {
    std::function<void(std::size_t index, std::size_t count)> inserted;
    std::function<void(std::size_t index, std::size_t count)> removed;
    std::function<void(const NPMenuItem& item)> changed; // not for items of submenus: they have menus of their own
};

// Keeps an observer for as long as somebody holds it. It may be held for longer than the menu lives.
using NPMenuSubscription = std::shared_ptr<void>;

class NPMenu : public std::enable_shared_from_this<NPMenu> {
public:
    static std::shared_ptr<NPMenu> menu() { return std::shared_ptr<NPMenu>(new NPMenu()); }
    ~NPMenu() = default;
    NPMenu(const NPMenu&) = delete;
    NPMenu& operator=(const NPMenu&) = delete;

    const NPMenuItemList& items() const { return _items; }
    std::size_t numberOfItems() const { return _items.size(); }
    const std::shared_ptr<NPMenuItem>& itemAtIndex(std::size_t index) const { return _items.at(index); }

    // None when it is in another menu or in none.
    std::optional<std::size_t> indexOfItem(const NPMenuItem& item) const;

    // Where the index is beyond the end, at the end. An item is in one menu at most: the program stops when one is
    // inserted that is in a menu already ("item.menu == nil").
    void insertItems(const NPMenuItemList& items, std::size_t index);
    void insertItem(const std::shared_ptr<NPMenuItem>& item, std::size_t index) { insertItems({item}, index); }
    void addItem(const std::shared_ptr<NPMenuItem>& item) { insertItem(item, _items.size()); }

    // What there is of them from the index on.
    void removeItems(std::size_t index, std::size_t count);
    void removeItemAtIndex(std::size_t index) { removeItems(index, 1); }

    [[nodiscard]] NPMenuSubscription observe(NPMenuObserver observer);

private:
    friend class NPMenuItem;

    NPMenu() = default;

    template<class Handler, class... Arguments>
    void _announce(Handler NPMenuObserver::* handler, const Arguments&... arguments);

    NPMenuItemList _items;
    std::vector<std::weak_ptr<NPMenuObserver>> _observers;
};
