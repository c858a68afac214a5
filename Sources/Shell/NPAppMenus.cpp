#include "Shell/NPAppMenus.h"

#include "Foundation/QXString.h"
#include "Shell/NPAppController.h"

namespace {

class Maker {
public:
    Maker(const std::shared_ptr<NPAppController>& controller, const NPBundle& bundle)
        : _controller(controller), _bundle(bundle)
    {
    }

    NPAppMenus make() const
    {
        NPAppMenus menus;
        _makeMainMenu(menus);
        menus.dockActivateItem = _addActivateItem(*menus.dockMenu);
        menus.dockEffectListSeparator = _addSeparator(*menus.dockMenu);
        _makeStatusMenu(menus);
        return menus;
    }

private:
    using Item = std::shared_ptr<NPMenuItem>;

    Item _add(NPMenu& menu, std::string title, std::string_view name, void (NPAppController::*operation)()) const
    {
        const Item item = NPMenuItem::itemWithTitle(std::move(title), NPMenuAction(name, operation));
        item->setTarget(_controller);
        menu.addItem(item);
        return item;
    }

    static Item _addSeparator(NPMenu& menu)
    {
        menu.addItem(NPMenuItem::separatorItem());
        return menu.items().back();
    }

    static std::shared_ptr<NPMenu> _addSubmenu(NPMenu& menu, std::string title)
    {
        const Item item = NPMenuItem::itemWithTitle(std::move(title));
        item->setSubmenu(NPMenu::menu());
        menu.addItem(item);
        return item->submenu();
    }

    Item _addActivateItem(NPMenu& menu) const // the controller keeps its title
    {
        return _add(menu, QXLocalizedString("Activate Nightpane"),
                    "activateEffect:", &NPAppController::activateEffect);
    }
    Item _addPreferences(NPMenu& menu) const
    {
        return _add(menu, QXLocalizedString("Preferences…"),
                    "openPreferences:", &NPAppController::openPreferences);
    }
    void _addAboutBox(NPMenu& menu) const
    {
        _add(menu, QXLocalizedString("About Nightpane"), "openAboutBox:", &NPAppController::openAboutBox);
    }
    void _addQuit(NPMenu& menu) const
    {
        _add(menu, QXLocalizedString("Quit Nightpane"), "terminate:", &NPAppController::terminate);
    }

    void _addHelp(NPMenu& menu) const
    {
        const std::shared_ptr<NPMenu> help = _addSubmenu(menu, QXLocalizedString("Help"));
        const Item whatsNew = _add(*help, QXLocalizedString("What’s New in Nightpane"),
                                   "visitWhatsNew:", &NPAppController::visitWhatsNew);
        const Item questions =
            _add(*help, QXLocalizedString("Frequently Asked Questions"), "visitFAQ:", &NPAppController::visitFAQ);
        const Item support =
            _add(*help, QXLocalizedString("Contact Support"), "contactSupport:", &NPAppController::contactSupport);
        whatsNew->setHidden(NPBundleText(_bundle, NPReleaseNotesURLKey).empty());
        questions->setHidden(NPBundleText(_bundle, NPFAQURLKey).empty());
        support->setHidden(NPBundleText(_bundle, NPSupportURLKey).empty());
    }

    void _makeMainMenu(NPAppMenus& menus) const
    {
        const std::shared_ptr<NPMenu> application = _addSubmenu(*menus.mainMenu, QXLocalizedString("Nightpane"));
        _addAboutBox(*application);
        _addSeparator(*application);
        menus.preferenceMenuItem = _addPreferences(*application);
        _addSeparator(*application);
        _addQuit(*application);
        const std::shared_ptr<NPMenu> effects = _addSubmenu(*menus.mainMenu, QXLocalizedString("Effects"));
        menus.activateItem = _addActivateItem(*effects);
        menus.effectListSeparator = _addSeparator(*effects);
        _addHelp(*menus.mainMenu);
    }

    void _makeStatusMenu(NPAppMenus& menus) const
    {
        NPMenu& menu = *menus.statusMenu;
        menus.statusActivateItem = _addActivateItem(menu);
        menus.statusEffectListSeparator = _addSeparator(menu);
        _addSeparator(menu);
        menus.preferenceStatusMenuItem = _addPreferences(menu);
        _addSeparator(menu);
        _addHelp(menu);
        _addAboutBox(menu);
        _addQuit(menu);
    }

    const std::shared_ptr<NPAppController>& _controller;
    const NPBundle& _bundle;
};

} // namespace

NPAppMenus NPMakeAppMenus(const std::shared_ptr<NPAppController>& controller, const NPBundle& bundle)
{
    return Maker(controller, bundle).make();
}
