#include "Screens/QXDisplayGamma.h"

#include "Foundation/QXString.h"

#include <algorithm>

QXGammaTable& QXGammaTableGetForDisplay(NPDisplayServices& services, QXGammaTable& table, NPDisplayID display)
{
    if (!services.getDisplayTransferTable(display, table)) {
        table.sampleCount = 0;
    }
    return table;
}

void QXGammaTableSetForDisplay(NPDisplayServices& services, NPDisplayID display, const QXGammaTable& table)
{
    if (table.sampleCount != 0) {
        services.setDisplayTransferTable(display, table);
    }
}

void QXInvertDisplay(NPDisplayServices& services, NPDisplayID display)
{
    QXGammaTable table;
    QXGammaTableGetForDisplay(services, table, display);
    QXGammaTableReverse(table);
    QXGammaTableSetForDisplay(services, display, table);
}

void QXInvertAllDisplays(NPDisplayServices& services)
{
    const auto displays = services.activeDisplayList(NPDisplayListCapacity);
    for (const NPDisplayID display : displays.value_or(NPDisplayList())) {
        QXInvertDisplay(services, display);
    }
}

void QXInvertDisplaysInRect(NPDisplayServices& services, const NPRect& rect)
{
    const auto displays = services.displaysWithRect(rect, NPDisplayListCapacity);
    for (const NPDisplayID display : displays.value_or(NPDisplayList())) {
        QXInvertDisplay(services, display);
    }
}

NPDisplayID QXDisplayAtRect(const NPDisplayServices& services, const NPRect& rect)
{
    const NPDisplayList displays = services.displaysWithRect(rect, 1).value_or(NPDisplayList());
    return displays.empty() ? 0 : displays.front();
}

int QXDisplayIsInverted(NPDisplayServices& services, NPDisplayID display)
{
    QXGammaTable table;
    if (QXGammaTableGetForDisplay(services, table, display).sampleCount == 0) {
        return -1;
    }
    // "Not greater": an unordered comparison, with not a number, counts as descending.
    const auto descends = [](const QXGammaTable::Channel& channel) { return !(channel[255] > channel[0]); };
    return descends(table.redTable) && descends(table.greenTable) && descends(table.blueTable) ? 1 : 0;
}

int QXMainDisplayIsInverted(NPDisplayServices& services)
{
    return QXDisplayIsInverted(services, services.mainDisplay());
}

void QXRestoreAllDisplays(NPDisplayServices& services)
{
    services.restoreColorSyncSettings();
}

std::string QXScreenSetDescription(const NPDisplayServices& services, const NPDisplayList& screens)
{
    const NPDisplayList online = services.onlineDisplayList(NPDisplayListCapacity).value_or(NPDisplayList());
    std::string text;
    for (std::size_t i = 0; i < online.size(); ++i) {
        if (std::ranges::find(screens, online[i]) != screens.end()) {
            const std::string format = text.empty() ? QXLocalizedString("Screen %d") : QXLocalizedString(", %d");
            text += QXFormat(format, {std::to_string(i + 1)});
        }
    }
    return text.empty() ? QXLocalizedString("No Screen") : text;
}
