// The sheet with the settings of updates: whether and how often to look for them, a button that looks at once, and the
// way back from another feed than the standard one.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Shell/QXWebStoreUpdateManager.h"

#include <QDialog>

#include <memory>

class QPushButton;
namespace Ui {
class NPUpdatePreferences;
}

class NPUpdatePreferencesController final : public QDialog {
public:
    // On the window. Deletes itself when it is closed. The centre announces changes of the settings, and outlives it.
    NPUpdatePreferencesController(std::shared_ptr<QXWebStoreUpdateManager> manager,
                                  QXNotificationCenter& notifications, QWidget* window);
    ~NPUpdatePreferencesController() override;

    QPushButton* updatesResetFeedButton() const;

    // What its buttons do.
    void resetUpdateFeed();
    void checkForUpdates();
    void doneDismiss();

private:
    void _connect();
    void _update();
    void _updateInterval();
    void _updateLastCheck();
    void _updateResetButton();

    const std::shared_ptr<QXWebStoreUpdateManager> _manager;
    const std::unique_ptr<Ui::NPUpdatePreferences> _interface;
    QXNotificationObserver _observer;
};
