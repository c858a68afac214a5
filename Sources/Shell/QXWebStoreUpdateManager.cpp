#include "Shell/QXWebStoreUpdateManager.h"

#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"

namespace {

constexpr std::string_view table = "QXWebStoreUpdate";

} // namespace

const std::shared_ptr<QXUpdater>& QXWebStoreUpdateManager::updaterForMainBundle()
{
    if (!_updaterForMainBundle) {
        _updaterForMainBundle = std::make_shared<QXUpdater>(NPCurrentPlatform(), NPCurrentDesktop());
    }
    return _updaterForMainBundle;
}

bool QXWebStoreUpdateManager::isUsingStandardFeed() const
{
    const std::optional<QXValue> chosen = NPCurrentPlatform().defaults.objectForKey(SUFeedURLKey);
    const QXValue* standard = QXDictionaryValue(NPCurrentDesktop().bundle.infoDictionary(), SUFeedURLKey);
    return !chosen || (standard && *chosen == *standard);
}

void QXWebStoreUpdateManager::askForResetUpdateFeed()
{
    if (isUsingStandardFeed()) {
        return;
    }
    const NPAlert alert{
        .messageText = QXLocalizedString("Return to the feed for stable updates?", table),
        .informativeText = QXFormat(
            "%@\n%@\n\n%@",
            {QXLocalizedString("Current update feed:", table), updaterForMainBundle()->feedURL(),
             QXLocalizedString("You will get only stable updates after this change. If you must downgrade to the "
                               "previous stable release, download and reinstall the application from the website.",
                               table)}),
        .buttons = {QXLocalizedString("Switch to Stable Updates", table), QXLocalizedString("Cancel", table)}};
    if (NPCurrentDesktop().alerts.runModal(alert) == NPAlertFirstButtonReturn) {
        resetUpdateFeed();
    }
}

void QXWebStoreUpdateManager::resetUpdateFeed()
{
    NPCurrentPlatform().defaults.removeObjectForKey(SUFeedURLKey);
}

std::shared_ptr<NPMenuItem> QXWebStoreUpdateManager::newCheckForUpdatesItem()
{
    static const NPMenuAction check("checkForUpdates", &QXWebStoreUpdateManager::checkForUpdates);
    std::shared_ptr<NPMenuItem> item =
        NPMenuItem::itemWithTitle(QXLocalizedString("Check for Updates…", table), check);
    item->setTarget(weak_from_this());
    updaterForMainBundle(); // there from the first item on
    return item;
}

std::shared_ptr<QXWebStoreUpdateManager> sharedUpdateManager()
{
    return QXSharedScope::current().instance<QXWebStoreUpdateManager>(
        [] { return std::make_shared<QXWebStoreUpdateManager>(); });
}
