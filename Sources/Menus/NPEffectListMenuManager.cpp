#include "Menus/NPEffectListMenuManager.h"

#include "HotKey/JXKeyNames.h"

std::shared_ptr<NPEffectListMenuManager>
NPEffectListMenuManager::managerWithMenu(const NPPlatform& platform, NPEffectManager& effectManager,
                                         NPScreenManager& screenManager, std::shared_ptr<NPMenu> menu,
                                         std::shared_ptr<NPMenuItem> insertAfterItem, int indent)
{
    std::shared_ptr<NPEffectListMenuManager> manager(new NPEffectListMenuManager(
        platform, effectManager, screenManager, std::move(menu), std::move(insertAfterItem), indent));
    manager->setupEffectsMenu();
    for (const std::string_view name : {NPScreenManagerEffectStateDidChange, NPEffectGroupDidChangeNotification,
                                        NPEffectManagerGroupsDidChangeNotification}) {
        platform.notifications.addObserver(
            manager->_observer, std::string(name), nullptr,
            [self = manager.get()](const QXNotification&) { self->setupEffectsMenu(); });
    }
    return manager;
}

NPEffectListMenuManager::NPEffectListMenuManager(const NPPlatform& platform, NPEffectManager& effectManager,
                                                 NPScreenManager& screenManager, std::shared_ptr<NPMenu> menu,
                                                 std::shared_ptr<NPMenuItem> insertAfterItem, int indent)
    : _platform(platform), _effectManager(effectManager), _screenManager(screenManager), _menu(std::move(menu)),
      _afterItem(std::move(insertAfterItem)), _indent(indent)
{
}

void NPEffectListMenuManager::setupEffectsMenu()
{
    const std::optional<std::size_t> after = _afterItem ? _menu->indexOfItem(*_afterItem) : std::nullopt;
    const std::size_t position = after ? *after + 1 : 0;
    _menu->removeItems(position, _optionItems.size());
    _optionItems.clear();
    for (const std::shared_ptr<NPEffectGroup>& group : _effectManager.groups()) {
        _optionItems.push_back(_itemForGroup(group));
    }
    _menu->insertItems(_optionItems, position);
}

// The key's text bears no modifiers, which the mask tells, and stays in the layout's case: a menu shows it in its own.
std::shared_ptr<NPMenuItem> NPEffectListMenuManager::_itemForGroup(const std::shared_ptr<NPEffectGroup>& group)
{
    static const NPMenuAction choose("chooseEffect:", &NPEffectListMenuManager::chooseEffect);
    const std::shared_ptr<NPMenuItem> item = NPMenuItem::itemWithTitle(group->name(), choose);
    item->setTarget(weak_from_this());
    item->setRepresentedObject(group);
    if (const std::optional<JXHotKey> hotKey = group->hotKey()) {
        item->setKeyEquivalent(JXStringFromKeyCode(hotKey->keyCode(), 0, _platform.keyboardLayout));
        item->setKeyEquivalentModifierMask(hotKey->modifierFlags());
    }
    item->setState(static_cast<NPMenuItemState>(_screenManager.combinedStateForEffectGroup(*group)));
    item->setIndentationLevel(_indent);
    return item;
}

void NPEffectListMenuManager::chooseEffect(NPMenuItem& sender)
{
    const auto* group = std::any_cast<std::shared_ptr<NPEffectGroup>>(&sender.representedObject());
    if (group != nullptr && *group) {
        const std::shared_ptr<NPEffectGroup> held = *group;
        _screenManager.toggleEffectGroup(held, NPTransitionKind::manual, _platform.clock.now());
    }
}
