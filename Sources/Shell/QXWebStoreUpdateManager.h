// The application's single access point to updates: the updater of the main bundle, and the way back from another
// update feed, for example one of beta versions, to the standard one. Main thread only.
//
// The standard feed is the bundle's; an address under SUFeedURLKey in the settings is the user's own and goes first.
#pragma once

#include "Platform/NPMenu.h"
#include "Shell/QXUpdater.h"

#include <expected>
#include <memory>
#include <string>

class QXWebStoreUpdateManager final : public NPMenuTarget,
                                      public std::enable_shared_from_this<QXWebStoreUpdateManager> {
public:
    // The updater of the installed platform and desktop, made on the first call.
    const std::shared_ptr<QXUpdater>& updaterForMainBundle();

    // See QXUpdater.
    std::expected<void, std::string> startUpdater() { return updaterForMainBundle()->startUpdater(); }
    void checkForUpdates() { updaterForMainBundle()->checkForUpdates(); }

    // Also while the user's own feed is the same one.
    bool isUsingStandardFeed() const;

    // Asks whether to go back to the standard feed, and does so. Nothing while it is in use.
    void askForResetUpdateFeed();
    void resetUpdateFeed();

    // A new item "Check for Updates…".
    std::shared_ptr<NPMenuItem> newCheckForUpdatesItem();

private:
    std::shared_ptr<QXUpdater> _updaterForMainBundle;
};

std::shared_ptr<QXWebStoreUpdateManager> sharedUpdateManager();
