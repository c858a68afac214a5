#include "Platform/NPMenu.h"

#include "Foundation/QXAssert.h"

#include <algorithm>

template<class Handler, class... Arguments>
void NPMenu::_announce(Handler NPMenuObserver::* handler, const Arguments&... arguments)
{
    const std::vector<std::weak_ptr<NPMenuObserver>> observers = _observers;
    for (const std::weak_ptr<NPMenuObserver>& weak : observers) {
        const std::shared_ptr<NPMenuObserver> held = weak.lock();
        if (held && (*held).*handler) {
            ((*held).*handler)(arguments...);
        }
    }
}

std::shared_ptr<NPMenuItem> NPMenuItem::itemWithTitle(std::string title, NPMenuAction action,
                                                      std::string keyEquivalent)
{
    std::shared_ptr<NPMenuItem> item(new NPMenuItem());
    item->_title = std::move(title);
    item->_action = std::move(action);
    item->_keyEquivalent = std::move(keyEquivalent);
    return item;
}

std::shared_ptr<NPMenuItem> NPMenuItem::separatorItem()
{
    std::shared_ptr<NPMenuItem> item(new NPMenuItem());
    item->_isSeparator = true;
    return item;
}

void NPMenuItem::choose()
{
    const std::shared_ptr<NPMenuItem> self = shared_from_this();
    const std::shared_ptr<NPMenu> menu = _menu.lock();
    const std::shared_ptr<NPMenuTarget> target = _target.lock();
    if (_isEnabled && target) {
        const NPMenuAction action = _action;
        action.perform(*target, *this);
    }
}

void NPMenuItem::_announceChange()
{
    if (const std::shared_ptr<NPMenu> menu = _menu.lock()) {
        menu->_announce(&NPMenuObserver::changed, *this);
    }
}

std::optional<std::size_t> NPMenu::indexOfItem(const NPMenuItem& item) const
{
    const auto found = std::ranges::find(_items, &item, [](const auto& held) { return held.get(); });
    return found == _items.end() ? std::nullopt : std::optional<std::size_t>(found - _items.begin());
}

void NPMenu::insertItems(const NPMenuItemList& items, std::size_t index)
{
    for (const std::shared_ptr<NPMenuItem>& item : items) {
        QXAssert(item->_menu.expired(), "item.menu == nil");
        item->_menu = weak_from_this();
    }
    const std::size_t position = std::min(index, _items.size());
    _items.insert(_items.begin() + static_cast<std::ptrdiff_t>(position), items.begin(), items.end());
    if (!items.empty()) {
        _announce(&NPMenuObserver::inserted, position, items.size());
    }
}

void NPMenu::removeItems(std::size_t index, std::size_t count)
{
    const std::size_t first = std::min(index, _items.size());
    const std::size_t removed = std::min(count, _items.size() - first);
    if (removed == 0) {
        return;
    }
    const auto begin = _items.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = begin + static_cast<std::ptrdiff_t>(removed);
    for (auto item = begin; item != end; ++item) {
        (*item)->_menu.reset();
    }
    _items.erase(begin, end);
    _announce(&NPMenuObserver::removed, first, removed);
}

NPMenuSubscription NPMenu::observe(NPMenuObserver observer)
{
    std::erase_if(_observers, [](const auto& known) { return known.expired(); });
    auto added = std::make_shared<NPMenuObserver>(std::move(observer));
    _observers.push_back(added);
    return added;
}
