// What the controller of an application has besides the engine's work: the titles of its menu items, the status item,
// the effect lists, the windows, and the warning about effects that do nothing. The command line's engine has none.
//
// Works on the installed desktop (NPCurrentDesktop). Main thread only.
#pragma once

#include "Menus/NPEffectListMenuManager.h"
#include "Platform/NPStatusBar.h"
#include "Platform/NPWindows.h"
#include "Shell/NPAppMenus.h"

#include <functional>
#include <memory>

// Setting: 1 shows the status item, and then the application is in the status area alone; any other value does not.
inline constexpr std::string_view NPShowStatusItemKey = "ShowStatusItem";

// What the interface gives the controller. A window is made when it is first needed, and kept.
struct NPAppInterface {
    NPAppMenus menus;
    std::function<std::shared_ptr<NPWindowController>()> makeAboutBox;
    // Empty where there is no such window: its commands are then hidden.
    std::function<std::shared_ptr<NPWindowController>()> makePreferencesController;
};

class NPAppFace {
public:
    explicit NPAppFace(NPAppInterface interface);
    ~NPAppFace();

    // "Check for Updates…", after the items that open the preferences.
    void insertUpdateItems();

    // What the global switch shows: the titles of the items that turn it, and the status item's image, if there is one.
    void setActivateTitles(bool active);
    void updateStatusItemImage(bool active);

    // Nothing before the status item is ready, late in the launch.
    void setStatusItemReady() { _statusItemReady = true; }
    void updateStatusItem(NPUserDefaults& defaults, bool active);

    // The lists of the main, the launcher's and the status item's menu, which then keep themselves up to date.
    void makeEffectLists(const NPPlatform& platform, NPEffectManager& effectManager,
                         NPScreenManager& screenManager);

    // Tells the user, once a launch, that no group has an effect selected; not while suspended.
    void setSuspendWraningAboutNoEffects(bool suspend) { _suspendWraningAboutNoEffects = suspend; }
    void warnIfNoEffects(const NPEffectManager& effectManager);

    void openPreferences();
    void openAboutBox();

private:
    bool _preferencesWindowIsLoaded() const;

    NPAppInterface _interface;
    std::shared_ptr<NPWindowController> _preferenceController; // none until the first request
    std::shared_ptr<NPWindowController> _aboutBox; // likewise
    bool _didCheckForNoEffectsAtStartup = false;
    bool _suspendWraningAboutNoEffects = false;
    std::unique_ptr<NPStatusItem> _statusItem; // while it is shown
    bool _statusItemReady = false;
    // These lists are of effects, not of screen options; the names are kept.
    std::shared_ptr<NPEffectListMenuManager> _mainMenuScreenOptionManager;
    std::shared_ptr<NPEffectListMenuManager> _dockMenuScreenOptionsManager;
    std::shared_ptr<NPEffectListMenuManager> _statusMenuScreenOptionManager;
};
