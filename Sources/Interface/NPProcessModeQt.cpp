#include "Interface/NPProcessModeQt.h"

#include "Interface/NPWindowQt.h"

#include <QApplication>

void NPProcessModeQt::activateIgnoringOtherApps(bool ignoringOthers)
{
    if (qApp == nullptr || (!ignoringOthers && QGuiApplication::applicationState() != Qt::ApplicationActive)) {
        return;
    }
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (window->isWindow() && window->isVisible() && window->windowType() != Qt::Popup) {
            NPBringToFront(*window);
        }
    }
}
