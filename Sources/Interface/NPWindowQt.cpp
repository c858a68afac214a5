#include "Interface/NPWindowQt.h"

#include "Interface/NPStartupToken.h"

#include <QEvent>

NPWindowQt::NPWindowQt(QWidget& widget, QXNotificationCenter& notifications)
    : _widget(&widget), _notifications(notifications)
{
    widget.installEventFilter(this);
}

bool NPWindowQt::isVisible() const
{
    return _widget && _widget->isVisible();
}

bool NPWindowQt::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == _widget && event->type() == QEvent::Close) {
        _notifications.postNotification(NSWindowWillCloseNotification, static_cast<const NPWindow*>(this));
    }
    return false;
}

void NPBringToFront(QWidget& window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
    NPSpendStartupToken(window);
}
