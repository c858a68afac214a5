// The menus of the application, as far as they are the same at every start: the items that the controller changes or
// puts others beside, and the commands. They are models; what shows them is the interface's.
#pragma once

#include "Platform/NPBundle.h"
#include "Platform/NPMenu.h"

#include <memory>

class NPAppController;

struct NPAppMenus {
    // The main menu: submenus "Nightpane", "Effects" and "Help", for a menu bar.
    std::shared_ptr<NPMenu> mainMenu = NPMenu::menu();
    std::shared_ptr<NPMenuItem> preferenceMenuItem;
    std::shared_ptr<NPMenuItem> activateItem; // its menu also receives the effect list …
    std::shared_ptr<NPMenuItem> effectListSeparator; // … after this

    // What the launcher shows of the running application.
    std::shared_ptr<NPMenu> dockMenu = NPMenu::menu();
    std::shared_ptr<NPMenuItem> dockActivateItem;
    std::shared_ptr<NPMenuItem> dockEffectListSeparator;

    // The status item's; it has every command, since it may be the only menu.
    std::shared_ptr<NPMenu> statusMenu = NPMenu::menu();
    std::shared_ptr<NPMenuItem> statusActivateItem;
    std::shared_ptr<NPMenuItem> statusEffectListSeparator;
    std::shared_ptr<NPMenuItem> preferenceStatusMenuItem;
};

// The commands are the controller's operations. One that leads to a page or an address that the bundle does not name is
// hidden.
NPAppMenus NPMakeAppMenus(const std::shared_ptr<NPAppController>& controller, const NPBundle& bundle);
