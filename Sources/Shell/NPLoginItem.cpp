#include "Shell/NPLoginItem.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXString.h"
#include "Foundation/QXURL.h"
#include "Platform/NPDesktop.h"

#include <algorithm>

namespace {

bool isLauncherJob(const QXValue& job)
{
    const QXValue* label = job.dictionary() ? QXDictionaryValue(*job.dictionary(), NPJobLabelKey) : nullptr;
    return label && label->string() && *label->string() == NPLauncherBundleIdentifier;
}

} // namespace

std::string NPLauncherURL()
{
    std::string path = NPCurrentDesktop().bundle.bundlePath();
    for (const std::string_view component : {"Contents", "Library", "LoginItems", "Nightpane Launcher.app"}) {
        path += '/';
        path += component;
    }
    return QXFileURLFromPath(path);
}

bool NPLoginItemIsEnabled()
{
    const QXArray jobs = NPCurrentDesktop().loginItems.copyAllJobDictionaries();
    const auto found = std::ranges::find_if(jobs, isLauncherJob);
    if (found == jobs.end()) {
        return false;
    }
    const QXValue* onDemand = QXDictionaryValue(*found->dictionary(), NPJobOnDemandKey);
    return onDemand && onDemand->boolean().value_or(false);
}

bool NPSetLoginItemEnabled(bool enabled)
{
    NPLoginItems& loginItems = NPCurrentDesktop().loginItems;
    if (enabled) {
        loginItems.registerURL(NPLauncherURL());
    }
    if (!loginItems.setLoginItemEnabled(std::string(NPLauncherBundleIdentifier), enabled)) {
        QXLog(QXFormat("Failed to set login item enabled to %d", {enabled ? "1" : "0"}));
        return false;
    }
    return true;
}

bool NPAppIsInApplicationsFolder()
{
    return NPCurrentDesktop().bundle.bundlePath().find("/Applications/") != std::string::npos;
}

bool NPOpenAtLoginDidChange(bool enabled, const std::shared_ptr<NPWindow>& window)
{
    NPSetLoginItemEnabled(enabled); // a failure shows in what follows
    const bool isEnabled = NPLoginItemIsEnabled();
    if (enabled && !NPAppIsInApplicationsFolder()) {
        const NPAlert alert{
            .messageText = QXLocalizedString(
                "Launch at login is more reliable when Nightpane is located in the Applications folder."),
            .informativeText = QXLocalizedString(
                "If the app is not launching at next login, try moving it to the Applications folder."),
            .buttons = {QXLocalizedString("OK")}};
        NPCurrentDesktop().alerts.beginSheet(alert, window, {});
    }
    return isEnabled;
}
