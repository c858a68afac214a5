#include "Shell/NPAppFace.h"

#include "Foundation/QXString.h"
#include "Menus/NPAppModeControl.h"
#include "Platform/NPDesktop.h"
#include "Shell/QXWebStoreUpdateManager.h"

namespace {

constexpr double statusItemLength = 32.0;

} // namespace

NPAppFace::NPAppFace(NPAppInterface interface) : _interface(std::move(interface))
{
    const bool hasPreferences = static_cast<bool>(_interface.makePreferencesController);
    for (const auto& item : {_interface.menus.preferenceMenuItem, _interface.menus.preferenceStatusMenuItem}) {
        item->setHidden(!hasPreferences);
    }
}

NPAppFace::~NPAppFace() = default;

void NPAppFace::insertUpdateItems()
{
    const auto insertAfter = [](const NPMenuItem& item, NPMenu& menu) {
        menu.insertItem(sharedUpdateManager()->newCheckForUpdatesItem(), menu.indexOfItem(item).value() + 1);
    };
    insertAfter(*_interface.menus.preferenceMenuItem, *_interface.menus.preferenceMenuItem->menu());
    insertAfter(*_interface.menus.preferenceStatusMenuItem, *_interface.menus.statusMenu);
}

void NPAppFace::setActivateTitles(bool active)
{
    const std::string title =
        active ? QXLocalizedString("Deactivate Nightpane") : QXLocalizedString("Activate Nightpane");
    const NPAppMenus& menus = _interface.menus;
    for (const auto& item : {menus.activateItem, menus.dockActivateItem, menus.statusActivateItem}) {
        item->setTitle(title);
    }
}

void NPAppFace::updateStatusItemImage(bool active)
{
    if (_statusItem) {
        _statusItem->setImage(active ? "NPStatusActiveTemplate" : "NPStatusTemplate");
    }
}

bool NPAppFace::_preferencesWindowIsLoaded() const
{
    return _preferenceController && _preferenceController->isWindowLoaded();
}

// A window that can be hidden with the application could not be brought back without a place in the task bar.
void NPAppFace::updateStatusItem(NPUserDefaults& defaults, bool active)
{
    NPStatusBar& statusBar = NPCurrentDesktop().statusBar;
    if (statusBar.appKitVersionNumber() < NPStatusItemVersion || !_statusItemReady) {
        return;
    }
    const bool shows = defaults.integerForKey(NPShowStatusItemKey) == 1;
    if (shows && !_statusItem) {
        if (_preferencesWindowIsLoaded()) {
            _preferenceController->window()->setCanHide(false);
        }
        NPAppModeSetDefaultUIElement();
        _statusItem = statusBar.statusItemWithLength(statusItemLength);
        _statusItem->setMenu(_interface.menus.statusMenu);
        _statusItem->setHighlightMode(true);
        updateStatusItemImage(active);
    } else if (!shows) {
        if (_statusItem && _preferencesWindowIsLoaded()) {
            _preferenceController->window()->setCanHide(true);
        }
        _statusItem.reset();
        NPAppModeSetDefaultForeground();
    }
}

void NPAppFace::makeEffectLists(const NPPlatform& platform, NPEffectManager& effectManager,
                                NPScreenManager& screenManager)
{
    const auto listAfter = [&](const NPMenuItem& inMenu, const std::shared_ptr<NPMenuItem>& separator) {
        return NPEffectListMenuManager::managerWithMenu(platform, effectManager, screenManager, inMenu.menu(),
                                                        separator, 0);
    };
    const NPAppMenus& menus = _interface.menus;
    _mainMenuScreenOptionManager = listAfter(*menus.activateItem, menus.effectListSeparator);
    _dockMenuScreenOptionsManager = listAfter(*menus.dockActivateItem, menus.dockEffectListSeparator);
    _statusMenuScreenOptionManager = listAfter(*menus.statusActivateItem, menus.statusEffectListSeparator);
}

void NPAppFace::warnIfNoEffects(const NPEffectManager& effectManager)
{
    if (_didCheckForNoEffectsAtStartup || _suspendWraningAboutNoEffects) {
        return;
    }
    _didCheckForNoEffectsAtStartup = true;
    if (effectManager.hasGroupWithEffectSelected() || _preferenceController) {
        return; // with the preferences open, it is being seen to
    }
    const NPAlert alert{.messageText = QXLocalizedString("No effect has been chosen."),
                        .informativeText = QXLocalizedString(
                            "You should check at least one box in the preference panel relating to the screen "
                            "effect, or Nightpane will have no visible effect on your screen."),
                        .buttons = {QXLocalizedString("Open preferences..."), QXLocalizedString("Cancel")}};
    if (NPCurrentDesktop().alerts.runModal(alert) == NPAlertFirstButtonReturn) {
        openPreferences();
    }
}

void NPAppFace::openPreferences()
{
    if (!_preferenceController && _interface.makePreferencesController) {
        _preferenceController = _interface.makePreferencesController();
    }
    if (_preferenceController) {
        _preferenceController->showWindow();
        NPAppModeShowWindow(_preferenceController->window());
    }
}

void NPAppFace::openAboutBox()
{
    if (!_aboutBox) {
        _aboutBox = _interface.makeAboutBox();
    }
    _aboutBox->showWindow();
    NPAppModeShowWindow(_aboutBox->window());
}
