// The program's window: the effects with their switches, and what applies to all of them. It bears the main menu,
// and is how the program is reached where there is no status area.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPMenu.h"
#include "Platform/NPUserDefaults.h"
#include "Platform/NPWindows.h"

#include <memory>
#include <string_view>

class NPWindowQt;
class QCheckBox;
class QMainWindow;
namespace Ui {
class NPMainWindow;
}

// What the window shows.
struct NPMainWindowContent {
    std::shared_ptr<NPMenu> mainMenu;
    std::shared_ptr<NPMenu> effectList; // a menu with the effects, see NPEffectListView
    std::shared_ptr<NPMenuItem> activateItem;
    NPUserDefaults& defaults;
    QXNotificationCenter& notifications;
};

class NPMainWindowController final : public NPWindowController {
public:
    explicit NPMainWindowController(NPMainWindowContent content);
    ~NPMainWindowController() override;

    bool isWindowLoaded() const override { return _window != nullptr; }
    std::shared_ptr<NPWindow> window() override;
    void showWindow() override;

    // Opens the sheet with the settings of updates.
    void setupAutomaticUpdates();

private:
    void _load();
    void _bind(QCheckBox& box, std::string_view key);
    void _updateState();
    void _updateDefaults();

    const NPMainWindowContent _content;
    NPMenuSubscription _menuSubscription;
    QXNotificationObserver _observer;
    std::unique_ptr<Ui::NPMainWindow> _interface;
    std::unique_ptr<QMainWindow> _view;
    std::shared_ptr<NPWindowQt> _window;
};
