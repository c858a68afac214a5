// A section of a menu that lists every effect: its name, whether it is on, its hot key. Choosing one toggles it.
//
// The section exists for as long as the manager, and follows every change of the effects, of their order and of
// what the screens show. The separators around it belong to the menu. Main thread only.
#pragma once

#include "Platform/NPMenu.h"
#include "Screens/NPScreenManager.h"

#include <memory>
#include <string_view>

class NPEffectListMenuManager final : public NPMenuTarget,
                                      public std::enable_shared_from_this<NPEffectListMenuManager> {
public:
    // Builds the section at once, right after that item; at the top of the menu when it is none. Holds the
    // references for its lifetime. No constructor, since the items need a manager that is shared already.
    static std::shared_ptr<NPEffectListMenuManager>
    managerWithMenu(const NPPlatform& platform, NPEffectManager& effectManager, NPScreenManager& screenManager,
                    std::shared_ptr<NPMenu> menu, std::shared_ptr<NPMenuItem> insertAfterItem, int indent);

    // Builds the section anew.
    void setupEffectsMenu();

    // Toggles the group that the item represents, with a manual fade.
    void chooseEffect(NPMenuItem& sender);

private:
    NPEffectListMenuManager(const NPPlatform& platform, NPEffectManager& effectManager,
                            NPScreenManager& screenManager, std::shared_ptr<NPMenu> menu,
                            std::shared_ptr<NPMenuItem> insertAfterItem, int indent);

    std::shared_ptr<NPMenuItem> _itemForGroup(const std::shared_ptr<NPEffectGroup>& group);

    NPPlatform _platform;
    NPEffectManager& _effectManager;
    NPScreenManager& _screenManager;
    std::shared_ptr<NPMenu> _menu;
    std::shared_ptr<NPMenuItem> _afterItem; // none: the section is at the top
    NPMenuItemList _optionItems;            // the items of the section, in menu order
    int _indent;
    QXNotificationObserver _observer;
};
