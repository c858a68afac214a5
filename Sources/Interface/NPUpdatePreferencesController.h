// The sheet with the settings of updates: whether and how often to look for them, a button that looks at once, and the
// way back from another feed than the standard one.
#pragma once

#include "Shell/QXWebStoreUpdateManager.h"

#include <QDialog>

#include <memory>

namespace Ui {
class NPUpdatePreferences;
}

class NPUpdatePreferencesController final : public QDialog {
public:
    // On the window. Deletes itself when it is closed.
    NPUpdatePreferencesController(std::shared_ptr<QXWebStoreUpdateManager> manager, QWidget* window);
    ~NPUpdatePreferencesController() override;

    // What its buttons do.
    void resetUpdateFeed();
    void checkForUpdates();
    void doneDismiss();

private:
    void _loadInterval();
    void _updateLastCheck();
    void _updateResetButton();

    const std::shared_ptr<QXWebStoreUpdateManager> _manager;
    const std::unique_ptr<Ui::NPUpdatePreferences> _interface;
};
