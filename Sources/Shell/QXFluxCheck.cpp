#include "Shell/QXFluxCheck.h"

#include "Foundation/QXString.h"
#include "Platform/NPDesktop.h"
#include "Platform/NPPlatform.h"

namespace {

// Without the extension of applications; what looks like another one is a part of the name, as in "f.lux".
std::string displayName(const NPDesktop& desktop, std::string_view path)
{
    std::string name = desktop.workspace.displayNameAtPath(std::string(path));
    for (const std::string_view extension : {".app", ".desktop"}) {
        if (name.size() > extension.size() && name.ends_with(extension)) {
            name.resize(name.size() - extension.size());
        }
    }
    return name;
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
