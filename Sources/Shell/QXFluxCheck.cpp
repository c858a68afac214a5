#include "Shell/QXFluxCheck.h"

#include "Foundation/QXString.h"
#include "Platform/NPDesktop.h"
#include "Platform/NPPlatform.h"

namespace {

std::string displayName(const NPDesktop& desktop, std::string_view path)
{
    std::string name = desktop.workspace.displayNameAtPath(std::string(path));
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot > 0 && dot + 1 < name.size();
    return hasExtension ? name.substr(0, dot) : name;
}

} // namespace

bool QXFluxCheckAtLaunch()
{
    NPUserDefaults& defaults = NPCurrentPlatform().defaults;
    if (defaults.boolForKey(QXFluxWarnedKey)) {
        return true;
    }
    const std::optional<std::string> path =
        NPCurrentDesktop().workspace.absolutePathForAppBundleWithIdentifier(std::string(QXFluxBundleIdentifier));
    if (!path) {
        return true; // and look again at the next launch
    }
    if (QXFluxShowWarning(*path)) {
        defaults.setObject(true, QXFluxWarnedKey);
        defaults.synchronize();
    }
    return false;
}

bool QXFluxShowWarning(std::string_view fluxPath)
{
    const NPDesktop& desktop = NPCurrentDesktop();
    const std::string ownName = displayName(desktop, desktop.bundle.bundlePath());
    const std::string otherName = displayName(desktop, fluxPath);
    // The second key is a stand-in for each language's own sentence; as it is, it shows where one lacks it.
    const NPAlert alert{
        .messageText = QXFormat(QXLocalizedString("%@ is present on this computer.", "QXFluxCheck"), {otherName}),
        .informativeText = QXFormat(QXLocalizedString("[%1$@ installed, might interfer %2$@.]", "QXFluxCheck"),
                                    {ownName, otherName}),
        .buttons = {QXLocalizedString("Continue", "QXFluxCheck"), QXLocalizedString("Quit", "QXFluxCheck")},
        .style = NPAlertStyle::critical,
        .icon = desktop.workspace.iconForFile(std::string(fluxPath)).value_or("")};
    if (desktop.alerts.runModal(alert) == NPAlertSecondButtonReturn) {
        desktop.workspace.terminate();
        return false;
    }
    return true;
}
